/** How a request is found: its sets with bars for time and size. */
import {byId, counted, countText, element, fill, tell, timeText, visible} from './elements.js';
import {Problem, get} from './api.js';
import {present} from './present.js';

/** A number with a bar that says how much it is of the largest one. */
function bar(kind, value, most, text) {
  return element('p', {class: 'bar'}, element('span', {}, kind),
      element('meter', {'min': 0, 'max': most || 1, value, 'aria-label': kind}),
      element('span', {class: 'count'}, text));
}

function itemFor(set, most) {
  return element('li', {},
      element('p', {}, `S${set.set} `, element('bdi', {class: 'path'}, visible(set.condition))),
      element('p', {}, `Found by ${visible(set.foundBy)}`),
      bar('Nodes', set.records, most.records, countText(set.records)),
      bar('Time', set.milliseconds, most.milliseconds, timeText(set.milliseconds)));
}

function listOf(sets) {
  const mostOf = (key) => Math.max(...sets.map((set) => set[key]));
  const most = {records: mostOf('records'), milliseconds: mostOf('milliseconds')};
  return element('ol', {class: 'sets'}, ...sets.map((set) => itemFor(set, most)));
}

export async function showPlan(q) {
  byId('plan').hidden = true;
  tell('alarm', '');
  try {
    const told = await get(['databases', present.database, 'explain'], {q});
    tell('plan-times', `${counted(told.result?.records ?? 0, 'node', 'nodes')}: ` +
        `${timeText(told.setsMilliseconds)} for the sets, ${timeText(told.hitsMilliseconds)} for ` +
        `hits, ${timeText(told.translationMilliseconds)} for the translation.`);
    fill(byId('plan-sets'), listOf(told.sets));
    byId('plan').hidden = false;
    byId('plan-title').focus();
  } catch (error) {
    if (!(error instanceof Problem)) throw error;
    tell('alarm', error.text);
  }
}
