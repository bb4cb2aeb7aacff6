"""Whatever lies where the library's files are to be: it is used or moved aside, with one line, and events go on."""
import contextlib
import fcntl
import os
import re
import shutil
import socket
import sqlite3
import struct
import subprocess
import sys
import time

from suite.host import Host
from suite.scenario import Scenario
from suite.service import running_service
from suite.stores import DATABASE

SETTINGS = "app/settings.json"
KEYCHAIN = "keychain"
OLD = [f"e-old-{number}" for number in range(5)]


def write(content):
    def damage(path, random):
        with open(path, "wb") as file:
            file.write(content(random) if callable(content) else content)
    return damage


def overwrite(place, content):
    """At a share of the file's size."""
    def damage(path, random):
        with open(path, "r+b") as file:
            file.seek(int(os.path.getsize(path) * place))
            file.write(content(random) if callable(content) else content)
    return damage


def cut(share):
    return lambda path, random: os.truncate(path, int(os.path.getsize(path) * share))


def sparse(size):
    def damage(path, random):
        os.truncate(path, 0)
        os.truncate(path, size)
    return damage


def put_folder(path, random):
    os.remove(path)
    os.mkdir(path)
    write(b"kept")(path + "/something", random)


def put_pipe(path, random):
    os.remove(path)
    os.mkfifo(path)


def put_socket(path, random):
    os.remove(path)
    socket.socket(socket.AF_UNIX).bind(path)


def link_to(target):
    def damage(path, random):
        os.remove(path)
        os.symlink(target, path)
    return damage


def move_and_link(path, random):
    os.rename(path, path + ".elsewhere")
    os.symlink(path + ".elsewhere", path)


def link_to_itself(path, random):
    link_to(os.path.basename(path))(path, random)


def hard_link(path, random):
    os.link(path, path + ".twin")


def sql(*statements):
    """On the database, with nothing of Python's own transactions."""
    def damage(path, random):
        connection = sqlite3.connect(path, isolation_level=None)
        for statement in statements:
            connection.execute(statement)
        connection.close()
    return damage


def rebuilt(*pragmas):
    """The same rows in a file of another make."""
    return sql(*pragmas, "VACUUM")


def in_utf16(path, random):
    rows = sqlite3.connect(path).execute("SELECT event FROM ostrel_events").fetchall()
    tables = [row[0] for row in sqlite3.connect(path).execute("SELECT sql FROM sqlite_master WHERE type = 'table' "
                                                              "AND name NOT LIKE 'sqlite_%'")]
    os.remove(path)
    connection = sqlite3.connect(path)
    connection.execute("PRAGMA encoding = 'UTF-16'")
    for table in tables:
        connection.execute(table)
    connection.executemany("INSERT INTO ostrel_events (event) VALUES (?)", rows)
    connection.commit()
    connection.close()


def with_left_log(path, random):
    """As a process leaves it that dies with a write-ahead log."""
    program = ("import os, sqlite3, sys; c = sqlite3.connect(sys.argv[1]); c.execute('PRAGMA journal_mode = WAL');"
               "c.execute('PRAGMA wal_autocheckpoint = 0'); c.execute(\"UPDATE ostrel_events SET event = event\");"
               "c.commit(); os._exit(0)")
    subprocess.run([sys.executable, "-c", program, path], check=True)


def many_rows(number, size=100):
    def damage(path, random):
        connection = sqlite3.connect(path)
        text = "x" * size
        connection.executemany("INSERT INTO ostrel_events (event) VALUES (?)",
                               ((f'{{"name":"e-more-{row}","text":"{text}"}}',) for row in range(number)))
        connection.commit()
        connection.close()
    return damage


def beside(suffix, damage):
    """Something that lies beside the store."""
    def put(path, random):
        write(b"")(path + suffix, random)
        damage(path + suffix, random)
    return put


def folder_is_a_file(path, random):
    folder = os.path.dirname(path)
    shutil.rmtree(folder)
    write(b"no folder")(folder, random)


def folder_is_a_link(path, random):
    folder = os.path.dirname(path)
    os.rename(folder, folder + ".elsewhere")
    os.symlink(folder + ".elsewhere", folder)


def noise(size):
    return lambda random: random.randbytes(size)


# Where, what, and what becomes of it: "used", "aside", or "either" of both. The last: whether all old events arrive.
DATABASES = [
    ("a sound one", lambda path, random: None, "used", True),
    ("missing", lambda path, random: os.remove(path), "used", False),
    ("empty", write(b""), "used", False),
    ("random bytes", write(noise(4096)), "aside", False),
    ("a megabyte of random bytes", write(noise(1 << 20)), "aside", False),
    ("a text", write(b"Dear reader,\n"), "aside", False),
    ("the header alone", cut(100 / 32768), "either", False),
    ("its first half", cut(0.5), "aside", False),
    ("its first page", cut(0.125), "either", False),
    ("another magic number", overwrite(0, b"SQLite format 4\x00"), "aside", False),
    ("a random first page", overwrite(100 / 32768, noise(3996)), "aside", False),
    ("a random page in the middle", overwrite(0.5, noise(4096)), "either", False),
    ("zeros in the middle", overwrite(0.25, bytes(4096)), "either", False),
    ("another program's", sql("DROP TABLE ostrel_events", "DROP TABLE lmro_inapp", "CREATE TABLE t (a)"), "used", False),
    ("a missing column", sql("ALTER TABLE ostrel_events RENAME COLUMN event TO text"), "aside", False),
    ("another column", sql("ALTER TABLE ostrel_events ADD COLUMN more TEXT DEFAULT 'x'"), "used", True),
    ("a view with a table's name", sql("ALTER TABLE ostrel_events RENAME TO e",
                                       "CREATE VIEW ostrel_events AS SELECT * FROM e"), "aside", False),
    ("an index with a table's name", sql("DROP TABLE ostrel_events", "CREATE TABLE t (a)",
                                         "CREATE INDEX ostrel_events ON t (a)"), "aside", False),
    ("texts in UTF-16", in_utf16, "used", True),
    ("pages of 512 bytes", rebuilt("PRAGMA page_size = 512"), "used", True),
    ("pages of 64 KiB", rebuilt("PRAGMA page_size = 65536"), "used", True),
    ("it vacuums itself", rebuilt("PRAGMA auto_vacuum = FULL"), "used", True),
    ("of another version", sql("PRAGMA user_version = 2147483647"), "used", True),
    ("with a write-ahead log", sql("PRAGMA journal_mode = WAL"), "used", True),
    ("with a write-ahead log of a dead process", with_left_log, "used", True),
    ("100,000 events", many_rows(100000), "used", True),
    ("an event of 30 MB", many_rows(1, 30000000), "used", True),
    ("a gigabyte of nothing", sparse(1 << 30), "either", False),
    ("a journal of random bytes", beside("-journal", write(noise(4096))), "used", True),
    ("a journal of zeros", beside("-journal", write(bytes(4096))), "used", True),
    ("a journal of another file", beside("-journal", write(lambda random: bytes.fromhex("d9d505f920a163d7") + struct.pack(
        ">IIIII", 1, 7, 1, 512, 4096) + bytes(484) + struct.pack(">I", 1) + bytes(4096) + bytes(4))), "either", False),
    ("a write-ahead log of random bytes", beside("-wal", write(noise(4096))), "used", True),
    ("a folder", put_folder, "aside", False),
    ("a lock file that is a folder", beside(".lock", put_folder), "used", True),
    ("a link to the file", move_and_link, "used", True),
    ("a hard link", hard_link, "used", True),
    ("its folder is a link", folder_is_a_link, "used", True),
    ("a link to nothing", link_to("nothing"), "used", False),
]
STORES = [
    ("a sound one", lambda path, random: None, "used", True),
    ("missing", lambda path, random: os.remove(path), "used", True),
    ("empty", write(b""), "aside", True),
    ("random bytes", write(noise(4096)), "aside", True),
    ("a text", write(b"Dear reader,\n"), "aside", True),
    ("its first half", cut(0.5), "aside", True),
    ("an array", write(b"[]"), "aside", True),
    ("an empty object", write(b"{}"), "either", True),
    ("another version", write(b'{"version":99,"values":{},"items":[]}'), "either", True),
    ("values of another type", write(b'{"version":1,"values":[1],"items":{"a":1}}'), "aside", True),
    ("odd values", write(b'{"version":1,"values":{"lmro.Tarrow":7,"lmro.LastReport":{"date":"x"},"lmro.Lst":[]},'
                         b'"items":[1,null,{}]}'), "either", True),
    ("deep brackets", write(b"[" * 100000), "aside", True),
    ("no UTF-8", write(b'{"version":1,"values":{"a":"\xff"},"items":["\xff"]}'), "aside", True),
    ("18 MB", write(b" " * 18000000), "aside", True),
    ("a gigabyte of nothing", sparse(1 << 30), "aside", True),
    ("a link to the file", move_and_link, "used", True),
    ("a hard link", hard_link, "used", True),
    ("a link to nothing", link_to("nothing"), "used", True),
]
# What can be neither used nor moved: one line, the host goes on, and events are stored as soon as it is gone.
OBSTACLES = [
    ("a pipe", put_pipe), ("a socket", put_socket), ("a link to itself", link_to_itself),
    ("a link to /dev/null", link_to("/dev/null")), ("a link to /dev/full", link_to("/dev/full")),
    ("its folder is a file", folder_is_a_file), ("a journal that is a folder", beside("-journal", put_folder)),
]
STORE_OBSTACLES = [("a folder", put_folder), ("a pipe", put_pipe), ("a socket", put_socket),
                   ("a link to itself", link_to_itself), ("a link to /dev/full", link_to("/dev/full"))]

CASES = ([("the database", DATABASE, *case) for case in DATABASES] +
         [("the settings", SETTINGS, *case) for case in STORES] +
         [("the keychain", KEYCHAIN, *case) for case in STORES] +
         [("the database", DATABASE, *case, "obstacle", False) for case in OBSTACLES] +
         [("the settings", SETTINGS, *case, "obstacle", True) for case in STORE_OBSTACLES] +
         [("the settings", SETTINGS, "a lock file that is a folder", beside(".lock", put_folder), "obstacle", True)] +
         [("the keychain", KEYCHAIN, *case, "obstacle", True) for case in STORE_OBSTACLES])
# A service that is given 30 MB needs its time.
EVENTS = ["timeout 60", "init acme s3cret", "drain", "action e-new", "drain", "report-all", "drain", "device-id"]


class Stores(Scenario):
    name = "stores"
    tries = ("damaged, foreign, linked and huge stores at the start: database, settings and keychain, with what may lie "
             "beside them")
    holds = "moved aside whole, or used with every event that can be read; one line; events go on"
    sizes = {"ci": len(CASES), "hour": len(CASES), "long": len(CASES)}

    def prepare(self, suite):
        """The files of an application that has events waiting, campaigns and pictures."""
        folder = os.path.join(suite.folder, "stores-template")
        self.template = folder + "/host"
        with running_service(suite, folder + "/service") as service:
            host = Host(suite, self.template, service)
            host.ask_all("init acme s3cret", "drain", "network offline", *(f"action {name}" for name in OLD), "drain")
            host.quit()

    def play(self, round):
        owner, store, name, damage, outcome, keeps_old = CASES[round.number - 1]
        folder = round.folder + "/host"
        shutil.copytree(self.template, folder)
        path = os.path.join(folder, store)
        damage(path, round.random)
        if store == KEYCHAIN:  # It is asked by an application that was installed anew.
            os.remove(os.path.join(folder, SETTINGS))
        what = f"{owner}: {name}"
        host = Host(round.suite, folder, round.service)
        host.ask_all(*EVENTS)
        if outcome == "obstacle":
            self.remove(path)
            host.ask_all("action e-later", "drain", "report-all", "drain")
        host.quit()
        moved = [file for file in os.listdir(os.path.dirname(path)) if ".corrupt-" in file]
        lines = {line for line in host.log_text().splitlines()
                 if line.startswith("LumoraSDK-") and re.search(re.escape(store) + r"(\s|:|\.|$)", line)}
        arrived = round.service.arrived()
        round.expect(len(arrived) == len(set(arrived)), f"{what}: events came twice")
        wanted = {"e-later"} if outcome == "obstacle" else {"e-new"}
        round.expect(wanted <= set(arrived), f"{what}: the new event did not arrive: {host.log_end()}")
        round.expect(not keeps_old or set(OLD) <= set(arrived), f"{what}: old events are lost: {sorted(arrived)[:9]}")
        if outcome == "aside":
            round.expect(moved, f"{what}: it was not moved aside: {sorted(lines)}")
        elif outcome == "used":
            round.expect(not moved, f"{what}: it was moved aside")
        if outcome in ("aside", "obstacle"):
            round.expect(len(lines) == 1, f"{what}: {len(lines)} lines tell of it: {sorted(lines)}")
        round.count({"obstacle": "could be neither"}.get(outcome, "moved aside" if moved else "used"))

    def remove(self, path):
        """Whatever stands in the way."""
        folder = os.path.dirname(path)
        if not os.path.isdir(folder):
            return os.remove(folder)
        for name in os.listdir(folder):
            target = os.path.join(folder, name)
            if not name.startswith(os.path.basename(path)):
                continue
            if os.path.isdir(target) and not os.path.islink(target):
                shutil.rmtree(target)
            elif not stat_is_plain(target) or name == os.path.basename(path):
                os.remove(target)


def stat_is_plain(path):
    return os.path.isfile(path) and not os.path.islink(path)


@contextlib.contextmanager
def held(path):
    """The database by a writer, a store by whoever has its lock file."""
    if path.endswith(".sqlite"):
        with contextlib.closing(sqlite3.connect(path, isolation_level=None)) as connection:
            connection.execute("BEGIN EXCLUSIVE")
            yield
    else:
        with open(path + ".lock", "ab") as file:
            fcntl.flock(file, fcntl.LOCK_EX)
            yield


class LockedStores(Scenario):
    name = "locked-stores"
    tries = "another process holds the database, the settings' lock or the keychain's, for a while or for good"
    holds = "who waits does so for a bounded time; what could not be stored is told by a line; then events go on"
    sizes = {"ci": 4, "hour": 4, "long": 4}
    workers = 4

    def play(self, round):
        store, seconds = [(DATABASE, 2), (DATABASE, 60), (SETTINGS, 60), (KEYCHAIN, 60)][round.number - 1]
        folder = round.folder + "/host"
        path = os.path.join(folder, store)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        host = Host(round.suite, folder, round.service)
        if store == DATABASE:
            host.ask_all("init acme s3cret", "drain")
        with held(path):
            if store != DATABASE:
                host.ask_all("init acme s3cret", "drain")
            host.ask("action e-1")
            if seconds < 60:
                time.sleep(seconds)
            else:
                host.ask("drain")
        host.ask_all("action e-2", "drain", "report-all", "drain")
        host.quit()
        arrived = round.service.arrived()
        wanted = ["e-2"] if (store, seconds) == (DATABASE, 60) else ["e-1", "e-2"]
        round.expect(sorted(set(arrived)) == wanted, f"{store}: {arrived} arrived")
        told = "another process holds" in host.log_text().lower()
        round.expect(told == (seconds == 60), f"{store}: lines tell of it: {told}; {host.log_end()}")
        round.count("stores held by another process")
