"""Runs scenarios, and tells how they went."""
import argparse
import concurrent.futures
import importlib
import os
import random
import shutil
import signal
import sys
import tempfile
import time

from suite import page
from suite.guard import Guard
from suite.run import Board, Run, Suite
from suite.scenario import Scenario

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "../.."))
MODULES = ["shim", "kills", "failures", "power_cuts", "disks", "stores", "processes", "hostile_service", "ends",
           "long_life", "memory"]
# So many scenarios at a time: hosts wait more than they compute. Those that wait the longest begin.
AT_A_TIME = 3
FIRST = ["hostile-service", "failures", "locked-stores"]

LEAST_FREE = 1 << 30


def scenarios():
    found = []
    for module in MODULES:
        content = vars(importlib.import_module("scenarios." + module)).values()
        found += [thing() for thing in content
                  if isinstance(thing, type) and issubclass(thing, Scenario) and thing.__module__ == "scenarios." + module]
    return found


def default_parent():
    """Memory, where there is enough of it: what a kill leaves is the same there, and rounds are three times as many."""
    memory = "/dev/shm"
    if os.path.isdir(memory) and os.access(memory, os.W_OK) and shutil.disk_usage(memory).free > 4 << 30:
        return memory
    return tempfile.gettempdir()


def positive(text):
    number = int(text)
    if number < 1:
        raise ValueError
    return number


positive.__name__ = "whole number from 1 on"  # What an error calls it.


def make_folder(parent):
    """The one temporary folder."""
    try:
        free = shutil.disk_usage(parent).free
        if free < LEAST_FREE:
            raise SystemExit(f"endurance/run: {parent} has {free >> 20} MiB left, and {LEAST_FREE >> 20} MiB are needed; "
                             "--folder names another place")
        return tempfile.mkdtemp(prefix="endurance-", dir=parent)
    except OSError as error:
        raise SystemExit(f"endurance/run: no folder can be made in {parent}: {error.strerror}; "
                         "--folder names another place") from None


def options():
    parser = argparse.ArgumentParser(prog="endurance/run", description="Proves that nothing is lost.")
    known = [scenario.name for scenario in scenarios()]
    parser.add_argument("scenarios", nargs="*", metavar="SCENARIO", help="of: " + ", ".join(known) + "; default: all")
    size = parser.add_mutually_exclusive_group()
    for name, text in (("ci", "three minutes (the default)"), ("hour", "an hour at most, on two cores"),
                       ("long", "everything")):
        size.add_argument("--" + name, dest="size", action="store_const", const=name, help=text)
    parser.add_argument("--rounds", type=positive, metavar="N", help="so many rounds of each scenario")
    parser.add_argument("--round", type=int, metavar="N", help="only this round")
    parser.add_argument("--seed", type=int, metavar="S", help="of the random numbers; default: a new one")
    parser.add_argument("--workers", type=positive, metavar="N",
                        help="so many rounds at a time, of the scenarios that allow it; default: 2, and 4 of those that wait")
    parser.add_argument("--go-on", action="store_true", help="play the other rounds after a failure too")
    parser.add_argument("--folder", metavar="DIR", default=default_parent(),
                        help="where the one temporary folder is made; default: %(default)s")
    parser.add_argument("--page", action="store_true",
                        help="write the figures of this run into docs/reliability.md, when nothing failed; it must be "
                             "a whole one of an hour or more")
    parser.add_argument("--keep", action="store_true", help="leave the temporary folder after a failure")
    parser.add_argument("--build", metavar="DIR", default=os.path.join(ROOT, "build/endurance"),
                        help="the build folder whose programs are run")
    parser.set_defaults(size="ci")
    chosen = parser.parse_args()
    if chosen.round is not None and len(chosen.scenarios) != 1:
        parser.error("--round is one of a scenario, which must be named")
    if chosen.page and (chosen.size == "ci" or chosen.scenarios or chosen.rounds):
        parser.error("the page tells of whole runs, --hour or --long")
    unknown = set(chosen.scenarios) - set(known)
    if unknown:
        parser.error(f"unknown scenarios: {', '.join(sorted(unknown))}; known are {', '.join(known)}")
    if not os.path.exists(os.path.join(chosen.build, "service/lumora-service")):
        parser.error(f"nothing is built in {chosen.build}")
    return chosen


def play(runs):
    """Plays them, and tells of each when it is over."""
    def play_one(run):
        run.play()
        run.report()

    order = sorted(runs, key=lambda run: FIRST.index(run.scenario.name) if run.scenario.name in FIRST else len(FIRST))
    with concurrent.futures.ThreadPoolExecutor(AT_A_TIME) as pool:
        try:
            list(pool.map(play_one, order))
        except KeyboardInterrupt:
            for run in runs:
                run.suite.end()
            raise


def main():
    chosen = options()
    seed = random.randrange(1, 1000000) if chosen.seed is None else chosen.seed
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, signal.default_int_handler)
    folder = make_folder(chosen.folder)
    guard = Guard(folder)
    # What is tried; by the end of the run the folder may hold something newer.
    commit = page.commit_of(ROOT) if chosen.page else ""
    start = time.monotonic()
    board = Board()
    runs = [Run(Suite(ROOT, os.path.realpath(chosen.build), folder, chosen.go_on, chosen.workers), board, scenario,
                chosen.size, seed, chosen.round, chosen.rounds)
            for scenario in scenarios() if not chosen.scenarios or scenario.name in chosen.scenarios]
    failed = 0
    try:
        play(runs)
        failed = sum(run.failure is not None for run in runs)
    except KeyboardInterrupt:
        board.print("interrupted")
        return 130
    finally:
        keeps_folder = chosen.keep and failed > 0
        guard.dismiss(keeps_folder)
    if keeps_folder:
        print(f"The files are in {folder}")
    if chosen.page and not failed:
        page.write(ROOT, commit, f"--{chosen.size} --seed {seed}", (time.monotonic() - start) / 60, runs)
    print(f"{len(runs) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
