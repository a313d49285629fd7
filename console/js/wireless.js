// The wireless network: what the camera is joined to, a scan, and joining
// another network through the setup form.
import { getJson } from './api.js';
import { applyOutcome, applySetup } from './apply.js';
import { h, messageBox } from './dom.js';
import { networkPicker, wifiForm } from './wifi.js';

export function render(main, app) {
  const current = h('p', { class: 'current' });
  const show = (wifi) => {
    current.textContent = !wifi ? 'This camera has no wireless.'
      : wifi.mode === 'station' ? `Joined to ${wifi.ssid} (-${Math.abs(wifi.signal)} dBm, ${wifi.connectionState}).`
        : `Not joined (${wifi.mode || 'unknown'}).`;
  };
  show(app.status?.wifi);
  const picker = networkPicker({ allowNone: false });
  const message = messageBox();
  const join = h('button', { type: 'submit' }, 'Join the network');
  const form = h('form', { class: 'card', novalidate: true }, picker, join, message);
  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    if (!picker.check()) return;
    const choice = picker.choice();
    if (!choice) return message.say('Scan, then choose a network.', 'error');
    join.disabled = true;
    try {
      const outcome = await applySetup(wifiForm(choice), (left) => message.say(`Joining ${choice.ssid}… (${left} s left)`));
      message.say(applyOutcome[outcome], outcome === 'landed' ? 'info' : 'error');
      app.status = await getJson('status');
      show(app.status.wifi);
    } catch (error) {
      message.say(`Joining failed (${error.message}).`, 'error');
    } finally {
      join.disabled = false;
    }
  });
  main.append(h('h2', { class: 'page-title' }, 'Wireless'), current, form);
}
