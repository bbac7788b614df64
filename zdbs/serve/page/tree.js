/** The tree of paths: one stop of the Tab key, arrows within, Enter asks. */
import {byId, countText, element, fill, visible} from './elements.js';
import {present} from './present.js';
import {stepText} from './paths.js';

let choose = () => {};
let groups = 0;

const items = () => [...byId('tree').querySelectorAll('[role=treeitem]')]
    .filter((item) => item.closest('[hidden]') === null);

/** A node as an item of a list; those below it are made when they are shown. */
function itemFor(node, level) {
  const step = visible(stepText(node, present.language, present.tree.prefixes));
  const item = element('span', {
    'role': 'treeitem', 'tabindex': '-1', 'aria-level': level, 'aria-selected': 'false',
    'aria-expanded': node.children.length > 0 ? 'false' : null,
  }, element('span', {'class': 'fold', 'aria-hidden': 'true'}), element('bdi', {}, step), ' ',
  element('span', {class: 'count'}, countText(node.count)));
  item.node = node;
  return element('li', {role: 'none'}, item);
}

/** The list of the nodes below one, made when it is asked for first. */
function groupOf(item) {
  if (item.nextElementSibling === null) {
    const level = Number(item.getAttribute('aria-level')) + 1;
    const group = element('ul', {'role': 'group', 'id': `group-${++groups}`},
        ...item.node.children.map((node) => itemFor(node, level)));
    item.setAttribute('aria-owns', group.id);
    item.after(group);
  }
  return item.nextElementSibling;
}

function open(item, isOpen) {
  if (!item.hasAttribute('aria-expanded')) return;
  item.setAttribute('aria-expanded', isOpen);
  groupOf(item).hidden = !isOpen;
}

const isOpen = (item) => item.getAttribute('aria-expanded') === 'true';

/** The item that the Tab key comes to. */
function focusOn(item) {
  if (!item) return;
  for (const each of byId('tree').querySelectorAll('[tabindex="0"]')) each.tabIndex = -1;
  item.tabIndex = 0;
  item.focus();
}

function select(item) {
  for (const each of byId('tree').querySelectorAll('[aria-selected=true]'))
    each.setAttribute('aria-selected', 'false');
  item.setAttribute('aria-selected', 'true');
  choose(item.node);
}

const firstOf = (list) => list.querySelector('[role=treeitem]');

/** The item that one is below. */
const around = (item) => item.closest('[role=group]')?.previousElementSibling;

/** What the keys do, as the practices for a tree have it. */
const keys = {
  ArrowDown: (item) => focusOn(items()[items().indexOf(item) + 1]),
  ArrowUp: (item) => focusOn(items()[items().indexOf(item) - 1]),
  Home: () => focusOn(items()[0]),
  End: () => focusOn(items().at(-1)),
  ArrowRight: (item) => isOpen(item) ? focusOn(firstOf(groupOf(item))) : open(item, true),
  ArrowLeft: (item) => isOpen(item) ? open(item, false) : focusOn(around(item)),
  Enter: select,
  ' ': select,
};

function onKey(event) {
  const act = keys[event.key];
  if (!act || event.altKey || event.ctrlKey || event.metaKey) return;
  event.preventDefault();
  act(event.target);
}

function onClick(event) {
  const item = event.target.closest('[role=treeitem]');
  if (item === null) return;
  focusOn(item);
  if (event.target.closest('.fold') !== null) open(item, !isOpen(item));
  else select(item);
}

/** The paths of the database at present, in its language. The first level is open. */
export function showTree() {
  const tops = present.tree.tops.map((node) => itemFor(node, 1));
  fill(byId('tree'), ...tops);
  byId('tree').hidden = byId('tree-help').hidden = tops.length === 0;
  byId('no-paths').hidden = tops.length > 0;
  if (tops.length > 0) firstOf(tops[0]).tabIndex = 0;
  if (tops.length === 1) open(firstOf(tops[0]), true);
}

/** @param chosen is told the node of a path that is asked for */
export function startTree(chosen) {
  choose = chosen;
  byId('tree').addEventListener('keydown', onKey);
  byId('tree').addEventListener('click', onClick);
}
