/** The line that asks: a combination box whose list has the names that fit (WAI-ARIA 1.2). */
import {byId, countText, element, fill, visible} from './elements.js';
import {offersFor} from './completion.js';
import {present} from './present.js';

let offers = [];
let from = 0;
let active = -1;

const line = () => byId('line');

function close() {
  offers = [];
  active = -1;
  byId('offers').replaceChildren();
  byId('offers').hidden = true;
  line().setAttribute('aria-expanded', 'false');
  line().removeAttribute('aria-activedescendant');
}

function optionFor(offer, place) {
  return element('li', {'role': 'option', 'id': `offer-${place}`, 'aria-selected': 'false'},
      element('bdi', {}, visible(offer.text)), ' ',
      element('span', {class: 'count'}, offer.count ? countText(offer.count) : ''));
}

/** Offers what fits in front of the caret. */
function offer() {
  close();
  ({from, offers} = offersFor(line().value.slice(0, line().selectionStart), present.tree,
      present.language));
  if (offers.length === 0) return;
  fill(byId('offers'), ...offers.map(optionFor));
  line().setAttribute('aria-expanded', 'true');
}

function move(step) {
  if (offers.length === 0) return offer();
  const options = byId('offers').children;
  options[active]?.setAttribute('aria-selected', 'false');
  active = (active + step + offers.length + (active < 0 && step < 0 ? 1 : 0)) % offers.length;
  options[active].setAttribute('aria-selected', 'true');
  options[active].scrollIntoView({block: 'nearest'});
  line().setAttribute('aria-activedescendant', `offer-${active}`);
}

/** Puts an offer in the place of the word at the caret. */
function take(place) {
  line().setRangeText(offers[place].text, from, line().selectionStart, 'end');
  close();
  line().focus();
}

const keys = {
  ArrowDown: () => move(1),
  ArrowUp: () => move(-1),
  Escape: close,
  Enter: () => take(active),
};

function onKey(event) {
  if (event.key === ' ' && event.ctrlKey) {
    event.preventDefault();
    return offer();
  }
  if (event.isComposing || event.key === 'Enter' && active < 0) return;
  if (event.key === 'Escape' && offers.length === 0) return;
  const act = keys[event.key];
  if (!act) return;
  event.preventDefault();
  act();
}

function onPress(event) {
  const option = event.target.closest('[role=option]');
  if (option === null) return;
  event.preventDefault();
  take([...byId('offers').children].indexOf(option));
}

export const request = () => line().value.trim();

export function putRequest(text) {
  line().value = text;
  close();
}

/** @param ask is told that the request is to be asked */
export function startLine(ask) {
  line().addEventListener('input', offer);
  line().addEventListener('keydown', onKey);
  line().addEventListener('blur', close);
  byId('offers').addEventListener('mousedown', onPress);
  byId('asking').addEventListener('submit', (event) => {
    event.preventDefault();
    close();
    ask();
  });
}
