// The web console as the virtual camera serves it: BusyBox's httpd hands out
// its files, the API answers from the AArch64 rest.cgi. A login with the
// keyboard, the setup wizard of a camera in its first use, the dashboard from
// the status document, a settings change seen again after a reload, the log
// and the support bundle, and the logout.
// Run by tests/vm/camera_test.sh while the camera is up:
//   ORVO_CAMERA_URL=http://127.0.0.1:PORT node --test tests/vm/console.test.mjs
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { apiPath, apiSession, consoleFileTypes, launchBrowser, openConsole, screenshot, searchLog, seriousViolations } from '../browser/support.mjs';

const camera = { baseUrl: process.env.ORVO_CAMERA_URL };
// Every request is emulated: allow the console several times its usual pace.
const slow = { timeout: 60000 };
let browser;
let ui;
let api;

before(async () => {
  assert.ok(camera.baseUrl, 'ORVO_CAMERA_URL names the running camera');
  browser = await launchBrowser();
  ui = await openConsole(browser, camera);
  ui.page.setDefaultTimeout(slow.timeout);
  api = await apiSession(camera);
});

after(async () => {
  await browser?.close();
});

async function pageIsClean(name) {
  assert.deepEqual(await seriousViolations(ui.page), [], name);
  await screenshot(ui.page, `vm-${name}`);
  assert.deepEqual(ui.problems(), [], name);
}

async function openPage(name) {
  await ui.page.getByRole('link', { name }).click();
  await ui.page.getByRole('heading', { name, exact: true }).waitFor();
}

test('the camera serves the console files with their types', async () => {
  for (const [path, type] of Object.entries(consoleFileTypes)) {
    const response = await fetch(camera.baseUrl + path);
    assert.equal(response.status, 200, path);
    assert.ok(response.headers.get('content-type').startsWith(type), path);
  }
});

test('a login with the keyboard leads a camera in its first use to the setup wizard', async () => {
  const { page } = ui;
  await page.getByRole('heading', { name: 'Log in to the camera' }).waitFor();
  await pageIsClean('login');
  await page.getByLabel('User name').fill('admin');
  await page.getByLabel('Password').fill('admin');
  await page.getByLabel('Password').press('Enter');
  await page.getByRole('heading', { name: 'First-time setup' }).waitFor();
  await page.getByText('Step 1 of 5: Device name').waitFor();
  await pageIsClean('setup');
});

test('past its first use, the dashboard shows the camera\'s status document', async () => {
  const { page } = ui;
  assert.equal((await api('settings', { method: 'PUT', json: { device: { firstTimeUse: false } } })).status, 200);
  await page.reload();
  await page.getByRole('heading', { name: 'Dashboard' }).waitFor();
  const status = (await api('status')).body;
  const version = page.locator('[data-field="Firmware/Version"]');
  await page.waitForFunction((expected) =>
    document.querySelector('[data-field="Firmware/Version"]')?.textContent === expected, status.fw.version, slow);
  assert.equal(await version.textContent(), status.fw.version);
  assert.equal(await page.locator('[data-field="Board/Model"]').textContent(), status.board.name);
  await pageIsClean('dashboard');
});

test('a settings change is sent and seen again after a reload', async () => {
  const { page } = ui;
  await openPage('Settings');
  const brightness = page.locator('input[name="isp.brightness"]');
  await brightness.waitFor();
  await brightness.fill('64');
  const sent = page.waitForRequest((r) => r.url().endsWith(apiPath('settings')) && r.method() === 'PUT');
  await page.getByRole('button', { name: 'Save changes' }).click();
  assert.deepEqual((await sent).postDataJSON(), { isp: { brightness: 64 } });
  await page.getByText('Saved: isp.brightness.').waitFor();
  await page.reload();
  await page.locator('input[name="isp.brightness"]').waitFor();
  assert.equal(await page.locator('input[name="isp.brightness"]').inputValue(), '64');
  assert.equal((await api('settings')).body.isp.brightness, 64);
  await pageIsClean('settings');
});

test('maintenance shows the camera\'s own log and hands out its support bundle', async () => {
  const { page } = ui;
  await openPage('Maintenance');
  // The camera's own syslogd writes its own line format: search for a word
  // of its newest line.
  const log = (await api('syslog')).body.filter((line) => line !== '');
  assert.ok(log.length > 0);
  const term = log.at(-1).match(/[A-Za-z_]{4,}/g).sort((a, b) => b.length - a.length)[0].toLowerCase();
  const shown = await searchLog(page, term);
  assert.ok(shown.length > 0 && shown.every((line) => line.toLowerCase().includes(term)), term);
  const download = page.waitForEvent('download');
  await page.getByRole('link', { name: 'Download the support bundle' }).click();
  assert.match((await download).suggestedFilename(), /^support-.+\.sup$/);
  await pageIsClean('maintenance');
});

test('logout ends the session', async () => {
  const { page, context } = ui;
  await page.getByRole('button', { name: 'Log out' }).click();
  await page.getByText('You are logged out.').waitFor();
  const cookies = await context.cookies();
  const response = await fetch(camera.baseUrl + apiPath('status'), {
    headers: { Cookie: cookies.map((c) => `${c.name}=${c.value}`).join('; ') } });
  assert.equal(response.status, 401);
  assert.deepEqual(ui.problems(), []);
});
