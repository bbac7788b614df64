/** The paths of a database as a tree, and as requests of both languages. */

/** Prefixes by which expressions of XPath name the namespaces: those of the documents, or new ones. */
function prefixesFor(paths) {
  const prefixes = new Map();
  const taken = new Set();
  for (const {namespace, prefix} of paths) {
    if (namespace === '' || prefixes.has(namespace)) continue;
    let free = prefix || 'n1';
    for (let i = 2; taken.has(free); ++i) free = `n${i}`;
    taken.add(free);
    prefixes.set(namespace, free);
  }
  return prefixes;
}

/** The path before it that a path goes on from; paths come top down. */
function hang(node, open) {
  open.length = Math.max(node.level - 1, 0);
  node.parent = node.level > 1 ? open[open.length - 1] : null;
  node.parent?.children.push(node);
  open.push(node);
}

/** What /v1/databases/DB tells: `tops`, `all` with `children` and `parent`, and `prefixes`. */
export function treeOf(paths) {
  const open = [];
  const all = paths.map((path) => ({...path, children: []}));
  for (const node of all) {
    if (node.level === 0) node.parent = null;
    else hang(node, open);
  }
  return {all, tops: all.filter((node) => node.parent === null), prefixes: prefixesFor(paths)};
}

/** The name of a step as a language writes it. */
function nameIn(node, language, prefixes) {
  const prefix = language === 'xpath' ? prefixes.get(node.namespace) ?? '' : node.prefix;
  return prefix === '' ? node.name : `${prefix}:${node.name}`;
}

export function stepText(node, language, prefixes) {
  const shown = node.path.slice(node.path.lastIndexOf('/') + 1);
  if (node.type === 'ELEMENT' && node.name) return nameIn(node, language, prefixes);
  if (node.type === 'ATTRIBUTE' && node.name) return `@${nameIn(node, language, prefixes)}`;
  return shown;
}

/** The steps from `above`, exclusive, down to a node. */
function stepsFrom(above, node) {
  const steps = [];
  for (let each = node; each !== above && each !== null; each = each.parent) steps.unshift(each);
  return steps;
}

/** A request for the nodes of a path. */
export function requestFor(node, language, prefixes) {
  const steps = stepsFrom(null, node).map((step) => stepText(step, language, prefixes));
  return (node.level === 0 ? '//' : '/') + steps.join('/');
}

/** The way from a path to one below it. */
export function wayTo(node, above, language, prefixes) {
  return stepsFrom(above, node).map((step) => stepText(step, language, prefixes)).join('/');
}

/** The declarations for the prefixes that an expression has, as the interface takes them. */
export function declarationsIn(text, prefixes) {
  return [...prefixes].filter(([, prefix]) => text.includes(`${prefix}:`))
      .map(([uri, prefix]) => `${prefix}=${uri}`);
}
