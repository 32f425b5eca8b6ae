#!/usr/bin/env python3
"""Runs the project's checks one after the other and counts what passed; ./check is how it is called.

Every GoogleTest test counts, once for each build that it runs in, and so does every other step. A step that fails
shows its output and the next one runs all the same. Ends with the line "N passed, N failed".
"""

import concurrent.futures
import os
import pathlib
import re
import resource
import signal
import sys
import tempfile
import time

import processes

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build"
LAYERS = ["Kob", "platform", "FyrL3Intf", "agent"]
LIBRARIES = ["Kob", "FyrPlatform", "FyrL3Intf"]
TEST_PROGRAMS = ["KobTest", "PlatformTest", "FyrL3IntfTest", "AgentTest"]
RELEASE = "bench-quick"  # the preset of what is shipped; it has the benches too
JOBS = len(os.sched_getaffinity(0))
SHOWN = ["fatal reports", "coverage", "growth", "growth: 100,000 interfaces"]  # steps whose output is of interest when they pass
LINES_SHOWN = 300

SANITIZER_ENVIRONMENT = {
    "ASAN_OPTIONS": "detect_leaks=1:detect_stack_use_after_return=1:check_initialization_order=1",
    "UBSAN_OPTIONS": "print_stacktrace=1",
}
VALGRIND = [
    # Writes to a descriptor of its own: tests run the program without standard error too.
    *("sh", "-c", 'exec valgrind "$@" 9>&2', "valgrind", "--log-fd=9"),
    "--quiet",
    "--soname-synonyms=somalloc=nouserintercepts",  # operators new and delete of the test programs themselves
    f"--suppressions={ROOT}/tests/valgrind.supp",
    "--leak-check=full",
    "--errors-for-leak-kinds=definite,indirect,possible",
    "--error-exitcode=99",
    "--child-silent-after-fork=yes",
    "--trace-children=yes",
    "--trace-children-skip=*/sh,*/dash,*/bash",
]


def library_paths(preset):
    return [str(BUILD / preset / "lib" / f"lib{name}.so") for name in LIBRARIES]


def sources(*folders, suffixes=(".h", ".cpp")):
    """The files of those folders, relative to the root."""
    found = (path for folder in folders for path in (ROOT / folder).rglob("*") if path.suffix in suffixes)
    return sorted(str(path.relative_to(ROOT)) for path in found)


def run(*command, **environment):
    """Runs a command at the root; answers whether it succeeded and what it wrote."""
    code, output = processes.run(*command, cwd=ROOT, env={**os.environ, **environment})
    return code == 0, output


def run_all(commands, **environment):
    """Runs commands, as many at once as there are processors; answers whether all succeeded and what failing ones wrote."""
    with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
        results = list(pool.map(lambda command: run(*command, **environment), commands))
    return all(good for good, _ in results), "".join(output for good, output in results if not good)


def shortened(output):
    """The output of a step, of which a broken build can make too much."""
    lines = output.rstrip().splitlines()
    left_out = len(lines) - LINES_SHOWN
    return "\n".join(lines[:LINES_SHOWN] + [f"... {left_out} more lines"] * (left_out > 0))


class Tally:
    """What passed and what failed so far."""

    def __init__(self):
        self.passed = 0
        self.failed = 0

    def step(self, title, action):
        """Runs a step; action answers whether it was good and its output, and tests also how many passed and failed."""
        print(f"== {title}", flush=True)
        start = time.monotonic()
        good, output, *counts = action()
        passed, failed = counts or (int(good), int(not good))
        self.passed += passed
        self.failed += failed
        if not good or title in SHOWN:
            print(shortened(output))
        verdict = f"{passed} passed, {failed} failed" if counts else "passed" if good else "FAILED"
        print(f"   {verdict}, {time.monotonic() - start:.1f} s", flush=True)
        return good


def build(preset):
    """Configures and builds a preset."""

    def action():
        directory = BUILD / preset
        directory.mkdir(parents=True, exist_ok=True)
        lock = ["flock", directory / ".lock"]  # ./run may be building too
        good, output = run(*lock, "cmake", "--preset", preset)
        if good:
            good, output = run(*lock, "cmake", "--build", directory, "-j", JOBS, "--", "--quiet")
        return good, output

    return action


def count_tests(good, output):
    """How many tests passed and failed in the output of a GoogleTest program."""
    passed = sum(int(number) for number in re.findall(r"^\[  PASSED  \] (\d+) tests?\.", output, re.MULTILINE))
    failed = sum(int(number) for number in re.findall(r"^\[  FAILED  \] (\d+) tests?,", output, re.MULTILINE))
    disabled = sum(int(number) for number in re.findall(r"YOU HAVE (\d+) DISABLED", output))
    skipped = sum(int(number) for number in re.findall(r"^\[  SKIPPED \] (\d+) tests?,", output, re.MULTILINE))
    failed += disabled + skipped
    # A program that ended early, or after its last test, says nothing of it in numbers.
    return passed, failed if good or failed else 1


def run_tests(preset, prefix=(), shards=JOBS, programs=None, only="*", **environment):
    """Runs the test programs of a build, or only some of their tests, each program in shards side by side."""

    def one(program, shard):
        # A path with a slash, so that death tests find the program again.
        options = ["--gtest_brief=0", "--gtest_color=no", f"--gtest_filter={only}"]
        command = [*prefix, BUILD / preset / "bin" / program, *options]
        good, output = run(*command, GTEST_TOTAL_SHARDS=str(shards), GTEST_SHARD_INDEX=str(shard), **environment)
        passed, failed = count_tests(good, output)
        return good and not failed, f"-- {program}\n{output}", passed, failed

    def action():
        chosen = programs or TEST_PROGRAMS
        jobs = [(program, shard) for program in chosen for shard in range(shards)]
        missing = [program for program in chosen if not (BUILD / preset / "bin" / program).exists()]
        if missing:
            return False, f"not built: {', '.join(missing)}", 0, len(missing)
        with concurrent.futures.ThreadPoolExecutor(JOBS) as pool:
            results = list(pool.map(lambda job: one(*job), jobs))
        passed, failed = sum(result[2] for result in results), sum(result[3] for result in results)
        output = "".join(failures(result[1]) for result in results if not result[0])
        if not passed and not failed:
            return False, "no test ran", 0, 1
        return not failed, output, passed, failed

    return action


def failures(output):
    """A test program's output without the tests that passed."""
    passed = re.compile(r"^\[ RUN      \] (.*)\n(?:(?!\[ RUN).*\n)*?\[       OK \] \1 .*\n", re.MULTILINE)
    frame = re.compile(r"^(\[-{10}\].*)?\n", re.MULTILINE)
    return frame.sub("", passed.sub("", output))


def build_and_test(tally, title, preset, **options):
    if tally.step(f"{title}: build", build(preset)):
        tally.step(f"{title}: tests", run_tests(preset, **options))


def every_source_is_built():
    """No source file has been left out of every build."""
    builds = ["dev", "watched", RELEASE]
    commands = "".join((BUILD / build / "compile_commands.json").read_text() for build in builds)
    folders = [*LAYERS, "tests", "benches"]
    missing = [path for path in sources(*folders, suffixes=(".cpp",)) if f'"{ROOT / path}"' not in commands]
    return not missing, "".join(f"{path} is in no CMakeLists.txt\n" for path in missing)


def fuzz_corpora(**environment):
    """Runs each kept input of the fuzz targets once."""

    def action():
        corpora = sorted((ROOT / "tests" / "fuzz" / "corpus").iterdir())
        programs = [BUILD / "watched" / "bin" / f"fuzz-{corpus.name}" for corpus in corpora]
        inputs = [sorted(corpus.iterdir()) for corpus in corpora]
        return run_all([[program, *files] for program, files in zip(programs, inputs)], **environment)

    return action


def fuzzed(seconds):
    """Runs each fuzz target for so long, as many at once as there are processors."""
    targets = sorted(corpus.name for corpus in (ROOT / "tests" / "fuzz" / "corpus").iterdir())
    return run_all(["./fuzz", target, seconds] for target in targets)


def planted_bugs_apply():
    """The bugs that prove the fuzz targets still fit the sources."""
    patches = sorted((ROOT / "tests" / "planted").glob("*.patch"))
    return run_all(["patch", "--dry-run", "--batch", "-p1", "-i", patch] for patch in patches)


def formatting():
    files = sources(*LAYERS, "tests", "benches", "examples", "cmake")
    return run("clang-format-19", "--dry-run", "-Werror", *files)


def clang_tidy():
    """Looks at the sources of the libraries and the program, and at headers through them."""
    good, output = run("cmake", "--preset", "clang")  # for its command lines: g++'s have options that clang does not know
    if not good:
        return good, output
    command = ["clang-tidy-19", "--quiet", "-p", BUILD / "clang", "--extra-arg=-w"]
    return run_all([*command, path] for path in sources(*LAYERS, suffixes=(".cpp",)))


def type_names_inputs():
    """The library that lists the names of its types, and the objects that it is linked from."""
    objects = (BUILD / RELEASE / "FyrL3Intf").rglob("*.o")
    return [library_paths(RELEASE)[-1], *sorted(objects)]


def long_model():
    """Compares the library with its model over many more random sequences than the tests of every day do."""
    program = BUILD / "O2" / "bin" / "FyrL3IntfTest"
    return run(program, "--gtest_filter=Model.AgreesWithTheLibrary*", FYRL3INTF_MODEL_SEQUENCES="100000")


def check(extent):
    tally = Tally()
    build_and_test(tally, "g++", "dev")
    if extent == "--quick":
        return tally

    tally.step("a moment of load", lambda: run(BUILD / "dev" / "bin" / "soak", "--events=20000", "--per-check=1000"))
    tally.step("formatting", formatting)
    tally.step("layers", lambda: run("scripts/layers.py"))
    tally.step("planted bugs apply", planted_bugs_apply)
    tally.step("fatal reports", lambda: run("scripts/fatals.py", BUILD / "dev"))
    tally.step("every header compiles alone", lambda: run("scripts/headers.py", BUILD / "dev"))
    tally.step("the checkers find planted faults", lambda: run("python3", "tests/scripts/CheckersTest.py"))
    tally.step("the steps find planted faults", lambda: run("python3", "tests/scripts/StepsTest.py"))
    tally.step("mutants are told apart", lambda: run("python3", "tests/scripts/MutateTest.py"))
    tally.step("the benchmark is weighed right", lambda: run("python3", "tests/scripts/BenchTest.py"))
    tally.step("growth is weighed right", lambda: run("python3", "tests/scripts/GrowthTest.py"))

    if tally.step("release, with benches: build", build(RELEASE)):
        tally.step("exported names", lambda: run("scripts/exports.py", *library_paths(RELEASE)))
        tally.step("virtual slots", lambda: run("scripts/slots.py", "tests/slots.txt", *library_paths(RELEASE)))
        tally.step("names of types stay", lambda: run("scripts/typenames.py", *type_names_inputs()))
        products = [*library_paths(RELEASE), BUILD / RELEASE / "bin" / "fyrl3"]
        tally.step("hardened", lambda: run("scripts/hardened.py", *products))
        tally.step("installed package", lambda: run("scripts/installed.sh", BUILD / RELEASE))
        tally.step("benches run", lambda: run("./bench", "--quick"))
        tally.step("growth", lambda: run("scripts/growth.py", BUILD / RELEASE))
        if extent == "--all":
            tally.step("growth: 100,000 interfaces", lambda: run("scripts/growth.py", BUILD / RELEASE, "100000"))

    if tally.step("sanitizers and coverage: build", build("watched")):
        with tempfile.TemporaryDirectory() as profiles:
            environment = {**SANITIZER_ENVIRONMENT, "LLVM_PROFILE_FILE": f"{profiles}/%m.profraw"}
            tally.step("sanitizers and coverage: tests", run_tests("watched", **environment))
            tally.step("coverage", lambda: run("scripts/coverage.py", BUILD / "watched", profiles))
            tally.step("fuzz corpora", fuzz_corpora(**environment))

    tally.step("every source is built", every_source_is_built)
    tally.step("clang-tidy", clang_tidy)

    if extent == "--all":
        build_and_test(tally, "ASan and UBSan of g++", "asan-ubsan", **SANITIZER_ENVIRONMENT)
        if tally.step("TSan: build", build("tsan")):
            tally.step("TSan: tests", run_tests("tsan", programs=["KobTest"], only="*Thread*"))
        build_and_test(tally, "clang", "clang")
        build_and_test(tally, "clang 14 -O3", "clang-14")
        tally.step("includes are used", lambda: run("scripts/includes.py", BUILD / "clang-14"))
        build_and_test(tally, "-O2", "O2")
        tally.step("model: 100,000 sequences", long_model)
        build_and_test(tally, "-O3", "O3")
        if tally.step("fuzz targets: build", build("fuzz")):
            tally.step("fuzz targets: a minute each", lambda: fuzzed(60))
        build_and_test(tally, "valgrind", "valgrind", prefix=VALGRIND)
    return tally


def stop(*_):
    """Ends the commands that run, and what they started, before us."""
    processes.stop()
    raise KeyboardInterrupt


def main():
    extent = " ".join(sys.argv[1:])
    if extent not in ("", "--quick", "--all"):
        print("usage: check.py [--quick | --all]", file=sys.stderr)
        return 2
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))  # death tests leave no core files
    signal.signal(signal.SIGINT, stop)
    signal.signal(signal.SIGTERM, stop)
    start = time.monotonic()
    try:
        tally = check(extent)
    except KeyboardInterrupt:
        return 130
    print(f"== done, {time.monotonic() - start:.0f} s")
    print(f"{tally.passed} passed, {tally.failed} failed")
    return 1 if tally.failed else 0


if __name__ == "__main__":
    sys.exit(main())
