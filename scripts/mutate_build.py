"""Builds the tests on a copy of the tree whose sources hold their mutants."""

import fcntl
import hashlib
import json
import os
import pathlib
import re
import sys

import treecopy
from processes import run

ROOT = pathlib.Path(__file__).resolve().parent.parent
PLACE = pathlib.Path(os.environ.get("FYRL3INTF_MUTATE", ROOT / "build" / "mutate")).resolve()
COPY = PLACE / "source"
BUILD = PLACE / "build"
DROPPED = PLACE / "dropped.json"
LIBRARIES = ["Kob", "FyrPlatform", "FyrL3Intf"]
# The tests of the libraries alone: what only the host would notice, they should have.
PROGRAMS = ["KobTest", "PlatformTest", "FyrL3IntfTest"]
JOBS = int(os.environ.get("FYRL3INTF_JOBS", len(os.sched_getaffinity(0))))
ROUNDS = 20

# What every file of the copy is compiled with. The compiler never evaluates a mutant: constants stay what they are.
HEADER = """\
#pragma once
extern "C" {
extern int fyrMutant;
extern unsigned char* fyrMutantsReached;
}
#define FYR_MUTANT(number) \\
  (!__builtin_is_constant_evaluated() && (fyrMutantsReached[number] = 1, fyrMutant == number))
"""
# The library that says which mutant is chosen, and what was reached; children of a test write to the same file.
LIBRARY = """\
#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

static unsigned char nobodyReads[MUTANTS];
int fyrMutant = -1;
unsigned char* fyrMutantsReached = nobodyReads;

__attribute__((constructor)) static void start(void) {
  const char* const chosen = getenv("FYRL3INTF_MUTANT");
  if (chosen) fyrMutant = atoi(chosen);
  const char* const path = getenv("FYRL3INTF_MUTANTS_REACHED");
  const int file = path ? open(path, O_RDWR | O_CLOEXEC) : -1;
  if (file < 0) return;
  void* const shared = mmap(0, MUTANTS, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (shared != MAP_FAILED) fyrMutantsReached = shared;
  close(file);
}
"""
FLAGS = (
    f"-O1 -w -D_GLIBCXX_ASSERTIONS -include {PLACE}/mutants.h -Wno-c++11-narrowing -ferror-limit=0"
    " -ftemplate-backtrace-limit=0 -fno-caret-diagnostics -fno-color-diagnostics"
)


class Unusable(Exception):
    """What keeps the mutants from being tried."""


def say(text):
    print(text, file=sys.stderr, flush=True)


def write(place, text):
    """Writes a file; one that says the same already stays as old as it is, and is not built again."""
    place.parent.mkdir(parents=True, exist_ok=True)
    if not place.exists() or place.read_text() != text:
        place.write_text(text)


def copy_tree(sources):
    """Brings the copy up to date, but for those sources, whose mutants it will hold."""
    treecopy.update(ROOT, COPY, {COPY / source.name for source in sources})


def configure(mutants):
    write(PLACE / "mutants.h", HEADER)
    write(PLACE / "mutants.c", f"#define MUTANTS {mutants}\n{LIBRARY}")
    library = PLACE / "libmutants.so"
    code, output = run("clang-19", "-O1", "-shared", "-fPIC", "-o", library, PLACE / "mutants.c")
    if code != 0:
        raise Unusable(f"The library of the mutants does not build:\n{output}")
    linked = f"{library} -Wl,-rpath,{PLACE}"
    code, output = run(
        *("cmake", "-S", COPY, "-B", BUILD, "-G", "Ninja"),
        *("-DCMAKE_CXX_COMPILER=clang++-19", "-DCMAKE_BUILD_TYPE=", f"-DCMAKE_CXX_FLAGS={FLAGS}"),
        *("-DKOB_SLAB=OFF", "-DFYRL3INTF_TESTS=ON", "-DCMAKE_COMPILE_WARNING_AS_ERROR=OFF"),
        *(f"-DCMAKE_SHARED_LINKER_FLAGS={linked}", f"-DCMAKE_EXE_LINKER_FLAGS={linked}"),
    )
    if code != 0:
        raise Unusable(f"The copy cannot be configured:\n{output}")


class Instrumented:
    """A source as it stands in the copy."""

    def __init__(self, source):
        self.source = source
        self.text, self.regions = source.instrumented()
        write(COPY / source.name, self.text)
        self.lines = [0]
        for line in self.text.splitlines(keepends=True):
            self.lines.append(self.lines[-1] + len(line))

    def at_fault(self, line, column):
        """The mutants of the smallest region around a place; if it is in none, all of its line."""
        place = self.lines[line - 1] + column - 1
        around = [region for region in self.regions if region[0] <= place < region[1]]
        if around:
            return min(around, key=lambda region: region[1] - region[0])[2]
        begin, end = self.lines[line - 1], self.lines[line]
        return [mutant for region in self.regions if begin <= region[0] < end for mutant in region[2]]


def at_fault(output, instrumented):
    """The mutants that a compiler's errors point at. Of each error the first place that has mutants counts; while
    headers are wrong, what is wrong elsewhere may follow from that."""
    found = set()
    settled = True
    pattern = re.compile(rf"{re.escape(str(COPY))}/(\S+?):(\d+):(\d+): (error|note|warning)")
    for line in output.splitlines():
        if re.search(r": (fatal )?error: ", line):
            settled = False
        place = pattern.match(line)
        if settled or place is None or place.group(1) not in instrumented:
            continue
        if mutants := instrumented[place.group(1)].at_fault(int(place.group(2)), int(place.group(3))):
            found.update(mutants)
            settled = True
    return {mutant for mutant in found if mutant.file.endswith(".h")} or found


class Dropped:
    """The mutants that do not compile, as earlier runs have found them; by source, as long as it stays the same."""

    def __init__(self):
        self.known = json.loads(DROPPED.read_text()) if DROPPED.exists() else {}

    @staticmethod
    def version(source):
        text = (ROOT / "scripts" / "mutate_source.py").read_text() + source.text
        return hashlib.sha256(text.encode()).hexdigest()

    def apply(self, source):
        known = self.known.get(source.name)
        if known is None or known["version"] != self.version(source):
            known = self.known[source.name] = {"version": self.version(source), "mutants": []}
        keys = {(line, *key) for line, *key in known["mutants"]}
        source.drop({mutant for mutant in source.mutants if (mutant.line, *mutant.key) in keys})

    def add(self, source, mutants):
        self.known[source.name]["mutants"] += [(mutant.line, *mutant.key) for mutant in mutants]
        source.drop(mutants)
        DROPPED.write_text(json.dumps(self.known, indent=1))


def build(sources):
    """Builds the tests with all mutants that compile; leaves those in the sources, and answers what their numbers are
    below."""
    PLACE.mkdir(parents=True, exist_ok=True)
    lock = open(PLACE / ".lock", "w")  # noqa: SIM115: held until the process ends
    fcntl.flock(lock, fcntl.LOCK_EX)
    build.lock = lock
    dropped = Dropped()
    numbered = [mutant for source in sources for mutant in source.mutants]
    for number, mutant in enumerate(numbered):
        mutant.number = number
    for source in sources:
        dropped.apply(source)
    copy_tree(sources)
    instrumented = {source.name: Instrumented(source) for source in sources}
    configure(len(numbered))
    targets = [LIBRARIES, PROGRAMS]  # most of what does not compile is found with the libraries
    for _ in range(ROUNDS):
        say(f"Building {sum(len(source.mutants) for source in sources)} mutants into {' '.join(targets[0])}")
        code, output = run("cmake", "--build", BUILD, "-j", JOBS, "--target", *targets[0], "--", "-k", 0)
        if code == 0:
            targets.pop(0)
            if not targets:
                return len(numbered)
            continue
        wrong = at_fault(output, instrumented)
        if not wrong:
            raise Unusable(f"The copy does not build:\n{output[-8000:]}")
        say(f"{len(wrong)} mutants do not compile")
        for source in sources:
            if mutants := wrong & set(source.mutants):
                dropped.add(source, mutants)
                instrumented[source.name] = Instrumented(source)
    raise Unusable("Too many mutants do not compile.")
