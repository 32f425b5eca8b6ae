#!/usr/bin/env python3
"""Finds includes that their file does not use, with include-what-you-use.

    scripts/includes.py BUILD [ROOT]     BUILD holds compile_commands.json, of the clang that the tool is built on

Each header is looked at by itself, so that what its source includes hides nothing. What the tool misses that a file
should include is left to the compiler: headers bring what their own declarations need.
"""

import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

from headers import FOLDERS, main, options_of

TOOL = ["include-what-you-use", "-w", "-fsyntax-only"]
for option in ("--mapping_file=/usr/share/include-what-you-use/iwyu.gcc.imp", "--no_fwd_decls", "--cxx17ns"):
    TOOL += ["-Xiwyu", option]
# What uses a header though the tool does not see it: macros, templates that are not instantiated, defaulted operators.
UNSEEN = {
    "<CLI/CLI.hpp>": r"\bCLI::",
    "<algorithm>": r"std::ranges::\w+\(",
    "<chrono>": r"\bchrono\b",
    "<compare>": r"<=>",
    "<concepts>": r"std::(integral|same_as|derived_from|convertible_to|constructible_from)\b",
    "<csignal>": r"\b(SIG[A-Z]+|WIFSIGNALED|WTERMSIG)\b",
    "<functional>": r"std::(hash|function)\b",
    "<iostream>": r"std::c(out|err)\b",
    "<nlohmann/json.hpp>": r"\b(ordered_)?json\b",
    "<ostream>": r"<<",
    "<sstream>": r"stringstream\b|\bKOB_TRACE",
    "<streambuf>": r"std::streambuf\b",
    "<sys/mman.h>": r"\bmemfd_create\b",
    "<type_traits>": r"std::\w+_(v|t)\b|std::\w+_cvref\b",
    "<utility>": r"std::(move|forward|pair|exchange|swap|declval|index_sequence|in_range|as_const)\b",
}


def commands_of(build, root):
    """Each source with its compiler's options; each header of a folder with those of a source beside it."""
    found = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        source = pathlib.Path(entry["file"]).resolve()
        if source.parent in [root / folder for folder in FOLDERS]:
            words = shlex.split(entry["command"])
            found[source.relative_to(root)] = words[1 : words.index("-o")]
    for folder in FOLDERS:
        for header in (root / folder).glob("*.h"):
            found[header.relative_to(root)] = ["-x", "c++", *options_of(build, root, folder)[1:]]
    return found


def unused(root, file, options):
    """The complaints about the includes of a file."""
    command = [*TOOL, *options, file]
    done = subprocess.run(command, cwd=root, stderr=subprocess.PIPE, text=True, check=False)
    told = done.stderr
    looked_at = f"({file} has correct #includes" in told or f"The full include-list for {file}:" in told
    if done.returncode < 0 or " error: " in told or not looked_at:
        return [f"{file} cannot be read:\n{told}"]
    text = (root / file).read_text()
    code = re.sub(r"^#include .*|//.*", "", text, flags=re.MULTILINE)
    complaints = []
    removed = re.search(rf"^{re.escape(str(file))} should remove these lines:\n((?:- .*\n)*)", told, re.MULTILINE)
    for header in re.findall(r"^- #include (\S+)", removed.group(1) if removed else "", re.MULTILINE):
        if header not in UNSEEN or not re.search(UNSEEN[header], code):
            line = text[: text.index(f"#include {header}")].count("\n") + 1
            complaints.append(f"{file}:{line}: {header} is not used")
    return complaints


def faults(build, root):
    """The complaints about all files, in order."""
    with concurrent.futures.ThreadPoolExecutor(len(os.sched_getaffinity(0))) as pool:
        commands = sorted(commands_of(build, root).items())
        return [fault for found in pool.map(lambda each: unused(root, *each), commands) for fault in found]


if __name__ == "__main__":
    sys.exit(main(faults))
