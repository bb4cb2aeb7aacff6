"""What every scenario is: rounds that stand alone, each repeatable by its seed and its number."""
import collections
import random

# In seconds: what has not happened after so long hangs. No verdict depends on less, however slow the machine is.
HANGING = 300


class Failure(Exception):
    """What must hold does not."""


class Scenario:
    """A scenario plays rounds. Rounds share nothing but a worker's service, so one can be repeated alone."""
    name = ""
    # What is tried and what must hold, for people.
    tries = ""
    holds = ""
    # How many rounds each size has.
    sizes = {"ci": 1, "hour": 1, "long": 1}
    workers = 2

    def prepare(self, suite):
        """What all rounds need, once."""

    def rounds(self, size):
        """The numbers of the rounds."""
        return range(1, self.sizes[size] + 1)

    def play(self, round):
        raise NotImplementedError


class Round:
    """One round: its number, its own random numbers, its own folder, its worker's service."""

    def __init__(self, scenario, number, seed, folder, service, suite):
        self.number = number
        self.random = random.Random(f"{seed}/{scenario.name}/{number}")
        self.folder = folder
        self.service = service
        self.suite = suite
        # What the scenario counts; added up over the rounds.
        self.figures = collections.Counter()

    def count(self, what, number=1):
        self.figures[what] += number

    def expect(self, condition, what):
        if not condition:
            raise Failure(what)
