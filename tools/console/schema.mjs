#!/usr/bin/env node
// Writes console/api-schema.json: the settings schemas of docs/openapi.yaml
// (from the build's bundle, <build>/docs/openapi.json) with references
// resolved and descriptions dropped, which the console's settings form is
// generated from. --check compares instead of writing (exit 1 when stale).
//   tools/console/schema.mjs [--check] [BUILD_DIR]
import { readFileSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const repo = join(dirname(fileURLToPath(import.meta.url)), '../..');
const wanted = ['SettingsDocument', 'SettingsWrite'];

function resolve(node, schemas) {
  if (Array.isArray(node)) return node.map((item) => resolve(item, schemas));
  if (!node || typeof node !== 'object') return node;
  if (node.$ref) return resolve(schemas[node.$ref.replace('#/components/schemas/', '')], schemas);
  const out = {};
  for (const [key, value] of Object.entries(node)) {
    if (key !== 'description') out[key] = resolve(value, schemas);
  }
  return out;
}

export function consoleSchema(openapi) {
  const { schemas } = openapi.components;
  return `${JSON.stringify(Object.fromEntries(wanted.map((name) => [name, resolve(schemas[name], schemas)])))}\n`;
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const args = process.argv.slice(2);
  const check = args[0] === '--check';
  const build = (check ? args[1] : args[0]) || join(repo, 'build');
  const text = consoleSchema(JSON.parse(readFileSync(join(build, 'docs/openapi.json'), 'utf8')));
  const target = join(repo, 'console/api-schema.json');
  if (!check) writeFileSync(target, text);
  else if (readFileSync(target, 'utf8') !== text) {
    console.error('console/api-schema.json is stale: run tools/console/schema.mjs');
    process.exit(1);
  }
}
