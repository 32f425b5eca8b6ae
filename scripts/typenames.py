#!/usr/bin/env python3
"""Checks that a library keeps the section that lists the names of its types, whatever a packager does to the library.

Loaders read the section from the file. So it must be there when the library's symbols have been stripped, and when the
library is linked so that what nobody refers to is left out.

    scripts/typenames.py LIBRARY OBJECT...   the objects are those that the library was linked from
"""

import pathlib
import subprocess
import sys
import tempfile

SECTION = ".kob.type"
STRIP = ("strip",)
LINK = ("g++", "-shared", "-Wl,--gc-sections")


def names_in(library):
    """What the section holds; nothing where there is none."""
    with tempfile.TemporaryDirectory() as directory:
        content = pathlib.Path(directory) / "content"
        command = ["objcopy", "--output-target=binary", f"--only-section={SECTION}", library, content]
        subprocess.run(command, check=True, stderr=subprocess.DEVNULL)
        return content.read_bytes() if content.exists() else b""


def faults(library, objects, strip=STRIP):
    names = names_in(library)
    if not names:
        return [f"{library}: has no section {SECTION}"]
    found = []
    with tempfile.TemporaryDirectory() as directory:
        stripped, linked = pathlib.Path(directory) / "stripped.so", pathlib.Path(directory) / "linked.so"
        subprocess.run([*strip, "-o", stripped, library], check=True)
        if names_in(stripped) != names:
            found.append(f"{library}: loses {SECTION} when it is stripped")
        subprocess.run([*LINK, "-o", linked, *objects], check=True)
        if names_in(linked) != names:
            found.append(f"{library}: loses {SECTION} when it is linked without what nobody refers to")
    return found


def main():
    found = faults(sys.argv[1], sys.argv[2:])
    print("\n".join(found), end="\n" if found else "")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
