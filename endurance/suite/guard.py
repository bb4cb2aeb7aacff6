"""Stays behind a run: once the driver is gone, however it ended, its processes and its folder go too.

Standard input is the driver's end of a pipe: it closes with the driver. What the driver wrote before tells whether the
folder is to be kept.
"""
import os
import shutil
import signal
import subprocess
import sys
import time

# In the environment of all that a run starts: the run's folder. A process of a process is found by it as well.
MARK = "ENDURANCE_RUN"


class Guard:
    """The driver's side."""

    def __init__(self, folder):
        # A session of its own, which outlives the terminal's.
        self.process = subprocess.Popen([sys.executable, "-m", "suite.guard", folder], stdin=subprocess.PIPE,
                                        start_new_session=True)
        os.environ[MARK] = folder

    def dismiss(self, keeps_folder):
        """Ends what is left of the run, and comes back when it is gone."""
        self.process.communicate(b"keep" if keeps_folder else b"")


def processes_of(folder):
    found = []
    for number in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{number}/environ", "rb") as file:
                if f"{MARK}={folder}".encode() in file.read().split(b"\0"):
                    found.append(int(number))
        except OSError:
            continue  # It has ended, or is another user's.
    return found


def end_processes(folder):
    """Again and again, since one may just have started another."""
    while left := processes_of(folder):
        for number in left:
            try:
                os.kill(number, signal.SIGKILL)
            except ProcessLookupError:
                pass
        time.sleep(0.01)


def main():
    folder = sys.argv[1]
    keeps_folder = sys.stdin.buffer.read() == b"keep"
    end_processes(folder)
    if not keeps_folder:
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()
