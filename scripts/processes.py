"""Commands that scripts run: each heads a process group of its own, so that what it started ends with it."""

import os
import signal
import subprocess
import threading

running = set()
running_lock = threading.RLock()  # a signal may stop all while one is being entered


def kill(process, how=signal.SIGKILL):
    """Sends a signal to the command and to what it started."""
    try:
        os.killpg(process.pid, how)
    except ProcessLookupError:
        pass


def run(*command, seconds=None, **options):
    """Runs a command, for that long at most; answers its return code (none if it took too long) and what it wrote."""
    with subprocess.Popen(
        [str(word) for word in command],
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        errors="replace",
        start_new_session=True,
        **options,
    ) as process:
        with running_lock:
            running.add(process)
        try:
            output = process.communicate(timeout=seconds)[0]
            code = process.returncode
        except subprocess.TimeoutExpired:
            output, code = "", None
        except BaseException:
            kill(process, signal.SIGTERM)  # a build has children in groups of their own, and ends them
            process.wait()
            raise
        finally:
            kill(process)  # and what it left running
            with running_lock:
                running.discard(process)
    return code, output


def stop(how=signal.SIGKILL):
    """Ends what still runs, in whichever thread."""
    with running_lock:
        for process in list(running):
            kill(process, how)
