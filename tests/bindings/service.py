"""The local service for the tests of the packages: started with an account, read out of its database."""
import contextlib
import json
import os
import pathlib
import sqlite3
import subprocess

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"


class Service:
    def __init__(self, folder, **account):
        self.folder = pathlib.Path(folder)
        accounts = self.folder / "accounts.json"
        accounts.write_text(json.dumps({"accounts": {"acme": {"secret": "s3cret", "lst": 1, **account}}}))
        self.process = subprocess.Popen(
            [os.environ["LUMORA_SERVICE"], "--data", self.folder / "service", "--accounts", accounts, "--assets",
             EXAMPLES / "campaigns/assets"], stdout=subprocess.PIPE, text=True)
        listening = json.loads(self.process.stdout.readline())["listening"]
        self.options = [f"127.0.0.1:{listening['port']}", listening["ca"]]

    def run_host(self, *command):
        """Runs a host with a home of its own, and gives its output."""
        home = self.folder / "home"
        home.mkdir(exist_ok=True)
        environment = {**os.environ, "HOME": str(home), "XDG_DATA_HOME": str(home / "data"),
                       "XDG_CACHE_HOME": str(home / "cache"),
                       "LUMORA_CONNECT_TO": self.options[0], "LUMORA_CERTIFICATES": self.options[1]}
        done = subprocess.run([*map(str, command)], text=True, env=environment, capture_output=True, timeout=240)
        print(done.stdout, done.stderr, sep="", end="")
        assert done.returncode == 0, f"{command} ended with {done.returncode}"
        return done.stdout

    def events(self):
        """What was reported, in the order of arrival, without the times and the device."""
        with contextlib.closing(sqlite3.connect(self.folder / "service/service.sqlite")) as database:
            events = [json.loads(row[0]) for row in database.execute("SELECT event FROM events ORDER BY id")]
        return [{key: value for key, value in event.items() if key not in ("timestamp", "device_state")}
                for event in events]

    def end(self):
        self.process.terminate()
        self.process.communicate()
