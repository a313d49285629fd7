// The console's pages on a camera past its first use: a settings change
// seen again after a reload and a refusal shown at its field, services,
// the wireless scan (429 while another runs) and a join, the live picture,
// and maintenance (log search, support bundle, picture reset, restart).
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { apiPath, apiSession, launchBrowser, logInThroughForm, openConsole, screenshot, seriousViolations, startCamera } from './support.mjs';

let camera;
let browser;
let ui;
let api;

before(async () => {
  [camera, browser] = await Promise.all([startCamera(), launchBrowser()]);
  api = await apiSession(camera);
  assert.equal((await api('settings', { method: 'PUT', json: { device: { firstTimeUse: false } } })).status, 200);
  ui = await openConsole(browser, camera);
  await logInThroughForm(ui.page);
  await ui.page.getByRole('heading', { name: 'Dashboard' }).waitFor();
});

after(async () => {
  await browser?.close();
  await camera?.stop();
});

async function openPage(name, heading = name) {
  await ui.page.getByRole('link', { name }).click();
  await ui.page.getByRole('heading', { name: heading, exact: true }).waitFor();
}

async function pageIsClean(name) {
  assert.deepEqual(await seriousViolations(ui.page), [], name);
  await screenshot(ui.page, name);
  assert.deepEqual(ui.problems(), [], name);
}

test('a settings change sends only what changed and is seen again after a reload', async () => {
  const { page } = ui;
  await openPage('Settings');
  const brightness = page.locator('input[name="isp.brightness"]');
  await brightness.waitFor();
  await pageIsClean('settings');
  await brightness.fill('70');
  await page.locator('input[name="net.dhcpFallbackIP"]').fill('169.254.1.5');
  const sent = page.waitForRequest((r) => r.url().endsWith(apiPath('settings')) && r.method() === 'PUT');
  await page.getByRole('button', { name: 'Save changes' }).click();
  // The write schema requires "mode" beside any network member.
  assert.deepEqual((await sent).postDataJSON(), { isp: { brightness: 70 }, net: { dhcpFallbackIP: '169.254.1.5', mode: 'dhcp' } });
  await page.getByText('Saved: isp.brightness, net.dhcpFallbackIP.').waitFor();
  await page.reload();
  await page.locator('input[name="isp.brightness"]').waitFor();
  assert.equal(await page.locator('input[name="isp.brightness"]').inputValue(), '70');
  assert.equal(await page.locator('input[name="net.dhcpFallbackIP"]').inputValue(), '169.254.1.5');
  const { body } = await api('settings');
  assert.equal(body.isp.brightness, 70);
  assert.deepEqual(ui.problems(), []);
});

test('a value the camera refuses is marked at its field', async () => {
  const { page } = ui;
  ui.expectStatus(400);
  // 14 characters fit the form's limit of 25, but they are 28 bytes.
  const name = page.locator('input[name="device.name"]');
  await name.fill('ÉÉÉÉÉÉÉÉÉÉÉÉÉÉ');
  await page.getByRole('button', { name: 'Save changes' }).click();
  const row = page.locator('.field', { has: name });
  await row.getByText('The camera refused this value; nothing was changed.').waitFor();
  assert.equal(await name.getAttribute('aria-invalid'), 'true');
  assert.notEqual((await api('settings')).body.device.name, 'ÉÉÉÉÉÉÉÉÉÉÉÉÉÉ');
  await pageIsClean('settings-refused');
  ui.clearExpected();
});

test('a service is started and stopped with its switch', async () => {
  const { page } = ui;
  await openPage('Services');
  const ssh = page.getByRole('switch', { name: 'ssh' });
  await ssh.waitFor();
  const was = (await api('services')).body.ssh;
  assert.equal(await ssh.isChecked(), was);
  await ssh.click();
  await page.getByText(`ssh ${was ? 'stopped' : 'started'}.`).waitFor();
  assert.equal((await api('services')).body.ssh, !was);
  await pageIsClean('services');
});

test('a scan while another runs is told so; then a network is joined', async () => {
  const { page } = ui;
  ui.expectStatus(429);
  await camera.camsim('ctl', 'orvo_networkd', 'scan-duration', '1500');
  await camera.camsim('ctl', 'orvo_networkd', 'ap', 'Cafe', 'open');
  await openPage('Wireless');
  const other = api('ap');
  await page.waitForTimeout(300);
  await page.getByRole('button', { name: 'Scan for networks' }).click();
  await page.getByText('Another scan is already running.').waitFor();
  assert.equal((await other).status, 200);
  await page.getByRole('button', { name: 'Scan for networks' }).click();
  await page.getByText('4 networks found.').waitFor();
  await page.getByLabel(/^Cafe \(open/).check();
  await pageIsClean('wireless');
  await page.getByRole('button', { name: 'Join the network' }).click();
  await page.getByText('The camera has applied the settings.').waitFor({ timeout: 35000 });
  await page.getByText(/^Joined to Cafe/).waitFor();
  assert.equal((await api('status')).body.wifi.ssid, 'Cafe');
  ui.clearExpected();
});

test('the live picture refreshes', async () => {
  const { page } = ui;
  await openPage('Live picture');
  const image = page.getByRole('img', { name: 'The latest picture from the camera' });
  await page.waitForFunction(() => document.querySelector('img.snapshot').naturalWidth > 0);
  const first = await image.getAttribute('src');
  await page.waitForFunction((src) => {
    const img = document.querySelector('img.snapshot');
    return img.src !== src && img.naturalWidth > 0;
  }, first, { timeout: 5000 });
  assert.match(await image.getAttribute('src'), /^blob:/);
  await pageIsClean('live');
});

test('maintenance: the log newest first and searchable, the support bundle, a confirmed picture reset', async () => {
  const { page } = ui;
  await openPage('Maintenance');
  const lines = page.locator('ol.log li');
  await lines.first().waitFor();
  const log = (await api('syslog')).body.filter((line) => line !== '');
  assert.equal(await lines.first().textContent(), log.at(-1));
  await page.getByLabel('Search the log').fill('rest_settings');
  const shown = await lines.allTextContents();
  assert.ok(shown.length > 0 && shown.every((line) => line.toLowerCase().includes('rest_settings')));
  await pageIsClean('maintenance');

  const download = page.waitForEvent('download');
  await page.getByRole('link', { name: 'Download the support bundle' }).click();
  assert.match((await download).suggestedFilename(), /^support-.+\.sup$/);

  await page.getByRole('button', { name: 'Reset the picture' }).click();
  await page.getByRole('dialog').getByText('your picture adjustments will be lost').waitFor();
  await page.getByRole('dialog').getByRole('button', { name: 'Reset the picture' }).click();
  await page.getByText('The picture settings are back to their factory values.').waitFor();
  assert.equal((await api('settings')).body.isp.brightness, 50);
  assert.deepEqual(ui.problems(), []);
});

test('a confirmed restart is waited through, back to the login', async () => {
  const { page } = ui;
  ui.expectStatus(401, 500);
  await page.getByRole('button', { name: 'Restart' }).click();
  await page.getByRole('dialog').getByText('No setting is lost.').waitFor();
  await page.getByRole('dialog').getByRole('button', { name: 'Restart' }).click();
  await page.getByText('The camera has restarted. Log in again.').waitFor({ timeout: 60000 });
  assert.match(await camera.camsim('status'), /^reboots: 1 /m);
  await logInThroughForm(page);
  await page.getByRole('heading', { name: 'Maintenance' }).waitFor();
  assert.deepEqual(ui.problems(), []);
});

test('every request that changes state is same-origin, as the camera requires', async () => {
  const { changes } = ui;
  assert.ok(changes.some((c) => c.method === 'PUT' && c.url.endsWith('/settings')));
  for (const change of changes) {
    assert.equal(change.site, 'same-origin', `${change.method} ${change.url}`);
    assert.equal(change.origin, camera.baseUrl, `${change.method} ${change.url}`);
  }
});
