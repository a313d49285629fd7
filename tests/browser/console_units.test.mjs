// The console's pure parts, without a browser: when a setup form counts as
// applied, and what a settings save sends beside what was changed.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { sourceDir } from './support.mjs';

const { landed } = await import(join(sourceDir, 'console/js/apply.js'));
const { addRequired } = await import(join(sourceDir, 'console/js/settings.js'));
const schemas = JSON.parse(readFileSync(join(sourceDir, 'console/api-schema.json'), 'utf8'));

const status = (wifi, ip = '192.168.1.20') => ({ wifi, network: { ip } });
const form = { ctlAddr: '', ctlUuid: '' };

test('a wireless network counts as joined only in station mode on that network', () => {
  const sent = { wifiSsid: 'HomeNet', wifiKey: 'wpa', wifiAuth: 'psk', wifiPsk: 'orchard-lane-42' };
  assert.equal(landed(sent, status({ mode: 'station', ssid: 'HomeNet' }), form), true);
  assert.equal(landed(sent, status({ mode: 'searching' }), form), false);
  assert.equal(landed(sent, status({ mode: 'station', ssid: 'Neighbours' }), form), false);
  assert.equal(landed(sent, status(null), form), false);
});

test('a static address counts once the status shows it; DHCP needs nothing shown', () => {
  const sent = { netMode: 'static', netIp: '192.168.1.80', netMask: '255.255.255.0', netGw: '192.168.1.1' };
  assert.equal(landed(sent, status(null, '192.168.1.80'), form), true);
  assert.equal(landed(sent, status(null, '192.168.1.20'), form), false);
  assert.equal(landed({ netMode: 'dhcp' }, status(null), form), true);
});

test('a controller counts once the setup form reads it back', () => {
  const sent = { ctlAddr: 'ctl.example.net:7443', ctlUuid: '2b1f5c8e-3a44-4c1e-8d2f-6a7b9c0d1e2f' };
  assert.equal(landed(sent, status(null), form), false);
  assert.equal(landed(sent, status(null), { ...sent }), true);
  assert.equal(landed(sent, status(null), { ...sent, ctlUuid: '' }), false);
});

test('a changed network member is sent with the mode the write schema requires', () => {
  const document = { net: { mode: 'static', ip: '192.168.1.80', mask: '255.255.255.0' }, isp: { brightness: 50 } };
  const body = { net: { gw: '192.168.1.1' } };
  addRequired(body, document, schemas.SettingsWrite, ['net', 'gw']);
  assert.deepEqual(body, { net: { gw: '192.168.1.1', mode: 'static' } });
  // A mode the person changed is kept; a free-form section requires nothing.
  const changedMode = { net: { mode: 'dhcp' }, isp: { brightness: 70 } };
  addRequired(changedMode, document, schemas.SettingsWrite, ['net', 'mode']);
  addRequired(changedMode, document, schemas.SettingsWrite, ['isp', 'brightness']);
  assert.deepEqual(changedMode, { net: { mode: 'dhcp' }, isp: { brightness: 70 } });
});
