// The latest still image, fetched again every second. The interface takes no
// query after its path, so the picture is fetched and shown from a blob.
import { request } from './api.js';
import { h, messageBox } from './dom.js';

const refreshMs = 1000;

export function render(main) {
  const image = h('img', { class: 'snapshot', alt: 'The latest picture from the camera', width: 640, height: 360 });
  const stamp = h('p', { class: 'hint' });
  const message = messageBox();
  main.append(h('h2', { class: 'page-title' }, 'Live picture'), message,
    h('figure', {}, image, h('figcaption', {}, stamp)));
  let url = null;
  let timer = null;
  let stopped = false;
  const refresh = async () => {
    try {
      const response = await request('snapshot', { ok: [200, 404] });
      if (response.status === 404) {
        message.say('The camera has no picture yet.');
      } else {
        const next = URL.createObjectURL(await response.blob());
        await new Promise((resolve) => { image.onload = image.onerror = resolve; image.src = next; });
        if (url) URL.revokeObjectURL(url);
        url = next;
        stamp.textContent = `Taken at ${new Date().toLocaleTimeString()}`;
        message.say('');
      }
    } catch (error) {
      message.say(`The picture could not be read (${error.message}).`, 'error');
    }
    if (!stopped) timer = setTimeout(refresh, refreshMs);
  };
  refresh();
  return () => {
    stopped = true;
    clearTimeout(timer);
    if (url) URL.revokeObjectURL(url);
  };
}
