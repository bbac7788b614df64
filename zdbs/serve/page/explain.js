/** How a request is found: its sets with bars for time and size. */
import {byId, counted, countText, element, fill, tell, timeText, visible} from './elements.js';
import {get} from './api.js';
import {askedFor, present} from './present.js';

/** A number with a bar that says how much it is of the largest one. */
function bar(kind, value, most, text) {
  return element('p', {class: 'bar'}, element('span', {}, kind),
      element('meter', {'min': 0, 'max': most || 1, value, 'aria-label': kind}),
      element('span', {class: 'count'}, text));
}

/** Sets of the shell's language, and parts of an expression, as the same rows. */
const rowsOf = ({sets, parts}) => sets?.map((set) => ({
  name: `S${set.set} `, text: set.condition, way: set.foundBy, nodes: set.records, time: set.milliseconds,
})) ?? parts.map((part) => ({
  name: '', text: part.part, way: part.way, nodes: part.nodes, time: part.milliseconds,
}));

function itemFor(row, most) {
  return element('li', {}, element('p', {}, row.name, element('bdi', {class: 'path'}, visible(row.text))),
      element('p', {}, `Found by ${visible(row.way)}`),
      bar('Nodes', row.nodes, most.nodes, countText(row.nodes)),
      bar('Time', row.time, most.time, timeText(row.time)));
}

function listOf(rows) {
  const mostOf = (key) => Math.max(...rows.map((row) => row[key]));
  const most = {nodes: mostOf('nodes'), time: mostOf('time')};
  return element('ol', {class: 'sets'}, ...rows.map((row) => itemFor(row, most)));
}

const summaryOf = (told) => told.sets === undefined ? `As it is understood: ${told.expression}`
  : `${counted(told.result?.records ?? 0, 'node', 'nodes')}: ${timeText(told.setsMilliseconds)} for the ` +
    `sets, ${timeText(told.hitsMilliseconds)} for hits, ${timeText(told.translationMilliseconds)} for ` +
    'the translation.';

export async function showPlan(q) {
  byId('plan').hidden = true;
  tell('alarm', '');
  const steps = present.language === 'xpath' ? ['xpath', 'explain'] : ['explain'];
  const told = await get(['databases', present.database, ...steps], askedFor(q));
  tell('plan-times', summaryOf(told));
  fill(byId('plan-sets'), listOf(rowsOf(told)));
  byId('plan').hidden = false;
  byId('plan-title').focus();
}
