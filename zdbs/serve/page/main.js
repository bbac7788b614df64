/** Puts the parts of the page together. */
import {byId, countText, counted, element, fill, tell, visible} from './elements.js';
import {Problem, get, signIn, signOut, user} from './api.js';
import {asked, forget, remember} from './history.js';
import {clearAnswer, showAnswer, stopAsking} from './results.js';
import {offerConditions, startConditions} from './conditions.js';
import {putRequest, request, startLine} from './line.js';
import {requestFor, treeOf} from './paths.js';
import {showTree, startTree} from './tree.js';
import {excerptView} from './excerpt.js';
import {present} from './present.js';
import {showPlan} from './explain.js';
import {startCopying} from './copy.js';

/** Says what went wrong; who is not let in any more signs in anew. */
function report(error) {
  if (error.status === 401) leave();
  tell('alarm', error instanceof Problem ? error.text : `Something is wrong in the page: ${error}`);
}

function showDoor() {
  byId('work').hidden = byId('who').hidden = true;
  byId('door').hidden = false;
  byId('name').focus();
}

/** Nothing stays on the page of what the user was shown. */
function leave() {
  stopAsking();
  signOut();
  clearAnswer();
  putRequest('');
  offerConditions(null);
  for (const id of ['database', 'tree', 'plan-sets', 'asked', 'values', 'part']) fill(byId(id));
  for (const id of ['about', 'user', 'plan-times', 'condition-of', 'copied']) tell(id, '');
  for (const id of ['value', 'copy-text']) byId(id).value = '';
  showDoor();
}

function showHistory() {
  const entries = asked(user()).map((entry) => element('li', {}, element('button', {
    type: 'button', class: 'link', onclick: () => askAgain(entry),
  }, element('bdi', {class: 'path'}, visible(entry.request)), ` in ${visible(entry.database)}`)));
  fill(byId('asked'), ...entries);
  byId('forget').disabled = entries.length === 0;
}

function setLanguage(language) {
  present.language = language === 'xpath' ? 'xpath' : 'query';
  byId('asking').elements.language.value = present.language;
  showTree();
  offerConditions(null);
}

/** The paths and the size of the database that was chosen. */
async function openDatabase() {
  const name = present.database = byId('database').value;
  present.tree = treeOf([]);
  const told = await get(['databases', name]);
  if (name !== present.database) return;
  present.tree = treeOf(told.paths);
  byId('about').textContent = `${counted(told.documents, 'document', 'documents')}, ` +
      `${counted(told.nodes, 'node', 'nodes')}, state ${countText(told.state)}`;
  clearAnswer();
  byId('plan').hidden = true;
  showTree();
  offerConditions(null);
}

function ask() {
  const q = request();
  if (q === '') return tell('alarm', 'There is no request in the line.');
  remember(user(), {database: present.database, language: present.language, request: q});
  showHistory();
  byId('plan').hidden = true;
  return showAnswer(q, excerptView);
}

function askFor(text) {
  putRequest(text);
  return ask();
}

async function askAgain(entry) {
  const names = [...byId('database').options].map((option) => option.value);
  if (!names.includes(entry.database)) return tell('alarm', 'There is no such database any more.');
  if (entry.database !== present.database) {
    byId('database').value = entry.database;
    await openDatabase();
  }
  setLanguage(entry.language);
  return askFor(entry.request);
}

function askForPath(node) {
  offerConditions(node);
  return askFor(requestFor(node, present.language, present.tree.prefixes));
}

async function enter(databases) {
  byId('door').hidden = true;
  byId('work').hidden = byId('who').hidden = false;
  byId('user').textContent = visible(user());
  tell('alarm', databases.length === 0 ? 'No database is granted to you.' : '');
  fill(byId('database'), ...databases.map(({database}) => element('option', {value: database},
      visible(database))));
  showHistory();
  if (databases.length > 0) await openDatabase();
  byId('line').focus();
}

async function onSignIn(event) {
  event.preventDefault();
  const {username, password} = event.target.elements;
  const word = password.value;
  password.value = '';
  await enter(await signIn(username.value, word));
}

// What nobody caught is told, whatever it is.
window.addEventListener('unhandledrejection', (event) => {
  event.preventDefault();
  report(event.reason);
});
byId('signin').addEventListener('submit', onSignIn);
byId('leave').addEventListener('click', leave);
byId('database').addEventListener('change', openDatabase);
byId('stop').addEventListener('click', stopAsking);
byId('explain').addEventListener('click', () => showPlan(request()));
byId('forget').addEventListener('click', () => {
  forget(user());
  showHistory();
});
for (const radio of byId('asking').elements.language)
  radio.addEventListener('change', () => setLanguage(radio.value));
startLine(ask);
startTree(askForPath);
startConditions((text) => askFor(request() + text));
startCopying(request);
showDoor();
