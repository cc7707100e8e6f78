"""The results as Markdown and as a JSON document."""

import os

from figures import FIGURES, LIMITS, figure_of
from measure import run


def number(value):
    if value is None:
        return ""
    return f"{value:,.0f}" if value >= 100 else f"{value:.1f}"


def ratio(value):
    if value is None:
        return ""
    return f"{value:.2f}" if value >= 0.1 else f"{value:.2g}"


def rows(results):
    """The figures that were measured, each with its size."""
    sizes = list(dict.fromkeys(size for _, size, _, _ in results.values))
    for figure in FIGURES:
        for size in sizes:
            if any(key[:3] == (figure.workload, size, figure.metric) for key in results.values):
                yield figure, size


def ratio_table(results, subjects):
    """The machine's figures with least and most of all rounds, and its ratios to the peers."""
    peers = [subject for subject in subjects if subject != "machine"]
    lines = ["| | size | machine | " + " | ".join(f"/ {peer}" for peer in peers) + " |",
             "|---|--:|--:|" + "--:|" * len(peers)]
    for figure, size in rows(results):
        key = figure.workload, size, figure.metric
        cells = [figure.text, size]
        if "machine" in subjects:
            least, most = results.spread(*key, "machine")
            value = number(results.value(*key, "machine"))
            cells.append(f"{value} [{number(least)}-{number(most)}]" if least != most else value)
            cells += [ratio(results.ratio(*key, peer)) for peer in peers]
        else:
            cells += [""] + [number(results.value(*key, peer)) for peer in peers]
        lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines)


def limit_table(results):
    """Each limit at each size that was measured."""
    lines = ["| | size | peer | ratio | must | | aim | |", "|---|--:|---|--:|--:|---|--:|---|"]
    for limit in LIMITS:
        figure = figure_of(limit)
        for shown, size in rows(results):
            value = results.ratio(figure.workload, size, figure.metric, limit.peer)
            if shown != figure or value is None or size not in (limit.sizes or [size]):
                continue
            aim = ["", ""]
            if limit.aim:
                aim = [ratio(limit.aim), "met" if value <= limit.aim else "not met"]
            met = "met" if value <= limit.must else "**not met**"
            cells = [figure.text, size, limit.peer, ratio(value), ratio(limit.must), met] + aim
            lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines)


def document(results, subjects, programs):
    """What --json writes."""
    result = {}
    for figure, size in rows(results):
        place = result.setdefault(figure.workload, {}).setdefault(size, {})
        for subject in subjects:
            key = figure.workload, size, figure.metric
            value = results.value(*key, subject)
            if value is not None:
                place[f"{subject}_{figure.infix}{figure.unit}"] = round(value, 3)
            to_peer = results.ratio(*key, subject)
            if subject != "machine" and to_peer is not None:
                place[f"ratio_{figure.infix}{subject}"] = round(to_peer, 4)
    result["machine"] = {"cpu": cpu_model(), "cores": os.cpu_count(),
                         "compiler": compiler(programs)}
    return result


def cpu_model():
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        for line in lines:
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    return "unknown"


def compiler(programs):
    return run([os.path.join(programs, "bench_peers"), "compiler"])[0]
