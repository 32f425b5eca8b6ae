#!/usr/bin/env python3
"""Shows that each step of ./check that runs a tool or a program fails on a planted fault, and passes without one.

Each test has a tree of its own, with the settings of this one and one small file or program that has the fault.
"""

import contextlib
import io
import json
import os
import pathlib
import shutil
import subprocess
import sys
import textwrap
import threading
import time
import unittest
import unittest.mock

import trees  # first: it finds the scripts
from trees import ROOT

import check
import largefiles
import planted
import processes
import treecopy


class InTree(trees.InTree):
    """A test whose scripts take its tree for the project."""

    def setUp(self):
        super().setUp()
        self.set(check, ROOT=self.root, BUILD=self.root / "build")

    def set(self, module, **values):
        """Sets names of the module until the test ends."""
        for name, value in values.items():
            replaced = unittest.mock.patch.object(module, name, value)
            replaced.start()
            self.addCleanup(replaced.stop)

    def take(self, *paths):
        """Copies files of the project."""
        for path in paths:
            (self.root / path).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / path, self.root / path)

    def passes(self, action):
        good, output = action()[:2]
        self.assertTrue(good, output)

    def fails(self, action, complaint):
        good, output = action()[:2]
        self.assertFalse(good, output)
        self.assertIn(complaint, output)


class Formatting(InTree):
    def setUp(self):
        super().setUp()
        self.take(".clang-format")

    def test_the_style_of_the_project_is_right(self):
        self.write("Kob/A.h", "#pragma once\n\ninline int* f(int* x) { return x; }\n")
        self.passes(check.formatting)

    def test_another_style_is_a_fault(self):
        for folder in ["Kob", "platform", "FyrL3Intf", "agent", "tests", "benches", "examples", "cmake"]:
            file = self.write(f"{folder}/B.cpp", "int *f(int *x) { return x; }\n")
            self.fails(check.formatting, f"{folder}/B.cpp:1:4: error: code should be clang-formatted")
            file.unlink()


class ClangTidy(InTree):
    def setUp(self):
        super().setUp()
        self.take(".clang-tidy")
        self.write("CMakeLists.txt", "project(planted LANGUAGES CXX)\nadd_library(planted Kob/A.cpp)\n")
        preset = {
            "name": "clang",
            "generator": "Ninja",
            "binaryDir": "${sourceDir}/build/clang",
            "cacheVariables": {"CMAKE_EXPORT_COMPILE_COMMANDS": "ON", "CMAKE_CXX_COMPILER": "clang++-19"},
        }
        self.write("CMakePresets.json", json.dumps({"version": 6, "configurePresets": [preset]}))

    def test_a_mistake_in_a_source_or_in_a_header_is_a_fault(self):
        source = '#include "../Kob/A.h"\n'
        self.write("Kob/A.h", "inline int f(int x) { return x; }\n")
        self.write("Kob/A.cpp", source)
        self.passes(check.clang_tidy)
        self.write("Kob/A.cpp", source + "int g(int x) { return f(x) == f(x) ? 1 : x; }\n")
        self.fails(check.clang_tidy, "misc-redundant-expression")
        self.write("Kob/A.h", "inline int f(int x) { return x == x ? 1 : 2; }\n")
        self.write("Kob/A.cpp", source)
        self.fails(check.clang_tidy, "Kob/A.h:1:32: error: both sides of operator are equivalent")


class EverySourceIsBuilt(InTree):
    def setUp(self):
        super().setUp()
        for build in ["dev", "watched", "bench-quick"]:
            entry = {"file": str(self.write(f"tests/{build}.cpp", ""))}
            self.write(f"build/{build}/compile_commands.json", json.dumps([entry]))

    def test_a_source_that_some_build_has_is_right(self):
        self.passes(check.every_source_is_built)

    def test_a_source_that_no_build_has_is_a_fault(self):
        self.write("tests/Kob/dev.cpp", "")
        self.fails(check.every_source_is_built, "tests/Kob/dev.cpp is in no CMakeLists.txt\n")


class RunTests(InTree):
    """Test programs whose output is that of GoogleTest, and that have a fault or none."""

    PASSED = "[  PASSED  ] 1 test.\n"

    def setUp(self):
        super().setUp()
        self.set(check, TEST_PROGRAMS=["OneTest", "OtherTest"])
        self.script("OneTest", f"printf '{self.PASSED}'")
        self.script("OtherTest", f"printf '{self.PASSED}'")

    def script(self, name, text):
        self.write(f"build/planted/bin/{name}", f"#!/bin/sh\n{text}\n", executable=True)

    def counts(self):
        good, _, passed, failed = check.run_tests("planted", shards=1)()
        self.assertEqual(good, failed == 0)
        return passed, failed

    def test_programs_that_pass_are_counted(self):
        self.assertEqual(self.counts(), (2, 0))

    def test_a_program_that_ends_badly_is_a_fault(self):
        self.script("OtherTest", f"printf '{self.PASSED}'; exit 1")
        self.assertEqual(self.counts(), (2, 1))

    def test_a_program_that_dies_is_a_fault(self):
        self.script("OtherTest", "kill -SEGV $$")
        self.assertEqual(self.counts(), (1, 1))

    def test_a_program_that_was_not_built_is_a_fault(self):
        (self.root / "build/planted/bin/OneTest").unlink()
        self.assertEqual(self.counts(), (0, 1))

    def test_programs_without_tests_are_a_fault(self):
        self.script("OneTest", "true")
        self.script("OtherTest", "true")
        self.assertEqual(self.counts(), (0, 1))


class Sanitizers(InTree):
    """A test program that passes its test and has a fault that only a sanitizer, or valgrind, can see."""

    PROGRAM = """
        #include <climits>
        #include <cstdio>
        #include <cstdlib>
        #include <thread>
        #include <vector>
        int* global;
        __attribute__((noipa)) void plant(int count) { FAULT; }
        int main() {
          std::puts("[  PASSED  ] 1 test.");
          std::fflush(stdout);
          plant(1);
        }
    """
    NONE = "delete new int(count)"
    LEAK = "int* volatile x = new int(count); x = nullptr"
    USE_AFTER_RELEASE = "int* x = new int(count); delete x; global = x; *global = 1"
    USE_AFTER_RETURN = "auto f = [](int x) { int y[2] = {x, x}; global = y; }; f(count); std::printf(\"%d\", *global)"
    OVERFLOW = "global = nullptr; std::printf(\"%d\", INT_MAX + count)"
    BEYOND_THE_END = "int x[4] = {}; global = x; std::printf(\"%d\", x[count + 3])"
    BEYOND_ITS_SIZE = "std::vector<int> x(2); x.reserve(8); std::printf(\"%d\", x[count + 1])"
    RACE = "static int x; std::thread other([] { x += 1; }); x += count; other.join()"
    UNINITIALISED = "int* x = new int[2]; if (x[0] == 7) std::puts(\"7\"); delete[] x"

    def setUp(self):
        super().setUp()
        self.set(check, TEST_PROGRAMS=["PlantedTest"])

    def variables(self, preset):
        """What the preset sets."""
        presets = json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"]
        return next(each for each in presets if each["name"] == preset)["cacheVariables"]

    def words_of(self, variable, module, definitions=()):
        """The words of a variable that a module of the build sets."""
        told = f'string(JOIN " " told ${{{variable}}})\nmessage("${{told}}")\n'
        script = self.write("Told.cmake", f'include("{ROOT}/cmake/{module}.cmake")\n{told}')
        command = ["cmake", *definitions, "-P", script]
        return subprocess.run(command, capture_output=True, text=True, check=True).stderr.split()

    def instrumentation(self, preset):
        """The compiler of the preset, and the options of its sanitizers."""
        variables = self.variables(preset)
        definitions = [f"-D{name}={value}" for name, value in variables.items() if name != "FYRL3INTF_COVERAGE"]
        options = self.words_of("instrumentationCompileOptions", "Instrumentation", definitions)
        return [variables.get("CMAKE_CXX_COMPILER", "g++"), *options]

    def run_planted(self, fault, compiler, **how):
        """What the step makes of the program with this fault, built by the compiler with its options."""
        program = self.root / "build" / "planted" / "bin" / "PlantedTest"
        program.parent.mkdir(parents=True, exist_ok=True)
        command = [*compiler, "-w", "-x", "c++", "-", "-o", program]
        subprocess.run(command, input=self.PROGRAM.replace("FAULT", fault), text=True, check=True)
        good, output, passed, failed = check.run_tests("planted", shards=1, **how)()
        self.assertEqual((passed, failed), (1, 0 if good else 1))
        return good, output

    def test_find_what_the_tests_do_not(self):
        self.finds_what_the_tests_do_not("watched")

    def test_of_gcc_find_what_the_tests_do_not(self):
        self.finds_what_the_tests_do_not("asan-ubsan")

    def finds_what_the_tests_do_not(self, preset):
        compiler = self.instrumentation(preset)
        how = check.SANITIZER_ENVIRONMENT
        self.passes(lambda: self.run_planted(self.NONE, compiler, **how))
        for fault, complaint in [
            (self.LEAK, "LeakSanitizer: detected memory leaks"),
            (self.USE_AFTER_RELEASE, "AddressSanitizer: heap-use-after-free"),
            (self.USE_AFTER_RETURN, "AddressSanitizer: stack-use-after-return"),
            (self.OVERFLOW, "runtime error: signed integer overflow"),
            (self.BEYOND_THE_END, "runtime error: index 4 out of bounds"),
        ]:
            with self.subTest(complaint):
                self.passes(lambda fault=fault: self.run_planted(fault, compiler[:1]))
                self.fails(lambda fault=fault: self.run_planted(fault, compiler, **how), complaint)

    def test_of_threads_find_what_the_tests_do_not(self):
        compiler = self.instrumentation("tsan")
        self.passes(lambda: self.run_planted(self.NONE, compiler))
        self.passes(lambda: self.run_planted(self.RACE, compiler[:1]))
        self.fails(lambda: self.run_planted(self.RACE, compiler), "ThreadSanitizer: data race")

    def test_of_which_the_standard_library_is_one_find_what_the_tests_do_not(self):
        places = ["-DCMAKE_INSTALL_FULL_BINDIR=/bin", "-DCMAKE_INSTALL_FULL_LIBDIR=/lib"]
        debug = self.words_of("CMAKE_CXX_FLAGS_DEBUG", "BuildTypes", places)
        self.passes(lambda: self.run_planted(self.BEYOND_ITS_SIZE, ["g++"]))
        for flags in [debug, *(self.variables(preset)["CMAKE_CXX_FLAGS"].split() for preset in ("watched", "fuzz"))]:
            self.passes(lambda flags=flags: self.run_planted(self.NONE, ["g++", *flags]))
            self.fails(lambda flags=flags: self.run_planted(self.BEYOND_ITS_SIZE, ["g++", *flags]), "< this->size()")

    def test_of_which_valgrind_is_one_find_what_the_tests_do_not(self):
        how = {"prefix": check.VALGRIND}
        self.passes(lambda: self.run_planted(self.NONE, ["g++", "-O1", "-g"], **how))
        for fault, complaint in [
            (self.LEAK, "definitely lost"),
            (self.UNINITIALISED, "Conditional jump or move depends on uninitialised value"),
        ]:
            with self.subTest(complaint):
                self.fails(lambda fault=fault: self.run_planted(fault, ["g++", "-O1", "-g"], **how), complaint)


class Hardened(InTree):
    """A program that is hardened but for one thing."""

    COMPILE = ["-D_FORTIFY_SOURCE=2", "-fstack-protector-strong", "-fcf-protection=full", "-fPIE"]
    LINK = ["-pie", "-Wl,-z,relro,-z,now", "-z", "noexecstack"]
    SOURCE = """
        #include <cstdio>
        #include <cstring>
        int main(int, char** arguments) {
          char name[8];
          std::strcpy(name, arguments[0]);
          return std::puts(name);
        }
    """

    def faults_of(self, compile_options, link_options):
        program = self.root / "program"
        source = self.write("Program.cpp", self.SOURCE)
        command = ["g++", "-O2", "-w", *compile_options, source, "-o", program, *link_options]
        subprocess.run(command, check=True)
        good, output = check.run(ROOT / "scripts/hardened.py", program)
        self.assertEqual(good, not output)
        return output.replace(f"{program}: ", "").splitlines()

    def test_a_program_that_lacks_nothing_is_right(self):
        self.assertEqual(self.faults_of(self.COMPILE, self.LINK), [])

    def test_each_thing_that_it_lacks_is_a_fault(self):
        for option, instead, fault in [
            ("-D_FORTIFY_SOURCE=2", "-U_FORTIFY_SOURCE", "none of them calls a checked function of the C library"),
            ("-fstack-protector-strong", "-fno-stack-protector", "it does not check its stack"),
            ("-fcf-protection=full", "-fcf-protection=none", "it does not mark where indirect jumps may go"),
            ("-pie", "-no-pie", "it runs from one address only"),
            ("-Wl,-z,relro,-z,now", "-Wl,-z,relro,-z,lazy", "its tables stay writable (full RELRO)"),
            ("-Wl,-z,relro,-z,now", "-Wl,-z,norelro,-z,now", "its tables stay writable (full RELRO)"),
            ("noexecstack", "execstack", "its stack is executable"),
        ]:
            with self.subTest(instead):
                without = [[instead if each == option else each for each in some] for some in (self.COMPILE, self.LINK)]
                self.assertEqual(self.faults_of(*without), [fault])


class InstalledPackage(InTree):
    """An installed tree of a library's package and its program, and a reader that is built against it."""

    def setUp(self):
        super().setUp()
        self.take("scripts/installed.sh")
        self.write("files/FyrL3IntfConfig.cmake", 'set(answer "42")\n')
        self.write("files/fyrl3", '#!/bin/sh\necho version\ntest -e "$(dirname "$0")/../lib/library"\n', executable=True)
        self.write("files/library", "")
        self.write(
            "build/cmake_install.cmake",
            f'file(INSTALL "{self.root}/files/FyrL3IntfConfig.cmake"'
            ' DESTINATION "${CMAKE_INSTALL_PREFIX}/lib/cmake/FyrL3Intf")\n'
            f'file(INSTALL "{self.root}/files/library" DESTINATION "${{CMAKE_INSTALL_PREFIX}}/lib")\n'
            f'file(INSTALL "{self.root}/files/fyrl3" DESTINATION "${{CMAKE_INSTALL_PREFIX}}/bin"'
            " USE_SOURCE_PERMISSIONS)\n",
        )
        self.write(
            "examples/reader/CMakeLists.txt",
            "cmake_minimum_required(VERSION 3.25)\nproject(reader LANGUAGES NONE)\n"
            "find_package(FyrL3Intf REQUIRED)\n"
            'file(CONFIGURE OUTPUT reader CONTENT "#!/bin/sh\\necho ${answer}\\n")\n'
            "file(CHMOD ${CMAKE_BINARY_DIR}/reader PERMISSIONS OWNER_READ OWNER_EXECUTE)\n",
        )
        self.write("examples/reader/expected.txt", "42\n")

    def step(self):
        return check.run(self.root / "scripts" / "installed.sh", self.root / "build")

    def test_a_whole_tree_is_right(self):
        self.passes(self.step)

    def test_a_file_that_names_the_directory_of_the_build_is_a_fault(self):
        self.write("files/library", f"built in {self.root}\n")
        self.fails(self.step, "These files name the directory of the build.")

    def test_a_missing_package_is_a_fault(self):
        (self.root / "files/FyrL3IntfConfig.cmake").rename(self.root / "files/Other.cmake")
        script = self.root / "build/cmake_install.cmake"
        script.write_text(script.read_text().replace("FyrL3IntfConfig", "Other"))
        self.fails(self.step, "FyrL3IntfConfig.cmake")

    def test_a_reader_that_prints_something_else_is_a_fault(self):
        self.write("files/FyrL3IntfConfig.cmake", 'set(answer "43")\n')
        self.fails(self.step, "The reader prints something else.")

    def test_a_program_that_does_not_find_its_library_once_it_was_moved_is_a_fault(self):
        self.write("files/fyrl3", '#!/bin/sh\ntest "${0%/moved/*}" = "$0" || { echo not found; exit 1; }\n', executable=True)
        self.fails(self.step, "not found\n")


class FuzzTargets(InTree):
    """A fuzz target "shell" of its own, whose library has a bug where a patch has planted it."""

    TARGET = """
        #include <stdio.h>
        #include <stdlib.h>
        #include "../Kob/Library.h"
        extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size) {
          if (size < 1 || accepts(data[0])) return 0;
          fputs("FINDING: refuses\\n", stderr);
          abort();
        }
    """
    RIGHT = "inline bool accepts(unsigned) { return true; }"
    WRONG = "inline bool accepts(unsigned x) { return x < 128; }"

    def setUp(self):
        super().setUp()
        self.take("fuzz", "scripts/setup.sh")
        self.set(
            planted,
            ROOT=self.root,
            PATCHES=self.root / "tests" / "planted",
            COPY=self.root / "copy",
            BUILD=self.root / "copy-build",
            SECONDS=1,
        )
        preset = {
            "name": "fuzz",
            "generator": "Ninja",
            "binaryDir": "${sourceDir}/build/fuzz",
            "cacheVariables": {"CMAKE_CXX_COMPILER": "clang++-19"},
        }
        self.write("CMakePresets.json", json.dumps({"version": 6, "configurePresets": [preset]}))
        self.write(
            "CMakeLists.txt",
            "cmake_minimum_required(VERSION 3.25)\nproject(planted LANGUAGES CXX)\n"
            "set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)\n"
            "add_executable(fuzz-shell tests/Shell.cpp)\n"
            "target_compile_options(fuzz-shell PRIVATE -fsanitize=fuzzer)\n"
            "target_link_options(fuzz-shell PRIVATE -fsanitize=fuzzer)\n",
        )
        self.write("tests/Shell.cpp", self.TARGET)
        self.write("Kob/Library.h", f"{self.RIGHT}\n")
        self.write("tests/fuzz/corpus/shell/found", "\x80")

    def replay(self):
        return check.run(self.root / "fuzz", "--replay", "shell")

    def patch(self, name, wrong, right=RIGHT):
        change = f"--- a/Kob/Library.h\n+++ b/Kob/Library.h\n@@ -1 +1 @@\n-{right}\n+{wrong}\n"
        self.write(f"tests/planted/{name}.patch", f"It is planted.\nTarget: shell\n{change}")

    def prove(self, *names):
        """The exit code of the script, and what it printed."""
        with (
            unittest.mock.patch.object(sys, "argv", ["planted.py", *names]),
            contextlib.redirect_stdout(io.StringIO()) as out,
            contextlib.redirect_stderr(out),
        ):
            code = planted.main()
        return code, out.getvalue()

    def test_an_input_of_a_corpus_that_finds_something_fails_its_replay(self):
        self.passes(self.replay)
        self.write("Kob/Library.h", f"{self.WRONG}\n")
        self.fails(self.replay, "FINDING: refuses\n")

    def test_what_a_target_finds_by_itself_fails_it(self):
        self.passes(lambda: check.fuzzed(1))
        (self.root / "tests/fuzz/corpus/shell/found").unlink()
        self.write("Kob/Library.h", f"{self.WRONG}\n")
        self.fails(lambda: check.fuzzed(10), "FINDING: refuses\n")

    def test_planted_bugs_are_told_from_what_no_target_finds(self):
        self.patch("bug", self.WRONG)
        self.patch("harmless", "inline bool accepts(int) { return true; }")
        code, out = self.prove()
        self.assertEqual(code, 1)
        self.assertRegex(out, r"bug +shell +[0-9.]+ s  refuses\n")
        self.assertRegex(out, r"harmless +shell +[0-9.]+ s  NOT FOUND\n")
        self.assertTrue(out.endswith("1 of 2 found\n"), out)
        self.assertEqual((self.root / "copy/Kob/Library.h").read_text(), f"{self.RIGHT}\n", "it was taken back")
        code, out = self.prove("bug")
        self.assertEqual((code, out.splitlines()[-1]), (0, "1 of 1 found"))

    def test_planted_bugs_that_can_not_be_tried_give_no_verdict(self):
        self.patch("elsewhere", self.WRONG, right="something else")
        self.assertEqual(self.prove("missing"), (2, "no planted bug is missing\n"))
        code, out = self.prove("elsewhere")
        self.assertEqual(code, 2)
        self.assertIn("does not apply", out)
        self.patch("broken", "it does not compile")
        code, out = self.prove("broken")
        self.assertEqual(code, 2)
        self.assertIn("does not build", out)
        self.write("Kob/Library.h", f"{self.WRONG}\n")
        code, out = self.prove("elsewhere")
        self.assertEqual(code, 2)
        self.assertIn("shell finds something without a planted bug", out)


class Commands(trees.InTree):
    """Commands that write the number of a process which they started, and then wait."""

    def setUp(self):
        super().setUp()
        self.addCleanup(processes.stopped.clear)
        self.number = self.root / "number"

    def script(self, text):
        return self.write("script", f"#!/bin/bash\n{text}\nwait\n", executable=True)

    def running(self):
        """Whether the process that was started still runs; nobody may have asked how it ended."""
        try:
            stat = pathlib.Path(f"/proc/{self.number.read_text().strip()}/stat").read_text()
        except (FileNotFoundError, ProcessLookupError):
            return False
        return stat.rpartition(")")[2].split()[0] != "Z"

    def await_ended(self):
        """Fails unless the process that was started ends soon."""
        deadline = time.monotonic() + 5
        while self.running():
            self.assertLess(time.monotonic(), deadline, "it still runs")
            time.sleep(0.02)

    def stop_when_begun(self, command):
        """Runs the command and stops it once it has started the process; answers the return code and the seconds."""

        def stop():
            while not (self.number.exists() and self.number.read_text().endswith("\n")):
                time.sleep(0.02)
            processes.stop()

        thread = threading.Thread(target=stop)
        thread.start()
        begun = time.monotonic()
        code, _ = processes.run(command, seconds=60)
        thread.join()
        return code, time.monotonic() - begun

    def test_what_takes_too_long_ends_with_what_it_started(self):
        self.assertEqual(processes.run(self.script(f"sleep 600 & echo $! > {self.number}"), seconds=1), (None, ""))
        self.await_ended()

    def test_what_a_command_leaves_running_ends_with_it(self):
        left = self.write("script", f"#!/bin/bash\nsleep 600 & echo $! > {self.number}\n", executable=True)
        self.assertEqual(processes.run(left), (0, ""))
        self.await_ended()

    def test_who_is_told_to_stop_has_time_to_end_what_it_started_elsewhere(self):
        end = "trap 'sleep 0.5; kill $child; exit 7' TERM"
        code, _ = self.stop_when_begun(self.script(f"{end}\nsetsid sleep 600 & child=$!; echo $! > {self.number}"))
        self.assertEqual(code, 7)
        self.await_ended()

    def test_who_does_not_stop_when_told_is_ended(self):
        deaf = f"(trap '' TERM; exec sleep 600) & echo $! > {self.number}"
        with unittest.mock.patch.object(processes, "PATIENCE", 1):
            _, seconds = self.stop_when_begun(self.script(deaf))
        self.assertLess(seconds, 30)
        self.await_ended()

    def test_what_begins_after_the_stop_ends_at_once(self):
        processes.stop()
        begun = time.monotonic()
        code, _ = processes.run("sleep", "600")
        self.assertNotEqual(code, 0)
        self.assertLess(time.monotonic() - begun, 30)


class CopyOfTheTree(trees.InTree):
    def setUp(self):
        super().setUp()
        self.copy = self.root / "copy"
        for file in [*treecopy.FILES, "Kob/A.h", "Kob/B.h", "agent/C.h"]:
            self.write(f"tree/{file}", f"{file}\n")
        treecopy.update(self.root / "tree", self.copy)

    def test_what_is_the_same_stays_as_old_as_it_is(self):
        file = self.copy / "Kob/A.h"
        os.utime(file, (1, 1))
        treecopy.update(self.root / "tree", self.copy)
        self.assertEqual(file.stat().st_mtime, 1)

    def test_what_has_changed_or_gone_does_so_in_the_copy(self):
        self.write("tree/Kob/A.h", "another\n")
        (self.root / "tree/agent/C.h").unlink()
        treecopy.update(self.root / "tree", self.copy)
        self.assertEqual((self.copy / "Kob/A.h").read_text(), "another\n")
        self.assertEqual((self.copy / "Kob/B.h").read_text(), "Kob/B.h\n")
        self.assertFalse((self.copy / "agent/C.h").exists())

    def test_what_the_caller_changes_is_left_to_him(self):
        changed = self.write("copy/Kob/A.h", "with mutants\n")
        treecopy.update(self.root / "tree", self.copy, {changed})
        self.assertEqual(changed.read_text(), "with mutants\n")


class LargeFiles(InTree):
    """A program that reads what it is given and answers as the host does, with a fault or without."""

    PROGRAM = """
        #!/usr/bin/env python3
        import json, os, sys
        text = sys.stdin.buffer.read()
        def refuse(why):
            print(f"fyrl3: file: {why}", file=sys.stderr)
            sys.exit(2)
        FAULT
        if len(text) > 2000000:
            refuse("longer than 256 MiB")
        try:
            json.loads(text.removeprefix(b"apply "))
        except ValueError:
            refuse("not JSON")
    """

    def setUp(self):
        super().setUp()
        self.set(largefiles, LIMIT=2000000, MIB=1000000, KINDS=[largefiles.KINDS[0], largefiles.KINDS[-1]])

    def give(self, fault):
        """What is made of the program with the fault: the exit code, and what is printed."""
        program = self.write("program", textwrap.dedent(self.PROGRAM).lstrip().replace("FAULT", fault), executable=True)
        with (
            unittest.mock.patch.object(sys, "argv", ["largefiles.py", str(program), "--mib=1"]),
            contextlib.redirect_stdout(io.StringIO()) as out,
        ):
            return largefiles.main(), out.getvalue()

    def test_are_answered_or_refused(self):
        code, out = self.give("pass")
        self.assertEqual(code, 0, out)
        self.assertEqual(out.count("exit 0"), 4, out)
        self.assertEqual(out.count("exit 2"), 6, out)

    def test_that_are_not_are_a_fault(self):
        for fault, complaint in [
            ("os.abort()", "exit code -6, not 0"),
            ("sys.exit(0)", "exit code 0, not 2"),
            ("refuse('no')", 'no word of "not JSON"'),
            ("print('once more', file=sys.stderr)", "no message of one line"),
            ("text += bytes(500000000)", "MiB  more than"),
        ]:
            with self.subTest(complaint):
                code, out = self.give(fault)
                self.assertEqual(code, 1, out)
                self.assertIn(complaint, out)


class TheWholeCheck(unittest.TestCase):
    def test_an_extent_that_there_is_not_is_refused(self):
        for words in (["--help"], ["--quick", "--all"]):
            with (
                unittest.mock.patch.object(check, "check") as everything,
                unittest.mock.patch.object(sys, "argv", ["check.py", *words]),
                contextlib.redirect_stderr(io.StringIO()) as err,
            ):
                self.assertEqual(check.main(), 2)
            everything.assert_not_called()
            self.assertEqual(err.getvalue(), "usage: check.py [--quick | --all]\n")

    def test_fails_when_a_step_does_and_runs_the_next_one(self):
        def two_steps(_):
            tally = check.Tally()
            tally.step("planted", lambda: (False, "the fault"))
            tally.step("tests", lambda: (True, "", 7, 0))
            return tally

        with (
            unittest.mock.patch.object(check, "check", two_steps),
            unittest.mock.patch.object(sys, "argv", ["check.py"]),
            unittest.mock.patch("signal.signal"),
            contextlib.redirect_stdout(io.StringIO()) as out,
        ):
            self.assertEqual(check.main(), 1)
        self.assertIn("== planted\nthe fault\n   FAILED, ", out.getvalue())
        self.assertTrue(out.getvalue().endswith("7 passed, 1 failed\n"), out.getvalue())


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    unittest.main()
