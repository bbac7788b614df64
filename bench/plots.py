"""Draws what bench/compare measures, as SVG that is readable on light and on dark pages.

Pictures are text made here, with no library: a scale of powers of ten, points, lines and bars.
"""

import math
from html import escape
from pathlib import Path

# Of our own, of the peers in their order; told apart by shape as well.
COLOURS = ("#d1495b", "#2e7dab", "#7a9e2f", "#b07d2b", "#8a63b8")
STYLE = """
text { font: 12px system-ui, sans-serif; fill: #333 }
.title { font-size: 14px; font-weight: 600 }
.grid { stroke: #8884; stroke-width: 1 }
.line { fill: none; stroke-width: 1.2; opacity: .55 }
@media (prefers-color-scheme: dark) { text { fill: #ddd } }
"""


class Picture:
    """Elements of an SVG of a fixed size."""

    def __init__(self, width, height):
        self.width, self.height, self.parts = width, height, []

    def add(self, element):
        self.parts.append(element)

    def text(self, x, y, text, anchor="start", kind="", colour=""):
        kind = f' class="{kind}"' if kind else ""
        colour = f' style="fill:{colour}"' if colour else ""
        self.add(f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{kind}{colour}>'
                 f"{escape(text)}</text>")

    def grid(self, x1, y1, x2, y2):
        self.add(f'<line class="grid" x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}"/>')

    def mark(self, x, y, system, title=""):
        """A point of a system: a dot for our own, a square, triangle or diamond for others."""
        shapes = (f'circle cx="{x:.1f}" cy="{y:.1f}" r="3.6"',
                  f'rect x="{x - 3:.1f}" y="{y - 3:.1f}" width="6" height="6"',
                  f'path d="M{x:.1f} {y - 4:.1f}l4 7h-8z"',
                  f'path d="M{x:.1f} {y - 4:.1f}l4 4l-4 4l-4-4z"')
        shape = shapes[min(system, len(shapes) - 1)]
        self.add(f'<{shape} fill="{COLOURS[system % len(COLOURS)]}">'
                 f"<title>{escape(title)}</title></{shape.split()[0]}>")

    def save(self, file):
        Path(file).write_text(
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {self.width} {self.height}" '
            f'width="{self.width}" height="{self.height}" role="img">\n<style>{STYLE}</style>\n'
            + "\n".join(self.parts) + "\n</svg>\n")


def time_name(exponent):
    """Of ten to this power of microseconds."""
    return {0: "1 µs", 1: "10 µs", 2: "100 µs", 3: "1 ms", 4: "10 ms", 5: "100 ms", 6: "1 s",
            7: "10 s", 8: "100 s"}.get(exponent, f"10^{exponent} µs")


class TimeScale:
    """Microseconds to heights, by powers of ten, with their lines."""

    def __init__(self, picture, times, left, right, top, bottom):
        self.low = math.floor(math.log10(min(times)))
        self.high = max(math.ceil(math.log10(max(times))), self.low + 1)
        self.top, self.bottom = top, bottom
        for exponent in range(self.low, self.high + 1):
            y = self.at(10 ** exponent)
            picture.grid(left, y, right, y)
            picture.text(left - 6, y + 4, time_name(exponent), "end")

    def at(self, micros):
        share = (math.log10(micros) - self.low) / (self.high - self.low)
        return self.bottom - share * (self.bottom - self.top)


def draw_answers(file, requests, answers, rates, title):
    """
    Each request's time in each system, in the order of ours; beside it bytes a second of loading.

    `answers` has a list for each system, ours first, None where one was not asked; `rates` pairs
    of a name and megabytes a second.
    """
    picture = Picture(960, 380)
    left, right, top, bottom = 62, 700, 56, 350
    systems = list(answers)
    times = [answer.micros for system in systems for answer in answers[system] if answer]
    scale = TimeScale(picture, times, left, right, top, bottom)
    picture.text(left, 18, title, kind="title")
    x = left
    for number, system in enumerate(systems):
        picture.mark(x + 5, 36, number)
        picture.text(x + 14, 40, system)
        x += 34 + 7 * len(system)
    own = answers[systems[0]]
    order = sorted(range(len(requests)), key=lambda i: own[i].micros)
    for place, i in enumerate(order):
        x = left + (place + 0.5) * (right - left) / len(order)
        for number in reversed(range(len(systems))):
            answer = answers[systems[number]][i]
            if answer:
                picture.mark(x, scale.at(answer.micros), number,
                             f"{requests[i].statement}: {answer.micros:.0f} µs")
    picture.text((left + right) / 2, bottom + 18, "requests, by our time", "middle")
    draw_rates(picture, rates, 740, 950, top)
    picture.save(file)


def draw_rates(picture, rates, left, right, top):
    picture.text(left, top - 16, "loading, MB/s")
    most = max(rate for _, rate in rates)
    for number, (name, rate) in enumerate(rates):
        y = top + number * 44
        width = max(2, (right - left) * rate / most)
        colour = COLOURS[number % len(COLOURS)] if name != "expat alone" else "#8888"
        picture.text(left, y + 10, f"{name}  {rate:.0f}")
        picture.add(f'<rect x="{left}" y="{y + 15}" width="{width:.1f}" height="12" '
                    f'fill="{colour}"/>')


def draw_growth(file, requests, sizes, columns, title):
    """The time of each request over the size of the document; `columns` has answers by size."""
    picture = Picture(720, 420)
    left, right, top, bottom = 62, 700, 60, 380
    times = [answer.micros for answers in columns for answer in answers if answer]
    scale = TimeScale(picture, times, left, right, top, bottom)
    picture.text(left, 18, title, kind="title")
    for number, text in enumerate(("answers that grow with the document",
                                   "answers of the same size everywhere")):
        x = left + number * 300
        picture.mark(x + 5, 38, number)
        picture.text(x + 16, 42, text)
    step = (right - left) / (len(sizes) - 1) if len(sizes) > 1 else 0
    for i, request in enumerate(requests):
        series = [(place, answers[i]) for place, answers in enumerate(columns) if answers[i]]
        if not series:
            continue
        grows = series[-1][1].count > 2 * series[0][1].count
        points = " ".join(f"{left + place * step:.1f},{scale.at(answer.micros):.1f}"
                          for place, answer in series)
        colour = COLOURS[0 if grows else 1]
        picture.add(f'<polyline class="line" points="{points}" stroke="{colour}">'
                    f"<title>{escape(request.statement)}</title></polyline>")
    for place, size in enumerate(sizes):
        picture.text(left + place * step, bottom + 20, size, "end" if place else "start")
    picture.save(file)
