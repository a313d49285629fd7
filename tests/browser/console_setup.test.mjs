// The first-time setup wizard, with the keyboard alone: a name, a static
// address, the wireless network "HomeNet" from a scan, a controller; then the
// dashboard shows it all. A factory reset from the maintenance page brings
// the wizard back.
import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';
import { apiPath, openConsole, launchBrowser, screenshot, seriousViolations, startCamera } from './support.mjs';

let camera;
let browser;
let ui;

before(async () => {
  [camera, browser] = await Promise.all([startCamera(), launchBrowser()]);
  await camera.camsim('ctl', 'orvo_networkd', 'scan-duration', '300');
  ui = await openConsole(browser, camera);
});

after(async () => {
  await browser?.close();
  await camera?.stop();
});

// Tab until the focus is on the element that matches; keys only.
async function tabTo(page, selector, limit = 25) {
  for (let press = 0; press < limit; ++press) {
    if (await page.evaluate((s) => document.activeElement?.matches(s), selector)) return;
    await page.keyboard.press('Tab');
  }
  assert.fail(`no focus on ${selector} after ${limit} presses of Tab`);
}

async function typeInto(page, selector, text) {
  await tabTo(page, selector);
  await page.keyboard.press('Control+A');
  await page.keyboard.type(text);
}

async function stepIsClean(page, name) {
  assert.deepEqual(await seriousViolations(page), [], name);
  await screenshot(page, name);
}

async function logIn(page) {
  await page.getByRole('heading', { name: 'Log in to the camera' }).waitFor();
  await typeInto(page, 'input[name="password"]', 'admin');
  await page.keyboard.press('Enter');
}

const controller = { addr: 'ctl.example.net:7443', uuid: '2b1f5c8e-3a44-4c1e-8d2f-6a7b9c0d1e2f' };

test('the setup wizard, with the keyboard alone, joins HomeNet and lands', async () => {
  const { page } = ui;
  await logIn(page);
  await page.getByText('Step 1 of 5: Device name').waitFor();
  await stepIsClean(page, 'setup-1-name');
  await typeInto(page, 'input[name="deviceName"]', 'Porch camera');
  await page.keyboard.press('Enter');

  await page.getByText('Step 2 of 5: Network').waitFor();
  await tabTo(page, 'input[name="netMode"]');
  await page.keyboard.press('ArrowDown');
  await typeInto(page, 'input[name="netIp"]', '192.168.1.80');
  await typeInto(page, 'input[name="netMask"]', '255.255.255.0');
  await typeInto(page, 'input[name="netGw"]', '192.168.1.1');
  await typeInto(page, 'input[name="netDns1"]', '192.168.1.1');
  await stepIsClean(page, 'setup-2-network');
  await page.keyboard.press('Enter');

  await page.getByText('Step 3 of 5: Wireless').waitFor();
  await tabTo(page, 'button[name="scan"]');
  await page.keyboard.press('Enter');
  await page.getByText('3 networks found.').waitFor();
  await tabTo(page, 'input[type="radio"]');
  await page.keyboard.press('ArrowDown');
  assert.equal(await page.evaluate(() => document.activeElement.value), 'HomeNet');
  await typeInto(page, 'input[name="passphrase"]', 'orchard-lane-42');
  await stepIsClean(page, 'setup-3-wireless');
  await page.keyboard.press('Enter');

  await page.getByText('Step 4 of 5: Controller').waitFor();
  await typeInto(page, 'input[name="ctlAddr"]', controller.addr);
  await typeInto(page, 'input[name="ctlUuid"]', controller.uuid);
  await stepIsClean(page, 'setup-4-controller');
  await page.keyboard.press('Enter');

  await page.getByText('Step 5 of 5: Review and apply').waitFor();
  await stepIsClean(page, 'setup-5-review');
  await tabTo(page, 'button[type="submit"]');
  await page.keyboard.press('Enter');

  await page.getByRole('heading', { name: 'Dashboard' }).waitFor({ timeout: 40000 });
  const field = (name) => page.locator(`[data-field="${name}"]`);
  assert.equal(await field('Wireless/Network').textContent(), 'HomeNet');
  assert.equal(await field('Network/Address').textContent(), '192.168.1.80');
  await stepIsClean(page, 'dashboard');

  const setup = await page.evaluate((path) => fetch(path).then((r) => r.json()), apiPath('setup'));
  assert.equal(setup.ctlAddr, controller.addr);
  assert.equal(setup.ctlUuid, controller.uuid);
  const settings = await page.evaluate((path) => fetch(path).then((r) => r.json()), apiPath('settings'));
  assert.equal(settings.device.name, 'Porch camera');
  assert.equal(settings.device.firstTimeUse, false);
  assert.deepEqual(ui.problems(), []);
});

test('the dashboard refreshes in place, without rebuilding what it shows', async () => {
  const { page } = ui;
  await page.evaluate(() => {
    window.removedElements = 0;
    new MutationObserver((records) => {
      for (const record of records) {
        window.removedElements += [...record.removedNodes].filter((n) => n.nodeType === Node.ELEMENT_NODE).length;
      }
    }).observe(document.getElementById('main'), { childList: true, subtree: true });
  });
  // HomeNet goes out of sight: the station loses it, and the dashboard says so.
  await camera.camsim('ctl', 'orvo_networkd', 'ap', 'HomeNet', 'remove');
  await page.waitForFunction(() => document.querySelector('[data-field="Wireless/Mode"]').textContent !== 'station',
    null, { timeout: 10000 });
  await camera.camsim('ctl', 'orvo_networkd', 'ap', 'HomeNet', 'orchard-lane-42', '-52');
  await page.waitForFunction(() => document.querySelector('[data-field="Wireless/Mode"]').textContent === 'station',
    null, { timeout: 10000 });
  assert.equal(await page.evaluate(() => window.removedElements), 0);
});

test('a factory reset asks first, names what is lost, and brings the wizard back', async () => {
  const { page } = ui;
  ui.expectStatus(401, 500);
  await page.getByRole('link', { name: 'Maintenance' }).click();
  await page.getByRole('button', { name: 'Factory reset' }).click();
  const dialog = page.getByRole('dialog');
  await dialog.getByText(/the network and wireless settings, the controller adoption/).waitFor();
  await stepIsClean(page, 'maintenance-factory-reset');
  // Cancel changes nothing.
  await dialog.getByRole('button', { name: 'Cancel' }).click();
  assert.equal(await page.getByRole('dialog').count(), 0);
  await page.getByRole('button', { name: 'Factory reset' }).click();
  await page.getByRole('dialog').getByRole('button', { name: 'Factory reset' }).click();
  await page.getByText('The camera is back to its factory settings.').waitFor({ timeout: 60000 });
  await logIn(page);
  await page.getByText('Step 1 of 5: Device name').waitFor();
  const setup = await page.evaluate((path) => fetch(path).then((r) => r.json()), apiPath('setup'));
  assert.equal(setup.wifiSsid, '');
  assert.equal(setup.ctlAddr, '');
  assert.match(await camera.camsim('status'), /^reboots: 1 /m);
  assert.deepEqual(ui.problems(), []);
});
