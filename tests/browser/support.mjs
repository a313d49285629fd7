// What every browser test shares: a simulated camera of its own (camsim up
// on a free port, in a root under the build folder), and Debian's Chromium
// driven by playwright-core (no browser of Playwright's own).
import { execFile } from 'node:child_process';
import { mkdtempSync, mkdirSync, readFileSync, rmSync } from 'node:fs';
import { createServer } from 'node:net';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { promisify } from 'node:util';

const run = promisify(execFile);

// Set by CTest (tests/browser/CMakeLists.txt).
export const sourceDir = process.env.ORVO_SOURCE_DIR;
export const buildDir = process.env.ORVO_BINARY_DIR;
const restCgi = process.env.ORVO_REST_CGI;
const chromiumPath = process.env.ORVO_CHROMIUM || '/usr/bin/chromium';

const toolsRequire = createRequire(join(sourceDir, 'tools/browser/package.json'));
const { chromium } = toolsRequire('playwright-core');

// An endpoint's path as the console asks it: the program's own path, which
// every web server of the camera serves.
export const apiPath = (endpoint) => `/cgi-bin/rest.cgi?id=1.2/${endpoint}`;

// The console's files and the types the camera must serve them with.
export const consoleFileTypes = {
  '/': 'text/html', '/js/main.js': 'text/javascript', '/console.css': 'text/css',
  '/icon.svg': 'image/svg+xml', '/api-schema.json': 'application/json',
};

export function scratchFolder() {
  const folder = join(buildDir, 'tmp');
  mkdirSync(folder, { recursive: true });
  return folder;
}

export function freePort() {
  return new Promise((resolve, reject) => {
    const server = createServer();
    server.once('error', reject);
    server.listen(0, '127.0.0.1', () => {
      const { port } = server.address();
      server.close(() => resolve(port));
    });
  });
}

function camsimEnvironment() {
  const env = {};
  for (const [key, value] of Object.entries(process.env)) {
    if (!key.startsWith('ORVO_')) env[key] = value;
  }
  env.ORVO_BUILD_DIR = buildDir;
  return env;
}

export async function camsim(root, command, ...args) {
  const { stdout } = await run(join(sourceDir, 'camsim'), [command, '--root', root, ...args], {
    env: camsimEnvironment(),
    timeout: 60000,
  });
  return stdout;
}

// A running simulated camera; stop() takes it down and removes its root.
export async function startCamera() {
  const root = mkdtempSync(join(scratchFolder(), 'browser-root-'));
  let lastError;
  // Another program may take the port between freePort() and the bind.
  for (let attempt = 0; attempt < 5; ++attempt) {
    const port = await freePort();
    try {
      await camsim(root, 'up', '--port', String(port), '--cgi', restCgi);
      return {
        root,
        port,
        baseUrl: `http://127.0.0.1:${port}`,
        camsim: (command, ...args) => camsim(root, command, ...args),
        async stop() {
          await camsim(root, 'down').catch(() => {});
          rmSync(root, { recursive: true, force: true });
        },
      };
    } catch (error) {
      lastError = error;
    }
  }
  throw lastError;
}

// Flags for a sandboxed test machine with no network beyond loopback.
const chromiumFlags = [
  '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync',
  '--disable-extensions',
];

export async function launchBrowser() {
  return chromium.launch({ executablePath: chromiumPath, headless: true, args: chromiumFlags });
}

// --- The web console -------------------------------------------------------

// A page of the console with a watch on everything that goes wrong in it:
// console errors, uncaught exceptions, failed requests, and answers of 400
// and above that the test did not declare with expectStatus().
export async function openConsole(browser, camera) {
  const context = await browser.newContext({ acceptDownloads: true });
  const page = await context.newPage();
  const problems = [];
  const expected = new Set();
  const errorStatus = /status of (\d{3})/;
  page.on('console', (message) => {
    if (message.type() !== 'error') return;
    const status = errorStatus.exec(message.text());
    if (!status || !expected.has(Number(status[1]))) problems.push(`console: ${message.text()}`);
  });
  page.on('pageerror', (error) => problems.push(`exception: ${error.message}`));
  page.on('requestfailed', (request) => {
    // A download the test has saved ends the request on purpose.
    if (request.failure()?.errorText !== 'net::ERR_ABORTED') {
      problems.push(`failed: ${request.method()} ${request.url()} ${request.failure()?.errorText}`);
    }
  });
  page.on('response', (response) => {
    if (response.status() >= 400 && !expected.has(response.status())) {
      problems.push(`answer: ${response.status()} ${response.request().method()} ${response.url()}`);
    }
  });
  // What the camera sees of each request that changes state: it refuses
  // those the browser marks as cross-site.
  const changes = [];
  page.on('request', async (request) => {
    if (['GET', 'HEAD'].includes(request.method()) || !request.url().includes('/cgi-bin/rest.cgi')) return;
    const headers = await request.allHeaders();
    changes.push({ method: request.method(), url: request.url(), origin: headers.origin,
      site: headers['sec-fetch-site'] });
  });
  await page.goto(camera.baseUrl + '/');
  return {
    page,
    context,
    changes,
    // Statuses this part of the test provokes on purpose.
    expectStatus(...statuses) { for (const s of statuses) expected.add(s); },
    clearExpected() { expected.clear(); },
    problems() { return problems.splice(0); },
  };
}

const axePath = () => join(sourceDir, 'tools/browser/node_modules/axe-core/axe.min.js');

// axe-core's findings of serious or critical impact on the page as it stands.
// The console's content security policy refuses inline scripts, so axe is
// evaluated through the debugging protocol rather than added as a tag.
export async function seriousViolations(page) {
  if (!(await page.evaluate(() => Boolean(window.axe)))) await page.evaluate(readFileSync(axePath(), 'utf8'));
  const results = await page.evaluate(() => window.axe.run(document, { resultTypes: ['violations'] }));
  return results.violations
    .filter((v) => v.impact === 'serious' || v.impact === 'critical')
    .map((v) => `${v.id} (${v.impact}): ${v.nodes.map((n) => n.target.join(' ')).join(', ')}`);
}

// Screenshots are kept under <build>/artifacts/console/ (CI keeps them).
export async function screenshot(page, name) {
  const folder = join(buildDir, 'artifacts/console');
  mkdirSync(folder, { recursive: true });
  await page.screenshot({ path: join(folder, `${name}.png`), fullPage: true });
}

// The camera's API for a test's own checks and preparations, with a session
// of its own (admin/admin): api('status'), api('settings', {method: 'PUT', json}).
export async function apiSession(camera) {
  const login = await fetch(camera.baseUrl + apiPath('login'), {
    method: 'POST', headers: { 'Content-Type': 'application/json' },
    body: JSON.stringify({ username: 'admin', password: 'admin' }),
  });
  if (login.status !== 200) throw new Error(`login answered ${login.status}`);
  const cookie = login.headers.get('set-cookie').split(';')[0];
  return async (endpoint, { method = 'GET', json } = {}) => {
    const headers = { Cookie: cookie };
    if (json !== undefined) headers['Content-Type'] = 'application/json';
    const response = await fetch(camera.baseUrl + apiPath(endpoint), {
      method, headers, body: json === undefined ? undefined : JSON.stringify(json),
    });
    const type = response.headers.get('content-type') || '';
    return { status: response.status, body: type.startsWith('application/json') ? await response.json() : null };
  };
}

// Opens the maintenance page's log, searches it for `term` and returns the
// lines then shown (newest first).
export async function searchLog(page, term) {
  const lines = page.locator('ol.log li');
  await lines.first().waitFor();
  await page.getByLabel('Search the log').fill(term);
  return lines.allTextContents();
}

// Logs the page in through the login form (the camera past its first use).
export async function logInThroughForm(page, password = 'admin') {
  await page.getByLabel('Password').fill(password);
  await page.getByRole('button', { name: 'Log in' }).click();
}
