// Small helpers to build the pages without any framework.
let nextId = 0;
export const uid = (prefix) => `${prefix}-${++nextId}`;

// h('p', {class: 'x'}, 'text', child): attributes starting with "on" are listeners.
export function h(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value === undefined || value === null || value === false) continue;
    if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
    else if (name in element && typeof value !== 'string') element[name] = value;
    else element.setAttribute(name, value === true ? '' : value);
  }
  element.append(...children.flat().filter((child) => child !== null && child !== undefined));
  return element;
}

// A labelled control with a line for its error, tied by aria-describedby.
export function labelled(text, control, hint) {
  control.id ||= uid('field');
  const error = h('p', { class: 'error', id: uid('error'), hidden: true });
  const describedBy = [error.id];
  const parts = [h('label', { for: control.id }, text), control];
  if (hint) {
    const note = h('p', { class: 'hint', id: uid('hint') }, hint);
    describedBy.push(note.id);
    parts.push(note);
  }
  control.setAttribute('aria-describedby', describedBy.join(' '));
  parts.push(error);
  const row = h('div', { class: 'field' }, parts);
  row.showError = (message) => {
    error.textContent = message || '';
    error.hidden = !message;
    if (message) control.setAttribute('aria-invalid', 'true');
    else control.removeAttribute('aria-invalid');
  };
  return row;
}

// A message area read out by screen readers.
export function messageBox() {
  const box = h('div', { class: 'message', role: 'status', 'aria-live': 'polite' });
  box.say = (text, kind = 'info') => {
    box.className = `message ${kind}`;
    box.textContent = text;
  };
  return box;
}

// Asks before anything is lost; the question names what goes.
export function confirmAction(title, whatIsLost, action) {
  return new Promise((resolve) => {
    const dialog = h('dialog', { class: 'confirm', 'aria-labelledby': uid('title') });
    const heading = h('h2', { id: dialog.getAttribute('aria-labelledby') }, title);
    const close = (answer) => {
      dialog.close();
      dialog.remove();
      resolve(answer);
    };
    dialog.append(
      heading,
      h('p', {}, whatIsLost),
      h('div', { class: 'actions' },
        h('button', { type: 'button', onclick: () => close(false) }, 'Cancel'),
        h('button', { type: 'button', class: 'danger', onclick: () => close(true) }, action)),
    );
    dialog.addEventListener('cancel', () => resolve(false));
    document.body.append(dialog);
    dialog.showModal();
  });
}

export function formatDuration(seconds) {
  const days = Math.floor(seconds / 86400);
  const hours = Math.floor((seconds % 86400) / 3600);
  const minutes = Math.floor((seconds % 3600) / 60);
  return `${days ? `${days} d ` : ''}${hours} h ${minutes} min`;
}
