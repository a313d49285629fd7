// The first-time setup wizard, shown while the camera says firstTimeUse.
// Name, network, wireless, controller; then one setup PUT, followed until the
// status shows it, and the first use cleared with the new name.
import { getJson, putJson } from './api.js';
import { applyOutcome, applySetup } from './apply.js';
import { h, labelled, messageBox } from './dom.js';
import { networkPicker, wifiForm } from './wifi.js';

const ipv4 = /^(25[0-5]|2[0-4]\d|1?\d?\d)(\.(25[0-5]|2[0-4]\d|1?\d?\d)){3}$/;
const uuid = /^[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}$/i;

function input(name, value = '', extra = {}) {
  return h('input', { name, value, autocomplete: 'off', ...extra });
}

// Each step: its title, its rows, check() showing errors (true when fine),
// and form() with its members of the setup form.
function nameStep(value) {
  const name = input('deviceName', value, { maxlength: 25 });
  const row = labelled('Device name', name, 'Up to 25 characters; shown to the controller and on the network.');
  return {
    title: 'Device name', rows: [row],
    check: () => { const bad = !name.value.trim(); row.showError(bad ? 'Enter a name.' : ''); return !bad; },
    form: () => ({ deviceName: name.value.trim() }),
  };
}

function networkStep(current) {
  const radio = (value, checked) => h('input', { type: 'radio', name: 'netMode', id: `net-${value}`, value, checked });
  const dhcp = radio('dhcp', current.netMode !== 'static');
  const fixed = radio('static', current.netMode === 'static');
  const addresses = {
    netIp: labelled('Address', input('netIp', current.netIp)),
    netMask: labelled('Network mask', input('netMask', current.netMask)),
    netGw: labelled('Gateway', input('netGw', current.netGw)),
    netDns1: labelled('First name server', input('netDns1', current.netDns1)),
    netDns2: labelled('Second name server (optional)', input('netDns2', current.netDns2)),
  };
  const staticRows = h('div', {}, Object.values(addresses));
  const showStatic = () => { staticRows.hidden = !fixed.checked; };
  dhcp.addEventListener('change', showStatic);
  fixed.addEventListener('change', showStatic);
  showStatic();
  const modeSet = h('fieldset', {}, h('legend', {}, 'Address'),
    h('div', { class: 'choice' }, dhcp, h('label', { for: dhcp.id }, 'Automatic (DHCP)')),
    h('div', { class: 'choice' }, fixed, h('label', { for: fixed.id }, 'Static')));
  const valueOf = (row) => row.querySelector('input').value.trim();
  return {
    title: 'Network', rows: [modeSet, staticRows],
    check: () => Object.entries(addresses).map(([key, row]) => {
      const value = valueOf(row);
      const bad = fixed.checked && (value ? !ipv4.test(value) : key !== 'netDns2');
      row.showError(bad ? 'Enter an IPv4 address such as 192.168.1.80.' : '');
      return !bad;
    }).every(Boolean),
    form: () => {
      if (!fixed.checked) return { netMode: 'dhcp' };
      const form = { netMode: 'static' };
      for (const [key, row] of Object.entries(addresses)) if (valueOf(row)) form[key] = valueOf(row);
      return form;
    },
  };
}

function wirelessStep() {
  const picker = networkPicker({ allowNone: true });
  return { title: 'Wireless', rows: [picker], check: () => picker.check(), form: () => wifiForm(picker.choice()) };
}

// The controller's address and UUID go together, or neither.
function controllerStep(current) {
  const addr = input('ctlAddr', current.ctlAddr);
  const id = input('ctlUuid', current.ctlUuid);
  const addrRow = labelled('Controller address', addr, 'Host and port, without a scheme (ctl.example.net:7443). Leave both empty for none.');
  const idRow = labelled('Controller UUID', id);
  return {
    title: 'Controller', rows: [addrRow, idRow],
    check: () => {
      const a = addr.value.trim();
      const u = id.value.trim();
      const badAddr = !a && Boolean(u);
      const badId = (a && !u) || (u && !uuid.test(u));
      addrRow.showError(badAddr ? 'Enter the address with the UUID.' : '');
      idRow.showError(badId ? 'Enter the controller\'s UUID (8-4-4-4-12 hexadecimal digits).' : '');
      return !badAddr && !badId;
    },
    form: () => (addr.value.trim() ? { ctlAddr: addr.value.trim(), ctlUuid: id.value.trim() } : {}),
  };
}

// The device's name lives in the settings ("device" "name"), where it is written.
const steps = (current, deviceName) => [nameStep(deviceName ?? current.deviceName),
  networkStep(current), wirelessStep(), controllerStep(current)];

function summary(form) {
  const rows = [
    ['Device name', form.deviceName],
    ['Network', form.netMode === 'static' ? `static ${form.netIp} / ${form.netMask}, gateway ${form.netGw}` : 'automatic (DHCP)'],
    ['Wireless', form.wifiSsid || 'none'],
    ['Controller', form.ctlAddr ? `${form.ctlAddr} (${form.ctlUuid})` : 'none'],
  ];
  return h('dl', { class: 'summary' }, rows.flatMap(([k, v]) => [h('dt', {}, k), h('dd', {}, v)]));
}

// Sends the form, follows it until it shows, then clears the first use
// together with the new name.
async function finish(form, message, app) {
  const { deviceName, ...sent } = form;
  const outcome = await applySetup(sent, (left) => message.say(`Applying… (${left} s left)`))
    .catch((error) => { message.say(`The camera did not take the form (${error.message}).`, 'error'); return null; });
  if (outcome !== 'landed') {
    if (outcome) message.say(applyOutcome[outcome], 'error');
    return;
  }
  await putJson('settings', { device: { name: deviceName, firstTimeUse: false } });
  message.say(applyOutcome.landed);
  await app.refreshStatus();
  app.goto('dashboard');
}

export function render(main, app) {
  const card = h('section', { class: 'card', 'aria-labelledby': 'setup-title' },
    h('h2', { id: 'setup-title' }, 'First-time setup'));
  main.append(card);
  const message = messageBox();
  let alive = true;

  Promise.all([getJson('setup'), getJson('settings')]).then(([current, settings]) => {
    if (!alive) return;
    const list = steps(current, settings.device?.name);
    const form = h('form', { novalidate: true });
    const heading = h('h3', { tabindex: '-1' });
    const body = h('div');
    const back = h('button', { type: 'button', class: 'secondary' }, 'Back');
    const next = h('button', { type: 'submit' }, 'Next');
    form.append(heading, body, h('div', { class: 'actions' }, back, next), message);
    card.append(form);
    let index = 0;

    const show = () => {
      const last = index === list.length;
      heading.textContent = last ? `Step ${index + 1} of ${list.length + 1}: Review and apply`
        : `Step ${index + 1} of ${list.length + 1}: ${list[index].title}`;
      body.replaceChildren(...(last ? [summary(collect())] : list[index].rows));
      back.hidden = index === 0;
      next.textContent = last ? 'Apply' : 'Next';
      heading.focus();
    };
    const collect = () => Object.assign({}, ...list.map((step) => step.form()));
    back.addEventListener('click', () => { index -= 1; message.say(''); show(); });
    form.addEventListener('submit', async (event) => {
      event.preventDefault();
      if (index < list.length) {
        if (list[index].check()) { index += 1; show(); }
        return;
      }
      next.disabled = back.disabled = true;
      await finish(collect(), message, app);
      next.disabled = back.disabled = false;
    });
    show();
  }).catch((error) => message.say(`The setup form could not be read (${error.message}).`, 'error'));
  card.append(message);
  return () => { alive = false; };
}
