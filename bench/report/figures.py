"""What is reported: the figures of each workload, their names in the JSON document, and the limits
that they are held against."""

import collections

# infix: in the names of the JSON document, "<subject>_<infix><unit>" and "ratio_<infix><peer>".
Figure = collections.namedtuple("Figure", "workload metric unit infix text")
FIGURES = [
    Figure("W1", "ns_per_member", "ns", "", "W1 start, ns per member"),
    Figure("W2", "ns_per_event_each", "ns", "", "W2 change, median ns"),
    Figure("W2", "p99_ns", "ns", "p99_", "W2 change, p99 ns"),
    Figure("W2", "p999_ns", "ns", "p999_", "W2 change, p99.9 ns"),
    Figure("W2", "ns_per_event_batch", "ns", "mean_", "W2 change, mean ns"),
    Figure("W3", "ns_per_write", "ns", "", "W3 LAG member, ns per write"),
    Figure("W4", "ns_per_entry", "ns", "", "W4 restart, ns per entry"),
    Figure("memory", "live_bytes_per_entry", "bytes", "", "memory, live bytes per entry"),
    Figure("memory", "steady_bytes_per_entry", "bytes", "heap_", "memory, heap bytes per entry"),
    Figure("memory", "peak_bytes_per_entry", "bytes", "peak_", "memory, peak heap bytes per entry"),
]

# The ratio of the machine to a peer: what it must not exceed, and what is aimed at. sizes: None is
# all. The one place where these are written down.
Limit = collections.namedtuple("Limit", "workload infix sizes peer must aim")
BEYOND_10K = ("100k", "1M")
LIMITS = [
    Limit("W1", "", ("10k", "100k"), "P0s", 1.5, 1.0),
    Limit("W1", "", ("1M",), "P0s", 1.35, 1.0),
    Limit("W2", "", None, "P0", 1.6, 1.0),
    Limit("W2", "p99_", None, "P0", 1.3, 1.0),
    Limit("W3", "", ("10",), "P0", 1.3, 0.9),
    Limit("W3", "", ("1000",), "P0", 0.6, 0.4),
    Limit("W4", "", ("10k",), "P0s", 1.65, 1.05),
    Limit("W4", "", BEYOND_10K, "P0s", 1.3, 1.05),
    Limit("memory", "", None, "P0", 1.15, 0.85),
    Limit("W1", "", BEYOND_10K, "P1", 1.0, None),
    Limit("W2", "", ("10k",), "P1", 1.0, None),
    Limit("W2", "", BEYOND_10K, "P1", 0.5, None),
    Limit("W3", "", None, "P1", 1.0, None),
    Limit("W4", "", BEYOND_10K, "P1", 1.0, None),
    Limit("W1", "", None, "P3", 1 / 3, None),
    Limit("W2", "", None, "P3", 1 / 15, None),
    Limit("W3", "", None, "P3", 1 / 20, None),
    Limit("W4", "", None, "P3", 1 / 10, None),
]


def figure_of(limit):
    return next(figure for figure in FIGURES
                if (figure.workload, figure.infix) == (limit.workload, limit.infix))
