/**
 * The interface below /v1. Who signed in is a member of one object here and nowhere else: the
 * browser knows nothing of it, keeps nothing, and sends nothing by itself, so that no other page can
 * make it ask or write in the user's name. It is gone with the page, or by signOut().
 */

let proof = null;
let name = '';

/** What the server says is wrong, as RFC 9457 has it. */
export class Problem extends Error {
  constructor(status, detail, kernel) {
    super(detail);
    this.status = status;
    this.kernel = kernel;
  }

  /** With the numbers of HTTP and of the kernel. */
  get text() {
    const number = this.kernel ? `, message ${this.kernel.number} (${this.kernel.name})` : '';
    return `${this.message} [${this.status || 'no answer'}${number}]`;
  }
}

async function problemOf(response) {
  const told = await response.json().catch(() => ({}));
  return new Problem(response.status, told.detail ?? response.statusText, told.kernel);
}

function base64(text) {
  return btoa(String.fromCharCode(...new TextEncoder().encode(text)));
}

/** Where the server is, behind a proxy perhaps a folder of another one; without a slash at the end. */
const folder = location.pathname.replace(/\/[^/]*$/, '');
export const home = location.origin + folder;

/** Path and parameters as a target; a parameter may be a list. */
export function targetOf(steps, parameters = {}) {
  const query = new URLSearchParams();
  for (const [key, value] of Object.entries(parameters))
    for (const each of [value].flat()) query.append(key, each);
  const path = [folder, 'v1', ...steps.map(encodeURIComponent)].join('/');
  return query.size === 0 ? path : `${path}?${query}`;
}

/**
 * What a place tells as JSON. Throws Problem; of a request that was stopped the browser's AbortError.
 * @param options `signal` stops it, `state` is the one that it has to be of
 */
export async function get(steps, parameters, {signal, state} = {}) {
  const headers = {Accept: 'application/json', Authorization: proof};
  if (state !== undefined) headers['If-Match'] = `"${state}"`;
  let response;
  try {
    response = await fetch(targetOf(steps, parameters),
        {headers, signal, credentials: 'omit', cache: 'no-store', redirect: 'error'});
  } catch (error) {
    if (error.name === 'AbortError') throw error;
    throw new Problem(0, 'The server cannot be reached.');
  }
  if (!response.ok) throw await problemOf(response);
  return response.json();
}

/** The databases of a user; throws Problem(401) where the password is not the right one. */
export async function signIn(user, password) {
  proof = `Basic ${base64(`${user}:${password}`)}`;
  try {
    const databases = await get(['databases']);
    name = user;
    return databases;
  } catch (error) {
    signOut();
    throw error;
  }
}

export function signOut() {
  proof = null;
  name = '';
}

/** Who signed in. */
export const user = () => name;
