"""A process that is killed at any moment loses nothing that it had stored, and sends nothing twice without need."""
import json
import os
import signal
import time

from suite.host import Host, shim_environment
from suite.scenario import Scenario
from suite.stores import Ledger, settings, temporary, upload_rest

LIVES = 10
LONGEST_LIFE = 0.25
MOST_OPERATIONS = 1800


class Kills(Scenario):
    name = "kills"
    tries = ("SIGKILL at random moments, and before random file operations, while events are recorded and uploaded, "
             "campaigns and pictures arrive, settings and keychain are written; ten kills in a row on one "
             "application's files")
    holds = ("every event that was stored arrives, once unless the kill fell between answer and deletion; what was "
             "stored before an acknowledgement is there; the database is sound, settings and keychain parse, "
             "identifiers stay, no half picture, and no temporary file of a killed process stays")
    sizes = {"ci": 30, "hour": 200, "long": 1000}

    def play(self, round):
        ledger = Ledger()
        certain, kept = set(), {}
        folder = round.folder + "/host"
        for life in range(LIVES):
            host = self.live(round, folder, life, certain, kept)
            names = ledger.after_life(folder, round.service.assets, host.sent())
            here = set(names) | set(round.service.arrived())
            # What arrives later was on its way when the kill came.
            lost = certain - here - set(host.sent())
            round.expect(not lost, f"stored, then gone: {sorted(lost)[:5]}")
            values = settings(folder)
            lost = {key for key, allowed in kept.items() if values.get(key) not in allowed}
            round.expect(not lost, f"settings that were written are gone: {lost}")
            round.count("kills")
        # Whoever writes a setting removes what earlier writers left behind.
        arrived = upload_rest(round, folder, "set-setting last 1")
        left = temporary(os.listdir(folder + "/app"))
        round.expect(not left, f"temporary files stay after the last life: {left}")
        ledger.check_identifiers(folder)
        ledger.check_arrivals(arrived, certain)
        round.count("events stored", len(ledger.stored))
        round.count("events that arrived", len(set(arrived)))
        round.count("events that came twice", len(arrived) - len(set(arrived)))

    def live(self, round, folder, life, certain, kept):
        """One life until the kill. Adds what was acknowledged: events as stored, settings as written."""
        random = round.random
        campaigns = random.sample(round.service.example["campaigns"], random.randint(0, 6))
        round.service.configure(campaigns=campaigns, lst=life + 1)
        by_operation = random.random() < 0.5
        environment = None
        if by_operation:
            environment = shim_environment(round.suite, folder, kill=random.randint(1, MOST_OPERATIONS))
        commands = self.script(round, life)
        host = Host(round.suite, folder, round.service, environment=environment)
        moment = time.monotonic() + random.uniform(0, LONGEST_LIFE)
        host.tell(*commands)
        if not by_operation:
            time.sleep(max(0, moment - time.monotonic()))
            host.process.send_signal(signal.SIGKILL)
        status = host.end()
        round.expect(status in (0, -signal.SIGKILL), f"the host ended with status {status}: {host.log_end()}")
        called = set()
        done = len(host.done())
        for number, command in enumerate(commands):
            words = command.split()
            if words[0] == "set-setting":
                # One that was not acknowledged may have been written all the same.
                earlier = set() if number < done else kept.get(words[1], {None})
                kept[words[1]] = earlier | {json.loads(words[2])}
            if number >= done:
                continue
            if words[0] == "action":
                called.add(words[1])
            elif words[0] == "drain":
                certain |= called
        return host

    def script(self, round, life):
        random = round.random
        commands = ["init acme s3cret"] + (["drain"] if random.random() < 0.3 else [])
        for number in range(random.randint(10, 60)):
            name = f"e-{round.number}-{life}-{number}"
            commands += random.choice([
                [f"action {name}"], [f"action {name}"], [f"action {name}"], [f"action {name}", "drain"],
                [f"action {name}", "advance 6"], ["report-all"], ["background", "foreground"], ["sleep 0.005"],
                [f"set-setting s{random.randint(1, 5)} {random.randint(1, 999999)}"],
                ["lead '{\"firstName\":\"Ada\"}'"], ["register-push 0a0b"], ["drain"]])
        return commands
