#!/usr/bin/env python3
"""Checks that tests pin the report of every place where the libraries end the process.

    scripts/fatals.py [BUILD]           BUILD is a build with the tests, by default build/dev
    scripts/fatals.py --list [BUILD]    also prints each place with the tests that pin its report

The places are read from the sources: each use of the assertion macros, and each call of assertFail. What the tests
know of them is found by running the tests, not by reading them. A run with the reports as they are tells which tests
bring which report about. Then those tests run once for each part of a report, with a mark in that part: each death test
that knows the whole report must fail, and shows the mark. So a pattern that leaves a part open pins nothing. The detail
of the reported form has as many parts as pieces are streamed.

Faults are:
  - a place whose report no test brings about, or pins in all of its parts;
  - a report of a place that the sources do not show;
  - a test that fails with the reports as they are: it expects a line that no place makes;
  - a place marked KOB_ASSERT_UNTESTABLE that a test brings about all the same;
  - a call that ends the process without a report.

The number of the line and the program's name may be left open.
"""

import bisect
import collections
import concurrent.futures
import os
import pathlib
import re
import resource
import subprocess
import sys
from typing import NamedTuple

FOLDERS = ["Kob", "platform", "FyrL3Intf"]
PROGRAMS = ["KobTest", "PlatformTest", "FyrL3IntfTest"]
# These bring a report about in each of hundreds of children, and pin none that others do not.
LEFT_OUT = "-Model.*:GenericSweep.*"
PARTS = ["begin", "file", "function", "expression", "end"]
UNTESTABLE = "KOB_ASSERT_UNTESTABLE"
SITE = re.compile(rf"\b(KOB_ASSERT_REPORTED|{UNTESTABLE}|KOB_ASSERT|assertFail)\s*\(")
UNREPORTED_END = re.compile(r"\b(abort|terminate|_?[eE]xit|quick_exit|assert|__assert_fail|__builtin_trap)\s*\(")
# What is not code, and literals: a comment or a string may speak of anything.
TOKEN = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:[^"\\\n]|\\.)*"|\'(?:[^\'\\\n]|\\.)*\'', re.DOTALL)
# The macros themselves, and the routine that they call.
DEFINITIONS = ["Kob/Assert.h", "Kob/Assert.cpp"]


class Site(NamedTuple):
    """A place where a library ends the process; its report names a line from `first` to `last`."""

    file: str
    first: int
    last: int
    form: str
    text: str

    def __str__(self):
        return f"{self.file}:{self.first}: {self.form}: {self.text}"


class Report(NamedTuple):
    """A report that a test brought about."""

    file: str
    line: int
    function: str
    expression: str
    pieces: int  # of the detail before it

    @property
    def parts(self):
        return {*PARTS, *(f"piece {number}" for number in range(1, self.pieces + 1))}

    def __str__(self):
        return f"{self.file}:{self.line}: {self.function}: {self.expression}"


def without_comments_and_texts(source):
    """The source with blanks in the place of comments, and of what stands between quotation marks."""

    def blank(found):
        token = found.group()
        if token.startswith("/"):
            return re.sub(r"[^\n]", " ", token)
        return token[0] + " " * (len(token) - 2) + token[-1]

    return TOKEN.sub(blank, source)


def end_of_call(code, begin):
    """Where the bracket that opens at `begin` is closed."""
    depth = 0
    for position in range(begin, len(code)):
        depth += {"(": 1, ")": -1}.get(code[position], 0)
        if depth == 0:
            return position
    return len(code)


def first_text(source, code, begin, end):
    """The first literal between the two, its parts joined: an assertion's text."""
    text, at = "", code.find('"', begin, end)
    while at != -1:
        close = code.index('"', at + 1)
        text += source[at + 1 : close]
        is_continued = code[close + 1 : end].lstrip().startswith('"')
        at = code.find('"', close + 1, end) if is_continued else -1
    return text.replace('\\"', '"')


def sites_in(file, source):
    """The places in a source file, and the faults: calls that end the process without a report."""
    code = without_comments_and_texts(source)
    line_ends = [found.start() for found in re.finditer("\n", code)]

    def line_of(position):
        return bisect.bisect_left(line_ends, position) + 1

    sites = []
    for found in SITE.finditer(code):
        end = end_of_call(code, found.end() - 1)
        text = first_text(source, code, found.end(), end)
        sites.append(Site(file, line_of(found.start()), line_of(end), found.group(1), text))
    faults = [
        f"{file}:{line_of(found.start())}: {found.group(1)}() ends the process without a report"
        for found in UNREPORTED_END.finditer(code)
    ]
    return sites, faults


def all_sites(root):
    sites, faults = [], []
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            file = str(path.relative_to(root))
            if path.suffix in (".h", ".cpp") and file not in DEFINITIONS:
                more_sites, more_faults = sites_in(file, path.read_text())
                sites += more_sites
                faults += more_faults
    return sites, faults


class Run:
    """What a run of a test program with the reports told."""

    def __init__(self, output):
        self.reports = []  # (test, process, report), in their order
        self.failed = set()
        self.noticed = set()  # the processes whose mark a death test showed
        test = ""
        for line in output.splitlines():
            if found := re.match(r"\[ RUN      \] (\S+)", line):
                test = found.group(1)
            elif line.startswith("FATAL\t"):
                _, process, file, number, function, expression, pieces = line.split("\t")
                report = Report(file, int(number), function, expression, int(pieces))
                self.reports.append((test, process, report))
            elif found := re.match(r"\[  FAILED  \] (\S+?),? .*\(\d+ ms\)$", line):
                self.failed.add(found.group(1))
            elif line.startswith("[  DEATH   ]"):
                self.noticed.update(re.findall(r"~(\d+)~", line))


def run(build, root, program, tests=LEFT_OUT, mark=""):
    environment = {
        **os.environ,
        "LD_PRELOAD": str(build / "tests" / "libFatalReports.so"),
        "FATAL_REPORTS_MARK": mark,
        "GTEST_COLOR": "no",
    }
    command = [str(build / "bin" / program), f"--gtest_filter={tests}"]
    done = subprocess.run(
        command,
        cwd=root,
        env=environment,
        text=True,
        errors="replace",
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.DEVNULL,
        check=False,
    )
    if "Global test environment tear-down" not in done.stdout:
        sys.exit(f"{program} did not run to its end")
    return Run(done.stdout)


class Evidence:
    """What the runs of one test program told of the reports."""

    def __init__(self, build, root, program):
        plain = run(build, root, program)
        self.reports = {(test, report) for test, _, report in plain.reports}
        self.failed = plain.failed & {test for test, _ in self.reports}
        self.pins = collections.defaultdict(set)  # (test, report) -> the parts in which the test pins it
        for part in sorted(set().union(*(report.parts for _, report in self.reports))):
            tests = sorted({test for test, report in self.reports if part in report.parts})
            marked = run(build, root, program, ":".join(tests), part)
            for test, process, report in marked.reports:
                if process in marked.noticed:
                    self.pins[test, report].add(part)


def site_of(report, sites):
    """The place that makes the report. It may be named by the header that declares the operation."""
    stem = report.file.rpartition(".")[0]
    for site in sites:
        if site.file.rpartition(".")[0] == stem and site.first <= report.line <= site.last:
            if report.expression in (site.text, f'! "{site.text}"'):
                return site
    return None


def judge(sites, evidences, root):
    """Place -> the tests that pin its report; and the faults."""
    fired, pinned, faults = collections.defaultdict(set), collections.defaultdict(set), []
    open_parts = collections.defaultdict(dict)
    for evidence in evidences:
        faults += [f"{test} fails: it expects another line than there is" for test in sorted(evidence.failed)]
        for test, report in sorted(evidence.reports):
            if not (root / report.file).exists():
                continue  # a macro that a test of the macros uses itself
            site = site_of(report, sites)
            if site is None:
                faults.append(f"{report}: no place in the sources makes this report")
                continue
            fired[site].add(test)
            open_parts[site][test] = sorted(report.parts - evidence.pins[test, report])
            if not open_parts[site][test]:
                pinned[site].add(test)
    for site in sites:
        if site.form == UNTESTABLE:
            faults += [f"{site}: {test} brings it about" for test in sorted(fired[site])]
        elif not fired[site]:
            faults.append(f"{site}: no test brings it about")
        elif not pinned[site]:
            test, parts = min(open_parts[site].items(), key=lambda item: (len(item[1]), item[0]))
            faults.append(f"{site}: no test pins it; {test} leaves open: {', '.join(parts)}")
    return pinned, faults


def main():
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    arguments = sys.argv[1:]
    is_list = "--list" in arguments
    root = pathlib.Path(__file__).resolve().parent.parent
    build = pathlib.Path(next((word for word in arguments if word != "--list"), root / "build" / "dev")).resolve()

    sites, faults = all_sites(root)
    with concurrent.futures.ThreadPoolExecutor() as pool:
        evidences = list(pool.map(lambda program: Evidence(build, root, program), PROGRAMS))
    pinned, more_faults = judge(sites, evidences, root)
    for site in sites if is_list else []:
        print(site)
        print("".join(f"    {test}\n" for test in sorted(pinned[site])), end="")
    for fault in faults + more_faults:
        print(fault)
    untestable = sum(site.form == UNTESTABLE for site in sites)
    whole = sum(bool(pinned[site]) for site in sites)
    print(f"fatal places {len(sites)}, pinned {whole}, untestable {untestable}")
    return 1 if faults or more_faults else 0


if __name__ == "__main__":
    sys.exit(main())
