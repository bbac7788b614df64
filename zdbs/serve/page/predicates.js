/** Conditions as texts of both languages. */

/** A literal of XPath 1.0, which has no escapes. */
function xpathLiteral(text) {
  if (!text.includes("'")) return `'${text}'`;
  if (!text.includes('"')) return `"${text}"`;
  return `concat(${text.split(/(')/).map((part) => part === "'" ? `"'"` : `'${part}'`).join(', ')})`;
}

/** A literal of the shell's language; null where all of its quotes are in the text. */
function shellLiteral(text) {
  const quote = ["'", '"', '`'].find((each) => !text.includes(each));
  return quote === undefined ? null : quote + text + quote;
}

/** A way to a node, "." for the node itself, and what must hold of it, in XPath 1.0. */
function xpathPredicate(way, relation, literal) {
  if (relation === '') return `[${way}]`;
  if (relation !== 'contains') return `[${way}${relation}${literal}]`;
  return way === '.' ? `[contains(.,${literal})]` : `[${way}[contains(.,${literal})]]`;
}

/** The same in the shell's language, where a dot cannot be compared, and contains() is about texts. */
function shellPredicate(way, relation, literal) {
  const isAttribute = way.slice(way.lastIndexOf('/') + 1).startsWith('@');
  if (relation === '') return way === '.' ? '[text()]' : `[${way}]`;
  if (relation !== 'contains') return `[${way === '.' ? 'text()' : way}${relation}${literal}]`;
  if (way === '.') return `[contains(text(),${literal})]`;
  return isAttribute ? `[contains(${way},${literal})]` : `[${way}[contains(text(),${literal})]]`;
}

/** Null where the language cannot say it. */
export function predicate(language, way, relation, value) {
  const literal = language === 'xpath' ? xpathLiteral(value) : shellLiteral(value);
  if (literal === null && relation !== '') return null;
  const make = language === 'xpath' ? xpathPredicate : shellPredicate;
  return make(way, relation, literal);
}
