#!/usr/bin/env python3
"""Checks the order of the virtual operations, as the shared libraries have it, against a list that a person reads.

The order is part of the binary interface: a program built against one version calls slot numbers of it. What stands in
a slot is read from the library itself: a class's virtual table is a row of addresses that the loader relocates, and
each relocation names the function, or its address.

    scripts/slots.py LIST LIBRARY...          compares
    scripts/slots.py --print CLASS LIBRARY... prints the order of one class, in the form of the list

The list: a line without indent names a class, with " : Base" if its slots are those of a listed base first; the
indented lines are its (further) slots in order. An operation stands without its class, a destructor as "~" (it has two
slots), and "name..." stands for an operation with any arguments.
"""

import re
import subprocess
import sys

WORD = 8
DESTRUCTOR = "~"


def output_of(*command):
    return subprocess.run(command, text=True, capture_output=True, check=True).stdout


def demangled(symbols):
    """Symbol -> its readable name."""
    symbols = list(symbols)
    return dict(zip(symbols, output_of("c++filt", *symbols).splitlines())) if symbols else {}


def without_class(function):
    """Drops the class from a demangled member function: "A::B::f(C::D) const" becomes "f(C::D) const"."""
    depth, start = 0, 0
    for position, character in enumerate(function):
        if character == "(" and depth == 0:
            break
        depth += {"<": 1, ">": -1}.get(character, 0)
        if character == ":" and depth == 0:
            start = position + 1
    name = function[start:]
    return DESTRUCTOR if name.startswith("~") else name


class Library:
    """The symbols and relocations of a shared library."""

    def __init__(self, path):
        tables = {}  # symbol of a virtual table -> (address, size)
        self.functions = {}  # address -> symbol
        for line in output_of("readelf", "--wide", "--symbols", path).splitlines():
            words = line.split()
            if len(words) < 8 or not words[0].rstrip(":").isdigit() or words[6] == "UND":
                continue
            address, size, kind, symbol = int(words[1], 16), int(words[2], 0), words[3], words[7].split("@")[0]
            if symbol.startswith("_ZTV"):
                tables[symbol] = (address, size)
            elif kind == "FUNC":
                self.functions[address] = symbol
        classes = demangled(tables)
        self.tables = {name.removeprefix("vtable for "): tables[symbol] for symbol, name in classes.items()}
        self.relocations = {}  # offset -> symbol or address
        for line in output_of("readelf", "--wide", "--relocs", path).splitlines():
            words = line.split()
            if len(words) >= 4 and "_RELATIV" in words[2]:
                self.relocations[int(words[0], 16)] = int(words[3], 16)
            elif len(words) >= 5 and words[2].endswith(("_64", "_ABS64")):
                self.relocations[int(words[0], 16)] = words[4].split("@")[0]

    def slots(self, class_name):
        """The mangled functions of the class's first virtual table, or None if the class is not of this library."""
        if class_name not in self.tables:
            return None
        address, size = self.tables[class_name]
        functions = []
        # Two words come before the functions: the offset to the top of the object and the type information.
        for offset in range(address + 2 * WORD, address + size, WORD):
            target = self.relocations.get(offset)
            if target is None:
                break  # the table of a second base follows
            functions.append(target if isinstance(target, str) else self.functions[target])
        return functions


def slots_of(class_name, libraries):
    for library in libraries:
        functions = library.slots(class_name)
        if functions is not None:
            names = demangled(functions)
            return [without_class(names[function]) for function in functions]
    return None


def read_list(path):
    """Class -> slots, those of its base included."""
    classes, current = {}, None
    with open(path, encoding="utf-8") as lines:
        for line in lines:
            text = line.split("#")[0].rstrip()
            if not text:
                continue
            if line[0].isspace():
                classes[current].append(text.strip())
            else:
                current, _, base = text.partition(" : ")
                classes[current] = list(classes[base]) if base else []
    return classes


def is_match(expected, actual):
    if expected.endswith("..."):
        return re.fullmatch(re.escape(expected[:-3]) + r"\(.*\)( const)?", actual) is not None
    return expected == actual


def faults(list_path, libraries):
    found = []
    for class_name, expected in read_list(list_path).items():
        actual = slots_of(class_name, libraries)
        if actual is None:
            found.append(f"{class_name}: no library has its virtual table")
            continue
        for slot in range(max(len(expected), len(actual))):
            wanted = expected[slot] if slot < len(expected) else "nothing"
            given = actual[slot] if slot < len(actual) else "nothing"
            if not is_match(wanted, given):
                found.append(f"{class_name}: slot {slot} is {given}, expected {wanted}")
    return found


def main():
    if sys.argv[1] == "--print":
        libraries = [Library(path) for path in sys.argv[3:]]
        print(sys.argv[2], *(slots_of(sys.argv[2], libraries) or ["not found"]), sep="\n  ")
        return 0
    found = faults(sys.argv[1], [Library(path) for path in sys.argv[2:]])
    print("\n".join(found), end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
