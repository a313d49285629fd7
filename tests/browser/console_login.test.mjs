// The console's login: served as static files with the right types and
// policy, completed with the keyboard alone, a wrong password and the
// lockdown after five shown plainly, and logout.
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { promisify } from 'node:util';
import { gzipSync } from 'node:zlib';
import { after, before, test } from 'node:test';
import { apiPath, buildDir, consoleFileTypes, launchBrowser, openConsole, screenshot, seriousViolations, sourceDir, startCamera } from './support.mjs';

let camera;
let browser;
let ui;

before(async () => {
  [camera, browser] = await Promise.all([startCamera(), launchBrowser()]);
  ui = await openConsole(browser, camera);
});

after(async () => {
  await browser?.close();
  await camera?.stop();
});

async function typeLogin(page, password) {
  await page.getByLabel('Password').fill(password);
  await page.getByLabel('Password').press('Enter');
}

test('the console is served with its types and a policy that loads nothing from elsewhere', async () => {
  for (const [path, type] of Object.entries(consoleFileTypes)) {
    const response = await fetch(camera.baseUrl + path);
    assert.equal(response.status, 200, path);
    assert.ok(response.headers.get('content-type').startsWith(type), path);
    const policy = response.headers.get('content-security-policy');
    assert.match(policy, /default-src 'self'/, path);
    assert.doesNotMatch(policy, /https?:|\*/, path);
  }
});

// The camera's flash holds the whole console: 150 KiB once compressed.
test('the console fits 150 KiB gzip, and its settings schema matches the API description', async () => {
  const folder = join(sourceDir, 'console');
  let compressed = 0;
  for (const entry of readdirSync(folder, { recursive: true, withFileTypes: true })) {
    if (entry.isFile()) compressed += gzipSync(readFileSync(join(entry.parentPath, entry.name)), { level: 9 }).length;
  }
  console.log(`console: ${compressed} bytes gzip`);
  assert.ok(compressed > 0 && compressed <= 150 * 1024, `${compressed} bytes`);
  await promisify(execFile)(join(sourceDir, 'tools/console/schema.mjs'), ['--check', buildDir]);
});

test('the login page is accessible and completed with the keyboard alone', async () => {
  const { page } = ui;
  await page.getByRole('heading', { name: 'Log in to the camera' }).waitFor();
  assert.deepEqual(await seriousViolations(page), []);
  await screenshot(page, 'login');
  // The password field has the focus; Tab back to the user name and type.
  await page.keyboard.press('Shift+Tab');
  assert.equal(await page.evaluate(() => document.activeElement.name), 'username');
  await page.keyboard.press('Control+A');
  await page.keyboard.type('admin');
  await page.keyboard.press('Tab');
  await page.keyboard.type('admin');
  await page.keyboard.press('Enter');
  // A fresh camera is in its first use: the setup wizard follows the login.
  await page.getByRole('heading', { name: 'First-time setup' }).waitFor();
  assert.deepEqual(ui.problems(), []);
});

test('logout returns to the login page, and the cookie no longer opens the status', async () => {
  const { page, context } = ui;
  await page.getByRole('button', { name: 'Log out' }).click();
  await page.getByText('You are logged out.').waitFor();
  const cookies = await context.cookies();
  const response = await page.request.get(camera.baseUrl + apiPath('status'), {
    headers: { Cookie: cookies.map((c) => `${c.name}=${c.value}`).join('; ') } });
  assert.equal(response.status(), 401);
  assert.deepEqual(ui.problems(), []);
});

test('a wrong password is said so, and the lockdown after five is shown with when to retry', async () => {
  const { page } = ui;
  ui.expectStatus(401, 423);
  for (let attempt = 1; attempt <= 5; ++attempt) {
    await typeLogin(page, `wrong-${attempt}`);
    await page.getByText('Wrong user name or password.').waitFor();
    await page.evaluate(() => { document.querySelector('.message').textContent = ''; });
  }
  await typeLogin(page, 'admin');
  const locked = page.getByText(/Login is locked after too many failed attempts\. Try again after \d/);
  await locked.waitFor();
  assert.deepEqual(await seriousViolations(page), []);
  await screenshot(page, 'login-locked');
  // 301 seconds later the right password opens the console again.
  await camera.camsim('clock', '+301');
  await typeLogin(page, 'admin');
  await page.getByRole('heading', { name: 'First-time setup' }).waitFor();
  await camera.camsim('clock', 'reset');
  assert.deepEqual(ui.problems(), []);
});
