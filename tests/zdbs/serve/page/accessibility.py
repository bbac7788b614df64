"""What a screen reader is told: by axe-core where that is to be had, and by checks of our own."""

import json
import os

NAMED = {"button", "textbox", "searchbox", "combobox", "radio", "link", "listbox", "option", "tree",
         "treeitem", "meter", "navigation", "search", "region", "form"}

# WCAG 2.2, 1.4.3: of each text, and what is behind it.
CONTRAST = """
const channel = (c) => (c /= 255) <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4;
const light = ([r, g, b]) => 0.2126 * channel(r) + 0.7152 * channel(g) + 0.0722 * channel(b);
const parts = (text) => (text.match(/[\\d.]+/g) || []).map(Number);
const behind = (e) => {
  for (; e; e = e.parentElement) {
    const colour = parts(getComputedStyle(e).backgroundColor);
    if (colour.length === 3 || colour[3] > 0) return colour;
  }
  return [255, 255, 255];
};
const faint = [];
const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
for (let node = walker.nextNode(); node; node = walker.nextNode()) {
  const e = node.parentElement;
  if (!node.data.trim() || !e.checkVisibility() || e.closest('option, :disabled')) continue;
  const [a, b] = [light(parts(getComputedStyle(e).color)), light(behind(e))];
  const ratio = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
  if (ratio < 4.5) faint.push(`${node.data.trim().slice(0, 20)}: ${ratio.toFixed(2)}`);
}
return faint;
"""

AXE = """
const done = arguments[arguments.length - 1];
axe.run(document, {resultTypes: ['violations'], runOnly: ['wcag2a', 'wcag2aa', 'wcag21a', 'wcag21aa',
    'wcag22aa', 'best-practice']})
  .then(({violations, passes}) => done({rules: passes.length, violations: violations.map(
    (each) => `${each.id}: ${each.nodes.map((node) => node.html.slice(0, 120)).join(' | ')}`)}));
"""


def axe_findings(page):
    """Rules that hold, and what is found; nothing where axe-core is not to be had."""
    path = os.environ.get("VEXA_AXE_CORE", "")
    if not os.path.exists(path):
        return 0, []
    if not page.script("return 'axe' in window"):
        with open(path, encoding="utf-8") as source:
            page.devtools("Runtime.evaluate", expression=source.read())
    told = page.driver.execute_async_script(AXE)
    return told["rules"], told["violations"]


def unnamed(page):
    """Controls and landmarks of the browser's own tree that have no name."""
    nodes = page.devtools("Accessibility.getFullAXTree")["nodes"]
    shown = [each for each in nodes if not each.get("ignored")]
    roles = [each["role"]["value"] for each in shown]
    assert roles.count("main") == 1 and roles.count("banner") == 1, roles
    return [each["role"]["value"] for each in shown
            if each["role"]["value"] in NAMED and not each.get("name", {}).get("value")]


def require_access(page):
    rules, findings = axe_findings(page)
    assert findings == [], json.dumps(findings, indent=1)
    nameless = unnamed(page)
    assert nameless == [], nameless
    faint = page.script(CONTRAST)
    assert faint == [], faint
    return rules
