"""The shim sees every operation: what it counts is compared with what the system is asked."""
import collections
import os
import re
import shutil

from scenarios.failures import LIFE, read_list
from suite.host import Host
from suite.scenario import Scenario

# The calls of the system that change a disk, by the shim's letters. Queries are left out: the shim makes some itself.
CALLS = {"openat": "oC", "read": "r", "pread64": "r", "write": "w", "writev": "w", "pwrite64": "w", "pwritev": "w",
         "fsync": "s", "fdatasync": "s", "ftruncate": "t", "rename": "m", "renameat": "m", "renameat2": "m", "unlink": "u",
         "unlinkat": "u", "mkdir": "d", "mkdirat": "d", "flock": "k", "fcntl": "k", "close": "x"}
# Calls that must not touch the files at all: the shim does not know them.
FOREIGN = ["creat", "link", "linkat", "symlink", "symlinkat", "truncate", "fallocate", "copy_file_range", "sendfile", "splice",
           "io_uring_setup", "preadv", "preadv2", "pwritev2", "sync", "syncfs", "mknod", "mknodat", "openat2"]


class ShimSeesAll(Scenario):
    name = "shim"
    tries = "a whole life under strace, with its uploads, campaigns, pictures, settings and keychain"
    holds = "every operation on a file passes the shim, on which failures and power cuts are built"

    def rounds(self, size):
        if shutil.which("strace"):
            return [1]
        print("   shim: there is no strace here")
        return []

    def play(self, round):
        folder = round.folder + "/host"
        trace = round.folder + "/trace"
        os.makedirs(folder + "/app")
        shim = [f"--env=LD_PRELOAD={round.suite.program('endurance/libendurance_shim.so')}",
                f"--env=ENDURANCE_FOLDER={folder}", f"--env=ENDURANCE_LIST={round.folder}/list"]
        host = Host(round.suite, folder, round.service,
                    wrapper=["strace", "-f", "-y", "-o", trace, "-e", "trace=" + ",".join([*CALLS, *FOREIGN]), *shim])
        host.ask_all(*LIFE)
        host.quit()
        seen, unknown = collections.Counter(), set()
        with open(trace, errors="replace") as file:
            for line in file:
                call = re.match(r"\d+\s+(\w+)\((.*)", line)
                if not call or folder + "/" not in call[2].split('" "')[0] or "resumed>" in line:
                    continue
                if call[1] == "fcntl" and "LK" not in call[2]:
                    continue
                if call[1] in FOREIGN:
                    unknown.add(call[1])
                seen[CALLS.get(call[1], "?")[0]] += 1
        round.expect(not unknown, f"calls that the shim does not know: {unknown}")
        letters = read_list(round.folder + "/list").replace("c", "o").replace("f", "s")
        counted = collections.Counter(letters)
        for letter in "owsmudkx":
            round.expect(seen[letter] <= counted[letter],
                         f"of {seen[letter]} operations of kind {letter} the shim saw {counted[letter]}")
        round.count("operations that change the disk", sum(counted[letter] for letter in "wstmud"))
