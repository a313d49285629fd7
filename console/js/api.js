// The camera's REST interface as docs/openapi.yaml describes it. Every call
// is a same-origin request that carries the session cookie.
const base = '/api/1.2/';

export class ApiError extends Error {
  constructor(endpoint, status) {
    super(`${endpoint}: the camera answered ${status}`);
    this.endpoint = endpoint;
    this.status = status;
  }
}

// Listeners learn that the session is gone (401 anywhere but at login).
const sessionListeners = new Set();
export function onSessionEnded(listener) {
  sessionListeners.add(listener);
  return () => sessionListeners.delete(listener);
}

export async function request(endpoint, { method = 'GET', json, ok = [200] } = {}) {
  const init = { method, credentials: 'same-origin', cache: 'no-store', headers: {} };
  if (json !== undefined) {
    init.headers['Content-Type'] = 'application/json';
    init.body = JSON.stringify(json);
  }
  const response = await fetch(base + endpoint, init);
  if (response.status === 401 && endpoint !== 'login') {
    for (const listener of sessionListeners) listener();
  }
  if (!ok.includes(response.status)) throw new ApiError(endpoint, response.status);
  return response;
}

export async function getJson(endpoint) {
  return (await request(endpoint)).json();
}

export function putJson(endpoint, json) {
  return request(endpoint, { method: 'PUT', json });
}

// fetch() reports no upload progress; XMLHttpRequest does.
export function upload(endpoint, field, file, onProgress) {
  return new Promise((resolve, reject) => {
    const xhr = new XMLHttpRequest();
    xhr.open('POST', base + endpoint);
    xhr.responseType = 'json';
    xhr.upload.addEventListener('progress', (event) => {
      if (event.lengthComputable) onProgress(event.loaded, event.total);
    });
    xhr.addEventListener('load', () => {
      if (xhr.status === 401) for (const listener of sessionListeners) listener();
      resolve({ status: xhr.status, body: xhr.response });
    });
    xhr.addEventListener('error', () => reject(new ApiError(endpoint, 0)));
    const form = new FormData();
    form.append(field, file);
    xhr.send(form);
  });
}

export const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));
