#!/usr/bin/env python3
"""Checks what each folder includes.

No folder includes from one that follows it in LAYERS, every project header is named from the root of the tree, and the
libraries use the standard library alone.

    scripts/layers.py [ROOT]
"""

import pathlib
import re
import sys

LAYERS = ["Kob", "platform", "FyrL3Intf", "agent", "tests", "benches"]
LIBRARIES = LAYERS[:3]
# Headers of the language's runtime whose names do not look like those of the standard library.
RUNTIME_HEADERS = {"cxxabi.h"}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def fault_of(folder, bracket, name):
    """What is wrong with an include in a file of that folder, or None."""
    if bracket == "<":
        if folder in LIBRARIES and not re.fullmatch(r"[a-z_0-9]+", name) and name not in RUNTIME_HEADERS:
            return f"<{name}> is not of the standard library"
        return None
    target = name.split("/")[0]
    if "/" not in name or target not in LAYERS:
        return f'"{name}" is not named from the root'
    if LAYERS.index(target) > LAYERS.index(folder):
        return f'"{name}" is of a later layer'
    return None


def faults(root):
    found = []
    for folder in LAYERS:
        for path in sorted((root / folder).rglob("*")):
            if path.suffix not in (".h", ".cpp"):
                continue
            for number, line in enumerate(path.read_text().splitlines(), 1):
                match = INCLUDE.match(line)
                fault = match and fault_of(folder, *match.groups())
                if fault:
                    found.append(f"{path.relative_to(root)}:{number}: {fault}")
    return found


def main():
    found = faults(pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "."))
    print("\n".join(found), end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
