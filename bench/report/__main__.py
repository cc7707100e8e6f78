"""scripts/bench [--rounds N] [--quick] [--json FILE] [--csv FILE] [--filter TEXT]
              [--subjects A,B,...] [--programs DIR]
scripts/bench --sweep [--rounds N] [--svg FILE]

The machine against its peers on four workloads: what an engineer would write or pick instead (see
bench/Subject.h). Each measurement has a process of its own; the rounds are interleaved; a ratio is
the median of the ratios within each round. Prints a table and which limits are met. Ends with 1
when two subjects derive different outputs; a limit that is not met does not count.

  --rounds N      rounds (7; 3 with --quick and --sweep); P3 and P4 run in the first 3 only
  --quick         10 k members only, less than a minute in all
  --json FILE     write the figures there, too
  --csv FILE      write the programs' output there, too, each line after the number of its round
  --filter TEXT   only runs whose name contains it: mixed/10k, fan/1000, memory/1M ...
  --subjects      only these, separated by commas
  --programs DIR  build nothing, take the programs from there
  --sweep         how cost grows from 1 k to 4 M members: a table, and the plot docs/sweep.svg
"""

import argparse
import json
import sys

import sweep
import tables
from measure import (FANS, FULL_SIZES, QUICK_SIZES, SLOW_ROUNDS, SUBJECTS, jobs_of, measure)


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/bench", usage=__doc__, add_help=False)
    parser.add_argument("--rounds", type=int)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--json")
    parser.add_argument("--csv")
    parser.add_argument("--filter", default="")
    parser.add_argument("--subjects", type=lambda text: text.split(","))
    parser.add_argument("--programs", default="build/release/bench")
    parser.add_argument("--sweep", action="store_true")
    parser.add_argument("--svg", default="docs/sweep.svg")
    parser.add_argument("-h", "--help", action="store_true")
    options = parser.parse_args()
    if options.help:
        print(__doc__)
        sys.exit(0)
    if options.rounds is None:
        options.rounds = 3 if options.quick or options.sweep else 7
    options.subjects = options.subjects or (sweep.SUBJECTS if options.sweep else SUBJECTS)
    unknown = [subject for subject in options.subjects if subject not in SUBJECTS]
    if unknown or options.rounds < 1:
        parser.error(f"no subject {unknown[0]}" if unknown else "there must be a round")
    return options


def jobs(options):
    if options.sweep:
        chosen = jobs_of(options.subjects, sweep.SIZES, [], with_memory=False)
    else:
        sizes = QUICK_SIZES if options.quick else FULL_SIZES
        chosen = jobs_of(options.subjects, sizes, FANS)
    chosen = [job for job in chosen if options.filter in f"{job.kind}/{job.size}"]
    if not chosen:
        sys.exit(f"scripts/bench: no run's name contains {options.filter}")
    return chosen


def report(options, results):
    if options.sweep:
        print(sweep.table(results, options.subjects))
        with open(options.svg, "w", encoding="utf-8") as file:
            file.write(sweep.plot(results, options.subjects))
        print(f"\nPlot: {options.svg}")
        return
    print(tables.ratio_table(results, options.subjects))
    print(f"\n{tables.limit_table(results)}")


def main():
    options = arguments()
    raw = open(options.csv, "w", encoding="utf-8") if options.csv else None
    slow_rounds = 1 if options.quick else SLOW_ROUNDS
    results = measure(options.programs, jobs(options), options.rounds, slow_rounds, raw)
    mismatches = list(results.mismatches())
    if mismatches:
        sys.exit("\n".join(["scripts/bench: no figures, for there are different outputs."]
                           + mismatches))
    report(options, results)
    if options.json:
        with open(options.json, "w", encoding="utf-8") as file:
            json.dump(tables.document(results, options.subjects, options.programs), file, indent=2)
            file.write("\n")


main()
