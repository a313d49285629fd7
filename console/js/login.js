// Log in with the account's name and password; the camera sets the cookie.
import { request } from './api.js';
import { h, labelled, messageBox } from './dom.js';

// Five failures lock the login for 300 s after the last one.
const lockdownSeconds = 300;

export function render(main, app, notice) {
  const user = h('input', { name: 'username', autocomplete: 'username', required: true, value: 'admin' });
  const password = h('input', { name: 'password', type: 'password', autocomplete: 'current-password', required: true });
  const message = messageBox();
  if (notice) message.say(notice);
  const button = h('button', { type: 'submit' }, 'Log in');

  const form = h('form', { class: 'card narrow', 'aria-labelledby': 'login-title' },
    h('h2', { id: 'login-title' }, 'Log in to the camera'),
    labelled('User name', user),
    labelled('Password', password),
    button,
    message);

  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    button.disabled = true;
    message.say('Logging in…');
    try {
      const response = await request('login', {
        method: 'POST', json: { username: user.value, password: password.value }, ok: [200, 401, 423],
      });
      if (response.status === 200) {
        app.loggedIn(await response.json());
        return;
      }
      password.value = '';
      if (response.status === 401) {
        message.say('Wrong user name or password.', 'error');
      } else {
        const until = new Date(Date.now() + lockdownSeconds * 1000);
        message.say(`Login is locked after too many failed attempts. Try again after ${until.toLocaleTimeString()} (at most 5 minutes).`, 'error');
      }
      password.focus();
    } catch (error) {
      message.say(`The camera could not log you in (${error.message}).`, 'error');
    } finally {
      button.disabled = false;
    }
  });
  main.append(form);
  (user.value ? password : user).focus();
}
