#!/usr/bin/env python3
"""Checks that the products of a release are hardened.

    scripts/hardened.py FILE...      libraries and programs of a release build

Each must run from any address, have tables that are read-only once it has started (full RELRO) and no executable stack,
check its stack, and on x86-64 mark where indirect jumps may go. One of them must call the
checked forms of the C library's functions. Prints what is missing, a line each; exit code 1 when something is.
"""

import re
import subprocess
import sys

ENDBR64 = bytes.fromhex("f30f1efa")
OF_THE_COMPILER = 2  # so many stand in the files that every library and program begins and ends with


def readelf(*arguments):
    return subprocess.run(["readelf", "-W", *arguments], capture_output=True, text=True, check=True).stdout


def faults(path):
    """What the file lacks."""
    head = readelf("-h", "-l", "-d", path)
    symbols = readelf("--dyn-syms", path)
    if not re.search(r"Type: +DYN ", head):
        yield "it runs from one address only"
    if "GNU_RELRO" not in head or not re.search(r"FLAGS_1\).*\bNOW\b", head):
        yield "its tables stay writable (full RELRO)"
    if not re.search(r"GNU_STACK .* RW +0x", head):
        yield "its stack is executable"
    if "__stack_chk_fail" not in symbols:
        yield "it does not check its stack"
    with open(path, "rb") as file:
        if "X86-64" in head and file.read().count(ENDBR64) <= OF_THE_COMPILER:
            yield "it does not mark where indirect jumps may go"


def calls_checked_functions(path):
    return re.search(r"\b__(?!stack)\w+_chk\b", readelf("--dyn-syms", path)) is not None


def main():
    paths = sys.argv[1:]
    found = [f"{path}: {fault}" for path in paths for fault in faults(path)]
    if not any(calls_checked_functions(path) for path in paths):
        found.append("none of them calls a checked function of the C library")
    print("\n".join(found), end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
