// The camera answers a setup form at once and applies it a moment later:
// these helpers watch the status until the change shows, within a bound.
import { getJson, request, sleep } from './api.js';

export const applySeconds = 30;

// Whether the status (and the setup form read back) show what was sent.
export function landed(sent, status, form) {
  if (sent.wifiSsid !== undefined) {
    if (status.wifi?.mode !== 'station' || status.wifi.ssid !== sent.wifiSsid) return false;
  }
  if (sent.netMode === 'static' && status.network?.ip !== sent.netIp) return false;
  if (sent.ctlAddr !== undefined && (form.ctlAddr !== sent.ctlAddr || form.ctlUuid !== (sent.ctlUuid ?? form.ctlUuid))) {
    return false;
  }
  return true;
}

// PUT the form, then follow it. Resolves to 'landed', 'late', 'busy' or 'refused'.
export async function applySetup(sent, onTick) {
  const response = await request('setup', { method: 'PUT', json: sent, ok: [200, 429, 500] });
  if (response.status === 429) return 'busy';
  if (response.status === 500) return 'refused';
  const deadline = Date.now() + applySeconds * 1000;
  while (Date.now() < deadline) {
    onTick?.(Math.ceil((deadline - Date.now()) / 1000));
    await sleep(1000);
    const [status, form] = await Promise.all([getJson('status'), getJson('setup')]);
    if (landed(sent, status, form)) return 'landed';
  }
  return 'late';
}

export const applyOutcome = {
  landed: 'The camera has applied the settings.',
  late: `The camera has not shown the new settings within ${applySeconds} seconds: they may not have landed. Check the values (a wireless passphrase, a network out of reach) and try again.`,
  busy: 'The camera is still applying an earlier form. Wait a moment and try again.',
  refused: 'The camera refused the form: a required value is missing or not allowed.',
};
