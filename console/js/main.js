// The console's shell: who is logged in, which page shows, the restart wait.
import { ApiError, getJson, onSessionEnded, request, sleep } from './api.js';
import { h } from './dom.js';
import * as login from './login.js';
import * as setup from './setup.js';
import * as dashboard from './dashboard.js';
import * as settings from './settings.js';
import * as live from './live.js';
import * as wireless from './wireless.js';
import * as services from './services.js';
import * as firmware from './firmware.js';
import * as maintenance from './maintenance.js';

// Route, title, module; the order is the menu's.
const pages = [
  ['dashboard', 'Dashboard', dashboard],
  ['settings', 'Settings', settings],
  ['live', 'Live picture', live],
  ['wireless', 'Wireless', wireless],
  ['services', 'Services', services],
  ['firmware', 'Firmware', firmware],
  ['maintenance', 'Maintenance', maintenance],
];
const loggedInKey = 'console.loggedIn';

const main = document.getElementById('main');
const nav = document.getElementById('nav');
const logoutButton = document.getElementById('logout');
let cleanup = null;

const app = {
  status: null,
  waiting: false,
  async refreshStatus() {
    app.status = await getJson('status');
    return app.status;
  },
  loggedIn(status) {
    app.status = status;
    sessionStorage.setItem(loggedInKey, '1');
    show(app.status?.device?.firstTimeUse ? 'setup' : routeOf(location.hash));
  },
  loggedOut(notice) {
    sessionStorage.removeItem(loggedInKey);
    app.status = null;
    show('login', notice);
  },
  goto(route) {
    if (location.hash === `#/${route}`) show(route);
    else location.hash = `#/${route}`;
  },
  // After a reboot, an upgrade or a factory reset: the camera has restarted
  // once the session it held is gone (its sessions live in /tmp).
  async waitForRestart(boundSeconds, onTick) {
    app.waiting = true;
    const deadline = Date.now() + boundSeconds * 1000;
    try {
      while (Date.now() < deadline) {
        onTick?.(Math.ceil((deadline - Date.now()) / 1000));
        try {
          await request('status');
        } catch (error) {
          if (error instanceof ApiError && error.status === 401) return true;
        }
        await sleep(1000);
      }
      return false;
    } finally {
      app.waiting = false;
    }
  },
};

function routeOf(hash) {
  const route = hash.replace(/^#\/?/, '');
  return pages.some(([name]) => name === route) ? route : 'dashboard';
}

function buildMenu() {
  nav.replaceChildren(h('ul', {}, pages.map(([route, title]) =>
    h('li', {}, h('a', { href: `#/${route}`, 'data-route': route }, title)))));
}

function show(route, notice) {
  cleanup?.();
  cleanup = null;
  const inside = route !== 'login' && route !== 'setup';
  nav.hidden = !inside;
  logoutButton.hidden = route === 'login';
  for (const link of nav.querySelectorAll('a')) {
    if (link.dataset.route === route) link.setAttribute('aria-current', 'page');
    else link.removeAttribute('aria-current');
  }
  const page = route === 'login' ? login : route === 'setup' ? setup
    : pages.find(([name]) => name === route)[2];
  const title = route === 'login' ? 'Log in' : route === 'setup' ? 'First-time setup'
    : pages.find(([name]) => name === route)[1];
  document.title = `${title} · Camera console`;
  main.replaceChildren();
  main.dataset.page = route;
  cleanup = page.render(main, app, notice) || null;
}

async function start() {
  buildMenu();
  onSessionEnded(() => {
    if (!app.waiting && app.status) app.loggedOut('Your session has ended. Please log in again.');
  });
  logoutButton.addEventListener('click', async () => {
    await request('logout', { method: 'POST', ok: [200, 500] }).catch(() => {});
    app.loggedOut('You are logged out.');
  });
  window.addEventListener('hashchange', () => {
    if (app.status && !app.status.device?.firstTimeUse) show(routeOf(location.hash));
  });
  // The cookie is HttpOnly: only a request tells whether it still holds.
  if (sessionStorage.getItem(loggedInKey)) {
    try {
      app.loggedIn(await getJson('status'));
      return;
    } catch {
      // Fall through to the login page.
    }
  }
  app.loggedOut();
}

start();
