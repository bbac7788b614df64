/** What a user has asked, in this browser only. */

const most = 50;

const keyOf = (user) => `zdbs.asked.${user}`;

/** The latest first; what somebody else put there is none. */
export function asked(user) {
  try {
    const list = JSON.parse(localStorage.getItem(keyOf(user)) ?? '[]');
    return list.filter((each) => typeof each.request === 'string').slice(0, most);
  } catch {
    return [];
  }
}

/** A browser that keeps nothing is no reason not to ask. */
export function remember(user, entry) {
  const same = (each) => ['database', 'language', 'request'].every((key) => each[key] === entry[key]);
  const list = [entry, ...asked(user).filter((each) => !same(each))].slice(0, most);
  try {
    localStorage.setItem(keyOf(user), JSON.stringify(list));
  } catch { /* it is full, or not allowed */ }
}

export function forget(user) {
  try {
    localStorage.removeItem(keyOf(user));
  } catch { /* there is nothing to forget */ }
}
