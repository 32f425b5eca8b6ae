#!/usr/bin/env python3
"""Shows that each checker of scripts/ finds a planted fault, and finds none where there is none."""

import contextlib
import io
import json
import os
import pathlib
import subprocess
import unittest
import unittest.mock

import trees  # first: it finds the scripts
from trees import ROOT

import check
import coverage
import exports
import fatals
import headers
import includes
import layers
import slots
import typenames


class InTree(trees.InTree):
    """A test with a tree of its own."""

    def library(self, text):
        source = self.write("Library.cpp", text)
        library = self.root / "library.so"
        subprocess.run(["g++", "-std=c++20", "-shared", "-fPIC", "-o", library, source], check=True)
        return str(library)


class Layers(InTree):
    def faults_of(self, path, include):
        self.write(path, f"#include {include}\n")
        return layers.faults(self.root)

    def test_including_from_an_earlier_layer_is_right(self):
        self.assertEqual(self.faults_of("FyrL3Intf/A.h", '"Kob/Ptr.h"'), [])

    def test_including_from_a_later_layer_is_a_fault(self):
        self.assertEqual(
            self.faults_of("Kob/A.h", '"platform/IntfId.h"'),
            ['Kob/A.h:1: "platform/IntfId.h" is of a later layer'],
        )

    def test_including_a_neighbour_by_its_bare_name_is_a_fault(self):
        self.assertEqual(self.faults_of("Kob/A.h", '"B.h"'), ['Kob/A.h:1: "B.h" is not named from the root'])

    def test_including_upwards_by_a_relative_path_is_a_fault(self):
        self.assertEqual(
            self.faults_of("platform/A.h", '"../FyrL3Intf/B.h"'),
            ['platform/A.h:1: "../FyrL3Intf/B.h" is not named from the root'],
        )

    def test_a_library_uses_the_standard_library_alone(self):
        self.assertEqual(self.faults_of("Kob/A.h", "<vector>"), [])
        self.assertEqual(
            self.faults_of("Kob/A.h", "<nlohmann/json.hpp>"),
            ["Kob/A.h:1: <nlohmann/json.hpp> is not of the standard library"],
        )

    def test_the_host_may_use_other_libraries(self):
        self.assertEqual(self.faults_of("agent/A.h", "<nlohmann/json.hpp>"), [])


class Includes(InTree):
    SOURCE = '#include "agent/A.h"\n\n#include <string>\n\nstd::string f(int x) { return std::to_string(x); }\n'
    HEADER = "#pragma once\n\n#include <string>\n\nstd::string f(int x);\n"

    def faults_of(self, source=SOURCE, header=HEADER):
        place = self.write("agent/A.cpp", source)
        self.write("agent/A.h", header)
        entries = [{"file": str(place), "command": f"clang++-14 -std=c++20 -I{self.root} -o A.o -c {place}"}]
        self.write("compile_commands.json", json.dumps(entries))
        return includes.faults(self.root, self.root)

    def test_includes_that_are_used_are_right(self):
        self.assertEqual(self.faults_of(), [])

    def test_an_include_of_a_source_that_nothing_uses_is_a_fault(self):
        source = self.SOURCE.replace("#include <string>\n", "#include <string>\n#include <vector>\n")
        self.assertEqual(self.faults_of(source=source), ["agent/A.cpp:4: <vector> is not used"])

    def test_an_include_of_a_header_that_only_its_source_uses_is_a_fault(self):
        header = self.HEADER.replace("#include", "#include <vector>\n#include")
        source = f"{self.SOURCE}std::vector<int> g;\n"
        self.assertEqual(self.faults_of(source, header), ["agent/A.h:3: <vector> is not used"])

    def test_a_use_that_the_tool_does_not_see_is_one(self):
        header = f"{self.HEADER}struct S {{ int x; auto operator<=>(const S&) const = default; }};\n"
        header = header.replace("#include", "#include <compare>\n#include")
        self.assertEqual(self.faults_of(header=header), [])
        header = header.replace("auto operator<=>(const S&) const = default;", "")
        self.assertEqual(self.faults_of(header=header), ["agent/A.h:3: <compare> is not used"])

    def test_a_use_in_a_comment_is_none(self):
        header = self.HEADER.replace("#include", "#include <compare>\n#include") + "// Has no operator<=>.\n"
        self.assertEqual(self.faults_of(header=header), ["agent/A.h:3: <compare> is not used"])

    def test_a_folder_of_which_nothing_is_built_is_a_fault(self):
        self.write("Kob/B.h", "#pragma once\n")
        with self.assertRaisesRegex(SystemExit, "^no source of Kob in "):
            self.faults_of()

    def test_a_tool_that_does_not_look_is_a_fault(self):
        tool = self.write("tool", "#!/bin/sh\necho '(agent/B.h has correct #includes/fwd-decls)' >&2\n", executable=True)
        with unittest.mock.patch.object(includes, "TOOL", [tool]):
            faults = self.faults_of()
            self.assertEqual(len(faults), 2)
            for file, fault in zip(["agent/A.cpp", "agent/A.h"], faults):
                self.assertIn(f"{file} cannot be read:\n", fault)
        tool.write_text("#!/bin/sh\nfor file; do :; done; echo \"($file has correct #includes)\" >&2; kill -SEGV $$\n")
        with unittest.mock.patch.object(includes, "TOOL", [tool]):
            self.assertEqual(len(self.faults_of()), 2)

    def test_a_file_that_cannot_be_read_is_a_fault(self):
        (fault,) = self.faults_of(source='#include "agent/Missing.h"\n')
        self.assertIn("agent/A.cpp cannot be read:\n", fault)
        self.assertIn("'agent/Missing.h' file not found", fault)


class Headers(InTree):
    def faults_of(self, header):
        self.write("Kob/A.h", header)
        command = f"g++ -std=c++20 -I{self.root} -Wall -Werror -o A.o -c A.cpp"
        entries = [{"file": str(self.root / "Kob" / "A.cpp"), "command": command}]
        self.write("compile_commands.json", json.dumps(entries))
        return headers.faults(self.root, self.root)

    def test_a_whole_header_is_right(self):
        self.assertEqual(self.faults_of("#pragma once\n#include <string>\nstruct A { std::string text; };\n"), [])

    def test_a_missing_include_is_a_fault(self):
        self.assertIn("Kob/A.h does not compile", self.faults_of("#pragma once\nstruct A { std::string text; };\n")[0])

    def test_a_missing_guard_is_a_fault(self):
        self.assertIn("Kob/A.h does not compile", self.faults_of("struct A {};\n")[0])


class Exports(InTree):
    def faults_of(self, text):
        return [fault.split(": ", 1)[1] for fault in exports.faults(self.library(text))]

    def test_the_namespaces_of_the_project_are_right(self):
        self.assertEqual(
            self.faults_of(
                "#include <string>\n#include <vector>\n"
                "namespace Kob { struct A { virtual ~A(); virtual void f(); int x; }; A::~A() {} void A::f() {}\n"
                "template <class T> T twice(T t) { return t + t; } template int twice(int);\n"
                "A& only() { static A a; return a; }\n"
                "std::string g(std::vector<std::string> v) { v.push_back({}); return v[0]; }\n"
                "int variable = 1; bool operator==(const A& a, const A& b) { return a.x == b.x; } }"
            ),
            [],
        )

    def test_a_foreign_namespace_is_a_fault(self):
        self.assertEqual(self.faults_of("namespace Other { void f() {} }"), ["exports Other::f() (T _ZN5Other1fEv)"])

    def test_a_namespace_with_a_longer_name_is_a_fault(self):
        self.assertEqual(self.faults_of("namespace Kobs { void f() {} }"), ["exports Kobs::f() (T _ZN4Kobs1fEv)"])

    def test_a_function_without_a_namespace_is_a_fault(self):
        self.assertEqual(self.faults_of("void f() {}"), ["exports f() (T _Z1fv)"])
        self.assertEqual(self.faults_of('extern "C" void f() {}'), ["exports f (T f)"])

    def test_the_type_information_of_a_foreign_class_is_a_fault(self):
        self.assertIn(
            "exports typeinfo for Other::A (V _ZTIN5Other1AE)",
            self.faults_of("namespace Other { struct A {}; } namespace Kob { void f() { throw Other::A(); } }"),
        )

    def test_a_definition_of_our_own_in_the_standard_namespace_is_a_fault(self):
        self.assertEqual(self.faults_of("namespace std { void f() {} }"), ["exports std::f() (T _ZSt1fv)"])

    def test_a_global_operator_new_is_a_fault(self):
        self.assertEqual(
            self.faults_of("void* operator new(unsigned long) { return nullptr; }"),
            ["exports operator new(unsigned long) (T _Znwm)"],
        )

    def test_a_library_without_names_is_a_fault(self):
        library = self.library("static int x;")
        self.assertEqual(exports.faults(library), [f"{library}: exports nothing"])


class Slots(InTree):
    SOURCE = """
        namespace Kob {
        struct Other { virtual void other() {} };
        struct Base { virtual void first(int) const; virtual ~Base(); };
        struct __attribute__((visibility("hidden"))) Derived : Base, Other {
          void first(int) const override; virtual void last();
        };
        void Base::first(int) const {} Base::~Base() {} void Derived::first(int) const {} void Derived::last() {}
        }
    """

    def faults_of(self, text):
        path = self.write("slots.txt", text)
        return slots.faults(path, [slots.Library(self.library(self.SOURCE))])

    def test_the_order_of_the_library_is_right(self):
        self.assertEqual(
            self.faults_of(
                "# a comment\nKob::Base\n  first(int) const\n  ~\n  ~\n\nKob::Derived : Kob::Base # hidden\n  last...\n"
            ),
            [],
        )

    def test_another_order_is_a_fault(self):
        self.assertEqual(
            self.faults_of("Kob::Base\n  ~\n  ~\n  first(int) const\n"),
            [
                "Kob::Base: slot 0 is first(int) const, expected ~",
                "Kob::Base: slot 2 is ~, expected first(int) const",
            ],
        )

    def test_other_arguments_are_a_fault(self):
        self.assertEqual(
            self.faults_of("Kob::Base\n  first(long) const\n  ~\n  ~\n"),
            ["Kob::Base: slot 0 is first(int) const, expected first(long) const"],
        )

    def test_a_missing_slot_is_a_fault(self):
        self.assertEqual(
            self.faults_of("Kob::Base\n  first...\n  ~\n  ~\n  second()\n"),
            ["Kob::Base: slot 3 is nothing, expected second()"],
        )

    def test_a_slot_too_many_is_a_fault(self):
        self.assertEqual(self.faults_of("Kob::Base\n  first...\n  ~\n"), ["Kob::Base: slot 2 is ~, expected nothing"])

    def test_a_class_that_is_not_there_is_a_fault(self):
        self.assertEqual(self.faults_of("Kob::Gone\n  f()\n"), ["Kob::Gone: no library has its virtual table"])


class TypeNames(InTree):
    def faults_of(self, attributes, **options):
        source = self.write("Library.cpp", f'[[{attributes}]] constexpr char names[] = "A\\0B";')
        built = self.root / "library.o"
        subprocess.run(["g++", "-std=c++20", "-fPIC", "-c", "-o", built, source], check=True)
        library = self.root / "library.so"
        subprocess.run(["g++", "-shared", "-o", library, built], check=True)
        return [fault.split(": ", 1)[1] for fault in typenames.faults(str(library), [built], **options)]

    def test_a_section_that_stays_is_right(self):
        self.assertEqual(self.faults_of('gnu::section(".kob.type"), gnu::used, gnu::retain'), [])

    def test_a_section_that_the_linker_takes_away_is_a_fault(self):
        self.assertEqual(
            self.faults_of('gnu::section(".kob.type"), gnu::used'),
            ["loses .kob.type when it is linked without what nobody refers to"],
        )

    def test_a_section_that_is_stripped_is_a_fault(self):
        self.assertEqual(
            self.faults_of(
                'gnu::section(".kob.type"), gnu::used, gnu::retain',
                strip=["strip", "--remove-section=.kob.type"],
            ),
            ["loses .kob.type when it is stripped"],
        )

    def test_a_library_without_the_section_is_a_fault(self):
        self.assertEqual(self.faults_of("gnu::used"), ["has no section .kob.type"])


class Coverage(InTree):
    """Each test has a library of one file, Kob/A.cpp, and runs it."""

    def setUp(self):
        super().setUp()
        for path in ["Kob/Assert.h", "Kob/Export.h"]:
            self.write(path, (ROOT / path).read_text())
        for folder in ["platform", "FyrL3Intf", "agent", "bin"]:
            (self.root / folder).mkdir()
        self.figures = ""

    def faults_of(self, *lines, path="Kob/A.cpp", tells_all=False):
        """What is missing; the first line given is line 2."""
        source = self.write(path, "\n".join(['#include "Kob/Assert.h"', *lines, ""]))
        program = self.root / "bin" / "program"
        others = [ROOT / "Kob/Assert.cpp", ROOT / "cmake/WriteProfileOnAbort.cpp"]
        options = ["-fprofile-instr-generate", "-fcoverage-mapping", "-fcoverage-mcdc"]
        command = ["clang++-19", "-std=c++20", f"-I{self.root}", *options, "-o", program, source, *others]
        subprocess.run(command, check=True)
        environment = {**os.environ, "LLVM_PROFILE_FILE": str(self.root / "program.profraw")}
        subprocess.run([program], env=environment, stderr=subprocess.DEVNULL, check=False)
        with contextlib.redirect_stdout(io.StringIO()) as figures:
            found = coverage.faults(self.root, self.root, self.root, tells_all)
        self.figures = figures.getvalue()
        return found

    def test_what_is_taken_both_ways_by_all_instantiations_together_is_right(self):
        found = self.faults_of(
            "template <class T> bool isNegative(T x) { return x < T() && x + 1 != T(); }",
            "int main() { isNegative(1); isNegative(-2); isNegative(-1L); isNegative(-2L); }",
        )
        self.assertEqual(found, [])
        self.assertIn("branches 4/4 (100.0 %), mcdc 2/2 (100.0 %), untestable 0\n", self.figures)

    def test_a_way_that_is_not_taken_is_a_fault(self):
        found = self.faults_of(
            "int sign(int x) { return x < 0 ? -1 : 1; }",
            'void check(int x) { KOB_ASSERT(x != 0, "x != 0", "void check(int)"); }',
            "bool both(bool a, bool b) { return a && b; }",
            "int main() { check(sign(1)); both(false, true); }",
        )
        header = (ROOT / "Kob/Assert.h").read_text().splitlines()
        condition = next(number for number, line in enumerate(header, 1) if line.startswith("  ((condition) ?"))
        self.assertEqual(
            found,
            [
                "Kob/A.cpp:2: x < 0: never true",
                f"Kob/A.cpp:3 (Kob/Assert.h:{condition}): (condition): never false",
                "Kob/A.cpp:4: a: never true",
                "Kob/A.cpp:4: b: never true or false",
                "Kob/A.cpp:4: a && b: condition 1, 2 never decides alone",
            ],
        )

    def test_too_small_a_share_of_the_host_is_a_fault(self):
        lines = "int sign(int x) { return x < 0 ? -1 : 1; }", "int main() { sign(1); }"
        share = "agent/: branches 1/2 (50.0 %), at least 90 % have to be covered"
        self.assertEqual(self.faults_of(*lines, path="agent/A.cpp"), [share])
        found = self.faults_of(*lines, path="agent/A.cpp", tells_all=True)
        self.assertEqual(found, ["agent/A.cpp:2: x < 0: never true", share])

    def test_a_condition_that_never_decides_alone_is_a_fault(self):
        found = self.faults_of(
            "bool any(bool a, bool b, bool c) { return (a && b) || c; }",
            "int main() { any(true, true, false); any(true, false, true); any(false, false, false); }",
        )
        self.assertEqual(found, ["Kob/A.cpp:2: (a && b) || c: condition 2, 3 never decides alone"])

    def test_a_comparison_of_the_compiler_does_not_count(self):
        found = self.faults_of(
            "struct Pair {",
            "  int x, y;",
            "  friend constexpr bool operator==(const Pair&, const Pair&) = default;",
            "};",
            "int main(int count, char**) { return Pair{count, 2} == Pair{1, 2}; }",
        )
        self.assertEqual(found, [])
        self.assertIn("branches 0/0", self.figures)

    def test_a_mark_on_what_no_test_makes_fail_is_right(self):
        found = self.faults_of(
            "void check(int x) {",
            '  KOB_ASSERT_UNTESTABLE(x != 0, "x != 0", "void check(int)", "who calls (\\")\\" too) knows it");',
            "}",
            "int main() { check(1); }",
        )
        self.assertEqual(found, [])
        self.assertIn("branches 0/0 (100.0 %), mcdc 0/0 (100.0 %), untestable 1\n", self.figures)

    def test_a_mark_covers_what_stands_in_it_alone(self):
        found = self.faults_of(
            "void check(int x) {",
            '  if (x < 2) { KOB_ASSERT_UNTESTABLE(x != 0, "x != 0", "void check(int)", ""); } if (x > 2) --x;',
            "}",
            "int main() { check(1); }",
        )
        self.assertEqual(found, ["Kob/A.cpp:3: x < 2: never false", "Kob/A.cpp:3: x > 2: never true"])

    def test_a_mark_on_what_a_test_makes_fail_is_a_fault(self):
        found = self.faults_of(
            'void check(int x) { KOB_ASSERT_UNTESTABLE(x != 0, "x != 0", "void check(int)", "wrong"); }',
            "int main() { check(1); check(0); }",
        )
        self.assertEqual(found, ["Kob/A.cpp:2: KOB_ASSERT_UNTESTABLE: a test makes it fail"])

    def test_a_mark_on_what_no_test_checks_is_a_fault(self):
        found = self.faults_of(
            'template <class T> void check(T x) { KOB_ASSERT_UNTESTABLE(x, "x", "void check(T)", "never used"); }',
            "int main() {}",
        )
        self.assertEqual(found, ["Kob/A.cpp:2: KOB_ASSERT_UNTESTABLE: no test checks it"])

    def test_the_host_need_not_be_covered_whole(self):
        def folder_with(name, covered):
            count = 10
            return coverage.share_faults(name, [coverage.Share("branches", covered, count)])

        self.assertEqual(list(folder_with("agent", 9)), [])
        self.assertEqual(
            list(folder_with("agent", 8)), ["agent/: branches 8/10 (80.0 %), at least 90 % have to be covered"]
        )
        self.assertEqual(list(folder_with("Kob", 9)), [])  # it is told place by place

    def test_a_line_that_was_not_executed_is_found(self):
        lcov = "SF:/tree/Kob/A.cpp\nDA:3,1\nDA:4,0\nend_of_record\nSF:/tree/Kob/B.cpp\nDA:1,7\nend_of_record\n"
        self.assertEqual(coverage.uncovered_lines(lcov), {pathlib.Path("/tree/Kob/A.cpp"): [4]})


class FatalSites(unittest.TestCase):
    SOURCE = """// KOB_ASSERT(false, "of a comment", f) and abort()
void f(int x) {
  KOB_ASSERT(x != ')', "x != "
                       "\\"(\\"", function);
  KOB_ASSERT_REPORTED(x > 0, "x > 0", function, " x is " << x);
  const char* text = "abort() KOB_ASSERT(";
  assertFail("x", "A.h", __LINE__, "void f(int)");
  KOB_ASSERT_UNTESTABLE(x, "x", function, "why");
}
"""

    def test_each_use_of_the_forms_is_a_place(self):
        sites, faults = fatals.sites_in("Kob/A.cpp", self.SOURCE)
        self.assertEqual(
            sites,
            [
                fatals.Site("Kob/A.cpp", 3, 4, "KOB_ASSERT", 'x != "("'),
                fatals.Site("Kob/A.cpp", 5, 5, "KOB_ASSERT_REPORTED", "x > 0"),
                fatals.Site("Kob/A.cpp", 7, 7, "assertFail", "x"),
                fatals.Site("Kob/A.cpp", 8, 8, "KOB_ASSERT_UNTESTABLE", "x"),
            ],
        )
        self.assertEqual(faults, [])

    def test_an_end_without_a_report_is_a_fault(self):
        found = fatals.sites_in("Kob/A.cpp", "void f() {\n  std::abort();\n}\n")
        self.assertEqual(found, ([], ["Kob/A.cpp:2: abort() ends the process without a report"]))

    def faults_of(self, site, report=None, pins=(), failed=()):
        """The faults of one place when a test A.B brings this report about, and pins these parts of it."""
        evidence = fatals.Evidence.__new__(fatals.Evidence)
        evidence.reports = {("A.B", report)} if report else set()
        evidence.pins = {("A.B", report): set(pins)}
        evidence.failed = set(failed)
        return fatals.judge([site], [evidence], ROOT)[1]

    SITE = fatals.Site("Kob/Trace.cpp", 7, 8, "KOB_ASSERT_REPORTED", "x")
    REPORT = fatals.Report("Kob/Trace.cpp", 8, "void f()", '! "x"', 1)
    TITLE = "Kob/Trace.cpp:7: KOB_ASSERT_REPORTED: x"

    def test_a_report_that_a_test_pins_whole_is_right(self):
        self.assertEqual(self.faults_of(self.SITE, self.REPORT, [*fatals.PARTS, "piece 1"]), [])

    def test_a_report_with_an_open_part_is_a_fault(self):
        self.assertEqual(
            self.faults_of(self.SITE, self.REPORT, fatals.PARTS[1:]),
            [f"{self.TITLE}: no test pins it; A.B leaves open: begin, piece 1"],
        )

    def test_a_place_that_no_test_reaches_is_a_fault(self):
        self.assertEqual(self.faults_of(self.SITE), [f"{self.TITLE}: no test brings it about"])

    def test_a_report_of_no_place_is_a_fault(self):
        faults = self.faults_of(self.SITE, self.REPORT._replace(expression="y"), fatals.PARTS)
        self.assertEqual(faults[0], "Kob/Trace.cpp:8: void f(): y: no place in the sources makes this report")

    def test_a_report_that_cannot_be_and_is_is_a_fault(self):
        site = self.SITE._replace(form="KOB_ASSERT_UNTESTABLE")
        report = self.REPORT._replace(expression="x")
        faults = self.faults_of(site, report, [*fatals.PARTS, "piece 1"])
        self.assertEqual(faults, ["Kob/Trace.cpp:7: KOB_ASSERT_UNTESTABLE: x: A.B brings it about"])

    def test_a_test_that_expects_another_line_is_a_fault(self):
        faults = self.faults_of(self.SITE, self.REPORT, [*fatals.PARTS, "piece 1"], failed=["A.B"])
        self.assertEqual(faults, ["A.B fails: it expects another line than there is"])

    def test_reports_and_marks_are_read_out_of_the_output(self):
        run = fatals.Run(
            "[ RUN      ] A.B\n\nFATAL\t12\tKob/A.cpp\t7\tvoid f()\tx\t0\n"
            "[  DEATH   ] Test: Kob/A.cpp:7: void f()~12~: : Assertion `x' failed.\n"
            "[  FAILED  ] A.B (3 ms)\n[  FAILED  ] 1 test, listed below:\n[  FAILED  ] A.B\n"
        )
        self.assertEqual(run.reports, [("A.B", "12", fatals.Report("Kob/A.cpp", 7, "void f()", "x", 0))])
        self.assertEqual((run.failed, run.noticed), ({"A.B"}, {"12"}))


class Counting(unittest.TestCase):
    def test_passed_and_failed_tests_are_counted(self):
        output = "[  PASSED  ] 7 tests.\n[  FAILED  ] 2 tests, listed below:\n[  FAILED  ] A.B\n[  FAILED  ] A.C\n"
        self.assertEqual(check.count_tests(False, output), (7, 2))

    def test_a_program_that_dies_is_a_failure(self):
        self.assertEqual(check.count_tests(False, "[ RUN      ] A.B\n"), (0, 1))

    def test_a_program_that_fails_after_its_last_test_is_a_failure(self):
        self.assertEqual(check.count_tests(False, "[  PASSED  ] 7 tests.\nleaks\n"), (7, 1))

    def test_a_disabled_or_skipped_test_is_a_failure(self):
        self.assertEqual(check.count_tests(True, "[  PASSED  ] 1 test.\n  YOU HAVE 1 DISABLED TEST\n"), (1, 1))
        self.assertEqual(check.count_tests(True, "[  PASSED  ] 1 test.\n[  SKIPPED ] 1 test, listed below:\n"), (1, 1))

    def test_what_failed_is_shown_without_what_passed(self):
        passed = "[ RUN      ] A.B\nnoise\n[       OK ] A.B (0 ms)\n"
        failed = "[ RUN      ] A.C\nreason\n[  FAILED  ] A.C (0 ms)\n"
        self.assertEqual(check.failures(passed + failed + passed), failed)


if __name__ == "__main__":
    unittest.main()
