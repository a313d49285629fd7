// The settings editor. Its form is generated from the settings document and
// the schemas of docs/openapi.yaml (api-schema.json): a control per value,
// typed by the value and constrained by the write schema. A save sends only
// what was changed, with the members the write schema requires beside them.
import { ApiError, getJson, request } from './api.js';
import { h, labelled, messageBox } from './dom.js';

const sectionTitles = {
  analytics: 'Analytics', av: 'Video', controller: 'Controller', device: 'Device',
  httpd: 'Web server', isp: 'Picture', net: 'Network', nvr: 'Recording',
  osd: 'On-screen display', soundled: 'Sound and lights', wifi: 'Wireless',
};
const secret = /^(key|psk|password.*)$/i;
// The bus's routing members that a daemon's section carries along: no setting.
const routing = new Set(['from', 'to', 'id']);

const humanise = (key) => key.replace(/([a-z0-9])([A-Z])/g, '$1 $2')
  .replace(/^./, (c) => c.toUpperCase());

function loadSchema() {
  return fetch('api-schema.json', { cache: 'no-store' }).then((r) => r.json());
}

// The write schema of a member: undefined when the parent lists its members
// and this is not one of them (read-only), {} when the parent is free-form.
function childSchema(schema, key) {
  if (!schema) return undefined;
  if (!schema.properties) return schema.type === 'object' || !schema.type ? {} : undefined;
  return schema.properties[key];
}

function control(path, value, schema) {
  const name = path.join('.');
  if (typeof value === 'boolean') {
    return h('input', { type: 'checkbox', name, checked: value });
  }
  if (typeof value === 'number') {
    return h('input', { type: 'number', name, value: String(value), step: Number.isInteger(value) ? '1' : 'any' });
  }
  if (schema?.enum) {
    const options = schema.enum.includes(value) ? schema.enum : [value, ...schema.enum];
    return h('select', { name }, options.map((option) =>
      h('option', { value: option, selected: option === value }, option === '' ? '(not set)' : option)));
  }
  return h('input', {
    type: secret.test(path.at(-1)) ? 'password' : 'text', name, value: String(value),
    maxlength: schema?.maxLength, autocomplete: 'off',
  });
}

function readControl(input) {
  if (input.type === 'checkbox') return input.checked;
  if (input.type === 'number') return input.value === '' ? NaN : Number(input.value);
  return input.value;
}

// Builds the rows of one object; fields collects {path, input, row, original}.
function build(path, value, schema, fields) {
  const rows = [];
  for (const [key, member] of Object.entries(value)) {
    if (path.length === 1 && routing.has(key)) continue;
    const memberPath = [...path, key];
    const memberSchema = childSchema(schema, key);
    if (member && typeof member === 'object' && !Array.isArray(member)) {
      rows.push(h('fieldset', {}, h('legend', {}, humanise(key)), build(memberPath, member, memberSchema, fields)));
    } else if (memberSchema === undefined || Array.isArray(member) || member === null) {
      rows.push(h('p', { class: 'readonly' }, `${humanise(key)}: `, h('span', {}, JSON.stringify(member))));
    } else {
      const input = control(memberPath, member, memberSchema);
      const row = labelled(humanise(key), input);
      fields.push({ path: memberPath, input, row, original: member, schema: memberSchema });
      rows.push(row);
    }
  }
  return rows;
}

function setPath(target, path, value) {
  let node = target;
  for (const key of path.slice(0, -1)) node = node[key] ??= {};
  node[path.at(-1)] = value;
}

// Members the write schema requires beside a changed one (net.mode), as
// they stand in the document.
export function addRequired(body, document, writeSchema, path) {
  let schema = writeSchema;
  for (let depth = 0; depth < path.length - 1 && schema; ++depth) {
    schema = schema.properties?.[path[depth]];
    const prefix = path.slice(0, depth + 1);
    const source = prefix.reduce((node, key) => node?.[key], document);
    const target = prefix.reduce((node, key) => node[key], body);
    for (const required of schema?.required || []) {
      if (target[required] === undefined && source?.[required] !== undefined) target[required] = source[required];
    }
  }
}

function validate(field, value) {
  if (typeof field.original === 'number' && !Number.isFinite(value)) return 'Enter a number.';
  if (field.schema?.maxLength && typeof value === 'string' && value.length > field.schema.maxLength) {
    return `At most ${field.schema.maxLength} characters.`;
  }
  if (field.schema?.enum && !field.schema.enum.includes(value)) return 'Choose one of the listed values.';
  return '';
}

// The changed fields and the body that carries them; null when a value is
// invalid (its field says why).
function collectChanges(fields, document, writeSchema) {
  const body = {};
  const changed = [];
  let invalid = false;
  for (const field of fields) {
    const value = readControl(field.input);
    const problem = validate(field, value);
    field.row.showError(problem);
    invalid ||= Boolean(problem);
    if (!problem && value !== field.original) {
      changed.push(field);
      setPath(body, field.path, value);
    }
  }
  if (invalid) return null;
  for (const field of changed) addRequired(body, document, writeSchema, field.path);
  return { body, changed };
}

// Sends the changes; true when the camera took them.
async function send({ body, changed }, message) {
  const response = await request('settings', { method: 'PUT', json: body, ok: [200, 400, 429] });
  if (response.status === 429) {
    message.say('Another change is being applied. Try again in a moment.', 'error');
  } else if (response.status === 400) {
    // The camera gives no reason: the changed fields are the ones concerned.
    for (const field of changed) field.row.showError('The camera refused this value; nothing was changed.');
    changed[0].input.focus();
    message.say('The camera refused the change (nothing was saved). See the marked field.', 'error');
  }
  return response.status === 200;
}

export function render(main) {
  const message = messageBox();
  const form = h('form', { class: 'settings', novalidate: true });
  const save = h('button', { type: 'submit' }, 'Save changes');
  main.append(h('h2', { class: 'page-title' }, 'Settings'), message, form);
  let fields = [];
  let document = null;
  let schemas = null;

  const load = async () => {
    [document, schemas] = await Promise.all([getJson('settings'), schemas || loadSchema()]);
    fields = [];
    const sections = Object.entries(document).map(([key, value]) => {
      const title = sectionTitles[key] || humanise(key);
      const content = value === null ? [h('p', {}, 'Not available: the part of the camera that keeps these settings did not answer.')]
        : build([key], value, childSchema(schemas.SettingsWrite, key), fields);
      return h('fieldset', { class: 'card section' }, h('legend', {}, title), content);
    });
    form.replaceChildren(...sections, h('div', { class: 'actions sticky' }, save));
  };

  form.addEventListener('submit', async (event) => {
    event.preventDefault();
    const changes = collectChanges(fields, document, schemas.SettingsWrite);
    if (!changes) return message.say('Some values need correcting; see the marked fields.', 'error');
    if (!changes.changed.length) return message.say('Nothing was changed.');
    save.disabled = true;
    message.say('Saving…');
    try {
      if (await send(changes, message)) {
        await load();
        message.say(`Saved: ${changes.changed.map((f) => f.path.join('.')).join(', ')}.`);
      }
    } catch (error) {
      if (!(error instanceof ApiError && error.status === 401)) message.say(`Saving failed (${error.message}).`, 'error');
    } finally {
      save.disabled = false;
    }
  });
  load().catch((error) => message.say(`The settings could not be read (${error.message}).`, 'error'));
}
