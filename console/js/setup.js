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

// Each step: title, its rows, and a check that shows errors (true when fine).
function steps(current, deviceName) {
  // The device's name lives in the settings ("device" "name"), where it is written.
  const name = input('deviceName', deviceName ?? current.deviceName, { maxlength: 25 });
  const nameRow = labelled('Device name', name, 'Up to 25 characters; shown to the controller and on the network.');

  const dhcp = h('input', { type: 'radio', name: 'netMode', id: 'net-dhcp', value: 'dhcp', checked: current.netMode !== 'static' });
  const fixed = h('input', { type: 'radio', name: 'netMode', id: 'net-static', value: 'static', checked: current.netMode === 'static' });
  const addresses = {
    netIp: labelled('Address', input('netIp', current.netIp)),
    netMask: labelled('Network mask', input('netMask', current.netMask)),
    netGw: labelled('Gateway', input('netGw', current.netGw)),
    netDns1: labelled('First name server', input('netDns1', current.netDns1)),
    netDns2: labelled('Second name server (optional)', input('netDns2', current.netDns2)),
  };
  const staticRows = h('div', { class: 'static-rows' }, Object.values(addresses));
  const showStatic = () => { staticRows.hidden = !fixed.checked; };
  dhcp.addEventListener('change', showStatic);
  fixed.addEventListener('change', showStatic);
  showStatic();
  const modeSet = h('fieldset', {}, h('legend', {}, 'Address'),
    h('div', { class: 'choice' }, dhcp, h('label', { for: 'net-dhcp' }, 'Automatic (DHCP)')),
    h('div', { class: 'choice' }, fixed, h('label', { for: 'net-static' }, 'Static')));

  const picker = networkPicker({ allowNone: true });

  const ctlAddr = input('ctlAddr', current.ctlAddr);
  const ctlUuid = input('ctlUuid', current.ctlUuid);
  const addrRow = labelled('Controller address', ctlAddr, 'Host and port, without a scheme (ctl.example.net:7443). Leave both empty for none.');
  const uuidRow = labelled('Controller UUID', ctlUuid);

  const rowValue = (row) => row.querySelector('input').value.trim();
  return [
    { title: 'Device name', rows: [nameRow],
      check: () => { const bad = !name.value.trim(); nameRow.showError(bad ? 'Enter a name.' : ''); return !bad; },
      form: () => ({ deviceName: name.value.trim() }) },
    { title: 'Network', rows: [modeSet, staticRows],
      check: () => {
        let fine = true;
        for (const [key, row] of Object.entries(addresses)) {
          const value = rowValue(row);
          const optional = key === 'netDns2' || (key === 'netDns1' && !fixed.checked);
          const bad = fixed.checked && (value ? !ipv4.test(value) : !optional);
          row.showError(bad ? 'Enter an IPv4 address such as 192.168.1.80.' : '');
          fine &&= !bad;
        }
        return fine;
      },
      form: () => {
        if (!fixed.checked) return { netMode: 'dhcp' };
        const form = { netMode: 'static' };
        for (const [key, row] of Object.entries(addresses)) form[key] = rowValue(row);
        return form;
      } },
    { title: 'Wireless', rows: [picker], check: () => picker.check(), form: () => wifiForm(picker.choice()) },
    { title: 'Controller', rows: [addrRow, uuidRow],
      check: () => {
        const a = ctlAddr.value.trim();
        const u = ctlUuid.value.trim();
        addrRow.showError(!a && u ? 'Enter the address with the UUID.' : '');
        uuidRow.showError((a && !u) || (u && !uuid.test(u)) ? 'Enter the controller\'s UUID (8-4-4-4-12 hexadecimal digits).' : '');
        return !((!a && u) || (a && !u) || (u && !uuid.test(u)));
      },
      form: () => (ctlAddr.value.trim() ? { ctlAddr: ctlAddr.value.trim(), ctlUuid: ctlUuid.value.trim() } : {}) },
  ];
}

function summary(form) {
  const rows = [
    ['Device name', form.deviceName],
    ['Network', form.netMode === 'static' ? `static ${form.netIp} / ${form.netMask}, gateway ${form.netGw}` : 'automatic (DHCP)'],
    ['Wireless', form.wifiSsid || 'none'],
    ['Controller', form.ctlAddr ? `${form.ctlAddr} (${form.ctlUuid})` : 'none'],
  ];
  return h('dl', { class: 'summary' }, rows.flatMap(([k, v]) => [h('dt', {}, k), h('dd', {}, v)]));
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
      const { deviceName, ...sent } = collect();
      const outcome = await applySetup(sent, (left) => message.say(`Applying… (${left} s left)`))
        .catch((error) => { message.say(`The camera did not take the form (${error.message}).`, 'error'); return null; });
      next.disabled = back.disabled = false;
      if (outcome !== 'landed') {
        if (outcome) message.say(applyOutcome[outcome], 'error');
        return;
      }
      await putJson('settings', { device: { name: deviceName, firstTimeUse: false } });
      message.say(applyOutcome.landed);
      await app.refreshStatus();
      app.goto('dashboard');
    });
    show();
  }).catch((error) => message.say(`The setup form could not be read (${error.message}).`, 'error'));
  card.append(message);
  return () => { alive = false; };
}
