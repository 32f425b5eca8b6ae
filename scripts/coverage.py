#!/usr/bin/env python3
"""Gates on the line coverage of the libraries and shows their branch and MC/DC coverage.

    scripts/coverage.py BUILD PROFILES      BUILD is a coverage build, PROFILES holds *.profraw of its test programs

Prints the figures of each folder, then each file's lines that no test executes; fails if there is one.
"""

import collections
import json
import pathlib
import subprocess
import sys

FOLDERS = ["Kob", "platform", "FyrL3Intf"]
FIGURES = ["lines", "branches", "mcdc"]
LLVM = "-19"


def output_of(*command):
    return subprocess.run(command, text=True, stdout=subprocess.PIPE, check=True).stdout


def export(build, profile, root, *options):
    binaries = sorted(build.glob("lib/*.so")) + sorted(path for path in build.glob("bin/*") if path.is_file())
    objects = [argument for path in binaries for argument in ("-object", str(path))]
    sources = [str(root / folder) for folder in FOLDERS]
    command = [f"llvm-cov{LLVM}", "export", *options, f"-instr-profile={profile}", *objects[1:], "-sources", *sources]
    return output_of(*command)


def uncovered_lines(lcov):
    """File -> the lines that were never executed, from lcov's text format."""
    lines, file = collections.defaultdict(list), None
    for record in lcov.splitlines():
        kind, _, value = record.partition(":")
        if kind == "SF":
            file = pathlib.Path(value)
        elif kind == "DA":
            line, count = value.split(",")[:2]
            if count == "0":
                lines[file].append(int(line))
    return lines


def print_figures(summary, root):
    for folder in FOLDERS:
        totals = collections.Counter()
        for file in summary["data"][0]["files"]:
            if pathlib.Path(file["filename"]).is_relative_to(root / folder):
                for figure in FIGURES:
                    totals[figure, "covered"] += file["summary"][figure]["covered"]
                    totals[figure, "count"] += file["summary"][figure]["count"]
        shares = []
        for figure in FIGURES:
            covered, count = totals[figure, "covered"], totals[figure, "count"]
            shares.append(f"{figure} {covered}/{count} ({100 * covered / count if count else 100:.1f} %)")
        print(f"{folder + '/':11} {', '.join(shares)}")


def main():
    build, profiles = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    root = pathlib.Path.cwd()
    profile = profiles / "merged.profdata"
    raw = [str(path) for path in sorted(profiles.glob("*.profraw"))]
    output_of(f"llvm-profdata{LLVM}", "merge", "-sparse", "-o", str(profile), *raw)

    print_figures(json.loads(export(build, profile, root, "-format=text", "-summary-only")), root)
    uncovered = uncovered_lines(export(build, profile, root, "-format=lcov"))
    for file, lines in sorted(uncovered.items()):
        print(f"{file.relative_to(root)}: not executed: {', '.join(map(str, lines))}")
    return 1 if uncovered else 0


if __name__ == "__main__":
    sys.exit(main())
