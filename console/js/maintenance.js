// Maintenance: support bundle, system log, and the actions that lose
// something, each behind a confirmation that names what goes.
import { endpointUrl, getJson, request } from './api.js';
import { confirmAction, h, labelled, messageBox } from './dom.js';

const shownLines = 500;

function logView() {
  const search = h('input', { type: 'search', name: 'log-search', autocomplete: 'off' });
  const count = h('p', { class: 'hint', role: 'status' });
  const list = h('ol', { class: 'log', reversed: true, tabindex: '0', 'aria-label': 'System log, newest first' });
  let lines = [];
  const paint = () => {
    const wanted = search.value.trim().toLowerCase();
    const matching = lines.filter((line) => line.toLowerCase().includes(wanted));
    count.textContent = `${matching.length} of ${lines.length} lines${matching.length > shownLines ? `; the newest ${shownLines} shown` : ''}.`;
    list.replaceChildren(...matching.slice(0, shownLines).map((line) => h('li', {}, line)));
  };
  search.addEventListener('input', paint);
  const load = h('button', { type: 'button', class: 'secondary' }, 'Read the log again');
  const read = async () => {
    lines = (await getJson('syslog')).filter((line) => line !== '').reverse();
    paint();
  };
  load.addEventListener('click', read);
  read().catch((error) => { count.textContent = `The log could not be read (${error.message}).`; });
  return h('section', { class: 'card', 'aria-labelledby': 'log-title' }, h('h2', { id: 'log-title' }, 'System log'),
    labelled('Search the log', search), load, count, list);
}

export function render(main, app) {
  const message = messageBox();
  const board = app.status?.board || {};
  const restart = async (notice) => {
    const back = await app.waitForRestart(board.maxTimeoutReboot || 90,
      (s) => message.say(`The camera restarts… (at most ${s} s)`));
    if (back) app.loggedOut(notice);
    else message.say('The camera has not come back in time. Check its power and network.', 'error');
  };
  const action = (label, title, lost, run) => h('button', {
    type: 'button', class: 'danger',
    onclick: async () => { if (await confirmAction(title, lost, label)) await run(); },
  }, label);

  const resetPicture = action('Reset the picture', 'Reset the picture settings?',
    'Brightness, contrast, saturation, sharpness and every other picture setting go back to their factory values: your picture adjustments will be lost.',
    async () => {
      await request('reset_image');
      message.say('The picture settings are back to their factory values.');
    });
  const reboot = action('Restart', 'Restart the camera?',
    'The camera stops streaming and recording while it restarts, and every session ends (you will log in again). No setting is lost.',
    async () => { await request('reboot', { method: 'POST' }); await restart('The camera has restarted. Log in again.'); });
  const factory = action('Factory reset', 'Reset the camera to its factory settings?',
    'Everything you set is lost: the device name, the network and wireless settings, the controller adoption, the picture settings, the services and the account password (back to the factory one). The camera restarts and the setup wizard starts again.',
    async () => { await request('reset'); await restart('The camera is back to its factory settings. Log in with the factory account to set it up again.'); });

  main.append(h('h2', { class: 'page-title' }, 'Maintenance'), message,
    h('section', { class: 'card', 'aria-labelledby': 'support-title' }, h('h2', { id: 'support-title' }, 'Support'),
      h('p', {}, 'A diagnostic bundle (description, configuration, log) without passwords or keys.'),
      h('a', { href: endpointUrl('support'), download: '', class: 'button' }, 'Download the support bundle')),
    logView(),
    h('section', { class: 'card', 'aria-labelledby': 'actions-title' }, h('h2', { id: 'actions-title' }, 'Reset and restart'),
      h('div', { class: 'actions' }, resetPicture, reboot, factory)));
}
