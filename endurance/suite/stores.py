"""What a host's files hold, read without changing them."""
import filecmp
import json
import os
import shutil
import sqlite3
import tempfile

from suite.host import Host, names_in
from suite.scenario import Failure

DATABASE = "app/Documents/ostrelab.sqlite"
INSTALL_ID = "kOstrelAppIDDefaultsKey"
TEMPORARY = ".lumora-tmp-"


def rows(folder):
    """The events that the database holds, by their row ids. What a dead process left in the middle of is undone in a
    copy, so that it is still the library's to undo."""
    path = os.path.join(folder, DATABASE)
    if not os.path.exists(path):
        return {}
    with tempfile.TemporaryDirectory(dir=os.path.dirname(folder)) as scratch:
        for name in os.listdir(os.path.dirname(path)):
            if name in ("ostrelab.sqlite", "ostrelab.sqlite-journal", "ostrelab.sqlite-wal"):
                shutil.copy(os.path.join(os.path.dirname(path), name), scratch)
        connection = sqlite3.connect(os.path.join(scratch, "ostrelab.sqlite"))
        try:
            verdict = connection.execute("PRAGMA integrity_check").fetchone()[0]
            if verdict != "ok":
                raise Failure(f"integrity_check: {verdict}")
            if not connection.execute("SELECT 1 FROM sqlite_master WHERE name = 'ostrel_events'").fetchone():
                return {}
            return dict(connection.execute("SELECT _id, event FROM ostrel_events"))
        except sqlite3.DatabaseError as error:
            raise Failure(f"the database: {error}") from None
        finally:
            connection.close()


def waiting(folder):
    """The names of the stored events."""
    return names_in("\n".join(rows(folder).values()))


def upload_rest(round, folder, *commands, options=()):
    """One more life with these files, which sends whatever waits. Gives the names of all events that have arrived."""
    host = Host(round.suite, folder, round.service, options)
    host.ask_all("init acme s3cret", "drain", *commands, "report-all", "drain")
    host.quit()
    round.expect(not rows(folder), "rows stay after the last upload")
    return round.service.arrived()


def store(folder, name):
    """The values of the settings ("app/settings.json") or the items of the keychain ("keychain")."""
    path = os.path.join(folder, name)
    if not os.path.exists(path):
        return {}
    with open(path) as file:
        text = file.read()
    try:
        content = json.loads(text)
    except ValueError as error:
        raise Failure(f"{name} does not parse: {error}: {text[:200]!r}") from None
    return content["values"] if "values" in content else content["items"]


def settings(folder):
    return store(folder, "app/settings.json")


def check_pictures(folder, assets):
    """Every picture in the cache is whole."""
    caches = os.path.join(folder, "app/Caches")
    for name in os.listdir(caches) if os.path.isdir(caches) else ():
        if name.startswith(TEMPORARY):
            continue
        original = os.path.join(assets, name.split("_", 1)[1])
        if not filecmp.cmp(os.path.join(caches, name), original, shallow=False):
            raise Failure(f"half a picture: {name}, {os.path.getsize(os.path.join(caches, name))} bytes")


def temporary(names):
    return [name for name in names if name.startswith(TEMPORARY)]


def check_files(folder):
    """Nothing was taken for damaged, and no temporary file has come to stay."""
    for base, _, names in os.walk(folder):
        left = temporary(names)
        # Whoever replaces a file removes what was left before; two threads fetch pictures.
        if len(left) > (2 if os.path.basename(base) == "Caches" else 1):
            raise Failure(f"temporary files heap up in {base}: {left}")
        aside = [name for name in names if ".corrupt-" in name]
        if aside:
            raise Failure(f"taken for damaged: {aside}")


class Ledger:
    """What is known of the events of one application, over several lives: what was stored must arrive, and twice only
    where a life ended between the answer and the deletion."""

    def __init__(self):
        self.stored = set()
        self.chances = {}
        self.identifiers = {}

    def after_life(self, folder, assets, sent=(), allowed=()):
        """What the files hold after a life that ended hard; `sent` are the events whose sending it had begun.
        `allowed`: those that may come twice for another reason. Gives the stored ones."""
        names = waiting(folder)
        if len(names) != len(set(names)):
            raise Failure("an event is stored twice")
        for name in set(names) & set(sent):
            self.chances[name] = self.chances.get(name, 0) + 1
        for name in allowed:
            self.chances[name] = self.chances.get(name, 0) + 1
        self.stored.update(names)
        check_pictures(folder, assets)
        check_files(folder)
        self.check_identifiers(folder)
        return names

    def check_identifiers(self, folder):
        found = {key: value for key, value in settings(folder).items() if key.startswith(INSTALL_ID)}
        for item in store(folder, "keychain"):
            found["keychain " + item["account"]] = item["value"]
        for key, value in self.identifiers.items():
            if found.get(key) != value:
                raise Failure(f"the identifier {key} was {value} and is {found.get(key)}")
        self.identifiers.update(found)

    def check_arrivals(self, arrived, certain=()):
        """`arrived` are the names that the service has; `certain` those that were stored for certain besides."""
        counts = {}
        for name in arrived:
            counts[name] = counts.get(name, 0) + 1
        lost = sorted((self.stored | set(certain)) - set(counts))
        if lost:
            raise Failure(f"{len(lost)} stored events never arrived: {lost[:5]}")
        twice = {name: count for name, count in counts.items() if count > 1 + self.chances.get(name, 0)}
        if twice:
            raise Failure(f"{len(twice)} events arrived more than once: {dict(list(twice.items())[:5])}")
