/** The document around a node: the elements that it is in, everything else folded. */
import {countText, element, tell, visible} from './elements.js';
import {get} from './api.js';
import {excerptView} from './excerpt.js';

const atOnce = 20;
const longest = 200;

const lastStep = (path) => path.slice(path.lastIndexOf('/') + 1);
const nameOf = (path) => lastStep(path).replace(/\[\d+\]$/, '');
const isElement = (node) => !/^(@|text\(\)|comment\(\)|processing-instruction\()/.test(lastStep(node.path));

/** One opened document; `scope` says of what database, state, request and node. */
class Around {
  constructor(scope) {
    this.scope = scope;
  }

  async get(node, offset, limit) {
    const {database, state, q} = this.scope;
    const parameters = {node, offset, limit, excerpt: longest, ...q && {q}};
    return get(['databases', database, 'around'], parameters, {state});
  }

  /** The start tag with its attributes, as text. */
  tag(node) {
    const attributes = node.attributes.map((each) => element('span',
        {class: each.id === this.scope.node ? 'here' : null}, ' ',
        element('bdi', {class: 'name'}, visible(nameOf(each.path).slice(1))), '=',
        ...excerptView(each.excerpt)));
    return element('span', {class: 'tag'}, '<', element('bdi', {class: 'name'},
        visible(nameOf(node.path))), ...attributes, '>');
  }

  /** A text, a comment or an instruction. */
  leaf(node) {
    const kind = lastStep(node.path).startsWith('text()') ? '' : `${nameOf(node.path)} `;
    const isBlank = node.excerpt.pieces.join('').trim() === '' && !node.excerpt.isCut;
    return element('li', {class: node.id === this.scope.node ? 'here' : null}, kind,
        ...isBlank ? [element('span', {class: 'count'}, '(white space)')] : excerptView(node.excerpt));
  }

  /** @param inside the list of what is in it; without one it is folded */
  branch(node, inside = null) {
    const list = inside ?? element('ul', {});
    list.hidden = inside === null;
    const preview = element('span', {class: 'preview'}, ...excerptView(node.excerpt));
    const fold = element('button', {
      'type': 'button', 'class': 'fold', 'aria-expanded': inside !== null,
      'aria-label': `${visible(nameOf(node.path))}, ${node.children} inside`,
    });
    const show = (isOpen) => {
      fold.setAttribute('aria-expanded', isOpen);
      list.hidden = !isOpen;
      preview.hidden = isOpen;
    };
    fold.addEventListener('click', () => this.guard(async () => {
      if (list.childElementCount === 0) await this.fillList(list, node, 0);
      show(list.hidden);
    }));
    if (node.children === 0) fold.hidden = true;
    show(inside !== null && node.children > 0);
    preview.hidden = inside !== null;
    const isHere = node.id === this.scope.node;
    return element('li', {'class': isHere ? 'here' : null, 'aria-current': isHere ? 'true' : null},
        fold, ' ', this.tag(node), ' ', preview, list);
  }

  view(node) {
    return isElement(node) ? this.branch(node) : this.leaf(node);
  }

  /** A button for the nodes from `first` up to `end` of an element, which takes a part at a time. */
  rest(node, first, end, isBefore) {
    if (first >= end) return [];
    const from = isBefore ? Math.max(first, end - atOnce) : first;
    const to = isBefore ? end : Math.min(end, first + atOnce);
    const item = element('li', {}, element('button', {
      type: 'button', class: 'small', onclick: () => this.guard(async () => {
        const {nodes} = await this.get(node.id, from, to - from);
        const left = isBefore ? this.rest(node, first, from, true) : this.rest(node, to, end, false);
        const shown = nodes.map((each) => this.view(each));
        item.replaceWith(...isBefore ? [...left, ...shown] : [...shown, ...left]);
        shown[0]?.querySelector('button:not([hidden])')?.focus();
      }),
    }, `${countText(end - first)} ${isBefore ? 'before' : 'after'}`));
    return [item];
  }

  async fillList(list, node, offset) {
    const {nodes} = await this.get(node.id, offset, atOnce);
    list.replaceChildren(...nodes.map((each) => this.view(each)),
        ...this.rest(node, offset + nodes.length, node.children, false));
  }

  /** The line of elements, each in the one before it. */
  nest(line, nodes) {
    const last = line.at(-1);
    const list = element('ul', {}, ...nodes.map((each) => this.view(each)),
        ...this.rest(last, nodes.length, last.children, false));
    let item = isElement(last) ? this.branch(last, list) : this.leaf(last);
    for (const [i, node] of [...line.entries()].slice(0, -1).reverse()) {
      const {place} = line[i + 1];
      const inside = element('ul', {}, ...this.rest(node, 0, place, true), item,
          ...this.rest(node, place + 1, node.children, false));
      item = this.branch(node, inside);
    }
    return item;
  }

  /** Says that the state is gone that all of it has to be of. */
  async guard(work) {
    try {
      tell('alarm', '');
      await work();
    } catch (error) {
      if (error.status !== 412) throw error;
      tell('alarm', 'The database has changed: ask again.');
    }
  }
}

/** A button for a node that was found, and the place where its document is shown. */
export function aroundView(scope) {
  const place = element('div', {class: 'around', hidden: ''});
  const around = new Around(scope);
  const button = element('button', {
    'type': 'button', 'class': 'small', 'aria-expanded': 'false',
    'aria-label': `Around node ${scope.node}`, 'onclick': () => around.guard(async () => {
      if (place.childElementCount === 0) {
        const told = await around.get(scope.node, 0, atOnce);
        place.replaceChildren(element('ul', {class: 'document'}, around.nest(told.line, told.nodes)));
      }
      place.hidden = !place.hidden;
      button.setAttribute('aria-expanded', !place.hidden);
    }),
  }, 'Around');
  return [button, place];
}
