// Firmware: upload with progress, the camera's verdict, then the upgrade and
// the wait through the restart, bounded by the board's own time limits.
import { ApiError, request, upload } from './api.js';
import { confirmAction, h, labelled, messageBox } from './dom.js';

const verdicts = {
  ok: (v) => [`The image holds firmware ${v}, made by the camera's maker.`, 'info'],
  thirdPartyFw: (v) => [`Warning: this image (${v}) was not made by the camera's maker. It may not work on this camera, and the maker cannot help with a camera running it. Install it only if you trust where it came from.`, 'warning'],
  badFwImage: () => ['This file is not a valid firmware image for this camera (damaged or of another kind). The camera has discarded it.', 'error'],
};

// The upgrade, then the wait through the restart; the bound is the board's
// time to flash plus its time to restart.
async function installAndWait(version, board, message, app) {
  const bound = (board.maxTimeoutFwUpdate || 300) + (board.maxTimeoutReboot || 90);
  const sure = await confirmAction(`Install firmware ${version}?`,
    `The camera writes the new firmware and restarts: it is out of service for up to ${Math.ceil(bound / 60)} minutes and every session ends. Do not switch it off meanwhile.`,
    'Install and restart');
  if (!sure) return;
  const started = Date.now();
  message.say('Writing the firmware…');
  const response = await request('upgrade', { ok: [200, 429, 500] });
  if (response.status !== 200) {
    message.say(response.status === 429 ? 'An upgrade is already running.'
      : 'The update failed; the camera keeps its firmware.', 'error');
    return;
  }
  const left = bound - (Date.now() - started) / 1000;
  const back = await app.waitForRestart(left, (s) => message.say(`Written. The camera restarts… (at most ${s} s)`));
  if (back) app.loggedOut(`Firmware ${version} is installed and the camera has restarted. Log in again.`);
  else message.say(`The camera has not come back within ${Math.round(bound)} seconds. Check its power and network.`, 'error');
}

export function render(main, app) {
  const file = h('input', { type: 'file', name: 'fwfile', accept: '.bin,application/octet-stream' });
  const progress = h('progress', { max: 100, value: 0, 'aria-label': 'Upload progress' });
  const percent = h('span', { class: 'percent' }, '');
  const send = h('button', { type: 'submit' }, 'Upload');
  const message = messageBox();
  const trust = h('input', { type: 'checkbox', id: 'fw-trust' });
  const trustRow = h('div', { class: 'choice', hidden: true }, trust,
    h('label', { for: 'fw-trust' }, 'I understand the risk and want to install this image'));
  const install = h('button', { type: 'button', class: 'danger', hidden: true }, 'Install and restart');
  let staged = null;

  const form = h('form', { class: 'card', novalidate: true },
    labelled('Firmware image', file),
    h('div', { class: 'progress-row' }, progress, percent),
    send, message, trustRow, install);
  main.append(h('h2', { class: 'page-title' }, 'Firmware'),
    h('p', {}, 'Installed: ', h('strong', { 'data-field': 'fw-version' }, app.status?.fw?.version || '—')), form);

  const showVerdict = ({ updateStatus, updatedFwVersion }) => {
    const [text, kind] = (verdicts[updateStatus] || verdicts.badFwImage)(updatedFwVersion);
    message.say(text, kind);
    staged = updateStatus === 'badFwImage' ? null : updatedFwVersion;
    install.hidden = !staged;
    trustRow.hidden = updateStatus !== 'thirdPartyFw';
    trust.checked = false;
    install.disabled = updateStatus === 'thirdPartyFw';
  };
  trust.addEventListener('change', () => { install.disabled = !trust.checked; });
  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    if (!file.files.length) return message.say('Choose an image file first.', 'error');
    send.disabled = true;
    install.hidden = trustRow.hidden = true;
    progress.value = 0;
    message.say('Uploading…');
    try {
      const answer = await upload('firmware', 'fwfile', file.files[0], (loaded, total) => {
        progress.value = Math.round((loaded / total) * 100);
        percent.textContent = `${progress.value} %`;
      });
      if (answer.status === 429) message.say('Another upload is running. Wait for it to finish.', 'error');
      else if (answer.status !== 200) message.say('The camera could not store the upload.', 'error');
      else showVerdict(answer.body);
    } catch (error) {
      message.say(`The upload failed (${error.message}).`, 'error');
    } finally {
      send.disabled = false;
    }
  });
  install.addEventListener('click', async () => {
    install.disabled = send.disabled = true;
    try {
      await installAndWait(staged, app.status?.board || {}, message, app);
    } catch (error) {
      if (!(error instanceof ApiError && error.status === 401)) message.say(`The upgrade failed (${error.message}).`, 'error');
    } finally {
      install.disabled = send.disabled = false;
    }
  });
}
