// The optional services, a switch each. The camera answers a switch at once
// and starts or stops the service a moment later: the state is read again
// until it shows, for a few seconds.
const settleTries = 10;

async function settled(name, wanted) {
  let now = !wanted;
  for (let attempt = 0; attempt < settleTries && now !== wanted; ++attempt) {
    if (attempt) await sleep(500);
    now = (await getJson('services'))[name];
  }
  return now;
}
import { getJson, putJson, sleep } from './api.js';
import { h, messageBox } from './dom.js';

export function render(main) {
  const message = messageBox();
  const list = h('ul', { class: 'services card' });
  main.append(h('h2', { class: 'page-title' }, 'Services'), message, list);

  const load = async () => {
    const services = await getJson('services');
    list.replaceChildren(...Object.entries(services).map(([name, running]) => {
      const toggle = h('input', { type: 'checkbox', role: 'switch', id: `service-${name}`, checked: running });
      toggle.addEventListener('change', async () => {
        toggle.disabled = true;
        try {
          const wanted = toggle.checked;
          await putJson('services', { [name]: wanted });
          const now = await settled(name, wanted);
          toggle.checked = now;
          message.say(now === wanted ? `${name} ${now ? 'started' : 'stopped'}.`
            : `${name} could not be ${wanted ? 'started' : 'stopped'}.`, now === wanted ? 'info' : 'error');
        } catch (error) {
          message.say(`${name} could not be changed (${error.message}).`, 'error');
        } finally {
          toggle.disabled = false;
        }
      });
      return h('li', {}, toggle, h('label', { for: toggle.id }, name));
    }));
  };
  load().catch((error) => message.say(`The services could not be read (${error.message}).`, 'error'));
}
