/** Beginnings of values with their hits, on the screen. */
import {element, visible} from './elements.js';

const shownAtFirst = 300;
const beforeFirstHit = 80;

/** Pieces from `begin` on, `length` characters of them; every other one is a hit. */
function cut(pieces, begin, length) {
  let place = 0;
  return pieces.map((piece) => {
    const start = Math.max(begin - place, 0);
    const end = Math.max(begin + length - place, 0);
    place += piece.length;
    return piece.slice(start, end);
  });
}

const marked = (pieces) => pieces.map((piece, i) =>
  i % 2 === 1 && piece !== '' ? element('mark', {}, visible(piece)) : visible(piece));

const lengthOf = (pieces) => pieces.reduce((sum, piece) => sum + piece.length, 0);

/** An excerpt around its first hit, and a button for the rest of it. */
export function excerptView({pieces, isCut}) {
  const whole = lengthOf(pieces);
  const begin = pieces[0].length > shownAtFirst / 2 && pieces.length > 1
    ? Math.max(pieces[0].length - beforeFirstHit, 0) : 0;
  const text = element('bdi', {class: 'value'});
  const show = (first, length) => text.replaceChildren(first > 0 ? '…' : '',
      ...marked(cut(pieces, first, length)), isCut || first + length < whole ? '…' : '');
  show(begin, shownAtFirst);
  if (begin === 0 && whole <= shownAtFirst) return [text];
  const more = element('button', {
    type: 'button', class: 'small', onclick: () => {
      show(0, whole);
      more.remove();
    },
  }, 'more');
  return [text, ' ', more];
}
