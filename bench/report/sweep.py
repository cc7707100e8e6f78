"""How cost grows with the number of members: as a table, and as a plot in plain SVG."""

import math

from measure import SIZES as ALL_SIZES
from tables import number

SUBJECTS = ["machine", "P0", "P0s", "P1"]
SIZES = ["1k", "4k", "16k", "64k", "250k", "1M", "4M"]
PANELS = [("W1", "ns_per_member", "W1 start, ns per member"),
          ("W2", "ns_per_event_batch", "W2 change, ns per event"),
          ("W4", "ns_per_entry", "W4 restart, ns per entry")]

WIDTH, HEIGHT = 300, 300  # of a panel's axes
LEFT, TOP, BOTTOM, LEGEND = 60, 40, 50, 30
# Classes of the style below. The first is drawn last and thickest; those without a colour of their
# own share one. All colours are legible on a light and on a dark background.
SERIES = ["a", "b", "c", "d", "e", "f", "g", "h", "i", "j"]
STYLE = """
  text { font: 12px sans-serif; fill: #777 }
  .title { font-size: 13px; font-weight: bold }
  .axis { stroke: #777 } .grid { stroke: #777; stroke-opacity: .3 }
  .line { fill: none; stroke: #8a6fb5; stroke-width: 1.6 } .dot { fill: #8a6fb5 }
  .line.a { stroke: #d1495b; stroke-width: 2.6 } .dot.a { fill: #d1495b }
  .line.b { stroke: #2a7fb8 } .dot.b { fill: #2a7fb8 }
  .line.c { stroke: #3a9d5d } .dot.c { fill: #3a9d5d }
  .line.d { stroke: #b07d2b } .dot.d { fill: #b07d2b }
"""


def measured(results, panel, subject):
    """(members, ns) of each size."""
    workload, metric, _ = panel
    points = [(ALL_SIZES[size][0] * ALL_SIZES[size][1],
               results.value(workload, size, metric, subject)) for size in SIZES]
    return [point for point in points if point[1] is not None]


def table(results, subjects):
    lines = ["| | members | " + " | ".join(subjects) + " |", "|---|--:|" + "--:|" * len(subjects)]
    for workload, metric, text in PANELS:
        for size in SIZES:
            values = [results.value(workload, size, metric, subject) for subject in subjects]
            if any(values):
                cells = [text, size] + [number(value) for value in values]
                lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines)


class Axis:
    """Logarithmic: from a value to a place between `begin` and `end`."""

    def __init__(self, least, most, begin, end):
        self.least, self.most = math.log10(least), math.log10(most)
        self.begin, self.end = begin, end

    def __call__(self, value):
        part = (math.log10(value) - self.least) / (self.most - self.least)
        return round(self.begin + part * (self.end - self.begin), 1)

    def ticks(self, steps):
        """Those of `steps` times each power of ten that lie on the axis."""
        powers = range(math.floor(self.least), math.ceil(self.most) + 1)
        values = (step * 10 ** power for power in powers for step in steps)
        return [value for value in values if self.least <= math.log10(value) <= self.most]


def short(value):
    for unit, letter in ((10 ** 6, " M"), (10 ** 3, " k")):
        if value >= unit:
            return f"{value / unit:g}{letter}"
    return f"{value:g}"


def line(kind, x1, y1, x2, y2):
    return f'<line class="{kind}" x1="{x1}" y1="{y1}" x2="{x2}" y2="{y2}"/>'


def text(x, y, words, anchor="middle", more=""):
    return f'<text x="{x}" y="{y}" text-anchor="{anchor}"{more}>{words}</text>'


def frame(x, y, title):
    """The axes of a panel with their grid and their labels."""
    parts = [text((x.begin + x.end) / 2, y.end - 12, title, more=' class="title"'),
             line("axis", x.begin, y.begin, x.end, y.begin),
             line("axis", x.begin, y.begin, x.begin, y.end),
             text((x.begin + x.end) / 2, y.begin + 38, "members")]
    for value in x.ticks([1]):
        parts += [line("grid", x(value), y.begin, x(value), y.end),
                  text(x(value), y.begin + 18, short(value))]
    for value in y.ticks([1, 2, 5]):
        parts += [line("grid", x.begin, y(value), x.end, y(value)),
                  text(x.begin - 6, y(value) + 4, short(value), "end")]
    middle = (y.begin + y.end) / 2
    parts.append(text(x.begin - 44, middle, "nanoseconds",
                      more=f' transform="rotate(-90 {x.begin - 44} {middle})"'))
    return parts


def curve(x, y, points, series):
    places = [(x(members), y(value)) for members, value in points]
    path = " ".join(f"{px},{py}" for px, py in places)
    dots = [f'<circle class="dot {series}" cx="{px}" cy="{py}" r="3"/>' for px, py in places]
    return [f'<polyline class="line {series}" points="{path}"/>'] + dots


def legend(subjects, y):
    parts = []
    for place, (subject, series) in enumerate(zip(subjects, SERIES)):
        x = LEFT + place * 110
        parts += [f'<polyline class="line {series}" points="{x},{y} {x + 24},{y}"/>',
                  f'<circle class="dot {series}" cx="{x + 12}" cy="{y}" r="3"/>',
                  text(x + 30, y + 4, subject, "start")]
    return parts


def plot(results, subjects):
    parts = []
    # One scale for all panels, so that they can be compared.
    values = [value for panel in PANELS for subject in subjects
              for _, value in measured(results, panel, subject)]
    members = [number_ for panel in PANELS for subject in subjects
               for number_, _ in measured(results, panel, subject)]
    for place, panel in enumerate(PANELS):
        begin = LEFT + place * (WIDTH + LEFT)
        x = Axis(min(members) / 1.3, max(members) * 1.3, begin, begin + WIDTH)
        y = Axis(min(values) / 1.3, max(values) * 1.3, TOP + HEIGHT, TOP)
        parts += frame(x, y, panel[2])
        for subject, series in reversed(list(zip(subjects, SERIES))):
            points = measured(results, panel, subject)
            if points:
                parts += curve(x, y, points, series)
    width = LEFT + len(PANELS) * (WIDTH + LEFT)
    height = TOP + HEIGHT + BOTTOM + LEGEND
    parts += legend(subjects, height - LEGEND / 2)
    body = "\n".join(parts)
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
            f'width="{width}" height="{height}" role="img">\n'
            f"<title>Cost by number of members, logarithmic</title>\n<style>{STYLE}</style>\n"
            f"{body}\n</svg>\n")
