"""The demo's world: the local service and the host application, in one folder that is gone afterwards."""
import json
import os
import pathlib
import re
import select
import shlex
import sqlite3
import subprocess
import tempfile
import time

PATIENCE = 60  # seconds, for a busy machine


class GivenUp(Exception):
    """An unexpected turn, which ends the demo."""


def _private_lines():
    """What the library's own log holds back unless it is traced: its table of lines that carry values."""
    source = pathlib.Path("lumora/Platform/Linux/Host/LogLine.cpp").read_text()
    return re.findall(r'\{"(LumoraSDK-[^"]*)", "([^"]*)"\}', source)


class Service:
    def __init__(self, program, folder):
        self.folder = folder
        self._program = program
        self._accounts = folder / "accounts.json"
        self._log = folder / "requests.json"
        self._requests_seen = 0
        self._events_seen = 0
        self._stamp = 0
        self._process = None

    def start(self, assets):
        ready = self.folder / "ready.json"
        self._process = subprocess.Popen(
            [self._program, "--port", "0", "--accounts", self._accounts, "--assets", assets, "--data",
             self.folder / "service", "--ready-file", ready, "--json-log", self._log],
            stdout=subprocess.DEVNULL, stderr=open(self.folder / "service.log", "w"))
        end = time.monotonic() + PATIENCE
        while not ready.exists() or not ready.read_text().rstrip().endswith("}"):
            if self._process.poll() is not None or time.monotonic() > end:
                raise GivenUp("the service did not start: " + (self.folder / "service.log").read_text()[-500:])
            time.sleep(0.02)
        answer = json.loads(ready.read_text())
        self.port, self.authority = answer["port"], answer["ca"]

    def stop(self):
        if self._process:
            self._process.terminate()
            self._process.wait()

    def knows(self, secure_mode=False, test_device=False, campaigns=()):
        """What it knows of the account "acme" from now on."""
        self._stamp += 1
        config = {"syncTimeOut": 10, "secure_mode": secure_mode, "test_device": test_device}
        account = {"secret": "s3cret", "access_key": "key-1", "blocked": False, "lst": self._stamp, "config": config,
                   "campaigns": list(campaigns)}
        new = self._accounts.with_suffix(".new")
        new.write_text(json.dumps({"accounts": {"acme": account}}))
        new.rename(self._accounts)

    def deep_link(self):
        return subprocess.run([self._program, "deep-link", "acme", "--accounts", self._accounts], check=True,
                              capture_output=True, text=True).stdout.strip()

    def query(self, statement):
        with sqlite3.connect(self.folder / "service/service.sqlite", timeout=PATIENCE) as database:
            return database.execute(statement).fetchall()

    def count(self, condition):
        return self.query("SELECT COUNT(*) FROM events WHERE " + condition)[0][0]

    def requests(self):
        """The requests since the last time, each with the events that it brought."""
        if not self._log.exists():
            return []
        lines = self._log.read_text().splitlines()
        new = [json.loads(line) for line in lines[self._requests_seen:]]
        self._requests_seen = len(lines)
        for request in new:
            count = request["events"] or 0
            rows = self.query(f"SELECT event FROM events ORDER BY id LIMIT {count} OFFSET {self._events_seen}")
            request["received"] = [json.loads(row[0]) for row in rows]
            self._events_seen += count
        return new


class Host:
    """The terminal host. Commands go to it one by one."""

    def __init__(self, program, service, clock_ahead, version, build):
        self._folder = service.folder
        self._log = self._folder / "host.log"
        self._log_seen = 0
        self._pending = b""
        self._private = _private_lines()
        self._process = subprocess.Popen(
            [program, "--data", self._folder / "app", "--keychain", self._folder / "keychain", "--device-name",
             "Ada's phone", "--connect", f"127.0.0.1:{service.port}", "--ca", service.authority, "--app-version",
             version, "--build", build],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=open(self._log, "w"))
        self._read_line()
        self._run(f"advance {clock_ahead}")

    def run(self, command):
        """The command's result and what came to be on the screen meanwhile, all work that it caused included."""
        result, shown = self._run(command)
        return result, shown + self._run("drain")[1]

    def _run(self, command):
        try:
            self._process.stdin.write(command.encode() + b"\n")
            self._process.stdin.flush()
        except BrokenPipeError:
            raise self._trouble("the host is gone") from None
        shown = []
        while True:
            line = json.loads(self._read_line())
            if "error" in line:
                raise self._trouble(f"the host does not understand {command}: {line['error']}")
            if "done" in line:
                return line.get("result"), shown
            shown.append(line)

    def _read_line(self):
        while b"\n" not in self._pending:
            if not select.select([self._process.stdout], [], [], PATIENCE)[0]:
                raise self._trouble("the host does not answer")
            piece = os.read(self._process.stdout.fileno(), 65536)
            if not piece:
                raise self._trouble("the host is gone")
            self._pending += piece
        line, self._pending = self._pending.split(b"\n", 1)
        return line

    def _trouble(self, text):
        return GivenUp(text + "; its log ends with: " + self._log.read_text(errors="replace")[-500:])

    def log_lines(self):
        """Its log since the last time: pairs of a line and whether only a trace shows it."""
        lines = self._log.read_text(errors="replace").splitlines()
        new, self._log_seen = lines[self._log_seen:], len(lines)
        return [(line, self._is_trace(line)) for line in new if line.strip()]

    def _is_trace(self, line):
        return not line.startswith("LumoraSDK-") or any(
            line.startswith(beginning) and further in line[len(beginning):] for beginning, further in self._private)

    def waiting_events(self):
        with sqlite3.connect(self._folder / "app/Documents/ostrelab.sqlite", timeout=PATIENCE) as database:
            return database.execute("SELECT COUNT(*) FROM ostrel_events").fetchone()[0]

    def cached_pictures(self):
        return sorted(file.name for file in (self._folder / "app/Caches").rglob("*") if file.is_file())

    def kill(self):
        self._process.kill()
        self._process.wait()

    def quit(self):
        """A clean end, as a person closes an application."""
        self._process.stdin.write(b"quit\n")
        self._process.stdin.close()
        if self._process.wait(PATIENCE) != 0:
            raise self._trouble(f"the host ended with status {self._process.returncode}")


class World:
    """Everything that the demo starts, and nothing else, ends with it."""

    def __init__(self, build):
        self._folder = tempfile.TemporaryDirectory()
        self._program = pathlib.Path(build, "hosts/terminal/lumora-host").resolve()
        self.service = Service(pathlib.Path(build, "service/lumora-service").resolve(), pathlib.Path(self._folder.name))
        self.host = None
        # The demo's time runs ahead of the machine's by the seconds that it has skipped, in every launch.
        self._clock_ahead = 0

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.host:
            self.host.kill()
        self.service.stop()
        self._folder.cleanup()

    def launch(self, version="1.0", build="1"):
        self.host = Host(self._program, self.service, self._clock_ahead, version, build)

    def skip(self, seconds):
        """For the launches to come; a running host is told itself."""
        self._clock_ahead += seconds

    def close(self):
        self.host.quit()

    def kill(self):
        self.host.kill()


def quoted(*words):
    """A command's words as the host reads them."""
    return " ".join(shlex.quote(word) for word in words)
