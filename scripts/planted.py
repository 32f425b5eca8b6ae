#!/usr/bin/env python3
"""Proves the fuzz targets on planted bugs: each patch of tests/planted must be found within a minute.

    scripts/planted.py [NAME...]     all of tests/planted, or these

A patch begins with what is wrong, and with the target that is to find it. Each is applied in a copy of the tree in
build/planted (or in the directory FYRL3INTF_PLANTED), the target is built there by as many jobs as there are processors
(or FYRL3INTF_JOBS), and run on its corpus until it ends with a finding or the minute is over. First
the targets run without a patch, and must find nothing in their corpora. Prints a table; exits 0 if all were found, 1 if
one was not, 2 if one does not apply or does not build, or a target finds something without it.
"""

import os
import pathlib
import re
import signal
import sys
import tempfile
import time

import processes
import treecopy

ROOT = pathlib.Path(__file__).resolve().parent.parent
PATCHES = ROOT / "tests" / "planted"
PLACE = pathlib.Path(os.environ.get("FYRL3INTF_PLANTED", ROOT / "build" / "planted"))
COPY = PLACE / "source"
BUILD = PLACE / "build"
JOBS = os.environ.get("FYRL3INTF_JOBS", str(len(os.sched_getaffinity(0))))
SECONDS = 60
ENVIRONMENT = {"ASAN_OPTIONS": "detect_leaks=1:detect_stack_use_after_return=1"}


class Unusable(Exception):
    """A patch that cannot be tried."""


def run(*command, **options):
    """Runs a command; answers whether it succeeded and what it wrote."""
    code, output = processes.run(*command, **options)
    return code == 0, output


def build(target):
    good, output = run("cmake", "--build", BUILD, "-j", JOBS, "--target", f"fuzz-{target}")
    if not good:
        raise Unusable(f"does not build:\n{output}")


def fuzz(target, *arguments):
    """Runs the target on its corpus; answers whether it found nothing, and its output."""
    with tempfile.TemporaryDirectory() as scratch:
        return run(
            BUILD / "bin" / f"fuzz-{target}",
            "-timeout=10",
            "-rss_limit_mb=2048",
            "-max_len=8192",
            f"-artifact_prefix={scratch}/",
            *arguments,
            scratch,
            COPY / "tests" / "fuzz" / "corpus" / target,
            cwd=COPY,
            env={**os.environ, **ENVIRONMENT},
        )


def complaint_of(output):
    """The line in which a finding is told."""
    sanitizer = r"ERROR: (AddressSanitizer: \S+|LeakSanitizer: .*|libFuzzer: .*)|(runtime error: .*)"
    told = rf"FINDING: (.*)|what\(\): +(.*)|(Assertion `.*)|{sanitizer}"
    found = re.search(told, output)
    return next(filter(None, found.groups()))[:70] if found else "ended"


def target_of(patch):
    return re.search(r"^Target: (\w+)$", patch.read_text(), re.MULTILINE).group(1)


def prove(patch):
    """Applies the patch, looks for the bug, and takes the patch back; answers whether it was found, and a row."""
    target = target_of(patch)
    good, output = run("patch", "-p1", "--no-backup-if-mismatch", "-i", patch, cwd=COPY)
    if not good:
        raise Unusable(f"does not apply:\n{output}")
    try:
        build(target)
        start = time.monotonic()
        survived, output = fuzz(target, f"-max_total_time={SECONDS}")
        seconds = time.monotonic() - start
    finally:
        run("patch", "-p1", "-R", "--no-backup-if-mismatch", "-i", patch, cwd=COPY)
    verdict = "NOT FOUND" if survived else complaint_of(output)
    return not survived, f"{patch.stem:36} {target:12} {seconds:6.1f} s  {verdict}"


def prepare(targets):
    treecopy.update(ROOT, COPY)
    good, output = run("cmake", "--preset", "fuzz", "-S", COPY, "-B", BUILD, cwd=COPY)
    if not good:
        raise Unusable(f"The copy cannot be configured:\n{output}")
    for target in targets:
        build(target)
        good, output = fuzz(target, "-runs=0")
        if not good:
            raise Unusable(f"{target} finds something without a planted bug:\n{output}")


def main():
    patches = [PATCHES / f"{name}.patch" for name in sys.argv[1:]] or sorted(PATCHES.glob("*.patch"))
    missed = [patch.stem for patch in patches if not patch.exists()]
    if missed:
        print(f"no planted bug is {', '.join(missed)}", file=sys.stderr)
        return 2
    found = 0
    try:
        prepare(sorted({target_of(patch) for patch in patches}))
        for patch in patches:
            good, row = prove(patch)
            print(row, flush=True)
            found += good
    except Unusable as reason:
        print(reason, file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        return 130
    print(f"{found} of {len(patches)} found")
    return 0 if found == len(patches) else 1


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    sys.exit(main())
