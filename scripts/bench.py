#!/usr/bin/env python3
"""Runs the benchmark program, weighs what it measured against the goals, and draws the charts; ./bench is how it is called.

Each family runs in a process of its own, in which the repetitions of all its benchmarks are interleaved at random, so that
whatever disturbs the machine disturbs ours and theirs alike. What counts is the median of the repetitions. Of collections,
which are measured at both extremes of their load, the geometric mean of the two ratios is weighed.

    scripts/bench.py BUILD FAMILY... [--repetitions N] [--min-time SECONDS]

Writes BUILD/result.json and docs/charts/FAMILY.svg; when all families ran, also the measured part of docs/performance.md.
"""

import argparse
import contextlib
import datetime
import json
import os
import pathlib
import re
import signal
import statistics
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True  # nothing but results is left behind

ROOT = pathlib.Path(__file__).resolve().parent.parent
GOALS = json.loads((ROOT / "benches" / "goals.json").read_text())
FAMILIES = list(dict.fromkeys(goal["family"] for goal in GOALS))
PAGE = ROOT / "docs" / "performance.md"
BEGIN = "<!-- ./bench writes from here -->\n"
END = "<!-- to here -->\n"
LOADS = ["before", "after"]
UNITS = ["allocationsPerItem", "bytesPerEntry"]


def say(text):
    print(text, file=sys.stderr, flush=True)


# Running


def run(program, family, options):
    """Runs one family; answers what the program reported."""
    with tempfile.NamedTemporaryFile(suffix=".json") as out, tempfile.TemporaryFile("w+") as errors:
        command = [
            program,
            f"--benchmark_filter=^{family}/",
            f"--benchmark_out={out.name}",
            "--benchmark_out_format=json",
            "--benchmark_enable_random_interleaving=true",
            f"--benchmark_repetitions={options.repetitions}",
            f"--benchmark_min_time={options.min_time}",
        ]
        # One processor, so that nothing is measured while it moves to another with cold caches.
        processor = max(os.sched_getaffinity(0))
        with subprocess.Popen(
            command,
            stdout=subprocess.DEVNULL,
            stderr=errors,
            preexec_fn=lambda: os.sched_setaffinity(0, {processor}),
        ) as process:
            try:
                status = process.wait()
            except BaseException:
                process.kill()
                process.wait()
                raise
        if status != 0:
            errors.seek(0)
            raise SystemExit(f"{errors.read()}The benchmarks of {family} ended with {status}.")
        return json.load(out)


def medians(report):
    """The median of each benchmark's repetitions, by name: nanoseconds per item, and the counters."""
    found = {}
    for entry in report["benchmarks"]:
        if entry["run_type"] != "iteration":
            continue
        if entry.get("error_occurred"):
            raise SystemExit(f"{entry['name']}: {entry['error_message']}")
        name = re.sub(r"/(manual_time|iterations:\d+|repeats:\d+)", "", entry["run_name"])
        values = found.setdefault(name, {})
        if entry.get("items_per_second"):
            values.setdefault("ns", []).append(1e9 / entry["items_per_second"])
        for unit in UNITS:
            if unit in entry:
                values.setdefault(unit, []).append(entry[unit])
    return {
        name: {unit: statistics.median(repetitions) for unit, repetitions in values.items()}
        for name, values in found.items()
    }


def machine(context):
    """The machine on which the report was made, in one line."""
    model = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.MULTILINE)
    caches = {
        f"L{cache['level']} {cache['size'] >> 10} KiB"
        for cache in context["caches"]
        if cache["type"] in ("Data", "Unified")
    }
    return ", ".join(
        [
            model.group(1).strip() if model else os.uname().machine,
            f"{context['num_cpus']} processors",
            *sorted(caches),
            f"Linux {os.uname().release.split('-')[0]}",
            context["compiler"],
        ]
    )


# Weighing


def measured(values, family, case, contender, size, unit):
    """What was measured at this size: one value, or one for each load; empty when nothing was."""
    name = f"{family}/{case}/{contender}/{size}"
    found = (values.get(full, {}).get(unit) for full in [name] + [f"{name}/{load}" for load in LOADS])
    return [value for value in found if value is not None]


def mean(numbers):
    """The geometric mean, because they are ratios; of those that hold a zero, the largest."""
    return statistics.geometric_mean(numbers) if min(numbers) > 0 else max(numbers)


def weigh(goal, size, limit, values):
    """One goal at one size as a row of the table."""
    family, case, unit = goal["family"], goal["case"], goal["unit"]
    ours = measured(values, family, case, "ours", size, unit)
    row = {"family": family, "case": case, "at": size, "unit": unit, "ours": ours, "goal": limit}
    compared = ours
    if "against" in goal:
        theirs = measured(values, family, goal.get("againstCase", case), goal["against"], size, unit)
        compared = [our / their for our, their in zip(ours, theirs)]
        row |= {"against": " ".join([goal["against"], *([goal["againstCase"]] if "againstCase" in goal else [])])}
        row |= {"theirs": theirs}
    row["compared"] = compared
    # As exact as it is shown, so that the table does not contradict itself; but nothing is nothing.
    reached = compared and (round(mean(compared), 2) if limit else mean(compared)) <= limit
    row["verdict"] = "reached" if reached else "missed" if compared else "not measured"
    return row


def weigh_all(values, families):
    return [
        weigh(goal, size, limit, values)
        for goal in GOALS
        if goal["family"] in families
        for size, limit in goal["goals"].items()
    ]


# Showing


def spelled(numbers):
    """The numbers, before and after a doubling where there are two."""
    return " / ".join(f"{number:.2f}" if number >= 0.01 or not number else f"{number:.0e}" for number in numbers)


def spelled_ratio(ratios):
    """The ratio that is weighed, and what it is the mean of."""
    if len(ratios) < 2:
        return spelled(ratios)
    return f"{mean(ratios):.2f} ({spelled(ratios)})"


HEADINGS = ["family", "case", "at", "ours", "theirs", "", "ratio", "goal", "verdict"]


def cells(row):
    """A row of the table as text."""
    against = "against" in row
    unit = {"ns": "ns", "bytesPerEntry": "bytes", "allocationsPerItem": "allocations"}[row["unit"]]
    return [
        row["family"],
        row["case"],
        row["at"],
        spelled(row["ours"]) + ("" if against or not row["ours"] else f" {unit}"),
        spelled(row.get("theirs", [])),
        row.get("against", ""),
        spelled_ratio(row["compared"]) if against else "",
        f"{row['goal']:g}",
        row["verdict"],
    ]


def summary(rows):
    verdicts = [row["verdict"] for row in rows]
    text = f"{verdicts.count('reached')} reached, {verdicts.count('missed')} missed"
    unmeasured = verdicts.count("not measured")
    return f"{text}, {unmeasured} not measured" if unmeasured else text


def print_table(rows):
    lines = [HEADINGS, *map(cells, rows)]
    widths = [max(map(len, column)) for column in zip(*lines)]
    for line in lines:
        print("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip())
    print(f"Goals: {summary(rows)}")


def markdown_table(rows):
    lines = [HEADINGS, ["---"] * len(HEADINGS), *map(cells, rows)]
    return "".join(f"| {' | '.join(line)} |\n" for line in lines)


def write_page(result):
    """Replaces the measured part of the page."""
    page = PAGE.read_text()
    before, rest = page.split(BEGIN)
    after = rest.split(END)[1]
    measured_part = [f"Made on {result['date']} on: {result['machine']}.\n\nGoals: {summary(result['goals'])}.\n"]
    for family in FAMILIES:
        rows = [row for row in result["goals"] if row["family"] == family]
        measured_part += [f"![{family}](charts/{family}.svg)\n", markdown_table(rows)]
    write(PAGE, before + BEGIN + "\n" + "\n".join(measured_part) + "\n" + END + after)


def write(path, text):
    """Writes the file whole or not at all."""
    path.parent.mkdir(parents=True, exist_ok=True)
    partial = path.with_name(path.name + ".partial")
    try:
        partial.write_text(text)
        partial.replace(path)
    finally:
        partial.unlink(missing_ok=True)


def measure(options):
    values, context = {}, {}
    for family in options.families:
        start = time.monotonic()
        report = run(options.build / "bin" / "benches", family, options)
        values |= medians(report)
        context = report["context"]
        say(f"{family}: {time.monotonic() - start:.0f} s")
    return {
        "machine": machine(context),
        "date": datetime.date.today().isoformat(),
        "medians": values,
        "goals": weigh_all(values, options.families),
    }


def draw_charts(result, families):
    import charts  # pylint: disable=import-outside-toplevel  # needs a library that weighing does not need

    for family in families:
        drawing = charts.draw(family, result["medians"], result["machine"])
        write(ROOT / "docs" / "charts" / f"{family}.svg", drawing)


def interrupted(*_):
    raise KeyboardInterrupt


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("families", nargs="+", metavar="FAMILY")
    parser.add_argument("--repetitions", type=int, default=9)
    parser.add_argument("--min-time", type=float, default=0.05)
    options = parser.parse_args()
    signal.signal(signal.SIGTERM, interrupted)
    try:
        result = measure(options)
        print_table(result["goals"])
        write(options.build / "result.json", json.dumps(result, indent=1) + "\n")
        draw_charts(result, options.families)
        if set(options.families) == set(FAMILIES):
            write_page(result)
    except KeyboardInterrupt:
        return 130
    return 0


if __name__ == "__main__":
    with contextlib.suppress(BrokenPipeError):
        sys.exit(main())
