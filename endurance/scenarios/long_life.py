"""A host that lives long takes no more memory, descriptors, threads or files than a young one."""
import os
import re

from suite.host import Host
from suite.scenario import Scenario
from suite.stores import rows

# One cycle: a hundred events and one upload; some cycles have more.
CYCLES = {"ci": 200, "hour": 1000, "long": 10000}
EVENTS = 100
# What a round hundred pages of allocator and caches may come and go by.
MEMORY_TOLERANCE = 2.0


class LongLife(Scenario):
    name = "long-life"
    tries = ("one process that records a hundred events a cycle, uploads, comes to the foreground and goes, every second "
             "cycle with a new configuration, every tenth with a message shown and closed")
    holds = "after the first tenth memory, descriptors, threads and files stay what they are; each event arrives once"
    sizes = {"ci": 1, "hour": 1, "long": 1}

    def rounds(self, size):
        self.cycles = CYCLES[size]
        return [1]

    def play(self, round):
        folder = round.folder + "/host"
        host = Host(round.suite, folder, round.service, log="/dev/null")
        campaigns = [dict(campaign, display_trigger="e-show", display_frequency="session")
                     for campaign in round.service.example["campaigns"][:1]]
        round.service.configure(campaigns=campaigns, lst=1)
        host.ask_all("init acme s3cret", "drain")
        first, arrived = None, 0
        for cycle in range(1, self.cycles + 1):
            self.live(round, host, cycle, campaigns)
            arrived += self.count_arrivals(round, cycle)
            if cycle == max(self.cycles // 10, 1):
                first = self.state(host, folder)
        last = self.state(host, folder)
        host.ask_all("report-all", "drain")
        host.quit()
        round.expect(not rows(folder), "rows are left")
        round.expect(last["memory"] <= first["memory"] + MEMORY_TOLERANCE,
                     f"memory has grown from {first['memory']:.1f} to {last['memory']:.1f} MiB")
        for what in ("descriptors", "threads", "files"):
            round.expect(last[what] <= first[what], f"{what}: {first[what]}, then {last[what]}")
        shown = sum("screen" in line for line in host.lines)
        round.expect(shown >= self.cycles // 10, f"only {shown} messages were shown")
        round.count("events", arrived)
        round.count("messages", shown)
        round.count("cycles", self.cycles)
        round.figures["MiB at the first tenth"] = round_up(first["memory"])
        round.figures["MiB at the end"] = round_up(last["memory"])

    def live(self, round, host, cycle, campaigns):
        if cycle % 2 == 0:
            # Another answer, so that it is parsed and its campaigns are stored again.
            round.service.configure(campaigns=[dict(campaign, version=cycle) for campaign in campaigns], lst=cycle)
        commands = ["advance 12", "foreground"] + [f"action e-{cycle}-{number}" for number in range(EVENTS)]
        commands += ["drain", "report-all", "drain"]
        for command in commands:
            host.tell(command)
        for _ in commands:
            self.next_done(host)
        if cycle % 10 == 0:
            host.ask_all("action e-show", "drain", "tap close_button", "drain")
        host.ask_all("background", "drain")

    def next_done(self, host):
        while "done" not in (host.next_line() or {"done": None}):
            pass

    def count_arrivals(self, round, cycle):
        """Those of this cycle, which are forgotten then."""
        names = [name for name in round.service.arrived() if name != "e-show"]
        round.expect(sorted(names) == sorted(f"e-{cycle}-{number}" for number in range(EVENTS)),
                     f"in cycle {cycle} {len(names)} events arrived, {len(set(names))} of them different")
        round.service.forget_events()
        return len(names)

    def state(self, host, folder):
        process = f"/proc/{host.process.pid}"
        with open(process + "/status") as file:
            status = file.read()
        return {"memory": int(re.search(r"VmRSS:\s*(\d+)", status)[1]) / 1024,
                "threads": int(re.search(r"Threads:\s*(\d+)", status)[1]),
                "descriptors": len(os.listdir(process + "/fd")),
                "files": sum(len(names) for _, _, names in os.walk(folder))}


def round_up(number):
    return int(number) + 1
