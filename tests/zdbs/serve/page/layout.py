"""What a screenshot shows, as boxes: nothing runs over the edge, nothing lies on something else."""

import json

FAULTS = """
const faults = [];
const width = document.documentElement.clientWidth;
if (document.documentElement.scrollWidth > width)
  faults.push(`the page is ${document.documentElement.scrollWidth} wide, of ${width}`);
const isShown = (e) => e.checkVisibility({visibilityProperty: true}) && !e.closest('.skip');
const isAbove = (e) => e.closest('#offers') !== null;
const boxOf = (what, rect, e) => ({what, rect, e});
const boxes = [];
for (const e of document.querySelectorAll('button, input, select, textarea, meter'))
  if (isShown(e)) boxes.push(boxOf(e.id || e.ariaLabel || e.textContent || e.tagName,
      e.getBoundingClientRect(), e));
const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
for (let node = walker.nextNode(); node; node = walker.nextNode()) {
  const e = node.parentElement;
  if (!node.data.trim() || !isShown(e) || e.closest('button, select, datalist, textarea')) continue;
  const range = document.createRange();
  range.selectNodeContents(node);
  for (const rect of range.getClientRects())
    if (rect.width > 0.5) boxes.push(boxOf(node.data.trim().slice(0, 20), rect, e));
}
const scroller = (e) => e.closest('#tree, #offers');
for (const {what, rect, e} of boxes) {
  const right = scroller(e) ? scroller(e).getBoundingClientRect().right : width;
  if (rect.left < -0.5 || rect.right > right + 0.5)
    faults.push(`${what} is from ${rect.left} to ${rect.right} of ${right}`);
}
const overlap = (a, b) => Math.min(a.right, b.right) - Math.max(a.left, b.left) > 1 &&
    Math.min(a.bottom, b.bottom) - Math.max(a.top, b.top) > 3;
for (let i = 0; i < boxes.length; ++i)
  for (let j = i + 1; j < boxes.length; ++j) {
    const [a, b] = [boxes[i], boxes[j]];
    if (isAbove(a.e) !== isAbove(b.e) || scroller(a.e) !== scroller(b.e)) continue;
    if (!overlap(a.rect, b.rect) || a.e.contains(b.e) || b.e.contains(a.e)) continue;
    faults.push(`${a.what} lies on ${b.what}`);
  }
return {boxes: boxes.length, faults: faults.slice(0, 10)};
"""


def require_layout(page):
    found = page.script(FAULTS)
    assert found["boxes"] > 2
    assert found["faults"] == [], json.dumps(found["faults"], ensure_ascii=False)
    return found["boxes"]
