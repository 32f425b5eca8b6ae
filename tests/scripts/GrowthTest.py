#!/usr/bin/env python3
"""Shows that scripts/growth.py finds planted programs that grow too fast, and passes those that do not."""

import contextlib
import io
import json
import pathlib
import subprocess
import tempfile
import unittest
import unittest.mock

import trees  # first: it finds the scripts

import growth

PROGRAM = """
#include <valgrind/callgrind.h>

#include <cstdlib>
#include <cstring>

int main(int, char** arguments) {
  const bool waits = std::strcmp(arguments[1], "waiters") == 0;
  const long size = std::atol(arguments[2]);
  volatile long work = 0;
  while (work < size * size) work = work + 1;  // outside of the phase
  CALLGRIND_START_INSTRUMENTATION;
  CALLGRIND_ZERO_STATS;
  for (work = waits ? WAITING : LOADING; work > 0;) work = work - 1;
  CALLGRIND_DUMP_STATS_AT(waits ? "wait" : "load");
  CALLGRIND_STOP_INSTRUMENTATION;
  return CODE;
}
"""
LINEAR = "1000 * size"
QUADRATIC = "size * size"
CONSTANT = "10000"


class PlantedPrograms(unittest.TestCase):
    def growth_of(self, *options, loading=LINEAR, waiting=CONSTANT, code=0):
        """The exit code of the script, and what it printed, where the planted program is what it counts."""
        with (
            tempfile.TemporaryDirectory() as directory,
            unittest.mock.patch.object(growth, "SCENARIOS", ["planted"]),
            contextlib.redirect_stdout(io.StringIO()) as out,
        ):
            program = pathlib.Path(directory) / "bin" / "growth"
            program.parent.mkdir()
            definitions = [f"-DLOADING={loading}", f"-DWAITING={waiting}", f"-DCODE={code}"]
            compiler = ["g++", "-O1", *definitions, "-x", "c++", "-", "-o", program]
            subprocess.run(compiler, input=PROGRAM, text=True, check=True)
            return growth.main([directory, "100", "1000", *options]), out.getvalue()

    def faults_of(self, **planted):
        code, out = self.growth_of("--json", **planted)
        faults = [(row["phase"], row["from"], row["to"]) for row in json.loads(out) if not row["good"]]
        self.assertEqual(code, 1 if faults else 0)
        return faults

    def test_that_are_linear_pass(self):
        self.assertEqual(self.faults_of(), [])

    def test_that_are_quadratic_are_found_at_each_size(self):
        self.assertEqual(self.faults_of(loading=QUADRATIC), [("load", 100, 200), ("load", 1000, 2000)])

    def test_that_pay_for_who_waits_are_found(self):
        self.assertEqual(self.faults_of(waiting=LINEAR), [("wait", 16, 256), ("wait", 16, 4096)])

    def test_show_in_the_table_where_they_fail(self):
        code, out = self.growth_of(loading=QUADRATIC)
        self.assertEqual(code, 1)
        self.assertRegex(out, r"planted +load +100 +200 .* 3\.\d+ +2\.2 +GROWS TOO FAST\n")
        self.assertRegex(out, r"waiters +wait +16 +4,096 .* 1\.000 +2\.0 +good\n")

    def test_that_fail_give_no_verdict(self):
        with self.assertRaisesRegex(SystemExit, "growth \\w+ \\d+ ended with 3"):
            self.growth_of(code=3)


class Comparisons(unittest.TestCase):
    def test_are_with_twice_as_much_and_with_few_waiters(self):
        comparisons = growth.comparisons([1000])
        self.assertIn(("internalVlans", 2000, 1000, 2.2), comparisons)
        self.assertIn(("waiters", 4096, 16, 2.0), comparisons)

    def test_hold_up_to_their_limit(self):
        counts = {
            (scenario, size): {"phase": instructions}
            for scenario, *sizes, _ in growth.comparisons([1])
            for size, instructions in zip(sizes, (220, 100))
        }
        self.assertTrue(all(row["good"] for row in growth.weigh(counts, [1]) if row["limit"] == 2.2))
        counts["show", 2]["phase"] = 221
        self.assertEqual([row["scenario"] for row in growth.weigh(counts, [1]) if row["ratio"] > 2.2], ["show"])


if __name__ == "__main__":
    unittest.main()
