"""Several processes of one application share its files: each event once, one identifier, no lost setting."""
import collections
import threading
import time

from suite.host import Host
from suite.scenario import Scenario
from suite.stores import INSTALL_ID, check_files, check_pictures, settings, store, upload_rest


class Processes(Scenario):
    name = "processes"
    tries = ("two and eight processes at a time on one application's files, which start, record, upload, write settings "
             "and end as they like")
    holds = "each event arrives once; every process knows the same identifiers; no setting is lost"
    sizes = {"ci": 2, "hour": 2, "long": 2}
    workers = 1
    seconds = {"ci": 5, "hour": 60, "long": 300}

    def rounds(self, size):
        self.length = self.seconds[size]
        return [2, 8]

    def play(self, round):
        folder = round.folder + "/host"
        end = time.monotonic() + self.length
        identifiers, called, failures, written = set(), [], [], {}

        def live(process):
            """One life after the other until the time is over."""
            life = 0
            try:
                while time.monotonic() < end and not failures:
                    life += 1
                    identifiers.add(self.live(round, folder, process, life, called, written))
            except Exception as error:
                failures.append(error)

        threads = [threading.Thread(target=live, args=(process,)) for process in range(round.number)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        if failures:
            raise failures[0]
        counts = collections.Counter(upload_rest(round, folder))
        lost = sorted(set(called) - set(counts))
        round.expect(not lost, f"{len(lost)} events are lost: {lost[:5]}")
        twice = [name for name, count in counts.items() if count > 1]
        round.expect(not twice, f"{len(twice)} events arrived more than once: {twice[:5]}")
        round.expect(len(identifiers) == 1, f"processes have different identifiers: {identifiers}")
        sent = {value for request in round.service.requests() for name, value in request["headers"]
                if name == "uuid"}
        kept = settings(folder)[INSTALL_ID]
        round.expect(sent == {kept}, f"sent as identifiers: {sent}; kept: {kept}")
        round.expect(len(store(folder, "keychain")) == 1, "the keychain has several identifiers")
        check_files(folder)
        check_pictures(folder, round.service.assets)
        values = settings(folder)
        lost = [key for key, allowed in written.items() if values.get(key) not in allowed]
        round.expect(not lost, f"{len(lost)} settings are lost: {lost[:5]}")
        round.count("events", len(called))
        round.count("lives of processes", len({name.rsplit("-", 1)[0] for name in called}))

    def live(self, round, folder, process, life, called, written):
        """Adds the events to those that were called, and to what was written what each setting may be; gives the
        identifier."""
        host = Host(round.suite, folder, round.service)
        host.ask("init acme s3cret")
        for number in range(20):
            name, key = f"e-{process}-{life}-{number}", f"s-{process}-{number}"
            host.ask(f"action {name}")
            called.append(name)
            # One that another process keeps from the file for too long stays pending, and may be written later.
            is_written = host.succeeds(f"set-setting {key} '\"{name}\"'")
            written[key] = {name} | (set() if is_written else written.get(key, {None}))
            if number % 5 == 4:
                host.ask_all("advance 6", "report-all")
        identifier = host.ask("device-id")
        host.ask("drain")
        host.quit(statuses=(0, 1))  # 1: a command has failed.
        return identifier
