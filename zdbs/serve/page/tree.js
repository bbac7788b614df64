/** The tree of paths: one stop of the Tab key, arrows within, Enter asks. */
import {byId, countText, element, fill, visible} from './elements.js';
import {present} from './present.js';
import {stepText} from './paths.js';

let choose = () => {};

const items = () => [...byId('tree').querySelectorAll('[role=treeitem]')]
    .filter((item) => item.closest('[hidden]') === null);

/** A node as an item; those below it are made when they are shown. */
function itemFor(node, level) {
  const step = visible(stepText(node, present.language, present.tree.prefixes));
  const item = element('li', {
    'role': 'treeitem', 'tabindex': '-1', 'aria-level': level, 'aria-selected': 'false',
    'aria-expanded': node.children.length > 0 ? 'false' : null,
    'aria-label': `${step}, ${node.count}`,
  });
  item.append(element('span', {class: 'step'},
      element('span', {'class': 'fold', 'aria-hidden': 'true'}), element('bdi', {}, step), ' ',
      element('span', {class: 'count'}, countText(node.count))));
  item.node = node;
  return item;
}

function open(item, isOpen) {
  if (!item.hasAttribute('aria-expanded')) return;
  item.setAttribute('aria-expanded', isOpen);
  let group = item.querySelector(':scope > ul');
  if (group === null) {
    const level = Number(item.getAttribute('aria-level')) + 1;
    group = element('ul', {role: 'group'}, ...item.node.children.map((node) => itemFor(node, level)));
    item.append(group);
  }
  group.hidden = !isOpen;
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

const around = (item) => item.parentElement.closest('[role=treeitem]');

/** What the keys do, as the practices for a tree have it. */
const keys = {
  ArrowDown: (item) => focusOn(items()[items().indexOf(item) + 1]),
  ArrowUp: (item) => focusOn(items()[items().indexOf(item) - 1]),
  Home: () => focusOn(items()[0]),
  End: () => focusOn(items().at(-1)),
  ArrowRight: (item) => isOpen(item) ? focusOn(item.querySelector('[role=treeitem]')) : open(item, true),
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
  if (tops.length > 0) tops[0].tabIndex = 0;
  if (tops.length === 1) open(tops[0], true);
}

/** @param chosen is told the node of a path that is asked for */
export function startTree(chosen) {
  choose = chosen;
  byId('tree').addEventListener('keydown', onKey);
  byId('tree').addEventListener('click', onClick);
}
