"""A run of a scenario: its rounds, its workers, and how it went."""
import collections
import concurrent.futures
import contextlib
import operator
import os
import queue
import shutil
import signal
import subprocess
import sys
import threading
import time
import traceback

from suite import page
from suite.scenario import Failure, Round
from suite.service import Service


class Suite:
    """Where the programs are, and the one temporary folder."""

    def __init__(self, root, build, folder, goes_on, workers=None):
        self.goes_on = goes_on
        self.workers = workers
        self.root = root
        self.build = build
        self.folder = folder
        self.lock = threading.Lock()
        self.processes = []
        self.is_ending = False

    def program(self, name):
        return os.path.join(self.build, name)

    def start(self, command, **options):
        """A process that does not outlive the scenario."""
        with self.lock:
            if self.is_ending:
                raise Failure("the run ends")
            # A session of its own: what a terminal sends to the driver is the driver's to handle.
            process = subprocess.Popen(command, start_new_session=True, **options)
            self.processes = [process, *(other for other in self.processes if other.poll() is None)]
            return process

    def end_processes(self):
        """Those that a failure, or the end of the run, has left behind, with their own."""
        with self.lock:
            left = self.processes
        for process in left:
            if process.poll() is None:
                with contextlib.suppress(ProcessLookupError):
                    os.killpg(process.pid, signal.SIGKILL)
                process.wait()

    def end(self):
        """Also while rounds are played: they fail then."""
        self.is_ending = True
        self.end_processes()


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
