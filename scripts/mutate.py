#!/usr/bin/env python3
"""Tries the mutants of sources and says how many the tests kill; ./mutate is how it is called.

What a mutant is and how a source holds all of its mutants is in mutate_source.py, how they are compiled in
mutate_build.py, and how they are tried in mutate_tests.py.
"""

import argparse
import collections
import json
import pathlib
import random
import signal
import sys
import time

import mutate_build
import mutate_source
import mutate_tests
from mutate_build import ROOT, Unusable, say

FOLDERS = ["Kob", "platform", "FyrL3Intf"]
EXEMPTIONS = ROOT / "tests" / "mutants.txt"
GOAL = 95


class WrongUsage(Exception):
    pass


def arguments():
    parser = argparse.ArgumentParser(add_help=False, exit_on_error=False)
    parser.add_argument("--json", type=pathlib.Path)
    parser.add_argument("--again", type=pathlib.Path)
    parser.add_argument("--sample", type=int)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("names", nargs="*")
    try:
        options, unknown = parser.parse_known_args()
    except argparse.ArgumentError as reason:
        raise WrongUsage(str(reason)) from reason
    if unknown:
        raise WrongUsage(f"what is {unknown[0]}?")
    if not options.names:
        raise WrongUsage("which sources?")
    if options.sample is not None and options.sample < 1:
        raise WrongUsage("a sample is of 1 mutant at least")
    return options


def sources_of(names):
    """The sources that are meant, relative to the root."""
    found = set()
    for name in names:
        path = (pathlib.Path.cwd() / name).resolve()
        if not path.exists():
            path = (ROOT / name).resolve()
        files = path.glob("*") if path.is_dir() else [path]
        known = {str(file.relative_to(ROOT)) for file in files if is_source(file)}
        if not known:
            raise WrongUsage(f"{name} is no source of {', '.join(FOLDERS)}")
        found |= known
    return sorted(found)


def is_source(path):
    return path.is_file() and path.suffix in (".h", ".cpp") and path.parent in [ROOT / folder for folder in FOLDERS]


def exemptions():
    """Of each exempted mutant its key, as mutate_source knows it, and the line of its exemption."""
    found = {}
    place = original = None
    for number, line in enumerate(EXEMPTIONS.read_text().splitlines() if EXEMPTIONS.exists() else [], start=1):
        if line.startswith("#") or not line.strip():
            continue
        if line.startswith("- "):
            original = line[2:]
        elif line.startswith("+"):
            if place is None or original is None:
                raise Unusable(f"tests/mutants.txt:{number}: which line of which source?")
            found[(*place, original, line[2:])] = number
        elif not line.startswith(" "):
            place = tuple(line.split(maxsplit=1))
            original = None
            if len(place) != 2:
                raise Unusable(f"tests/mutants.txt:{number}: a source and a function are expected")
    return found


def chosen(mutants, options):
    """The mutants that are to be tried."""
    if options.again is not None:
        survivors = {
            (known["file"], known["function"], known["original"], known["mutated"])
            for known in json.loads(options.again.read_text())["mutants"]
            if known["verdict"] not in ("killed", "exempt")
        }
        mutants = [mutant for mutant in mutants if mutant.key in survivors]
    if options.sample is not None and options.sample < len(mutants):
        numbers = sorted(random.Random(options.seed).sample(range(len(mutants)), options.sample))
        mutants = [mutants[number] for number in numbers]
    return mutants


def wrong_exemptions(names, known, judged, exempt):
    """What is wrong with exemptions of these sources: no mutant matches, or all that do are killed."""
    verdicts = collections.defaultdict(set)
    for mutant, verdict in judged.items():
        verdicts[mutant.key].add(verdict.killed)
    for key, line in exempt.items():
        if key[0] not in names:
            continue
        if key not in known:
            yield f"tests/mutants.txt:{line}: no mutant of {key[0]} matches"
        elif verdicts[key] == {True}:
            yield f"tests/mutants.txt:{line}: this mutant of {key[0]} is killed by the tests"


def verdict_of(mutant, verdict, exempt):
    if verdict.killed:
        return "killed"
    if mutant.key in exempt:
        return "exempt"
    return "survived" if verdict.reached else "not reached"


def write_json(path, judged, verdicts):
    rows = [
        {
            "file": mutant.file,
            "line": mutant.line,
            "function": mutant.function,
            "original": mutant.original,
            "mutated": mutant.mutated,
            "verdict": verdicts[mutant],
            "test": verdict.test,
        }
        for mutant, verdict in judged.items()
    ]
    path.write_text(json.dumps({"mutants": rows}, indent=1) + "\n")


def report(judged, verdicts):
    """Prints a row for each source, and what survived; answers the percentage that was killed."""
    kinds = ["killed", "survived", "not reached", "exempt"]
    counts = collections.defaultdict(collections.Counter)
    for mutant in judged:
        for row in (mutant.file, "all"):
            counts[row][verdicts[mutant]] += 1
    print(f"{'':32} {'mutants':>8}" + "".join(f"{kind:>13}" for kind in kinds))
    for row in sorted(counts, key=lambda name: (name == "all", name)):
        print(f"{row:32} {counts[row].total():8}" + "".join(f"{counts[row][kind]:13}" for kind in kinds))
    for mutant in judged:
        if verdicts[mutant] in ("survived", "not reached"):
            print(f"\n{mutant.file}:{mutant.line}: {verdicts[mutant]}, in {mutant.function}")
            print(f"- {mutant.original}\n+ {mutant.mutated}")
    counted = counts["all"].total() - counts["all"]["exempt"]
    percent = 100 * counts["all"]["killed"] / counted if counted else 100.0
    print(f"\n{percent:.1f} % killed; the goal is {GOAL} %")
    return percent


def mutate(options):
    names = sources_of(options.names)
    exempt = exemptions()
    begun = time.monotonic()
    sources = [mutate_source.Source(ROOT, name) for name in names]
    numbers = mutate_build.build(sources)
    mutants = [mutant for source in sources for mutant in source.mutants]
    tried = chosen(mutants, options)
    say(f"{len(mutants)} mutants, {len(tried)} to try; built in {time.monotonic() - begun:.0f} s")
    tests = mutate_tests.measure(numbers)
    judged = mutate_tests.judge(tried, tests)
    verdicts = {mutant: verdict_of(mutant, verdict, exempt) for mutant, verdict in judged.items()}
    if options.json is not None:
        write_json(options.json, judged, verdicts)
    percent = report(judged, verdicts)
    wrong = list(wrong_exemptions(names, {mutant.key for mutant in mutants}, judged, exempt))
    for line in wrong:
        print(line)
    say(f"{time.monotonic() - begun:.0f} s")
    return 0 if percent >= GOAL and not wrong else 1


def main():
    try:
        return mutate(arguments())
    except WrongUsage as reason:
        say(f"{reason}\nSee ./mutate --help")
        return 2
    except (Unusable, mutate_source.Unreadable) as reason:
        say(reason)
        return 125
    except KeyboardInterrupt:
        return 130


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    sys.exit(main())
