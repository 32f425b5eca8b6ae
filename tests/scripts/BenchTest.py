#!/usr/bin/env python3
"""What scripts/bench.py makes of measurements: names, medians, verdicts."""

import json
import re
import subprocess
import sys
import unittest

from trees import ROOT  # first: it finds the scripts

import bench

RATIO = {"family": "lookup", "case": "independent", "against": "std", "unit": "ns", "goals": {}}
NO_ALLOCATION = {"family": "wish", "case": "flap", "unit": "allocationsPerItem", "goals": {}}


def loads(ours, theirs):
    """Medians of ours and theirs before and after the doubling."""
    return {
        f"lookup/independent/{name}/64/{load}": {"ns": value}
        for name, values in (("ours", ours), ("std", theirs))
        for load, value in zip(bench.LOADS, values)
    }


class Medians(unittest.TestCase):
    def test_are_those_of_the_repetitions_in_nanoseconds_per_item(self):
        entries = [
            {"name": "a/b/ours/1", "run_name": "a/b/ours/1", "run_type": "iteration", "items_per_second": rate}
            for rate in (1e9, 0.5e9, 0.1e9)
        ]
        aggregate = {"name": "a/b/ours/1_mean", "run_name": "a/b/ours/1", "run_type": "aggregate"}
        self.assertEqual(bench.medians({"benchmarks": [*entries, aggregate]}), {"a/b/ours/1": {"ns": 2.0}})

    def test_go_by_the_name_without_what_the_runner_appends(self):
        entry = {"name": "", "run_name": "a/b/ours/1/iterations:1/repeats:1", "run_type": "iteration", "bytesPerEntry": 48}
        self.assertEqual(bench.medians({"benchmarks": [entry]}), {"a/b/ours/1": {"bytesPerEntry": 48}})

    def test_of_a_benchmark_that_failed_are_none(self):
        entry = {"name": "a", "run_name": "a", "run_type": "iteration", "error_occurred": True, "error_message": "broken"}
        with self.assertRaisesRegex(SystemExit, "a: broken"):
            bench.medians({"benchmarks": [entry]})


class Verdicts(unittest.TestCase):
    def verdict(self, goal, size, limit, values):
        return bench.weigh(goal, size, limit, values)["verdict"]

    def test_weigh_the_mean_of_both_loads(self):
        self.assertEqual(self.verdict(RATIO, "64", 1.0, loads((1, 4), (2, 2))), "reached")
        self.assertEqual(self.verdict(RATIO, "64", 1.0, loads((1, 5), (2, 2))), "missed")

    def test_are_as_exact_as_what_is_shown(self):
        self.assertEqual(self.verdict(RATIO, "64", 1.0, loads((1.004, 1.004), (1, 1))), "reached")
        self.assertEqual(self.verdict(RATIO, "64", 1.0, loads((1.006, 1.006), (1, 1))), "missed")

    def test_of_what_was_not_measured_say_so(self):
        self.assertEqual(self.verdict(RATIO, "1k", 1.0, loads((1, 1), (1, 1))), "not measured")

    def test_take_the_rarest_allocation_for_one(self):
        flap = {"wish/flap/ours/64-1": {"allocationsPerItem": 1e-6}}
        self.assertEqual(self.verdict(NO_ALLOCATION, "64-1", 0, flap), "missed")
        flap["wish/flap/ours/64-1"]["allocationsPerItem"] = 0
        self.assertEqual(self.verdict(NO_ALLOCATION, "64-1", 0, flap), "reached")


class Goals(unittest.TestCase):
    def test_are_of_families_that_the_command_knows(self):
        command = (ROOT / "bench").read_text()
        families = re.search(r"^families=\((.*)\)$", command, re.MULTILINE).group(1).split()
        self.assertEqual(set(families), set(bench.FAMILIES))


class Configuration(unittest.TestCase):
    def configuration(self, *arguments):
        command = [sys.executable, ROOT / "benches" / "configuration.py", *arguments]
        return json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)

    def test_has_as_many_interfaces_as_it_is_asked_for(self):
        for count in (0, 1, 20, 1000):
            tables = self.configuration(str(count))
            rows = [
                name
                for table in ("INTERFACE", "VLAN_INTERFACE", "VLAN_SUB_INTERFACE")
                for name in tables.get(table, {})
                if "|" not in name
            ]
            self.assertEqual(len(set(rows)), count)

    def test_has_as_many_routed_ports_as_it_is_asked_for(self):
        tables = self.configuration("100", "--routed", "1")
        self.assertEqual(sum("|" not in name for name in tables["INTERFACE"]), 95)
        self.assertNotIn("VLAN_SUB_INTERFACE", tables)


if __name__ == "__main__":
    unittest.main()
