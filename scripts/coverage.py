#!/usr/bin/env python3
"""Gates on the line, branch and MC/DC coverage of the libraries and of the host.

    scripts/coverage.py BUILD PROFILES      BUILD is a coverage build, PROFILES holds *.profraw of its test programs
    scripts/coverage.py --all BUILD PROFILES          wants all of the host as well

Prints the figures of each folder, then what is missing: lines that no test executes, conditions that no test makes true
or false, and conditions that no test shows to decide alone. In the libraries one of them is a fault. The host has calls
of the system whose failures no test can bring about; there, less than LEAST of either figure is a fault.

A branch is a condition at one place of the source, and counts once true and once false. All instantiations of a
template add to it, and so do all binaries that have the function; a macro is another place wherever it is used.
Whether a condition decides alone is seen within an instantiation; it is enough in one of them.

An assertion whose failure no test can bring about is written KOB_ASSERT_UNTESTABLE, with the reason. Its branches are
left out of the count. Such a mark is a fault where a test makes it fail, and where no test checks it at all.

Two things are not what they seem:
  - llvm-cov says "functions have mismatched data" of the placeholders that a binary has for inline functions that it
    knows and does not use. The counts stand with the binaries that use them, and none is lost.
  - The compiler's own branches of a comparison that is written `= default` get counts that make no sense. They are
    left out.
"""

import collections
import functools
import json
import pathlib
import re
import subprocess
import sys
from typing import NamedTuple

# Of each folder: how much has to be covered, in per cent of its lines, of its branches and of MC/DC.
LEAST = {"Kob": 100, "platform": 100, "FyrL3Intf": 100, "agent": 90}
MARK = "KOB_ASSERT_UNTESTABLE"
LLVM = "-19"
EXPANSION = 1  # llvm's kind of a region in which a macro is used


class Place(NamedTuple):
    """Where something begins, lines and columns from 1; files are named from the root."""

    file: str
    line: int
    column: int


class Condition(NamedTuple):
    """A condition, or a decision that is made of conditions."""

    uses: tuple  # where the macros that it stands in are used, the outermost first
    place: Place
    text: str

    @property
    def source(self):
        """Its place in the source before macros are expanded."""
        return self.uses[0] if self.uses else self.place

    @property
    def folder(self):
        return self.source.file.split("/")[0]

    def __str__(self):
        inner = "".join(f" ({place.file}:{place.line})" for place in (*self.uses, self.place)[1:])
        return f"{self.source.file}:{self.source.line}{inner}: {self.text}"


class Mark(NamedTuple):
    begin: Place
    end: Place

    def covers(self, condition):
        return self.begin <= condition.source <= self.end

    def __str__(self):
        return f"{self.begin.file}:{self.begin.line}: {MARK}"


def output_of(*command):
    return subprocess.run(command, text=True, stdout=subprocess.PIPE, check=True).stdout


def export(build, profile, root, *options):
    binaries = sorted(build.glob("lib/*.so")) + sorted(path for path in build.glob("bin/*") if path.is_file())
    objects = [argument for path in binaries for argument in ("-object", str(path))]
    sources = [str(root / folder) for folder in LEAST]
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


@functools.cache
def source_lines(path):
    return path.read_text().splitlines()


class Function:
    """A function, one instantiation of it, as llvm-cov exports it."""

    def __init__(self, exported, root):
        self.exported = exported
        self.root = root
        regions = exported["regions"]
        self.uses = {region[6]: region for region in regions if region[7] == EXPANSION}  # by number of the expansion

    def file(self, number):
        path = pathlib.Path(self.exported["filenames"][number])
        return str(path.relative_to(self.root)) if path.is_relative_to(self.root) else str(path)

    def uses_around(self, number):
        """The uses of macros that lead to the function's file of this number."""
        if number not in self.uses:
            return ()
        line, column, _, _, _, outer, *_ = self.uses[number]
        return (*self.uses_around(outer), Place(self.file(outer), line, column))

    def condition(self, number, line, column, last_line, last_column):
        lines = source_lines(self.root / self.file(number))[line - 1 : last_line]
        lines[-1] = lines[-1][: last_column - 1]
        text = " ".join(part.strip() for part in (lines[0][column - 1 :], *lines[1:]))
        if lines[0].endswith("= default"):
            return None
        return Condition(self.uses_around(number), Place(self.file(number), line, column), text)

    def branches(self):
        """Each condition with how often it was true and false."""
        for *region, true, false, number, _, _ in self.exported["branches"]:
            if condition := self.condition(number, *region):
                yield condition, (true, false)

    def decisions(self):
        """Each decision with, for each of its conditions, whether it was shown to decide alone."""
        seen = collections.Counter()
        for *region, _, _, alone in self.exported["mcdc_records"]:
            # The record does not tell the file, but its conditions do; that of a macro, once for each use.
            begin, end = region[:2], region[2:]
            numbers = sorted({r[6] for r in self.exported["branches"] if begin <= r[:2] and r[2:4] <= end})
            yield self.condition(numbers[seen[tuple(region)]], *region), alone
            seen[tuple(region)] += 1


def is_ours(condition):
    return condition.folder in LEAST


def united(functions, root):
    """The branches and the decisions of the project, each from all of its instantiations."""
    branches, decisions = {}, {}
    for exported in functions:
        function = Function(exported, root)
        for condition, counts in function.branches():
            if is_ours(condition):
                branches[condition] = [sum(pair) for pair in zip(branches.get(condition, (0, 0)), counts)]
        for condition, alone in function.decisions():
            if is_ours(condition):
                decisions[condition] = [any(pair) for pair in zip(decisions.get(condition, alone), alone)]
    return branches, decisions


def marks_in(file, text):
    """The uses of the mark, but for its definition and where comments speak of it."""
    marks = []
    for found in re.finditer(rf"^(?!\s*#)(?!.*//.*{MARK})(.*)\b{MARK}\(", text, re.MULTILINE):
        depth = 0
        for token in re.compile(r'"(?:[^"\\]|\\.)*"|[()]').finditer(text, found.end() - 1):
            depth += {"(": 1, ")": -1}.get(token.group(), 0)
            if depth == 0:
                break
        marks.append(Mark(*(place_at(file, text, offset) for offset in (found.end(1), token.start()))))
    return marks


def place_at(file, text, offset):
    line_begin = text.rfind("\n", 0, offset) + 1
    return Place(file, text.count("\n", 0, offset) + 1, offset - line_begin + 1)


def all_marks(root):
    sources = (path for folder in LEAST for path in sorted((root / folder).glob("*.*")))
    return [mark for path in sources for mark in marks_in(str(path.relative_to(root)), path.read_text())]


def without_marked(conditions, marks):
    return {key: value for key, value in conditions.items() if not any(mark.covers(key) for mark in marks)}


def by_source(item):
    return item[0].source, *item[0]


def branch_faults(branches):
    for condition, counts in sorted(branches.items(), key=by_source):
        ways = [way for way, count in zip(("true", "false"), counts) if count == 0]
        if ways:
            yield f"{condition}: never {' or '.join(ways)}"


def decision_faults(decisions):
    for condition, alone in sorted(decisions.items(), key=by_source):
        numbers = [str(number) for number, is_alone in enumerate(alone, 1) if not is_alone]
        if numbers:
            yield f"{condition}: condition {', '.join(numbers)} never decides alone"


def mark_faults(branches, marks):
    for mark in marks:
        marked = [counts for condition, counts in branches.items() if mark.covers(condition)]
        if any(false for _, false in marked):
            yield f"{mark}: a test makes it fail"
        elif not marked or not all(true for true, _ in marked):
            yield f"{mark}: no test checks it"


class Share(NamedTuple):
    """How much of something was covered."""

    name: str
    covered: int
    count: int

    @property
    def percent(self):
        return 100 * self.covered / self.count if self.count else 100

    def __str__(self):
        return f"{self.name} {self.covered}/{self.count} ({self.percent:.1f} %)"


def shares(folder, files, branches, decisions, root):
    """How much was covered in one folder."""

    def here(conditions):
        return [value for key, value in conditions.items() if key.folder == folder]

    lines = collections.Counter()
    for file in files:
        if pathlib.Path(file["filename"]).is_relative_to(root / folder):
            lines.update(file["summary"]["lines"])
    ways = [count > 0 for counts in here(branches) for count in counts]
    alone = [is_alone for conditions in here(decisions) for is_alone in conditions]
    return [
        Share("lines", lines["covered"], lines["count"]),
        Share("branches", sum(ways), len(ways)),
        Share("mcdc", sum(alone), len(alone)),
    ]


def share_faults(folder, covered):
    """The shares that are too small, where not all has to be covered."""
    least = LEAST[folder]
    for share in covered:
        if share.percent < least < 100:
            yield f"{folder}/: {share}, at least {least} % have to be covered"


def faults(build, profiles, root, tells_all=False):
    """Prints the figures; returns what is missing in folders that have to be covered whole, or with `tells_all` in any
    folder, and the shares that are too small."""
    profile = profiles / "merged.profdata"
    raw = [str(path) for path in sorted(profiles.glob("*.profraw"))]
    output_of(f"llvm-profdata{LLVM}", "merge", "-sparse", "-o", str(profile), *raw)
    exported = json.loads(export(build, profile, root, "-format=text", "-skip-expansions"))["data"][0]
    lcov = export(build, profile, root, "-format=lcov", "-skip-branches")

    every_branch, every_decision = united(exported["functions"], root)
    marks = all_marks(root)
    branches = without_marked(every_branch, marks)
    decisions = without_marked(every_decision, marks)
    found = []
    for folder in LEAST:
        covered = shares(folder, exported["files"], branches, decisions, root)
        untestable = sum(mark.begin.file.startswith(folder + "/") for mark in marks)
        print(f"{folder + '/':11} {', '.join(map(str, covered))}, untestable {untestable}")
        found += share_faults(folder, covered)

    def told(folder):
        return tells_all or LEAST[folder] == 100

    lines = sorted((file.relative_to(root), numbers) for file, numbers in uncovered_lines(lcov).items())
    return [
        *(f"{file}: not executed: {', '.join(map(str, numbers))}" for file, numbers in lines if told(file.parts[0])),
        *branch_faults({key: value for key, value in branches.items() if told(key.folder)}),
        *decision_faults({key: value for key, value in decisions.items() if told(key.folder)}),
        *mark_faults(every_branch, marks),
        *found,
    ]


def main():
    arguments = sys.argv[1:]
    tells_all = "--all" in arguments
    build, profiles = (pathlib.Path(argument).resolve() for argument in arguments if argument != "--all")
    found = faults(build, profiles, pathlib.Path.cwd(), tells_all)
    for fault in found:
        print(fault)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
