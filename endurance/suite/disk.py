"""A disk as it may be after a power cut: the shim's journal, played up to some operation."""
import os
import struct

# As endurance/shim/Shim.h has it.
ENTRY = struct.Struct("=QQIIIc3x")
SECTOR = 512
# What the processes that have the database open share; whoever opens it first makes it anew.
SHARED_MEMORY = "-shm"
LINE = "-"
MODELS = {
    "lost": "every write that was not synced is lost",
    "prefix": "of the writes that were not synced only the first ones are kept",
    "sectors": "of the writes that were not synced any 512-byte sectors are kept",
    "folders": "so are changes of a folder until it is synced",
}


class Operation:
    def __init__(self, kind, number, file, offset, path, data):
        self.kind, self.number, self.file, self.offset, self.path, self.data = kind, number, file, offset, path, data


def read_journal(path):
    with open(path, "rb") as file:
        content = file.read()
    operations = []
    place = 0
    while place < len(content):
        file, offset, number, path_length, data_length, kind = ENTRY.unpack_from(content, place)
        place += ENTRY.size
        path_text = content[place:place + path_length].decode()
        place += path_length
        operations.append(Operation(kind.decode(), number, file, offset, path_text, content[place:place + data_length]))
        place += data_length
    return operations


class File:
    """What is safe of a file, and what was done to it since: writes (offset, bytes) and sizes (size, None)."""

    def __init__(self):
        self.safe = bytearray()
        self.changes = []

    def after(self, changes):
        content = bytearray(self.safe)
        for offset, data in changes:
            if data is None:
                del content[offset:]
                content.extend(bytes(offset - len(content)))
            else:
                content.extend(bytes(max(0, offset - len(content))))
                content[offset:offset + len(data)] = data
        return content


class Disk:
    """Folders are sets of names; a file lives as long as something names it. Some folders were there before."""

    def __init__(self, root, folders):
        self.root = root
        self.names = {os.path.join(root, folder): None for folder in folders}
        self.safe_names = dict(self.names)
        self.by_number = {}
        self.clock = 0

    def play(self, operation):
        kind, path = operation.kind, operation.path
        if kind in "wts" or (kind == "c"):
            self.play_on_file(operation)
        elif kind == "f":
            safe = {name: file for name, file in self.safe_names.items() if os.path.dirname(name) != path}
            now = {name: file for name, file in self.names.items() if os.path.dirname(name) == path}
            self.safe_names = safe | now
        elif kind == "m":
            old, new = path.split("\0")
            self.names[new] = self.names.pop(old)
        elif kind == "l":
            old, new = path.split("\0")
            self.names[new] = self.names[old]
        elif kind in "ue":
            del self.names[path]
        elif kind == "d":
            self.names[path] = None

    def play_on_file(self, operation):
        if operation.kind == "c":
            self.names[operation.path] = self.by_number[operation.file] = File()
            return
        file = self.by_number[operation.file]
        if operation.kind == "s":
            file.safe = file.after([change for _, change in file.changes])
            file.changes = []
        else:
            self.clock += 1
            data = operation.data if operation.kind == "w" else None
            file.changes.append((self.clock, (operation.offset, data)))

    def kept(self, file, model, random, limit):
        """The changes of a file that a model keeps."""
        if model == "prefix":
            return [change for time, change in file.changes if time <= limit]
        if model != "sectors":
            return []
        changes = []
        for _, (offset, data) in file.changes:
            if data is None:
                changes += [(offset, None)] if random.random() < 0.5 else []
                continue
            place = 0
            while place < len(data):
                size = min(SECTOR - (offset + place) % SECTOR, len(data) - place)
                if random.random() < 0.5:
                    changes.append((offset + place, data[place:place + size]))
                place += size
        return changes

    def lay(self, target, model, random):
        """Lays the disk's files, as a power cut leaves them, into a folder."""
        names = self.safe_names if model == "folders" else self.names
        times = sorted(time for file in self.by_number.values() for time, _ in file.changes)
        limit = random.choice([0] + times)
        os.makedirs(target)
        # Shorter paths first: a file in a folder that is lost is lost with it.
        for name in sorted(names):
            if name.endswith(SHARED_MEMORY):
                continue
            path = target + name[len(self.root):]
            if not os.path.isdir(os.path.dirname(path)):
                continue
            file = names[name]
            if file is None:
                os.mkdir(path, 0o700)
                continue
            with open(path, "wb") as output:
                output.write(file.after(self.kept(file, model, random, limit)))
            os.chmod(path, 0o600)
