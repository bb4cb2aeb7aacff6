"""Every operation on the disk fails once, or with all that follow it; the host lives on and loses one event at most."""
import os

from suite.host import Host, shim_environment
from suite.scenario import Scenario
from suite.service import running_service
from suite.stores import Ledger, upload_rest

STEPS = {"ci": 20, "hour": 3, "long": 1}
# For each kind of failure the operations that it makes sense for.
SPACE = "cwstmld"
MODES = ["ENOSPC", "EIO", "SHORT", "ENOSPC:all", "EIO:all"]
LIFE = ["init acme s3cret", "drain", "action e-1", "drain", "action e-2", "action e-3", "set-setting s 1", "drain",
        "advance 6", "action e-4", "drain", "action e-5", "background", "drain", "foreground", "drain",
        "register-push 0a0b", "drain", "action e-6", "drain", "report-all", "drain", "action e-7", "drain"]
# How the library tells that an event could not be stored.
LOSSES = ("cannot be used", "changes lost", "cannot be deleted")


def is_for(mode, kind):
    if mode == "SHORT":
        return kind == "w"
    return not mode.startswith("ENOSPC") or kind in SPACE


class Failures(Scenario):
    name = "failures"
    tries = ("every operation on a file fails once, of a whole life with its uploads, campaigns and pictures: no space "
             "left, an error of the device, half of a write; and the same with all operations after it failing too")
    holds = ("no crash; at most the one event is lost, with a line in the log; with the next start everything works; "
             "nothing is taken for damaged")
    workers = 8  # A host whose locks fail waits a lot.

    def prepare(self, suite):
        folder = os.path.join(suite.folder, "failures-life")
        with running_service(suite, folder + "/service") as service:
            self.letters, self.first, _ = self.live(suite, folder + "/host", service)

    def rounds(self, size):
        """Ten numbers for each operation, of which each mode has one."""
        numbers = range(self.first, len(self.letters) + 1)
        every = [number * 10 + index for number in numbers for index, mode in enumerate(MODES)
                 if is_for(mode, self.letters[number - 1])]
        return every[::STEPS[size]]

    def live(self, suite, folder, service, **settings):
        """One life; gives the operations' letters, the number of the first one that is the library's, not the terminal
        host's own, and what there is to know: for each action how many there were when it was stored, what was sent, the
        log."""
        path = folder + ".list"
        os.makedirs(folder + "/app")  # Without it the host itself would not start.
        host = Host(suite, folder, service, environment=shim_environment(suite, folder, list=path, **settings))
        host.next_line()
        first = len(read_list(path)) + 1
        stored, called = {}, []
        for command in LIFE:
            host.ask(command, may_fail=command.startswith("set-setting"))
            if command.startswith("action"):
                called.append(command.split()[1])
            elif command == "drain":
                count = len(read_list(path))
                stored.update((name, count) for name in called)
                called = []
        host.quit(statuses=(0, 1))  # 1: a command has failed.
        return read_list(path), first, (stored, host.sent(), host.log_text())

    def play(self, round):
        number, mode = divmod(round.number, 10)
        mode = MODES[mode]
        folder = round.folder + "/host"
        _, _, (stored, sent, log) = self.live(round.suite, folder, round.service, fail=f"{number}:{mode}")
        ledger = Ledger()
        ledger.after_life(folder, round.service.assets, sent)
        arrived = upload_rest(round, folder, "action e-8", "drain")
        safe = {name for name, count in stored.items() if count < number} | {"e-8"}
        ledger.check_arrivals(arrived, safe)
        lost = set(stored) - set(arrived)
        if mode.endswith(":all"):
            round.count("operations that failed with all after them")
        else:
            round.expect(len(lost) <= 1, f"more than one event is lost: {sorted(lost)}")
            round.count("operations that failed once")
        round.expect(not lost or any(loss in log for loss in LOSSES), f"lost without a line: {sorted(lost)}")
        round.count("events lost, with their line", len(lost))


def read_list(path):
    """The letters of the operations so far."""
    with open(path, "rb") as file:
        count = int.from_bytes(file.read(8), "little")
        return file.read(count).decode()
