#!/usr/bin/env python3
"""Gives the program fyrl3 files of a hundred MiB, whole and broken, and files at its limit; ./soak --files is how it is
called.

Each ends in an answer or a refusal: an exit code and, of what is refused, one line that says why. Prints the seconds and
the most resident memory that each took; it may not be more than a share of the file's size. Ends with 0 when all hold, 1
otherwise.
"""

import argparse
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
MIB = 1 << 20
LIMIT = 256 * MIB  # the longest file that fyrl3 reads
PATIENCE = 600  # seconds for one file
MIB_AT_FIRST = 64  # of memory, and so many bytes for each byte of a file:
OF_UNITS, OF_BLANKS = 40, 4

SWITCH = str(ROOT / "examples" / "leaf32.config_db.json")
FILE = "FILE"

PORT = '"Ethernet%d": {"admin_status": "up", "mtu": "9100", "speed": "100000"}'
CONTAINER = """{"name": "Ethernet%d", "config": {"type": "iana-if-type:ethernetCsmacd", "enabled": true},
    "subinterfaces": {"subinterface": [{"index": 0, "openconfig-if-ip:ipv6": {"config": {"enabled": true}}}]}}"""
OPERATION = '{"op": "add", "path": "/PORT/Ethernet1%d", "value": {"mtu": "9100"}}'
INDEX = '"Ethernet%d": "oid:0x6000000000601"'

# What the file is, the command, and the file's beginning, middle and end. Standard input is the file where no FILE stands.
KINDS = [
    ("configuration database", ["show", "--config", FILE], '{"PORT": {', PORT, "}}"),
    ("routed ports", ["show", "--config", FILE], '{"INTERFACE": {', '"Ethernet%d|10.0.0.1/24": {"NULL": "NULL"}', "}}"),
    ("OpenConfig", ["show", "--config", FILE, "--json"], '{"interfaces": {"interface": [', CONTAINER, "]}}"),
    ("L3 indexes", ["show", "--config", SWITCH, "--l3-index", FILE], '{"COUNTERS_RIF_NAME_MAP": {', INDEX, "}}"),
    ("JSON Patch", ["show", "--config", SWITCH, "--apply", FILE], "[", OPERATION, "]"),
    ("patch in a line", ["shell", "--config", SWITCH], "apply [", OPERATION, "]"),
]


def write_units(file, beginning, unit, end, size):
    """Writes so many bytes, or a few more."""
    file.write(beginning.encode())
    number = 0
    while file.tell() < size:
        units = (unit % count for count in range(number, number + 1000))
        file.write(((", " if number else "") + ", ".join(units)).encode())
        number += 1000
    file.write(end.encode(errors="surrogateescape"))


def write_blanks(file, beginning, unit, end, size):
    """Writes just so many bytes, most of which are blanks."""
    file.write((beginning + unit % 0).encode())
    while blanks := min(MIB, size - len(end) - file.tell()):
        file.write(b" " * blanks)
    file.write(end.encode())


def ask(program, arguments, file):
    """Runs the program on the file; answers its exit code, what it wrote as errors, its seconds and its MiB."""
    file.flush()
    file.seek(0)
    # The file has no name, so that nothing is left of it whatever ends us.
    words = [f"/dev/fd/{file.fileno()}" if word == FILE else word for word in arguments]
    with tempfile.TemporaryFile() as errors:
        begin = time.monotonic()
        process = subprocess.Popen(
            [program, *words], stdin=file, stdout=subprocess.DEVNULL, stderr=errors, pass_fds=[file.fileno()]
        )
        timer = threading.Timer(PATIENCE, process.kill)
        timer.start()
        try:
            _, status, usage = os.wait4(process.pid, 0)
        except BaseException:
            process.kill()
            process.wait()
            raise
        finally:
            timer.cancel()
        seconds = time.monotonic() - begin
        process.returncode = os.waitstatus_to_exitcode(status)
        errors.seek(0)
        return process.returncode, errors.read().decode(errors="replace"), seconds, usage.ru_maxrss / 1024


def faults(code, message, mib, most, expected):
    """What is wrong with an answer, in words."""
    code_expected, words = expected
    if code != code_expected:
        yield f"exit code {code}, not {code_expected}"
    if words not in message:
        yield f'no word of "{words}"'
    if code == 2 and (message.count("\n") != 1 or not message.startswith("fyrl3: ")):
        yield "no message of one line"
    if mib > most:
        yield f"more than {most:.0f} MiB"


def attempts(size):
    """What to do with each kind: how the file is called, what writes it, its size, its end if it is another one, the bytes
    of memory for each of its bytes, and the exit code and the words that are to come."""
    done, no_json = (0, ""), (2, "not JSON")
    yield "whole", write_units, size, None, OF_UNITS, done
    yield "cut", write_units, size, "", OF_UNITS, no_json
    yield "ends in no text", write_units, size, "\udcff", OF_UNITS, no_json
    yield "at the limit", write_blanks, LIMIT, None, OF_BLANKS, done
    yield "over the limit", write_blanks, LIMIT + 1, None, OF_BLANKS, (2, "longer than 256 MiB")


def main():
    parser = argparse.ArgumentParser(description="Large files, whole and broken.")
    parser.add_argument("program", help="fyrl3")
    parser.add_argument("--mib", type=int, default=100, help="how long the files are, but those at the limit")
    options = parser.parse_args()
    if not 1 <= options.mib < LIMIT // MIB:
        parser.error(f"--mib is not from 1 to {LIMIT // MIB - 1}")
    failed = 0
    for what, arguments, beginning, unit, end in KINDS:
        for state, write, size, other_end, share, expected in attempts(options.mib * MIB):
            with tempfile.TemporaryFile() as file:
                write(file, beginning, unit, end if other_end is None else other_end, size)
                code, message, seconds, mib = ask(options.program, arguments, file)
                wrong = list(faults(code, message, mib, MIB_AT_FIRST + share * size / MIB, expected))
            print(f"{what + ', ' + state:42} exit {code}, {seconds:5.1f} s, {mib:6.0f} MiB  {'; '.join(wrong)}", flush=True)
            if wrong:
                print(f"    {message[:300]}")
            failed += bool(wrong)
    return 1 if failed else 0


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
