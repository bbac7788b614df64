/** What the page is about at present; written by main.js only. */
import {declarationsIn} from './paths.js';

export const present = {
  database: '',
  tree: {all: [], tops: [], prefixes: new Map()},
  language: 'query', // "query", the shell's, or "xpath"; also the name of the place below /v1
};

/** What XPath has to be told of the prefixes in a request. */
export const declarations = (q) =>
  present.language === 'xpath' ? declarationsIn(q, present.tree.prefixes) : [];

/** A request as parameters. */
export const askedFor = (q) => ({q, namespace: declarations(q)});
