"""Finds out which tests reach which mutants, and runs them on each mutant."""

import collections
import concurrent.futures
import dataclasses
import os
import re
import tempfile
import time

import processes
from mutate_build import BUILD, COPY, JOBS, PROGRAMS, Unusable, say

MEMORY = 2 << 30
# What the tests that are tried together take at most, in seconds: first those that tell quickly, then the rest.
BATCHES = [0.2, 2, 20]
# Freed and fresh memory holds neither zeros nor what it held.
ENVIRONMENT = {"MALLOC_PERTURB_": "165"}


@dataclasses.dataclass(frozen=True)
class Test:
    """A test and how long it takes, in seconds."""

    program: str
    name: str
    seconds: float
    reached: frozenset = dataclasses.field(compare=False, repr=False)


@dataclasses.dataclass(frozen=True)
class Verdict:
    """What became of a mutant: whether tests reach it, and the one that killed it."""

    reached: bool
    test: str = ""

    @property
    def killed(self):
        return bool(self.test)


def failing(program, names, seconds, **environment):
    """Runs tests of a program until one fails; answers the one that did, or what else went wrong, or nothing."""
    limit = 4 * seconds + 2
    code, output = processes.run(
        *("prlimit", "--core=0", f"--as={MEMORY}", f"--cpu={int(limit) + 1}"),
        *(BUILD / "bin" / program, f"--gtest_filter={':'.join(names)}", "--gtest_fail_fast"),
        seconds=4 * limit,  # others may keep the processors busy
        cwd=COPY,
        env={**os.environ, **ENVIRONMENT, **environment},
    )
    if code == 0 and "[  PASSED  ]" in output:
        return None
    if code is None:
        return "(takes too long)"
    begun = re.findall(r"^\[ RUN      \] (\S+)", output, re.MULTILINE)
    return begun[-1] if begun else "(does not start)"


def killer(batch, number):
    """The one of these tests that kills a mutant, or nothing; one that fails for the company that it is in is none."""
    program, chosen = batch[0].program, {"FYRL3INTF_MUTANT": str(number)}
    tests = {test.name: test.seconds for test in batch}
    while tests:
        seconds = sum(tests.values())
        test = failing(program, tests, seconds, **chosen)
        if test not in tests or failing(program, [test], tests[test], **chosen) or not failing(program, tests, seconds):
            return test
        del tests[test]
    return None


def names_of(program):
    code, output = processes.run(BUILD / "bin" / program, "--gtest_list_tests", cwd=COPY)
    if code != 0:
        raise Unusable(f"{program} does not start:\n{output}")
    names, suite = [], ""
    for line in output.splitlines():
        word = line.split("#")[0].rstrip()
        if word.startswith("  "):
            names.append(suite + word.strip())
        elif word.endswith("."):
            suite = word
    return names


def measured(program, name, numbers):
    """Runs a test by itself; answers it, or nothing if it fails without a mutant."""
    with tempfile.NamedTemporaryFile() as file:
        file.truncate(numbers)
        start = time.monotonic()
        failed = failing(program, [name], 30, FYRL3INTF_MUTANTS_REACHED=file.name)
        seconds = time.monotonic() - start
        file.seek(0)
        reached = frozenset(number for number, byte in enumerate(file.read()) if byte)
    return None if failed else Test(program, name, seconds, reached)


def in_parallel(title, function, items):
    """The results of a function for each item, in order; says how far it is."""
    begun = time.monotonic()
    results = []
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        futures = [pool.submit(function, *item) for item in items]
        try:
            for number, future in enumerate(futures, start=1):
                results.append(future.result())
                if number % 100 == 0 or number == len(futures):
                    say(f"{title}: {number} of {len(futures)}, {time.monotonic() - begun:.0f} s")
        except BaseException:
            pool.shutdown(wait=False, cancel_futures=True)
            processes.stop()
            raise
    return results


def measure(numbers):
    """The tests that pass without a mutant, the quickest first, and which of the mutants below a number each reaches."""
    items = [(program, name, numbers) for program in PROGRAMS for name in names_of(program)]
    tests = in_parallel("tests measured", measured, items)
    for (program, name, _), test in zip(items, tests):
        if test is None:
            say(f"{program}: {name} fails without a mutant, and is left out")
    return sorted(filter(None, tests), key=lambda test: test.seconds)


def batches_of(tests):
    """Groups tests of one program each, in the order in which they are to be run."""
    batches = []
    for program in PROGRAMS:
        rest = collections.deque(test for test in tests if test.program == program)
        for stage, limit in enumerate(BATCHES):
            while rest:
                batch, total = [], 0.0
                while rest and (not batch or total + rest[0].seconds <= limit):
                    total += rest[0].seconds
                    batch.append(rest.popleft())
                batches.append((stage, PROGRAMS.index(program), batch))
                if limit != BATCHES[-1]:
                    break
    return [batch for *_, batch in sorted(batches, key=lambda found: found[:2])]


def judge(mutants, tests):
    """What becomes of each mutant."""
    reaching = {mutant: [test for test in tests if mutant.number in test.reached] for mutant in mutants}

    def verdict(mutant):
        for batch in batches_of(reaching[mutant]):
            if test := killer(batch, mutant.number):
                return Verdict(True, f"{batch[0].program}: {test}")
        return Verdict(bool(reaching[mutant]))

    return dict(zip(mutants, in_parallel("mutants tried", verdict, [(mutant,) for mutant in mutants])))
