// The wireless scan and the choice of a network, shared by the setup wizard
// and the wireless page.
import { request } from './api.js';
import { h, labelled, messageBox, uid } from './dom.js';

function networksOf(answer) {
  const list = Array.isArray(answer) ? [] : answer.accessPoints || [];
  return [...list].sort((a, b) => b.signal - a.signal);
}

// A fieldset: scan button, visible networks as radio buttons, passphrase.
// picker.choice() is null (no wireless) or {ssid, secured, passphrase}.
export function networkPicker({ allowNone }) {
  const message = messageBox();
  const group = h('div', { class: 'networks' });
  const legendId = uid('legend');
  const passphrase = h('input', { type: 'password', autocomplete: 'off', name: 'passphrase' });
  const passphraseRow = labelled('Passphrase', passphrase, 'The network\'s WPA key (8 to 63 characters).');
  passphraseRow.hidden = true;
  const radios = [];
  let networks = [];

  function radio(value, text) {
    const input = h('input', { type: 'radio', name: legendId, value, id: uid('net') });
    input.addEventListener('change', update);
    radios.push(input);
    return h('div', { class: 'choice' }, input, h('label', { for: input.id }, text));
  }
  function selected() {
    const input = radios.find((r) => r.checked);
    if (!input || input.value === '') return null;
    return networks.find((n) => n.ssid === input.value) || null;
  }
  function update() {
    const network = selected();
    passphraseRow.hidden = !network || network.security === 'NONE';
  }
  function fill() {
    radios.length = 0;
    const rows = allowNone ? [radio('', 'No wireless (wired network only)')] : [];
    for (const n of networks) {
      rows.push(radio(n.ssid, `${n.ssid} (${n.security === 'NONE' ? 'open' : 'secured'}, ${n.signal} dBm)`));
    }
    group.replaceChildren(...rows);
    if (radios.length) radios[0].checked = true;
    update();
  }

  const scan = h('button', { type: 'button', class: 'secondary', name: 'scan' }, 'Scan for networks');
  scan.addEventListener('click', async () => {
    scan.disabled = true;
    message.say('Scanning (this takes a few seconds)…');
    try {
      const response = await request('ap', { ok: [200, 429] });
      if (response.status === 429) {
        message.say('Another scan is already running. Wait a moment and scan again.', 'error');
        return;
      }
      networks = networksOf(await response.json());
      fill();
      message.say(`${networks.length} network${networks.length === 1 ? '' : 's'} found.`);
    } catch (error) {
      message.say(`The scan failed (${error.message}).`, 'error');
    } finally {
      scan.disabled = false;
    }
  });
  fill();

  const fieldset = h('fieldset', {},
    h('legend', { id: legendId }, 'Wireless network'), scan, message, group, passphraseRow);
  fieldset.choice = () => {
    const network = selected();
    if (!network) return null;
    return { ssid: network.ssid, secured: network.security !== 'NONE', passphrase: passphrase.value };
  };
  // Errors for the passphrase; true when the choice can be sent.
  fieldset.check = () => {
    const choice = fieldset.choice();
    const bad = choice?.secured && (choice.passphrase.length < 8 || choice.passphrase.length > 63);
    passphraseRow.showError(bad ? 'Enter the passphrase: 8 to 63 characters.' : '');
    if (bad) passphrase.focus();
    return !bad;
  };
  return fieldset;
}

// The setup form's wireless members for a choice.
export function wifiForm(choice) {
  if (!choice) return {};
  if (!choice.secured) return { wifiSsid: choice.ssid, wifiKey: 'none' };
  return { wifiSsid: choice.ssid, wifiKey: 'wpa', wifiAuth: 'psk', wifiPsk: choice.passphrase };
}

