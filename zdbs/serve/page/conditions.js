/** A condition that is clicked together, for the end of a request. */
import {byId, element, fill, tell, visible} from './elements.js';
import {get} from './api.js';
import {present} from './present.js';
import {predicate} from './predicates.js';
import {requestFor, wayTo} from './paths.js';

const mostParts = 60;
const mostValues = 20;

let above = null;
let parts = [];

/** The paths below one, level by level. */
function partsOf(node) {
  const found = [];
  for (let level = node.children; level.length > 0 && found.length < mostParts;
      level = level.flatMap((each) => each.children))
    found.push(...level.filter((each) => ['ELEMENT', 'ATTRIBUTE'].includes(each.type) && each.name));
  return found.slice(0, mostParts);
}

const wayOf = (part) => part === above ? '.'
  : wayTo(part, above, present.language, present.tree.prefixes);

/** Offers conditions on a path; null: on none. */
export function offerConditions(node) {
  above = node?.type === 'ELEMENT' ? node : null;
  byId('condition').hidden = above === null;
  if (above === null) return;
  parts = [above, ...partsOf(above)];
  tell('condition-of', `on ${requestFor(above, present.language, present.tree.prefixes)}`);
  fill(byId('part'), ...parts.map((part, i) =>
    element('option', {value: i}, part === above ? 'its own text' : visible(wayOf(part)))));
  offerValues();
}

/** The most frequent values of the part, where telling them is no long work. */
async function offerValues() {
  fill(byId('values'));
  const part = parts[byId('part').value];
  if (part === undefined || part.count > 1000000 || part.children.some((each) => each.type === 'ELEMENT'))
    return;
  const q = requestFor(part, 'query', present.tree.prefixes);
  const parameters = {q, order: 'count', limit: mostValues};
  const {values} = await get(['databases', present.database, 'values'], parameters)
      .catch(() => ({values: []}));
  fill(byId('values'), ...values.map(({value}) => element('option', {value})));
}

/** @param add is told the text of a condition */
export function startConditions(add) {
  byId('condition').hidden = true;
  byId('part').addEventListener('change', offerValues);
  byId('condition').addEventListener('submit', (event) => {
    event.preventDefault();
    const way = wayOf(parts[byId('part').value]);
    const text = predicate(present.language, way, byId('relation').value, byId('value').value);
    if (text !== null) return add(text);
    tell('alarm', 'The shell\'s language cannot say this value: it has all of its quotes.');
  });
}
