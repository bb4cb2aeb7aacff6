"""After a power cut the files are as after a kill, whatever the disk kept of what was not synced."""
import json
import os

from suite.disk import LINE, MODELS, Disk, read_journal
from suite.host import Host, names_in, shim_environment
from suite.scenario import Scenario
from suite.service import running_service
from suite.stores import INSTALL_ID, Ledger, settings, upload_rest, waiting

STEPS = {"ci": 20, "hour": 4, "long": 1}
# Every command but "drain" is followed by one, so that the journal tells what was stored by then.
LIFE = ["init acme s3cret", "action e-1", "action e-2", "set-setting s 1", "advance 6", "action e-3", "action e-4",
        "report-all", "background", "action e-5", "advance 6", "foreground", "action e-6", "set-setting s 2",
        "action e-7", "report-all", "register-push 0a0b", "action e-8"]


class Cut:
    """What was known outside of the disk when the power went."""

    def __init__(self, operations):
        text = b"".join(operation.data for operation in operations if operation.kind == LINE).decode()
        done, called = set(), set()
        self.sent, self.confirmed, self.deleted, self.settings = set(), set(), set(), {}
        commands = iter([*LIFE, "quit"])  # Which the host acknowledges before its end closes the database.
        record = []
        for line in text.splitlines():
            record += names_in(line)
            if "Reported all data successfully" in line:
                self.confirmed.update(record)
                record = []
            if line.startswith('{"done":'):
                word = json.loads(line)["done"]
                if word == "drain":
                    done |= called
                    self.deleted |= self.confirmed
                    continue
                words = next(commands).split()
                if word == "action":
                    called.add(words[1])
                elif word == "set-setting":
                    self.settings = {words[1]: int(words[2])}
        self.stored = done
        self.has_sent = "connect\n" in text


class PowerCuts(Scenario):
    name = "power-cuts"
    tries = ("a power cut after any operation on the disk, replayed from the journal of a life's writes and syncs "
             "under four models: " + "; ".join(MODELS.values()))
    holds = ("the database is sound, what was stored arrives, once; what was deleted after its upload stays deleted; "
             "settings and keychain parse; identifiers that were sent stay; no half picture")

    def prepare(self, suite):
        folder = os.path.join(suite.folder, "power-cuts-life")
        journal = folder + "/journal"
        self.root = folder + "/host"
        os.makedirs(self.root + "/app")  # The host's own, which it does not sync.
        with running_service(suite, folder + "/service") as service:
            host = Host(suite, self.root, service, environment=shim_environment(suite, self.root, journal=journal))
            for command in LIFE:
                host.ask_all(command, "drain")
            host.quit()
            self.identifiers = {key: value for key, value in settings(self.root).items() if key.startswith(INSTALL_ID)}
        self.operations = read_journal(journal)
        self.places = [place for place, operation in enumerate(self.operations, 1) if operation.kind != LINE]

    def rounds(self, size):
        return self.places[::STEPS[size]]

    def play(self, round):
        cut = Cut(self.operations[:round.number])
        disk = Disk(self.root, ["app"])
        for operation in self.operations[:round.number]:
            if operation.kind != LINE:
                disk.play(operation)
        for model in MODELS:
            round.service.forget()
            folder = f"{round.folder}/{model}"
            disk.lay(folder, model, round.random)
            try:
                self.check(round, cut, folder, model)
            except Exception as error:
                error.args = (f"{model}: {error}",)
                raise
            round.count("power cuts")

    def check(self, round, cut, folder, model):
        ledger = Ledger()
        ledger.stored.update(waiting(folder))
        arrived = upload_rest(round, folder)
        ledger.check_arrivals(arrived)
        ledger.after_life(folder, round.service.assets)
        lost = cut.stored - set(arrived) - cut.confirmed
        round.expect(not lost, f"stored, then lost: {sorted(lost)}")
        again = cut.deleted & set(arrived)
        round.expect(not again, f"uploaded and deleted, then uploaded again: {sorted(again)}")
        values = settings(folder)
        for key, value in self.identifiers.items() if cut.has_sent else ():
            round.expect(values[key] == value, f"the identifier {key} was sent as {value} and is {values[key]}")
        for key, value in cut.settings.items() if model != "folders" else ():
            # They only rise, and one that was not acknowledged may have been written all the same.
            round.expect(values.get(key, 0) >= value, f"the setting {key} was written as {value}, is {values.get(key)}")
        round.count("events stored", len(cut.stored))
