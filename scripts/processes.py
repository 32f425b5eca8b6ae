"""Commands that scripts run: each heads a process group of its own, so that what it started ends with it."""

import os
import signal
import subprocess
import tempfile
import threading
import time

PATIENCE = 10  # seconds for those that are told to stop, to end what they started elsewhere

running = set()
running_lock = threading.RLock()  # a signal may stop all while one is being entered
stopped = threading.Event()


def kill(process, how=signal.SIGKILL):
    """Sends a signal to the command and to what it started; answers whether there is any of them left."""
    try:
        os.killpg(process.pid, how)
    except ProcessLookupError:
        return False
    return True


def end(process):
    """Waits for those that were told to stop, and ends what is left of a command."""
    deadline = time.monotonic() + PATIENCE
    while stopped.is_set() and kill(process, 0) and time.monotonic() < deadline:
        process.poll()
        time.sleep(0.02)
    kill(process)


def run(*command, seconds=None, **options):
    """Runs a command, for that long at most; answers its return code (none if it took too long) and what it wrote.
    One that begins after `stop` is told to end at once."""
    # Not a pipe: that would not end before all that the command started.
    with tempfile.TemporaryFile() as written:
        process = subprocess.Popen(
            [str(word) for word in command],
            stdin=subprocess.DEVNULL,
            stdout=written,
            stderr=subprocess.STDOUT,
            start_new_session=True,
            **options,
        )
        with running_lock:
            running.add(process)
        if stopped.is_set():
            kill(process, signal.SIGTERM)
        try:
            code = process.wait(seconds)
        except subprocess.TimeoutExpired:
            code = None
        except BaseException:
            stop()
            raise
        finally:
            end(process)
            process.wait()
            with running_lock:
                running.discard(process)
        written.seek(0)
        return code, written.read().decode(errors="replace")


def stop():
    """Tells what still runs to end, in whichever thread, and what will be run."""
    stopped.set()
    with running_lock:
        for process in list(running):
            kill(process, signal.SIGTERM)
