#!/usr/bin/env python3
"""Shows that twice the input costs at most 2.2 times the work, and that those who wait for a VLAN cost nothing.

Work is instructions, which callgrind counts: the same in every run, however busy the machine is. The program `growth`
performs the library's work phase by phase; of `fyrl3 show` everything counts.

    scripts/growth.py BUILD [SIZE...] [--json]

Compares each SIZE (by default 1000 and 10000) with twice as many, in a release build. Prints a table, or with --json what
it is made of; fails when a ratio is above its limit.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
SIZES = [1_000, 10_000]
SCENARIOS = ["names", "internalVlans", "oneVlan", "l3Indexes", "show"]
TWICE = 2.2  # for twice the input: linear, and room for a logarithm and for where a collection happens to double
FEW_WAITERS = 16
WAITERS = [1, 256, 4_096]
WAITING = 2.0
CALLGRIND = ["valgrind", "--quiet", "--tool=callgrind"]


# Counting


def counted(command, scratch, *options):
    """The instructions of a command by phase; those outside of all phases have the empty name."""
    with tempfile.TemporaryDirectory(dir=scratch) as directory:
        out = pathlib.Path(directory) / "out"
        run = [*CALLGRIND, *options, f"--callgrind-out-file={out}", *map(str, command)]
        result = subprocess.run(run, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False)
        if result.returncode != 0:
            raise SystemExit(f"{result.stderr}{' '.join(map(str, command))} ended with {result.returncode}.")
        return dict(phase_of(path.read_text()) for path in sorted(pathlib.Path(directory).iterdir()))


def phase_of(profile):
    """The name and the instructions of one of callgrind's files."""
    name = re.search(r"^desc: Trigger: Client Request: (.*)$", profile, re.MULTILINE)
    instructions = re.search(r"^(?:totals|summary): (\d+)$", profile, re.MULTILINE)
    return name.group(1) if name else "", int(instructions.group(1))


def count(build, scenario, size, scratch):
    """The instructions of each phase of a scenario."""
    if scenario == "show":
        with tempfile.NamedTemporaryFile(dir=scratch, suffix=".json") as file:
            subprocess.run([sys.executable, ROOT / "benches" / "configuration.py", str(size)], stdout=file, check=True)
            return {"whole": counted([build / "bin" / "fyrl3", "show", "--config", file.name], scratch)[""]}
    phases = counted([build / "bin" / "growth", scenario, size], scratch, "--instr-atstart=no")
    phases.pop("")
    return phases


# Weighing


def comparisons(sizes):
    """What is compared: scenario, size, the size that it is compared with, how many times as much it may cost."""
    growing = [(scenario, 2 * size, size, TWICE) for scenario in SCENARIOS for size in sizes]
    return growing + [("waiters", size, FEW_WAITERS, WAITING) for size in WAITERS]


def needed(sizes):
    """Each scenario and size that has to be counted."""
    compared = {(scenario, size) for scenario, *both, _ in comparisons(sizes) for size in both}
    return sorted(compared, key=lambda item: -item[1])  # the longest first, so that processors end together


def weigh(counts, sizes):
    """One row for each phase of each comparison; counts holds the phases of each scenario and size."""
    rows = []
    for scenario, size, base, limit in comparisons(sizes):
        for phase, before in counts[scenario, base].items():
            after = counts[scenario, size][phase]
            rows.append(
                {
                    "scenario": scenario,
                    "phase": phase,
                    "from": base,
                    "to": size,
                    "instructionsFrom": before,
                    "instructionsTo": after,
                    "ratio": after / before,
                    "limit": limit,
                    "good": after <= limit * before,
                }
            )
    return rows


# Showing


def table(rows):
    heading = ["scenario", "phase", "from", "to", "instructions", "instructions", "ratio", "limit", ""]
    lines = [heading] + [
        [
            row["scenario"],
            row["phase"],
            *(f"{row[number]:,}" for number in ("from", "to", "instructionsFrom", "instructionsTo")),
            f"{row['ratio']:.3f}",
            f"{row['limit']:.1f}",
            "good" if row["good"] else "GROWS TOO FAST",
        ]
        for row in rows
    ]
    widths = [max(map(len, column)) for column in zip(*lines)]
    words = {0, 1, len(heading) - 1}
    return "".join(
        "  ".join(
            cell.ljust(width) if at in words else cell.rjust(width) for at, (cell, width) in enumerate(zip(line, widths))
        ).rstrip()
        + "\n"
        for line in lines
    )


def main(arguments=None):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, metavar="BUILD")
    parser.add_argument("sizes", type=int, nargs="*", default=SIZES, metavar="SIZE")
    parser.add_argument("--json", action="store_true")
    options = parser.parse_args(arguments)
    with (
        tempfile.TemporaryDirectory() as scratch,
        concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool,
    ):
        work = needed(options.sizes)
        counts = dict(zip(work, pool.map(lambda item: count(options.build, *item, scratch), work)))
    rows = weigh(counts, options.sizes)
    print(json.dumps(rows, indent=1) if options.json else table(rows), end="\n" if options.json else "")
    return 0 if all(row["good"] for row in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
