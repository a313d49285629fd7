// The camera's REST interface as docs/openapi.yaml describes it. Every call
// is a same-origin request that carries the session cookie. It goes to the
// program's own path, which every web server of the camera serves (BusyBox's
// httpd has no rewrite for the shorter "/api/" form).
const base = '/cgi-bin/rest.cgi?id=1.2/';

// The address of an endpoint, for links the browser follows itself.
export const endpointUrl = (endpoint) => base + endpoint;

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
  const response = await fetch(endpointUrl(endpoint), init);
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
    xhr.open('POST', endpointUrl(endpoint));
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
