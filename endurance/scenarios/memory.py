"""One allocation of a whole life fails: the library does not crash, and its files stay whole."""
import os
import re
import signal
import subprocess

from suite.host import names_in
from suite.scenario import HANGING, Failure, Scenario
from suite.service import running_service
from suite.stores import Ledger, upload_rest

# How the library tells that an event is lost: in its call, and where it is stored.
LOSSES = ("Memory ran out", "cannot be used: ")
# OpenSSL while it starts; and libcurl 7.88, which frees a TLS session twice that it has no memory to keep.
FOREIGN = re.compile(r"^crashed in \S*/(?:(lib(?:crypto|ssl))\.so|(libcurl)\.so\S* called by \S*/libssl\.so)", re.M)
STEPS = {"ci": 300, "hour": 50, "long": 1}


class Memory(Scenario):
    name = "memory"
    tries = "the n-th allocation fails, for n over a whole life, whoever asks for it: the library, SQLite, curl, OpenSSL"
    holds = "no crash of the library's own, nothing thrown at the host; at most the one event is lost; stores whole"

    def prepare(self, suite):
        folder = os.path.join(suite.folder, "memory-life")
        with running_service(suite, folder + "/service") as service:
            self.allocations = int(self.live(suite, service, folder + "/host", 0).stdout.split()[0])

    def rounds(self, size):
        return range(1, self.allocations + 1, STEPS[size])

    def live(self, suite, service, folder, number):
        try:
            return subprocess.run(
                [suite.program("endurance/endurance-host"), folder, str(service.port), service.ca, "allocations",
                 str(number), "e"], capture_output=True, env={**os.environ, "LUMORA_LOG": "trace"}, timeout=HANGING, text=True,
                errors="replace", check=False)
        except subprocess.TimeoutExpired:
            raise Failure("the host hangs") from None

    def play(self, round):
        folder = round.folder + "/host"
        result = self.live(round.suite, round.service, folder, round.number)
        with open(folder + ".log", "w") as log:  # For people, where files are kept.
            log.write(result.stderr)
        status = result.returncode
        name = signal.Signals(-status).name if status < 0 else status
        foreign = FOREIGN.search(result.stdout)
        if foreign:
            # Not this library's to mend; what was stored by then is safe all the same.
            round.count(f"crashes of {foreign[1] or foreign[2]}")
        else:
            round.expect(status == 0, f"the host ended with {name}: {result.stdout} {result.stderr[-400:]}")
            round.expect("thrown" not in result.stdout and "stuck" not in result.stdout, result.stdout)
        ledger = Ledger()
        ledger.after_life(folder, round.service.assets, names_in(result.stderr), unanswered(result.stderr))
        arrived = upload_rest(round, folder)
        ledger.check_arrivals(arrived)
        round.count("failed allocations")
        if foreign:
            return
        lost = {f"e-{action}" for action in range(20)} - set(arrived)
        round.expect(len(lost) <= 1, f"{len(lost)} events are lost: {sorted(lost)[:5]}")
        round.expect(not lost or any(line in result.stderr for line in LOSSES), f"lost without a line: {sorted(lost)}")
        round.count("events lost, with their line", len(lost))


def unanswered(log):
    """The names in sendings whose answer could not be taken, or whose rows could not be deleted after it, so that they are
    sent again."""
    names, sending, answered = [], [], []
    for line in log.splitlines():
        if "Reported all data successfully" in line:
            sending, answered = [], sending
        elif "Memory ran out" in line:
            names, answered = names + answered, []
        elif "  sending data " in line:
            names, sending, answered = names + sending, names_in(line), []
        else:
            sending += names_in(line)
    return names
