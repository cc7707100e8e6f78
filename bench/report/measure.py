"""Runs the benchmark's programs: a fresh process for each measurement, round by round, so that what
else the machine does meets all subjects alike."""

import collections
import csv
import os
import statistics
import subprocess
import sys

SUBJECTS = ["machine", "P0", "P0s", "P0i", "P1", "P2", "P2x", "P2h", "P3", "P4"]
SLOW = {"P3", "P4"}
SLOW_ROUNDS = 3

# Members, as VLANs by members per VLAN.
SIZES = {"1k": (10, 100), "4k": (40, 100), "10k": (100, 100), "16k": (160, 100), "64k": (640, 100),
         "100k": (1000, 100), "250k": (2500, 100), "1M": (4000, 250), "4M": (4000, 1000)}
FULL_SIZES = ["10k", "100k", "1M"]
QUICK_SIZES = ["10k"]
FANS = ["10", "1000"]

Job = collections.namedtuple("Job", "kind size subject")  # kind: mixed, fan or memory


class Results:
    """Values by workload, size, metric, subject and round; checksums by workload and size."""

    def __init__(self):
        self.values = collections.defaultdict(dict)
        self.checksums = collections.defaultdict(lambda: collections.defaultdict(set))

    def add(self, number, job, lines):
        for line in csv.reader(lines):
            if line[0] == "check":
                _, subject, _, workload, total, items = line
                self.checksums[workload, job.kind == "fan", job.size][total, items].add(subject)
            else:
                subject, workload, _, metric, value = line
                self.values[workload, job.size, metric, subject][number] = float(value)

    def value(self, workload, size, metric, subject):
        """The median over the rounds; None if it was not measured."""
        values = self.values.get((workload, size, metric, subject))
        return statistics.median(values.values()) if values else None

    def spread(self, workload, size, metric, subject):
        values = self.values[workload, size, metric, subject].values()
        return min(values), max(values)

    def ratio(self, workload, size, metric, peer):
        """The machine to the peer: the median of the rounds that have both."""
        machine = self.values.get((workload, size, metric, "machine"), {})
        other = self.values.get((workload, size, metric, peer), {})
        ratios = [machine[number] / other[number] for number in machine if other.get(number)]
        return statistics.median(ratios) if ratios else None

    def mismatches(self):
        """A line for each workload and size on which two subjects derived different things."""
        for (workload, _, size), found in self.checksums.items():
            if len(found) > 1:
                groups = "; ".join(f"{', '.join(sorted(subjects))}: {total} of {items} items"
                                   for (total, items), subjects in found.items())
                yield f"{workload} at {size}: the subjects derived different outputs ({groups})"


def jobs_of(subjects, sizes, fans, with_memory=True):
    mixed = [Job("mixed", size, subject) for size in sizes for subject in subjects]
    fan = [Job("fan", size, subject) for size in fans for subject in subjects]
    memory = [Job("memory", size, subject) for size in sizes for subject in subjects]
    return mixed + fan + (memory if with_memory else [])


def command_of(programs, job):
    program = "bench_memory" if job.kind == "memory" else "bench_peers"
    size = [job.size] if job.kind == "fan" else [str(part) for part in SIZES[job.size]]
    return [os.path.join(programs, program), job.subject, job.kind] + size


def run(command):
    """The lines of output of a program; ends the script when it fails."""
    try:
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    except OSError as error:
        sys.exit(f"scripts/bench: {error}")
    if done.returncode != 0:
        sys.exit(f"scripts/bench: {' '.join(command)} ended with {done.returncode}\n"
                 f"{done.stdout}{done.stderr}")
    return done.stdout.splitlines()


def runs_in(job, number, slow_rounds):
    if job.kind == "memory":
        return number == 0  # every run allocates the same
    return number < slow_rounds or job.subject not in SLOW


def rotated(jobs, number):
    """Each subject has each place in the order now and then."""
    groups = collections.defaultdict(list)
    for job in jobs:
        groups[job.kind, job.size].append(job)
    for group in groups.values():
        turn = number % len(group)
        yield from group[turn:] + group[:turn]


def measure(programs, jobs, rounds, slow_rounds, raw=None):
    """All jobs in every round. `raw`: where the programs' lines go as they are."""
    results = Results()
    for number in range(rounds):
        now = [job for job in rotated(jobs, number) if runs_in(job, number, slow_rounds)]
        for done, job in enumerate(now):
            progress(f"round {number + 1} of {rounds}: {done + 1} of {len(now)}, "
                     f"{job.subject} {job.kind} {job.size}")
            lines = run(command_of(programs, job))
            results.add(number, job, lines)
            if raw:
                raw.writelines(f"{number},{line}\n" for line in lines)
                raw.flush()
    progress("")
    return results


def progress(text):
    if sys.stderr.isatty():
        sys.stderr.write(f"\r\033[K{text}")
        sys.stderr.flush()
