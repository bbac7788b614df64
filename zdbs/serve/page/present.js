/** What the page is about at present; written by main.js only. */
export const present = {
  database: '',
  tree: {all: [], tops: [], prefixes: new Map()},
  language: 'query',  // "query", the shell's, or "xpath"; also the name of the place below /v1
};
