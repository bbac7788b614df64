/** The request as somebody else would ask it. */
import {byId, tell} from './elements.js';
import {declarations, present} from './present.js';
import {home, targetOf, user} from './api.js';

const odd = /[\u0000-\u001f\u007f-\u009f\u200b-\u200f\u2028-\u202e\u2060-\u2069\ufeff]/gu;

/** An escape of \x20 to \u{202e}, in the four or two digits that a language has. */
function escapeOf(character) {
  const code = character.charCodeAt(0).toString(16);
  return code.length <= 2 ? `\\x${code.padStart(2, '0')}` : `\\u${code.padStart(4, '0')}`;
}

/**
 * A word of a shell. What a terminal would obey, or nobody would see, is escaped, which shells that
 * know $'…' undo.
 */
export function shellWord(text) {
  if (text.search(odd) < 0) return `'${text.replaceAll('\'', '\'\\\'\'')}'`;
  const plain = text.replace(/[\\']/g, '\\$&');
  return `$'${plain.replace(odd, (each) => each < '\u0080' ? escapeOf(each)
    : `\\u${each.charCodeAt(0).toString(16).padStart(4, '0')}`)}'`;
}

/** A literal of Python: that of JSON, without what cannot be seen. */
const pythonText = (text) => JSON.stringify(text).replace(odd, (each) =>
  `\\u${each.charCodeAt(0).toString(16).padStart(4, '0')}`);

const placeOf = () => location.origin + targetOf(['databases', present.database, present.language]);

function curl(q) {
  const pairs = [`q=${q}`, ...declarations(q).map((each) => `namespace=${each}`)];
  const words = pairs.map((each) => ` \\\n    --data-urlencode ${shellWord(each)}`).join('');
  return `curl -u ${shellWord(user())} -G${words} \\\n    ${shellWord(placeOf())}\n`;
}

/**
 * In the shell, which is given the password in front of the statements; or by zdbs where the language
 * is not the shell's.
 */
function vexa(q) {
  if (present.language === 'query') {
    const statements = [`BASE ${present.database};`, `XFIND ${q};`].map(shellWord).join(' ');
    return '{ stty -echo </dev/tty; IFS= read -r word </dev/tty; stty echo </dev/tty\n' +
        `  printf '%s\\n' "$word" ${statements}; } |\n` +
        `  ZDBS_HOME=${shellWord(home)} vexa -q -u ${shellWord(user())}\n`;
  }
  const server = `ZDBS_USER=${shellWord(user())} ZDBS_HOME=${shellWord(home)}`;
  const options = declarations(q).map((each) => ` --namespace ${shellWord(each)}`).join('');
  return `${server} zdbs xpath${options} ${shellWord(present.database)} ${shellWord(q)}\n`;
}

function python(q) {
  const pairs = [['q', q], ...declarations(q).map((each) => ['namespace', each])];
  const list = pairs.map((pair) => `(${pair.map(pythonText).join(', ')})`).join(', ');
  return `import base64, getpass, json, urllib.parse, urllib.request

query = urllib.parse.urlencode([${list}])
call = urllib.request.Request(${pythonText(placeOf())} + "?" + query)
proof = base64.b64encode((${pythonText(`${user()}:`)} + getpass.getpass()).encode()).decode()
call.add_header("Authorization", "Basic " + proof)
with urllib.request.urlopen(call) as answer:
    print(json.load(answer))
`;
}

const forms = {curl, vexa, python};

/** The clipboard is not everybody's: the text is shown, too. */
async function copy(form, q) {
  const text = forms[form](q);
  const area = byId('copy-text');
  area.value = text;
  area.hidden = byId('copy-label').hidden = false;
  try {
    await navigator.clipboard.writeText(text);
    tell('copied', 'Copied.');
  } catch {
    area.focus();
    area.select();
    tell('copied', 'The browser does not let the page copy; the text is selected.');
  }
}

/** @param request answers what is copied */
export function startCopying(request) {
  for (const button of byId('copy').querySelectorAll('[data-form]'))
    button.addEventListener('click', () => copy(button.dataset.form, request()));
}
