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


def counted(number, what):
    return f"{number:,} {what}{'' if number == 1 else 's'}"


class Suite:
    """What a scenario needs: where the programs are, the one temporary folder, and the processes it has started."""

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


class Board:
    """Where all scenarios tell how far they are: on a terminal one line, which is written over; else a line now and then."""

    def __init__(self):
        self.lock = threading.Lock()
        self.is_terminal = sys.stdout.isatty()
        self.texts = {}
        self.told = time.monotonic()

    def tell(self, name, text):
        with self.lock:
            self.texts[name] = text
            if time.monotonic() - self.told < (0.5 if self.is_terminal else 20):
                return
            self.told = time.monotonic()
            line = "   " + "; ".join(f"{name}: {text}" for name, text in self.texts.items())
            if self.is_terminal:
                width = shutil.get_terminal_size().columns
                print(f"\r{line[:width - 1]}\033[K", end="", flush=True)
            else:
                print(line, flush=True)

    def print(self, text, ended=None):
        """A line that stays; a scenario may have ended by it."""
        with self.lock:
            self.texts.pop(ended, None)
            print("\r\033[K" + text if self.is_terminal else text, flush=True)


class Progress:
    """How many rounds are over, of how many, since when."""

    def __init__(self):
        self.total, self.done = 0, 0
        self.start = time.monotonic()

    def seconds(self):
        return max(time.monotonic() - self.start, 0.001)

    def __str__(self):
        return f"{self.done} of {counted(self.total, 'round')}, {self.done / self.seconds():.1f}/s"


def spread(numbers, count):
    """So many of the numbers at most, from everywhere among them."""
    if not count or count >= len(numbers):
        return numbers
    return [numbers[index * len(numbers) // count] for index in range(count)]


class Run:
    """One scenario, from its first round to its last or to its first failure."""

    def __init__(self, suite, board, scenario, size, seed, only=None, rounds=None):
        self.suite, self.board, self.scenario, self.size, self.seed = suite, board, scenario, size, seed
        self.only, self.rounds = only, rounds
        self.figures = collections.Counter()
        self.failure = None
        self.lock = threading.Lock()
        self.folder = os.path.join(suite.folder, scenario.name)
        self.progress = Progress()

    def play(self):
        self.progress = Progress()
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
        try:
            for worker in range(count):
                running.append(Service(self.suite, os.path.join(self.folder, f"service{worker}")))
                services.put(running[-1])
            with concurrent.futures.ThreadPoolExecutor(count or 1) as pool:
                list(pool.map(lambda number: self.play_round(number, services), numbers))
        finally:
            for service in running:
                service.stop()

    def play_round(self, number, services):
        if self.suite.is_ending or (self.failure and not self.suite.goes_on):
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
                self.progress.done += 1
                self.board.tell(self.scenario.name, self.progress)
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
                self.board.print(f"   {self.scenario.name}, round {number}: {what}")
            else:
                self.failure = (number, what)

    def report(self):
        if self.suite.is_ending:
            return
        name, seconds, done = self.scenario.name, self.progress.seconds(), self.progress.done
        rate = f"{counted(done, 'round')} in {seconds:.0f} s, {done / seconds:.1f}/s, seed {self.seed}"
        if self.failure:
            number, what = self.failure
            only = "" if number is None else f" --round {number}"
            text = (f"FAILED {name}: {what}\n   after {rate}\n"
                    f"   again: endurance/run {name} --{self.size} --seed {self.seed}{only}")
        else:
            text = f"ok {name}: {rate}: {page.figures_of(self)}"
        self.board.print(text, ended=name)
