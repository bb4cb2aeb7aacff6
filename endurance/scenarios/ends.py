"""A host may end at any time: what it called before is stored or delivered, and a forked child changes nothing."""
import os
import re
import signal
import subprocess
import time

from suite.host import Host, names_in
from suite.scenario import HANGING, Failure, Scenario
from suite.stores import Ledger, upload_rest

# What keeps the last calls, and what the process's status is then.
KEEPS = {"return": 0, "exit": 0, "exit-thread": 0, "exit-task": 0, "fork-return": 0, "fork-exit": 0, "fork-_exit": 0}
LOSES = {"quick_exit": 0, "_exit": 0, "wait": -signal.SIGTERM}
ACTIONS = 50
# How long the library lets a process end, in seconds; on a slow machine it gives up then, with a line.
LONGEST_END = 1


class Ends(Scenario):
    name = "ends"
    tries = ("hosts that report 50 actions and end at once, during an upload too: by return, exit (from another thread "
             "and from a queue's task too), quick_exit, _exit, SIGTERM, and after a fork whose child reports and ends "
             "as well")
    holds = ("no crash; after return and exit every action is stored or delivered, in both only where the answer was not "
             "yet read; after the other ends what was stored arrives; a forked child sends and stores nothing")
    sizes = {"ci": 100, "hour": 1000, "long": 10000}

    def play(self, round):
        how = round.random.choice(sorted(KEEPS | LOSES))
        name = f"e-{round.number}"
        folder = round.folder + "/host"
        self.prepare_application(round, folder)
        slow = round.random.random() < 0.5
        if slow:  # The end falls into a request.
            round.service.configure(misbehave={"endpoint": "report", "delay_ms": round.random.randint(5, 100)})
        log = round.folder + "/log"
        with open(log, "wb") as log_file:
            host = round.suite.start(
                [round.suite.program("endurance/endurance-host"), folder, str(round.service.port), round.service.ca,
                 "end", how, str(ACTIONS), name], stdout=subprocess.PIPE, stderr=log_file, text=True,
                env={**os.environ, "LUMORA_LOG": "trace"})
        try:
            if how == "wait":
                host.stdout.readline()
                time.sleep(round.random.uniform(0, 0.05))
                host.send_signal(signal.SIGTERM)
            output = host.communicate(timeout=HANGING)[0]
        except subprocess.TimeoutExpired:
            os.killpg(host.pid, signal.SIGKILL)  # A forked child too.
            host.communicate()
            raise Failure(f"{how}: the host hangs") from None
        ended = time.monotonic()
        round.expect(host.returncode == (KEEPS | LOSES)[how], f"{how}: status {host.returncode}, {output!r}")
        round.expect("child" not in output, f"{how}: {output}")
        with open(log, errors="replace") as file:
            text = file.read()
        ledger = Ledger()
        stored = ledger.after_life(folder, round.service.assets, names_in(text))
        round.service.configure()
        arrived = upload_rest(round, folder)
        every = {f"{name}-{action}" for action in range(ACTIONS)}
        gave_up = re.search(r"^LumoraSDK-.*changes lost: \d+$", text, re.M)
        if how in KEEPS and gave_up:
            seconds = ended - float(output.split()[0])
            round.expect(seconds >= LONGEST_END, f"{how}: after {seconds:.2f} s it gave up: {gave_up[0]}")
            round.count("ends that took longer than a second")
        ledger.check_arrivals(arrived, every if how in KEEPS and not gave_up else ())
        strange = set(arrived) - every
        round.expect(not strange, f"{how}: a forked child reported: {sorted(strange)}")
        round.count(f"ends by {how}")
        round.count("actions", ACTIONS)
        round.count("actions that waited for the next start", len(stored))

    def prepare_application(self, round, folder):
        """Half of the hosts run for the first time."""
        if round.random.random() < 0.5:
            host = Host(round.suite, folder, round.service)
            host.ask_all("init acme s3cret", "drain")
            host.quit()
