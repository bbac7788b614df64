/** Elements of the page. Nothing here, or anywhere else in it, makes markup of text. */

/** The element of an id in index.html. */
export const byId = (id) => document.getElementById(id);

/** A new element; a member of `attributes` that begins with "on" is a listener, null is left out. */
export function element(tag, attributes = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (typeof value === 'function') made.addEventListener(name.slice(2), value);
    else if (value !== null) made.setAttribute(name, value);
  }
  made.append(...children);
  return made;
}

/** Controls, and what turns the direction of a text: nothing that a document holds may do so. */
const unseen = /[\u0000-\u0008\u000b-\u001f\u007f-\u009f\u061c\u200b-\u200f\u2028-\u202e\u2060-\u2069\ufeff\ufff9-\ufffb]/gu;

const numberOf = (character) => character.codePointAt(0).toString(16).toUpperCase();

/** A text with a visible escape for each character that is none, or that changes others. */
export const visible = (text) => text.replace(unseen, (found) => `\\u{${numberOf(found)}}`);

/** Puts these in the place of what an element holds. */
export function fill(target, ...children) {
  target.replaceChildren(...children);
  target.hidden = false;
}

/** "7", "12 345": with narrow blanks that do not break. */
export const countText = (count) => String(count).replace(/\B(?=(\d{3})+$)/g, '\u202f');

/** Of a number and what is counted. */
export const counted = (count, one, many) => `${countText(count)} ${count === 1 ? one : many}`;

/** "0.42 ms", "12 ms", "1.3 s". */
export function timeText(milliseconds) {
  if (milliseconds >= 1000) return `${(milliseconds / 1000).toFixed(1)} s`;
  return `${milliseconds.toFixed(milliseconds < 10 ? 2 : 0)} ms`;
}

/** Says something to everybody, screen readers too; an empty text takes it back. */
export function tell(id, text) {
  byId(id).textContent = visible(text);
}
