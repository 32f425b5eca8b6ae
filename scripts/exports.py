#!/usr/bin/env python3
"""Checks that a shared library exports names of the project's namespaces only.

Weak names of the C++ standard library are left aside: the compiler made them here from templates and inline functions,
and every library that needs them has them.

    scripts/exports.py LIBRARY...
"""

import re
import subprocess
import sys

NAMESPACES = {"Kob", "Plexo", "Bridging", "Interface", "FyrL3Intf"}
STANDARD_NAMESPACES = {"std", "__gnu_cxx", "__cxxabiv1"}
WEAK = {"W", "V", "u"}
PLACEMENT_OPERATOR = re.compile(r"_Z(nw|na)mPv|_Z(dl|da)PvS_")

# A mangled name up to its outermost scope: special names (tables, guards, thunks), then the start of a nested name.
SPECIAL = re.compile(r"_Z(?:T[VTIS]|GV|GR|T[hv][n0-9_]+|Tc[hv0-9n_]+)?")
SCOPE = re.compile(r"Z*N[VKRO]*(?:(\d+)|(S[tabsiod]))|Z*(S[tabsiod])")


def scope_of(symbol):
    """The outermost namespace of a mangled name, or None if it has none."""
    special = SPECIAL.match(symbol)
    scope = special and SCOPE.match(symbol, special.end())
    if not scope:
        return None
    if not scope.group(1):
        return "std"
    return symbol[scope.end() : scope.end() + int(scope.group(1))]


def is_allowed(kind, symbol):
    scope = scope_of(symbol)
    is_standard = scope in STANDARD_NAMESPACES or PLACEMENT_OPERATOR.fullmatch(symbol)
    return scope in NAMESPACES or (is_standard and kind in WEAK)


def faults(library):
    command = ["nm", "--dynamic", "--defined-only", "--format=posix", library]
    lines = subprocess.run(command, text=True, capture_output=True, check=True).stdout.splitlines()
    if not lines:
        return [f"{library}: exports nothing"]
    found = []
    for line in lines:
        symbol, kind = line.split("@")[0].split()[0], line.split()[1]
        if not is_allowed(kind, symbol):
            readable = subprocess.run(["c++filt", symbol], text=True, capture_output=True, check=True).stdout.strip()
            found.append(f"{library}: exports {readable} ({kind} {symbol})")
    return found


def main():
    found = [fault for library in sys.argv[1:] for fault in faults(library)]
    print("\n".join(found), end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
