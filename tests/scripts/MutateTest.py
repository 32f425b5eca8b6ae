#!/usr/bin/env python3
"""Shows that ./mutate tells mutants that tests kill from those that they do not, and wrong exemptions from right ones."""

import os
import shutil
import unittest

import trees  # first: it finds the scripts
from trees import ROOT

import processes

SCRIPTS = ["mutate.py", "mutate_build.py", "mutate_source.py", "mutate_tests.py", "processes.py", "treecopy.py"]
BUILD = """\
cmake_minimum_required(VERSION 3.25)
project(planted LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
find_package(GTest REQUIRED)
include_directories(${CMAKE_SOURCE_DIR})
add_library(Kob SHARED Kob/Sign.cpp)
add_custom_target(FyrPlatform)
add_custom_target(FyrL3Intf)
add_executable(KobTest tests/SignTest.cpp)
add_executable(PlatformTest tests/NothingTest.cpp)
add_executable(FyrL3IntfTest tests/NothingTest.cpp)
target_link_libraries(KobTest PRIVATE Kob GTest::gtest_main)
target_link_libraries(PlatformTest PRIVATE GTest::gtest_main)
target_link_libraries(FyrL3IntfTest PRIVATE GTest::gtest_main)
"""
SOURCE = """\
#include "Kob/Sign.h"

int sign(int x) {
  if (x < 0) return -1;
  return 1;
}
"""
TEST = '#include <gtest/gtest.h>\n\n#include "Kob/Sign.h"\n\nTEST(Sign, IsTested) {{ {} }}\n'
NOTHING = "#include <gtest/gtest.h>\n\nTEST(Nothing, IsTested) {}\n"
CALLS = "sign(0); sign(-5);"  # and looks at nothing
MOST = "EXPECT_EQ(sign(-5), -1); EXPECT_EQ(sign(5), 1);"
ALL = f"{MOST} EXPECT_EQ(sign(0), 1);"
BOUNDARY = "- if (x < 0) return -1;\n+ if (x <= 0) return -1;\n"
CONSTANT = "- if (x < 0) return -1;\n+ if (x < 1) return -1;\n"


class Mutate(trees.InTree):
    def setUp(self):
        super().setUp()
        for path in ["mutate", "scripts/setup.sh", *(f"scripts/{name}" for name in SCRIPTS)]:
            (self.root / path).parent.mkdir(exist_ok=True)
            shutil.copy(ROOT / path, self.root / path)
        self.write("CMakeLists.txt", BUILD)
        self.write("CMakePresets.json", '{"version": 6}\n')
        self.write("Kob/Sign.h", "#pragma once\n\nint sign(int x);\n")
        self.write("Kob/Sign.cpp", SOURCE)
        self.write("tests/NothingTest.cpp", NOTHING)

    def mutate(self, test, *exemptions):
        """The exit code, and what it printed, with such a test and such exemptions."""
        self.write("tests/SignTest.cpp", TEST.format(test))
        self.write("tests/mutants.txt", "".join(f"Kob/Sign.cpp sign\n{lines}  A reason.\n" for lines in exemptions))
        environment = {**os.environ, "FYRL3INTF_MUTATE": str(self.root / "build" / "mutate")}
        return processes.run(self.root / "mutate", "Kob/Sign.cpp", seconds=600, cwd=self.root, env=environment)

    def test_what_survives_fails(self):
        code, out = self.mutate(ALL)
        self.assertEqual(code, 0, out)
        self.assertIn("\n100.0 % killed; the goal is 95 %\n", out)

        code, out = self.mutate(MOST)
        self.assertEqual(code, 1, out)
        for survivor in (BOUNDARY, CONSTANT):
            self.assertIn(f"\nKob/Sign.cpp:4: survived, in sign\n{survivor}", out)
        self.assertEqual(out.count(": survived, in "), 2, out)

        code, out = self.mutate(CALLS)
        self.assertEqual(code, 1, out)
        self.assertIn("\n0.0 % killed; the goal is 95 %\n", out)

        code, out = self.mutate("")
        self.assertEqual(code, 1, out)
        self.assertIn(f"\nKob/Sign.cpp:4: not reached, in sign\n{BOUNDARY}", out)
        self.assertNotIn("survived, in", out)

    def test_exemptions_are_for_what_survives(self):
        code, out = self.mutate(MOST, BOUNDARY, CONSTANT)
        self.assertEqual(code, 0, out)
        self.assertIn("\n100.0 % killed; the goal is 95 %\n", out)

        code, out = self.mutate(ALL, BOUNDARY)
        self.assertEqual(code, 1, out)
        self.assertIn("tests/mutants.txt:3: this mutant of Kob/Sign.cpp is killed by the tests\n", out)

        code, out = self.mutate(ALL, BOUNDARY.replace("<=", "<<"))
        self.assertEqual(code, 1, out)
        self.assertIn("tests/mutants.txt:3: no mutant of Kob/Sign.cpp matches\n", out)

    def test_what_cannot_be_tried_gives_no_verdict(self):
        code, out = self.mutate("no test;")
        self.assertEqual(code, 125, out)
        self.assertIn("The copy does not build:\n", out)

        self.write("Kob/Sign.cpp", SOURCE.replace("x < 0", "y < 0"))
        code, out = self.mutate(ALL)
        self.assertEqual(code, 125, out)
        self.assertIn("use of undeclared identifier 'y'", out)


if __name__ == "__main__":
    unittest.main()
