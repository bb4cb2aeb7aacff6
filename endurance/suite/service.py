"""The local service as a process."""
import contextlib
import copy
import json
import os
import sqlite3
import subprocess
import time

from suite.host import names_in
from suite.scenario import HANGING, Failure

SECRET = "s3cret"


def wait_until(condition, what):
    end = time.monotonic() + HANGING
    while not condition():
        if time.monotonic() > end:
            raise Failure(f"{what} did not come in {HANGING} s")
        time.sleep(0.002)


class Service:
    """A running lumora-service with one account, "acme", and the pictures of the examples."""

    def __init__(self, suite, folder, *options):
        os.makedirs(folder, exist_ok=True)
        self.folder = folder
        self.assets = os.path.join(suite.root, "examples/campaigns/assets")
        with open(os.path.join(suite.root, "examples/accounts.json")) as file:
            self.example = json.load(file)["accounts"]["acme"]
        self.requests_file = os.path.join(folder, "requests.jsonl")
        self.configure()
        ready = os.path.join(folder, "ready.json")
        self.log = open(os.path.join(folder, "log"), "wb")
        self.process = suite.start(
            [suite.program("service/lumora-service"), "--data", os.path.join(folder, "data"), "--accounts",
             os.path.join(folder, "accounts.json"), "--assets", self.assets, "--ready-file", ready,
             "--json-log", self.requests_file, *options],
            stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log)
        wait_until(lambda: os.path.exists(ready) and os.path.getsize(ready) > 0, "the service")
        with open(ready) as file:
            listening = json.load(file)
        self.port, self.ca = listening["port"], listening["ca"]
        self.database = os.path.join(folder, "data/service.sqlite")

    def configure(self, campaigns=None, **changes):
        """What the account answers from now on: the examples' campaigns, or some of them, and further entries."""
        account = copy.deepcopy(self.example)
        if campaigns is not None:
            account["campaigns"] = campaigns
        account.update(changes)
        path = os.path.join(self.folder, "accounts.json")
        with open(path + ".new", "w") as file:
            json.dump({"accounts": {"acme": account}}, file)
        os.replace(path + ".new", path)

    def events(self):
        """The texts of the events that arrived, in their order."""
        if not os.path.exists(self.database):
            return []
        connection = sqlite3.connect(self.database, timeout=10)
        try:
            return [row[0] for row in connection.execute("SELECT event FROM events ORDER BY id")]
        finally:
            connection.close()

    def arrived(self):
        """The names of those among them that are ours."""
        return names_in("\n".join(self.events()))

    def requests(self):
        if not os.path.exists(self.requests_file):
            return []
        with open(self.requests_file) as file:
            return [json.loads(line) for line in file]

    def forget_events(self):
        """What arrived is removed."""
        if os.path.exists(self.database):
            connection = sqlite3.connect(self.database, timeout=10)
            connection.execute("DELETE FROM events")
            connection.commit()
            connection.close()
        if os.path.exists(self.requests_file):
            os.truncate(self.requests_file, 0)

    def forget(self):
        """Between two rounds, the account's changes too."""
        self.forget_events()
        self.configure()

    def stop(self):
        self.process.terminate()
        self.process.wait(HANGING)
        self.log.close()


@contextlib.contextmanager
def running_service(suite, folder):
    """For the length of a block."""
    service = Service(suite, folder)
    try:
        yield service
    finally:
        service.stop()
