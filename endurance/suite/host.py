"""The terminal host as a process, with or without the shim between it and the disk."""
import json
import os
import re
import select
import signal
import subprocess
import time

from suite.scenario import HANGING, Failure

RECORD = re.compile(r'^(?:LumoraFramework--\[LMREventLogger reportEvents:\]_block_invoke \[Line 185\]  sending data )?'
                    r'\{.*"name":"(e-[^"]*)"', re.M)


def names_in(text):
    """The names of the events of ours among records, one a line: they begin with "e-"."""
    return RECORD.findall(text)


def shim_environment(suite, folder, **settings):
    """What preloads the shim: settings are list, journal, fail, kill."""
    environment = {"LD_PRELOAD": suite.program("endurance/libendurance_shim.so"), "ENDURANCE_FOLDER": folder}
    environment.update({"ENDURANCE_" + key.upper(): str(value) for key, value in settings.items()})
    return environment


class Host:
    """Commands go in by `ask`, one at a time, or by `tell`, without waiting. The application's files are those
    of `folder`/app and `folder`/keychain; the log goes to `log`."""
    launches = 0

    def __init__(self, suite, folder, service=None, options=(), environment=None, log=None, wrapper=()):
        self.folder = folder
        os.makedirs(folder, exist_ok=True)
        Host.launches += 1
        self.log = log or f"{folder}.{Host.launches}.log"
        command = [*wrapper, suite.program("hosts/terminal/lumora-host"), "--data", os.path.join(folder, "app"),
                   "--keychain", os.path.join(folder, "keychain"), "--device-name", "endurance"]
        if service:
            command += ["--connect", f"127.0.0.1:{service.port}", "--ca", service.ca]
        with open(self.log, "wb") as log_file:
            self.process = suite.start([*command, *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                       stderr=log_file, env={**os.environ, **(environment or {})})
        self.buffer = b""
        # Everything the host has printed: done, screens, alerts …
        self.lines = []

    def tell(self, *commands):
        try:
            self.process.stdin.write("".join(command + "\n" for command in commands).encode())
            self.process.stdin.flush()
        except BrokenPipeError:
            pass

    def next_line(self):
        """The next line of output; nothing at its end."""
        end = time.monotonic() + HANGING
        output = self.process.stdout.fileno()
        while b"\n" not in self.buffer:
            if not select.select([output], [], [], max(0, end - time.monotonic()))[0]:
                raise Failure(f"the host did not answer in {HANGING} s; its log: {self.log_end()}")
            data = os.read(output, 65536)
            if not data:
                return None
            self.buffer += data
        line, self.buffer = self.buffer.split(b"\n", 1)
        self.lines.append(json.loads(line))
        return self.lines[-1]

    def ask(self, command, may_fail=False):
        """Runs one command and gives its result."""
        self.tell(command)
        while True:
            line = self.next_line()
            if line is None:
                raise Failure(f"the host ended during: {command}; status {self.process.wait()}; {self.log_end()}")
            if "error" in line:
                if may_fail:
                    return None
                raise Failure(f"{command}: {line}")
            if "done" in line:
                return line.get("result")

    def succeeds(self, command):
        """Runs one command and tells whether it could."""
        self.ask(command, may_fail=True)
        return "done" in self.lines[-1]

    def ask_all(self, *commands):
        for command in commands:
            result = self.ask(command)
        return result

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        return self.end()

    def quit(self, statuses=(0,)):
        """A clean end, which must be one."""
        self.tell("quit")
        status = self.end()
        if status not in statuses:
            raise Failure(f"the host ended with status {status}: {self.log_end()}")

    def end(self):
        """Reads what is left, and gives the status."""
        self.process.stdin.close()
        while self.next_line() is not None:
            pass
        self.process.stdout.close()
        return self.process.wait(HANGING)

    def done(self):
        """The commands that were carried out, by their first word."""
        return [line["done"] for line in self.lines if "done" in line]

    def log_text(self):
        with open(self.log, errors="replace") as file:
            return file.read()

    def log_end(self):
        return self.log_text()[-600:].replace("\n", " | ")

    def sent(self):
        """The names of the events that this host began to send, as its log tells before each request."""
        return names_in(self.log_text())

    def peak_memory(self):
        """In MiB; while the host runs."""
        with open(f"/proc/{self.process.pid}/status") as file:
            return int(re.search(r"VmHWM:\s*(\d+)", file.read())[1]) / 1024
