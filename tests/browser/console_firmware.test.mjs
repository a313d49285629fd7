// Firmware through the console: a damaged image refused, a foreign one
// warned about, a maker's image uploaded with progress shown, then the
// upgrade, the wait through the restart, and the new version after login.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { join } from 'node:path';
import { apiSession, launchBrowser, logInThroughForm, openConsole, screenshot, seriousViolations, startCamera } from './support.mjs';

const newVersion = 'OV-B4.v4.24.0.68.abc1234.230601.1200';
let camera;
let browser;
let ui;
const image = (name) => join(camera.root, 'sim', name);

before(async () => {
  [camera, browser] = await Promise.all([startCamera(), launchBrowser()]);
  const api = await apiSession(camera);
  assert.equal((await api('settings', { method: 'PUT', json: { device: { firstTimeUse: false } } })).status, 200);
  // Flashing takes half a second. The camera restarts after it as the device
  // does, as every camera does that `up` made itself (a person's).
  await camera.camsim('ctl', 'fwupdate', 'duration', '500');
  await camera.camsim('fwimage', '--version', newVersion, '--payload-size', '3000000', image('new.bin'));
  await camera.camsim('fwimage', '--version', newVersion, '--unsigned', image('foreign.bin'));
  await camera.camsim('fwimage', '--version', newVersion, '--corrupt', 'payload', image('bad.bin'));
  ui = await openConsole(browser, camera);
  await logInThroughForm(ui.page);
  await ui.page.getByRole('link', { name: 'Firmware' }).click();
  await ui.page.getByRole('heading', { name: 'Firmware', exact: true }).waitFor();
});

after(async () => {
  await browser?.close();
  await camera?.stop();
});

async function uploadFile(name) {
  await ui.page.getByLabel('Firmware image').setInputFiles(image(name));
  await ui.page.getByRole('button', { name: 'Upload' }).click();
}

test('a damaged image is refused plainly', async () => {
  await uploadFile('bad.bin');
  await ui.page.getByText('This file is not a valid firmware image for this camera').waitFor();
  assert.equal(await ui.page.getByRole('button', { name: 'Install and restart' }).isVisible(), false);
  assert.deepEqual(ui.problems(), []);
});

test('a foreign image is warned about and installs only once the risk is accepted', async () => {
  const { page } = ui;
  await uploadFile('foreign.bin');
  await page.getByText(/^Warning: this image .* was not made by the camera's maker/).waitFor();
  assert.equal(await page.getByRole('button', { name: 'Install and restart' }).isDisabled(), true);
  await page.getByLabel('I understand the risk and want to install this image').check();
  assert.equal(await page.getByRole('button', { name: 'Install and restart' }).isDisabled(), false);
  assert.deepEqual(await seriousViolations(page), []);
  await screenshot(page, 'firmware-foreign');
  assert.deepEqual(ui.problems(), []);
});

test('an upload shows its progress, and the upgrade waits through the restart', async () => {
  const { page } = ui;
  await page.evaluate(() => {
    window.progressSeen = [];
    const bar = document.querySelector('progress');
    new MutationObserver(() => window.progressSeen.push(bar.value))
      .observe(bar, { attributes: true, attributeFilter: ['value'] });
  });
  await uploadFile('new.bin');
  await page.getByText(`The image holds firmware ${newVersion}, made by the camera's maker.`).waitFor();
  const seen = await page.evaluate(() => window.progressSeen);
  assert.ok(seen.length >= 1 && seen.at(-1) === 100, `progress values ${seen}`);
  assert.equal(await page.locator('.percent').textContent(), '100 %');
  await screenshot(page, 'firmware-ok');

  ui.expectStatus(401, 500);
  await page.getByRole('button', { name: 'Install and restart' }).click();
  const dialog = page.getByRole('dialog');
  await dialog.getByText(/every session ends/).waitFor();
  await dialog.getByRole('button', { name: 'Install and restart' }).click();
  await page.getByText(`Firmware ${newVersion} is installed and the camera has restarted. Log in again.`)
    .waitFor({ timeout: 60000 });
  assert.match(await camera.camsim('status'), /^reboots: 1 /m);
  await logInThroughForm(page);
  await page.getByRole('link', { name: 'Dashboard' }).click();
  await page.getByRole('heading', { name: 'Dashboard' }).waitFor();
  await page.waitForFunction((v) => document.querySelector('[data-field="Firmware/Version"]').textContent === v, newVersion);
  assert.deepEqual(ui.problems(), []);
});
