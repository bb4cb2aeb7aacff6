"""Runs scenarios, and tells how they went."""
import argparse
import collections
import concurrent.futures
import contextlib
import importlib
import operator
import os
import queue
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import traceback

from suite import page
from suite.scenario import Failure, Round, Scenario
from suite.service import Service

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "../.."))
# In the order in which they run.
MODULES = ["shim", "kills", "failures", "power_cuts", "disks", "stores", "processes", "hostile_service", "ends",
           "long_life", "memory"]


class Suite:
    """Where the programs are, and the one temporary folder."""

    def __init__(self, build, folder, goes_on, workers=None):
        self.goes_on = goes_on
        self.workers = workers
        self.root = ROOT
        self.build = build
        self.folder = folder
        self.processes = []
        self.is_ending = False

    def program(self, name):
        return os.path.join(self.build, name)

    def start(self, command, **options):
        """A process that does not outlive the scenario."""
        if self.is_ending:
            raise Failure("the run ends")
        # A session of its own: what a terminal sends to the driver is the driver's to handle.
        process = subprocess.Popen(command, start_new_session=True, **options)
        self.processes = [process, *(other for other in self.processes if other.poll() is None)]
        return process

    def end_processes(self):
        """Those that a failure, or the end of the run, has left behind, with their own."""
        for process in self.processes:
            if process.poll() is None:
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(process.pid, signal.SIGKILL)
                process.wait()

    def end(self):
        """Also while rounds are played: they fail then."""
        self.is_ending = True
        self.end_processes()


def scenarios():
    found = []
    for module in MODULES:
        content = vars(importlib.import_module("scenarios." + module)).values()
        found += [thing() for thing in content
                  if isinstance(thing, type) and issubclass(thing, Scenario) and thing.__module__ == "scenarios." + module]
    return found


class Progress:
    """A line now and then, on a terminal the same one again and again."""

    def __init__(self, name):
        self.name, self.total, self.done = name, 0, 0
        self.start = self.told = time.monotonic()

    def seconds(self):
        return max(time.monotonic() - self.start, 0.001)

    def step(self):
        self.done += 1
        interval = 0.5 if sys.stdout.isatty() else 20
        if time.monotonic() - self.told > interval:
            self.told = time.monotonic()
            text = f"   {self.name}: {self.done} of {self.total} rounds, {self.done / self.seconds():.1f}/s"
            print(text, end="\r" if sys.stdout.isatty() else "\n", flush=True)


def spread(numbers, count):
    """So many of the numbers at most, from everywhere among them."""
    if not count or count >= len(numbers):
        return numbers
    return [numbers[index * len(numbers) // count] for index in range(count)]


class Run:
    """One scenario, from its first round to its last or to its first failure."""

    def __init__(self, suite, scenario, size, seed, only=None, rounds=None):
        self.suite, self.scenario, self.size, self.seed = suite, scenario, size, seed
        self.only, self.rounds = only, rounds
        self.figures = collections.Counter()
        self.failure = None
        self.lock = threading.Lock()
        self.folder = os.path.join(suite.folder, scenario.name)
        self.progress = Progress(scenario.name)

    def play(self):
        try:
            numbers = self.prepare()
            self.play_rounds(numbers, min(self.workers(), len(numbers)))
        except Exception as error:
            self.fail(self.only, error)
        finally:
            self.suite.end_processes()

    def prepare(self):
        """The numbers of the rounds to be played."""
        self.scenario.prepare(self.suite)
        if self.only is not None:
            if self.only not in self.scenario.rounds("long"):
                raise Failure(f"there is no round {self.only}")
            numbers = [self.only]
        else:
            numbers = spread(list(self.scenario.rounds(self.size)), self.rounds)
        self.progress.total = len(numbers)
        return numbers

    def workers(self):
        alone = self.scenario.workers == 1
        return 1 if alone else self.suite.workers or self.scenario.workers

    def play_rounds(self, numbers, count):
        """So many at a time, each with one of as many services."""
        services = queue.SimpleQueue()
        running = []
        pool = concurrent.futures.ThreadPoolExecutor(count or 1)
        try:
            for worker in range(count):
                running.append(Service(self.suite, os.path.join(self.folder, f"service{worker}")))
                services.put(running[-1])
            list(pool.map(lambda number: self.play_round(number, services), numbers))
        except KeyboardInterrupt:
            self.suite.end()
            raise
        finally:
            pool.shutdown()
            for service in running:
                service.stop()

    def play_round(self, number, services):
        if self.failure and not self.suite.goes_on:
            return
        service = services.get()
        folder = os.path.join(self.folder, str(number))
        os.makedirs(folder)
        round = Round(self.scenario, number, self.seed, folder, service, self.suite)
        try:
            service.forget()
            self.scenario.play(round)
            with self.lock:
                for what, figure in round.figures.items():
                    total = max if what.startswith("most") else operator.add
                    self.figures[what] = total(self.figures[what], figure)
                self.progress.step()
            shutil.rmtree(folder, ignore_errors=True)
        except Exception as error:  # A fault of the suite's own ends the scenario just as well.
            self.fail(number, error)
        finally:
            services.put(service)

    def fail(self, number, error):
        """The first failure is the scenario's, in a round or before all of them."""
        if self.suite.is_ending:
            return
        with self.lock:
            what = str(error) if isinstance(error, Failure) else traceback.format_exc()
            if self.failure:
                print(f"   round {number}: {what}", flush=True)
            else:
                self.failure = (number, what)

    def report(self):
        name, seconds = self.scenario.name, self.progress.seconds()
        rate = f"{self.progress.done} rounds in {seconds:.0f} s, {self.progress.done / seconds:.1f}/s, seed {self.seed}"
        if self.failure:
            number, what = self.failure
            only = "" if number is None else f" --round {number}"
            print(f"FAILED {name}: {what}\n   after {rate}\n"
                  f"   again: endurance/run {name} --{self.size} --seed {self.seed}{only}", flush=True)
        else:
            print(f"ok {name}: {rate}: {page.figures_of(self)}", flush=True)


def default_parent():
    """Memory, where there is enough of it: what a kill leaves is the same there, and rounds are three times as many."""
    memory = "/dev/shm"
    if os.path.isdir(memory) and os.access(memory, os.W_OK) and shutil.disk_usage(memory).free > 4 << 30:
        return memory
    return tempfile.gettempdir()


def options():
    parser = argparse.ArgumentParser(prog="endurance/run", description="Proves that nothing is lost.")
    known = [scenario.name for scenario in scenarios()]
    parser.add_argument("scenarios", nargs="*", metavar="SCENARIO", help="of: " + ", ".join(known) + "; default: all")
    size = parser.add_mutually_exclusive_group()
    for name, text in (("ci", "three minutes (the default)"), ("hour", "an hour"), ("long", "everything")):
        size.add_argument("--" + name, dest="size", action="store_const", const=name, help=text)
    parser.add_argument("--rounds", type=int, metavar="N", help="so many rounds of each scenario")
    parser.add_argument("--round", type=int, metavar="N", help="only this round")
    parser.add_argument("--seed", type=int, metavar="S", help="of the random numbers; default: a new one")
    parser.add_argument("--workers", type=int, metavar="N",
                        help="so many rounds at a time, of the scenarios that allow it; default: 2, and 4 of those that wait")
    parser.add_argument("--go-on", action="store_true", help="play the other rounds after a failure too")
    parser.add_argument("--folder", metavar="DIR", default=default_parent(),
                        help="where the one temporary folder is made; default: %(default)s")
    parser.add_argument("--page", action="store_true",
                        help="write the figures of this run into docs/reliability.md, when nothing failed")
    parser.add_argument("--keep", action="store_true", help="leave the temporary folder after a failure")
    parser.add_argument("--build", metavar="DIR", default=os.path.join(ROOT, "build/endurance"),
                        help="the build folder whose programs are run")
    parser.set_defaults(size="ci")
    chosen = parser.parse_args()
    if chosen.round is not None and len(chosen.scenarios) != 1:
        parser.error("--round is one of a scenario, which must be named")
    unknown = set(chosen.scenarios) - set(known)
    if unknown:
        parser.error(f"unknown scenarios: {', '.join(sorted(unknown))}; known are {', '.join(known)}")
    if not os.path.exists(os.path.join(chosen.build, "service/lumora-service")):
        parser.error(f"nothing is built in {chosen.build}")
    return chosen


def main():
    chosen = options()
    seed = random.randrange(1, 1000000) if chosen.seed is None else chosen.seed
    folder = tempfile.mkdtemp(prefix="endurance-", dir=chosen.folder)
    # What is tried; by the end of the run the folder may hold something newer.
    commit = page.commit_of(ROOT) if chosen.page else ""
    suite = Suite(os.path.realpath(chosen.build), folder, chosen.go_on, chosen.workers)
    failed = 0
    runs = []
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, signal.default_int_handler)
    try:
        for scenario in scenarios():
            if chosen.scenarios and scenario.name not in chosen.scenarios:
                continue
            runs.append(Run(suite, scenario, chosen.size, seed, chosen.round, chosen.rounds))
            runs[-1].play()
            runs[-1].report()
            failed += runs[-1].failure is not None
        if chosen.page and not failed:
            rounds = f" --rounds {chosen.rounds}" if chosen.rounds else ""
            page.write(ROOT, commit, f"--{chosen.size}{rounds} --seed {seed}", runs)
    except KeyboardInterrupt:
        print("interrupted", flush=True)
        return 130
    finally:
        suite.end()
        if chosen.keep and failed:
            print(f"The files are in {folder}")
        else:
            shutil.rmtree(folder, ignore_errors=True)
    print(f"{len(runs) - failed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
