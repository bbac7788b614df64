/** What can be offered to somebody who types a request. */
import {stepText} from './paths.js';

const mostOffers = 40;

const axes = ['ancestor', 'ancestor-or-self', 'attribute', 'child', 'descendant',
  'descendant-or-self', 'following', 'following-sibling', 'parent', 'preceding',
  'preceding-sibling'].map((axis) => `${axis}::`);

const shellWords = ['text()', 'node()', 'comment()', 'processing-instruction()', 'contains(',
  'position()', 'last()', ...axes];

const xpathWords = [...shellWords, 'self::', 'boolean(', 'ceiling(', 'concat(', 'count(', 'false()',
  'floor(', 'id(', 'lang(', 'local-name(', 'name(', 'namespace-uri(', 'normalize-space(', 'not(',
  'number(', 'round(', 'starts-with(', 'string(', 'string-length(', 'substring(',
  'substring-after(', 'substring-before(', 'sum(', 'translate(', 'true()'];

/** Whether a place is inside of a literal. */
function isInLiteral(text) {
  let quote = '';
  for (const character of text) {
    if (quote === '') quote = '\'"`'.includes(character) ? character : '';
    else if (character === quote) quote = '';
  }
  return quote !== '';
}

/** The word that ends at the caret, and the steps before it without their predicates. */
function wordAt(text) {
  const word = /@?[^\s/[\]()@=<>!+*|,'"`]*$/u.exec(text)[0].replace(/^.*::/, '');
  let before = text.slice(0, text.length - word.length);
  for (let shorter = before.replace(/\[[^[\]]*\]/g, ''); shorter !== before;
      shorter = before.replace(/\[[^[\]]*\]/g, '')) before = shorter;
  // In a predicate that is open, its own steps go on from those in front of it.
  return {word, steps: /[^\s()=<>!+*|,]*$/u.exec(before.replaceAll('[', '/'))[0]};
}

/** The paths that the steps in front of a word lead to; null where they say nothing. */
function parentsAt(steps, tree, language) {
  if (!steps.endsWith('/')) return null;
  const names = steps.slice(0, -1).split('/');
  const isStep = (node, name) => stepText(node, language, tree.prefixes) === name;
  const last = names.pop();
  if (last === '') return null;
  return tree.all.filter((node) => isStep(node, last) && fits(node.parent, [...names], isStep));
}

/** Whether steps, from the last one, lead to a node; an empty one stands for any between. */
function fits(node, names, isStep) {
  const name = names.pop();
  if (name === undefined) return true;
  if (name === '') return names.length > 0 && names.at(-1) !== '' ? reaches(node, names, isStep)
    : names.length > 0 || node === null;
  return node !== null && isStep(node, name) && fits(node.parent, names, isStep);
}

function reaches(node, names, isStep) {
  for (let each = node; each !== null; each = each.parent)
    if (fits(each, [...names], isStep)) return true;
  return false;
}

/** Steps with counts, the most frequent first. */
function stepsIn(nodes, tree, language) {
  const counts = new Map();
  for (const node of nodes) {
    const step = stepText(node, language, tree.prefixes);
    if (!step.includes('*')) counts.set(step, (counts.get(step) ?? 0) + node.count);
  }
  return [...counts].sort((a, b) => b[1] - a[1]).map(([text, count]) => ({text, count}));
}

/** Offers for the caret: `from` is where the word begins that they stand for. */
export function offersFor(text, tree, language) {
  if (isInLiteral(text)) return {from: text.length, offers: []};
  const {word, steps} = wordAt(text);
  const parents = parentsAt(steps, tree, language);
  const nodes = parents?.length ? parents.flatMap((parent) => parent.children)
    : steps === '/' ? tree.tops : tree.all;
  const words = (language === 'xpath' ? xpathWords : shellWords).map((each) => ({text: each}));
  const known = new Set();
  const offers = [...stepsIn(nodes, tree, language), ...words]
      .filter((offer) => offer.text.startsWith(word) && offer.text !== word)
      .filter((offer) => !known.has(offer.text) && known.add(offer.text));
  return {from: text.length - word.length, offers: offers.slice(0, mostOffers)};
}
