#!/usr/bin/env python3
"""Checks that every header compiles by itself, twice over, with the options and warnings of its folder's sources.

    scripts/headers.py BUILD [ROOT]     BUILD holds compile_commands.json
"""

import concurrent.futures
import json
import os
import pathlib
import shlex
import subprocess
import sys

FOLDERS = ["Kob", "platform", "FyrL3Intf", "agent"]


def options_of(build, root, folder):
    """The compiler and its options for the sources of the folder, without input and output."""
    for entry in json.loads((build / "compile_commands.json").read_text()):
        if pathlib.Path(entry["file"]).resolve().parent == root / folder:
            words = shlex.split(entry["command"])
            return words[: words.index("-o")]
    raise SystemExit(f"no source of {folder} in {build}/compile_commands.json")


def fault_of(options, header):
    """The compiler's complaint about the header, or None."""
    include = f'#include "{header}"\n'
    command = [*options, "-fsyntax-only", "-x", "c++", "-"]
    result = subprocess.run(command, input=include * 2, text=True, capture_output=True, check=False)
    return f"{header} does not compile by itself:\n{result.stderr}" if result.returncode else None


def faults(build, root):
    with concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        jobs = []
        for folder in FOLDERS:
            headers = sorted(path.relative_to(root) for path in (root / folder).rglob("*.h"))
            if headers:
                options = options_of(build, root, folder)
                jobs += [pool.submit(fault_of, options, header) for header in headers]
        return [fault for fault in (job.result() for job in jobs) if fault]


def main(faults):
    """Prints what `faults(build, root)` finds; answers the exit code."""
    found = faults(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2] if len(sys.argv) > 2 else ".").resolve())
    print("\n".join(found), end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(faults))
