// What every browser test shares: a simulated camera of its own (camsim up
// on a free port, in a root under the build folder), and Debian's Chromium
// driven by playwright-core (no browser of Playwright's own).
import { execFile } from 'node:child_process';
import { mkdtempSync, mkdirSync, rmSync } from 'node:fs';
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
