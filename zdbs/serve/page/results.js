/** What a request found, a page at a time. */
import {byId, countText, counted, element, fill, tell, timeText, visible} from './elements.js';
import {get} from './api.js';
import {aroundView} from './around.js';
import {askedFor, present} from './present.js';

const perPage = 25;
const longest = 2000;

let running = null;

function itemFor(node, scope) {
  return element('li', {},
      element('p', {class: 'where'}, `${countText(node.ordinal)}. `, element('bdi', {class: 'path'}, visible(node.path)), ' in ',
          element('bdi', {class: 'document-name'}, visible(node.document))),
      element('p', {}, ...scope.excerpt(node.excerpt)),
      ...aroundView({...scope, node: node.id}));
}

function pageButton(text, offset, isThere, go) {
  const button = element('button', {type: 'button', onclick: () => go(offset)}, text);
  button.disabled = !isThere;
  return button;
}

/** First, previous, where we are, next, last. */
function showPages({records, offset}, go) {
  const last = Math.floor((records - 1) / perPage) * perPage;
  const at = `Page ${countText(offset / perPage + 1)} of ${countText(last / perPage + 1)}`;
  fill(byId('pages'), pageButton('First', 0, offset > 0, go),
      pageButton('Previous', offset - perPage, offset > 0, go), element('span', {}, at),
      pageButton('Next', offset + perPage, offset < last, go),
      pageButton('Last', last, offset < last, go));
  byId('pages').hidden = last === 0;
}

function showNotes(notes = []) {
  fill(byId('notes'), ...notes.map((note) => element('li', {}, visible(note))));
  byId('notes').hidden = notes.length === 0;
}

/** A number, a text or a boolean; of the roots of documents their count. */
function showSingle({type, value}, time) {
  tell('told', `A ${type === 'nodes' ? 'count of roots of documents' : type} in ${timeText(time)}.`);
  fill(byId('single'), element('bdi', {class: 'value'}, visible(value)));
}

function showNodes(answer, scope, time, go) {
  const hits = answer.hits > answer.records ? `, ${counted(answer.hits, 'hit', 'hits')}` : '';
  tell('told', `${counted(answer.records, 'node', 'nodes')}${hits} in ${timeText(time)}.`);
  const nodes = answer.nodes.map((node, i) => ({...node, ordinal: answer.offset + i + 1}));
  fill(byId('results'), ...nodes.map((node) => itemFor(node, scope)));
  showPages(answer, go);
}

/** What is on the screen goes when something new is asked. */
export function clearAnswer() {
  for (const id of ['single', 'pages', 'notes']) byId(id).hidden = true;
  for (const id of ['single', 'pages', 'notes', 'results']) byId(id).replaceChildren();
  byId('answer').hidden = true;
  tell('told', '');
  tell('alarm', '');
}

export function stopAsking() {
  running?.abort();
}

/** A failure, unless it was wished for. The state that a page is of may be gone: then from the first. */
function fail(error, again) {
  if (error.name === 'AbortError') return tell('told', 'Stopped.');
  if (error.status === 412) return again();
  byId('line').setAttribute('aria-invalid', error.status === 400);
  throw error;
}

/**
 * Asks for a page of an answer and shows it.
 * @param excerpt shows one
 * @param state that the page has to be of; undefined: the newest
 */
export async function showAnswer(q, excerpt, offset = 0, state = undefined) {
  stopAsking();
  const mine = running = new AbortController();
  const {database, language} = present;
  const isPage = state !== undefined;
  if (!isPage) clearAnswer();
  byId('line').removeAttribute('aria-invalid');
  byId('stop').hidden = false;
  const begun = performance.now();
  try {
    const parameters = {...askedFor(q), offset, limit: perPage, excerpt: longest};
    const answer = await get(['databases', database, language], parameters,
        {signal: mine.signal, state});
    if (mine !== running) return;
    const time = performance.now() - begun;
    const scope = {database, state: answer.state, excerpt, ...language === 'query' && {q}};
    byId('answer').hidden = false;
    showNotes(answer.notes);
    if (answer.nodes === undefined) return showSingle(answer, time);
    showNodes(answer, scope, time, (next) => showAnswer(q, excerpt, next, answer.state));
    if (isPage) byId('answer-title').focus();
  } catch (error) {
    if (mine !== running) return;
    await fail(error, async () => {
      await showAnswer(q, excerpt);
      tell('told', `The database has changed; asked again. ${byId('told').textContent}`);
    });
  } finally {
    if (mine === running) byId('stop').hidden = true;
  }
}
