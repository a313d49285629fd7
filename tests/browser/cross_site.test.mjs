// A page of another origin (another port of the camera's own address, so
// the same site) tries what a hostile page would while the camera's admin
// is logged in in the same browser: an image tag pointing at the factory
// reset, and a form that posts a foreign firmware image. Both reach the
// camera with the session cookie, and both must be refused with 403,
// leaving the camera as it was.
import assert from 'node:assert/strict';
import { createServer } from 'node:http';
import { readFileSync, readdirSync, statSync } from 'node:fs';
import { join } from 'node:path';
import { after, before, test } from 'node:test';

import { freePort, launchBrowser, startCamera } from './support.mjs';

let camera;
let browser;
let attacker;
let attackerUrl;
let image;

function attackPage(cameraUrl) {
  return `<!doctype html><title>Cute cats</title>
<img src="${cameraUrl}/api/1.2/reset" alt="">
<iframe name="sink" title="sink"></iframe>
<form id="upload" method="post" enctype="multipart/form-data" target="sink"
      action="${cameraUrl}/api/1.2/firmware"><input type="file" name="fwfile" id="file"></form>
<script>
fetch('/image.bin').then((r) => r.arrayBuffer()).then((bytes) => {
  const files = new DataTransfer();
  files.items.add(new File([bytes], 'image.bin'));
  document.getElementById('file').files = files.files;
  document.getElementById('upload').submit();
});
</script>`;
}

function rebootCount(statusText) {
  const match = /reboots: (\d+)/.exec(statusText);
  assert.ok(match, statusText);
  return Number(match[1]);
}

// Every regular file under `folder` whose bytes are `bytes`.
function copiesOf(folder, bytes) {
  const found = [];
  for (const name of readdirSync(folder)) {
    const path = join(folder, name);
    const info = statSync(path, { throwIfNoEntry: false });
    if (!info) continue;
    if (info.isDirectory()) found.push(...copiesOf(path, bytes));
    else if (info.isFile() && info.size === bytes.length && readFileSync(path).equals(bytes)) found.push(path);
  }
  return found;
}

function cameraLog() {
  return readFileSync(join(camera.root, 'var/log/messages'), 'utf8');
}

before(async () => {
  camera = await startCamera();
  const imagePath = join(camera.root, 'foreign.bin');
  await camera.camsim('fwimage', '--version', 'OV-B4.v9.9.9.1.evil.230601.1200', '--unsigned', imagePath);
  image = readFileSync(imagePath);
  const port = await freePort();
  attacker = createServer((request, response) => {
    if (request.url === '/image.bin') {
      response.writeHead(200, { 'Content-Type': 'application/octet-stream' });
      response.end(image);
    } else {
      response.writeHead(200, { 'Content-Type': 'text/html; charset=utf-8' });
      response.end(attackPage(camera.baseUrl));
    }
  });
  await new Promise((resolve) => attacker.listen(port, '127.0.0.1', resolve));
  attackerUrl = `http://127.0.0.1:${port}/`;
  browser = await launchBrowser();
});

after(async () => {
  await browser?.close();
  attacker?.close();
  await camera?.stop();
});

test('a page of another origin can neither reset the camera nor stage an image', async () => {
  const context = await browser.newContext();
  const page = await context.newPage();
  // The admin logs in on the camera's own origin; the browser keeps the cookie.
  await page.goto(`${camera.baseUrl}/api/1.2/version`);
  const loggedIn = await page.evaluate(async () => {
    const answer = await fetch('/api/1.2/login', {
      method: 'POST',
      headers: { 'Content-Type': 'application/json' },
      body: JSON.stringify({ username: 'admin', password: 'admin' }),
    });
    return answer.status;
  });
  assert.equal(loggedIn, 200);
  const cookies = await context.cookies(camera.baseUrl);
  assert.equal(cookies.find((c) => c.name === 'authId')?.sameSite, 'Strict');
  const rebootsBefore = rebootCount(await camera.camsim('status'));

  const answers = new Map();
  page.on('response', (answer) => {
    const url = answer.url();
    if (url.startsWith(camera.baseUrl)) answers.set(new URL(url).pathname, answer.status());
  });
  await page.goto(attackerUrl);
  // Both requests were made and answered.
  const deadline = Date.now() + 20000;
  while (answers.size < 2 && Date.now() < deadline) await page.waitForTimeout(100);
  assert.equal(answers.get('/api/1.2/reset'), 403);
  assert.equal(answers.get('/api/1.2/firmware'), 403);

  const log = cameraLog();
  assert.match(log, /Cross-site request to 'reset' refused \(Sec-Fetch-Site 'same-site'/);
  assert.match(log, /Cross-site request to 'firmware' refused \(Sec-Fetch-Site 'same-site'/);
  assert.doesNotMatch(log, /rest_reset\[|rest_firmware\[/);
  assert.deepEqual(copiesOf(join(camera.root, 'tmp'), image), []);
  assert.equal(rebootCount(await camera.camsim('status')), rebootsBefore);
  await context.close();
});
