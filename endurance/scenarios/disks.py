"""A disk that is really full, and one that becomes read-only: the same as for single failures."""
import os
import subprocess

from suite.host import Host
from suite.scenario import Scenario
from suite.stores import Ledger, check_files, rows, waiting


def has_namespaces():
    """Whether this process may have a user namespace with mounts of its own."""
    return subprocess.run(["unshare", "--user", "--map-root-user", "--mount", "true"],
                          stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode == 0


def run_beside(host, *command, check=True):
    """A command that sees the disks which the host sees."""
    subprocess.run(["nsenter", "--preserve-credentials", "--user", "--mount", "--target", str(host.process.pid), *command],
                   check=check, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def fill(host, folder):
    run_beside(host, "sh", "-c", f'cat /dev/zero > "{folder}/filler"', check=False)


def free(host, folder):
    run_beside(host, "rm", folder + "/filler")


def protect(host, folder):
    """By another mount on top: no disk becomes read-only while a file is open for writing."""
    run_beside(host, "sh", "-c", f'mount --bind "{folder}" "{folder}" && mount -o remount,bind,ro "{folder}"')


def release(host, folder):
    run_beside(host, "umount", "--lazy", folder)


# What becomes of the disk, and how it is mended.
TROUBLES = [("full", fill, free), ("read-only", protect, release)]


class Disks(Scenario):
    name = "disks"
    tries = "a small disk that is really full for a while, and a disk that becomes read-only and writable again"
    holds = ("no crash; what was stored stays and arrives; what could not be stored is told by a line; nothing is "
             "taken for damaged; then all works again")
    sizes = {"ci": 4, "hour": 20, "long": 60}
    workers = 1

    def rounds(self, size):
        if has_namespaces():
            return super().rounds(size)
        print("   disks: there are no user namespaces here, so nothing is mounted and nothing is tried")
        return []

    def play(self, round):
        folder = round.folder + "/host"
        os.makedirs(folder)
        host = Host(round.suite, folder, round.service, wrapper=[
            "unshare", "--user", "--map-root-user", "--mount", "--propagation", "private", "sh", "-c",
            f'mount -t tmpfs -o size=400k none "{folder}" && exec "$@"', "host"])
        host.ask("model-name")
        # The same folder as the host sees it.
        view = f"/proc/{host.process.pid}/root{folder}"
        trouble, spoil, mend = TROUBLES[round.number % len(TROUBLES)]
        round.service.configure(campaigns=round.random.sample(round.service.example["campaigns"], 3))
        host.ask_all("init acme s3cret", "drain", "network offline")
        before = [f"e-{number}" for number in range(round.random.randint(0, 5))]
        host.ask_all(*(f"action {name}" for name in before), "drain")
        round.expect(set(before) <= set(waiting(view)), "an event is not stored on a good disk")
        if trouble == "read-only":  # After an upload no file is open: what is open for writing stays so.
            host.ask_all("network online", "report-all", "drain", "network offline")
        spoil(host, folder)
        during = [f"e-bad-{number}" for number in range(3)]
        host.ask_all(*(f"action {name}" for name in during), "drain")
        host.ask("set-setting s 1", may_fail=True)
        mend(host, folder)
        host.ask_all("action e-after", "drain", "network online", "report-all", "drain", "set-setting s 2")
        round.expect(not rows(view), "rows are left")
        check_files(view)
        round.expect(host.ask("setting s") == 2, "a setting is lost")
        host.quit(statuses=(0, 1))
        arrived = round.service.arrived()
        Ledger().check_arrivals(arrived, {*before, "e-after"})
        lost = set(during) - set(arrived)
        round.expect(not lost or "cannot be used" in host.log_text(), f"lost without a line: {lost}")
        round.count(f"rounds on a {trouble} disk")
        round.count("events lost, with their line", len(lost))
