// The status document at a glance, refreshed in place (no flicker: only the
// texts that changed are replaced).
import { getJson } from './api.js';
import { formatDuration, h, messageBox } from './dom.js';

const refreshMs = 3000;

const bytes = (n) => (n === undefined ? '—' : `${(n / 1048576).toFixed(1)} MiB`);
const text = (v) => (v === undefined || v === null || v === '' ? '—' : String(v));

// Card title, then rows of label and a reading of the status document.
const cards = [
  ['Board', [
    ['Model', (s) => s.board?.name], ['Host name', (s) => s.hostName],
    ['Hardware address', (s) => s.board?.mac]]],
  ['Firmware', [
    ['Version', (s) => s.fw?.version], ['Release', (s) => s.fw?.semver],
    ['Protocol', (s) => s.fw?.protocolVer]]],
  ['System', [
    ['Uptime', (s) => formatDuration(s.system?.uptime ?? 0)],
    ['Load average', (s) => s.system?.loadavg?.toFixed(2)],
    ['CPU', (s) => `${s.system?.cpu ?? 0} %`],
    ['Temperature', (s) => (s.system?.temperature === undefined ? undefined : `${s.system.temperature} °C`)],
    ['Memory', () => 'not reported by the camera']]],
  ['Network', [
    ['Interface', (s) => s.network?.nic], ['Address', (s) => s.network?.ip],
    ['Mask', (s) => s.network?.mask], ['Gateway', (s) => s.network?.gw],
    ['Name servers', (s) => s.network?.dns],
    ['Link speed', (s) => (s.network?.speed ? `${s.network.speed} Mbit/s` : undefined)],
    ['Received', (s) => bytes(s.network?.bytesRx)], ['Sent', (s) => bytes(s.network?.bytesTx)]]],
  ['Wireless', [
    ['Mode', (s) => (s.wifi ? s.wifi.mode : 'no wireless')], ['Network', (s) => s.wifi?.ssid],
    // The daemon drops the sign of the signal level.
    ['Signal', (s) => (s.wifi?.signal === undefined ? undefined : `-${Math.abs(s.wifi.signal)} dBm`)],
    ['State', (s) => s.wifi?.connectionState]]],
  ['Controller', [
    ['State', (s) => s.controller?.state ?? 'not adopted'],
    ['Controller', (s) => s.controller?.hosts?.join?.(', ') || s.controller?.host]]],
];

export function render(main, app) {
  const message = messageBox();
  const cells = [];
  const grid = h('div', { class: 'grid' }, cards.map(([title, rows]) => {
    const id = `card-${title.toLowerCase()}`;
    return h('section', { class: 'card', 'aria-labelledby': id }, h('h2', { id }, title),
      h('dl', {}, rows.flatMap(([label, read]) => {
        const value = h('dd', { 'data-field': `${title}/${label}` });
        cells.push([value, read]);
        return [h('dt', {}, label), value];
      })));
  }));
  main.append(h('h2', { class: 'page-title' }, 'Dashboard'), message, grid);

  const paint = (status) => {
    for (const [cell, read] of cells) {
      const shown = text(read(status));
      if (cell.textContent !== shown) cell.textContent = shown;
    }
  };
  paint(app.status || {});
  let timer = null;
  let stopped = false;
  const refresh = async () => {
    try {
      app.status = await getJson('status');
      paint(app.status);
      message.say('');
    } catch (error) {
      message.say(`The status could not be read (${error.message}).`, 'error');
    }
    if (!stopped) timer = setTimeout(refresh, refreshMs);
  };
  refresh();
  return () => { stopped = true; clearTimeout(timer); };
}
