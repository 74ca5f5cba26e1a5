"""What HFS and HFS Plus volumes have in common: a catalog of items, threads and forks."""

import struct
from collections import Counter, namedtuple
from dataclasses import dataclass
from functools import cached_property
from itertools import takewhile

from .blocks import BlockMap
from .extents import DATA_FORK, Fork, Overflow
from .window import FormatError

ROOT_PARENT, ROOT, EXTENTS_FILE, CATALOG_FILE, BAD_BLOCK_FILE = 1, 2, 3, 4, 5
FIRST_USER_ID = 16
FOLDER_RECORD, FILE_RECORD, FOLDER_THREAD, FILE_THREAD = 1, 2, 3, 4
_THREAD_EXISTS = 0x0002
# Of the words of the Finder's information on a volume, those that name folders.
_FINDER_FOLDERS = (0, 1, 2, 3, 5)


@dataclass
class Entry:
    """A file or folder of the catalog. Dates are seconds since 1904."""

    is_folder: bool
    parent: int
    name: str
    cnid: int
    flags: int
    type: bytes
    creator: bytes
    finder_flags: int
    modified: int
    record: bytes
    raw_name: bytes = b""       # HFS: the name in MacRoman
    valence: int = 0
    data: Fork = None
    rsrc: Fork = None
    path: tuple = ()

    @property
    def label(self):
        """Its name in messages."""
        return f"{'folder' if self.is_folder else 'file'} {self.cnid} {self.name!r}"

    def forks(self):
        """(label, Fork) of a file's forks."""
        if not self.is_folder:
            yield f"{self.label}, data fork", self.data
            yield f"{self.label}, resource fork", self.rsrc


# A thread record: the item of number `cnid` is called `name` in the folder `parent`.
Thread = namedtuple("Thread", "kind cnid has_key_name parent name reserved")


class Volume:
    """A volume; what each format has of its own is in the classes below it.

    `items` gives an Entry or a Thread for each record of the catalog, `system` (label, Fork) of the
    files that the header describes, `own_faults` what only the format itself forbids.
    """

    def __init__(self, window):
        self.window = window
        self.faults = []        # found while records were read

    @cached_property
    def _records(self):
        return list(self.items())

    @property
    def entries(self):
        """Every file and folder of the catalog, the root too."""
        return [item for item in self._records if isinstance(item, Entry)]

    @property
    def threads(self):
        """Every thread."""
        return [item for item in self._records if isinstance(item, Thread)]

    def extents(self, raw):
        """The extents of these bytes up to the first empty one."""
        found = struct.iter_unpack(self.extent_format, raw)
        return list(takewhile(lambda extent: extent[1], found))

    @cached_property
    def overflow(self):
        """The records of the extents overflow file."""
        overflow = Overflow()
        for body, data in self.extents_tree.leaves():
            cnid, fork, first = self.split_extents_key(body)
            if len(data) != self.extents_size:
                raise FormatError(f"extents overflow: record of {len(data)} bytes")
            overflow.add(cnid, fork, first, list(struct.iter_unpack(self.extent_format, data)))
        return overflow

    @staticmethod
    def has_thread(entry):
        """Every folder has one, and the files whose flags tell of it."""
        return entry.is_folder or bool(entry.flags & _THREAD_EXISTS)

    def fork(self, logical, blocks, extents, cnid, kind, label):
        """A fork with its extents of both places; `extents` are the bytes of the first ones."""
        extents = list(struct.iter_unpack(self.extent_format, extents))
        return Fork(logical, blocks, self.overflow.join(extents, cnid, kind, label, self.faults),
                    self)

    def walk(self):
        """Yields every file and folder below the root, folders before their contents."""
        children = {}
        for entry in self.entries:
            children.setdefault(entry.parent, []).append(entry)
        pending, seen = [((), ROOT)], {ROOT}
        while pending:
            path, folder = pending.pop()
            for entry in children.get(folder, []):
                entry.path = path + (entry.name,)
                yield entry
                if entry.is_folder and entry.cnid not in seen:
                    seen.add(entry.cnid)
                    pending.append((entry.path, entry.cnid))

    def orphans(self):
        """The number of blocks that are marked in the bitmap but belong to nothing."""
        return self.claimed().orphans()

    def check(self):
        """Every fault as a list of sentences; a part that cannot be read ends its own checks."""
        found = []
        for step in (self.own_faults, self._trees, self._threads, self._hierarchy, self._forks,
                     self._blocks):
            try:
                found += step()
            except FormatError as error:
                found += [str(error)] * (str(error) not in found)
        return found

    def _trees(self):
        for tree in (self.extents_tree, self.catalog_tree):
            yield from tree.check()

    def _threads(self):
        records = {entry.cnid: entry for entry in self.entries}
        for thread in self.threads:
            label, entry = f"thread of {thread.cnid}", records.get(thread.cnid)
            if thread.has_key_name or any(thread.reserved):
                yield f"{label}: its key has a name, or its reserved bytes are not zero"
            if entry is None or thread.kind != (FOLDER_THREAD if entry.is_folder else FILE_THREAD):
                yield f"{label}: no such file or folder of kind {thread.kind}"
            elif (entry.parent, entry.name) != (thread.parent, thread.name):
                yield (f"{label}: it says {thread.name!r} in {thread.parent}, the record is "
                       f"{entry.name!r} in {entry.parent}")
        threaded = {thread.cnid for thread in self.threads}
        for entry in self.entries:
            if self.has_thread(entry) != (entry.cnid in threaded):
                yield f"{entry.label}: no thread, or one that its flags do not tell of"

    def _hierarchy(self):
        for cnid, count in Counter(entry.cnid for entry in self.entries).items():
            if count > 1 or cnid < FIRST_USER_ID and cnid != ROOT:
                yield f"catalog: number {cnid} is used by {count} records, or is a reserved one"
        children = Counter(entry.parent for entry in self.entries)
        roots = [entry for entry in self.entries if entry.parent == ROOT_PARENT]
        if [(root.cnid, root.is_folder) for root in roots] != [(ROOT, True)]:
            yield "catalog: there is not exactly one root folder"
        reached = {id(entry) for entry in self.walk()} | {id(entry) for entry in roots}
        for entry in self.entries:
            if entry.is_folder and entry.valence != children[entry.cnid]:
                yield f"{entry.label}: valence {entry.valence}, {children[entry.cnid]} entries"
            if id(entry) not in reached:
                yield f"{entry.label}: not reachable from the root"

    def counts(self, told, next_number, finder):
        """Faults of a header: `told` has {field: (what it says, what is there)}."""
        for field, (says, there) in told.items():
            if says != there:
                yield f"header: {field} is {says}, there are {there}"
        highest = max((entry.cnid for entry in self.entries), default=0)
        if next_number is not None and next_number <= max(highest, FIRST_USER_ID - 1):
            yield f"header: next number {next_number}, the highest in use {highest}"
        folders = {entry.cnid for entry in self.entries if entry.is_folder} | {0}
        words = struct.unpack(">8I", finder)
        for index in _FINDER_FOLDERS:
            if words[index] not in folders:
                yield f"header: Finder information {index} names folder {words[index]}, not there"

    def _named_forks(self):
        yield from self.system
        for entry in self.entries:
            yield from entry.forks()

    def _forks(self):
        for label, fork in self._named_forks():
            yield from fork.faults(label)
        # Joining the extents of the forks has found what is wrong with their descriptors.
        yield from self.faults
        for cnid, fork in self.overflow.unused():
            if cnid != BAD_BLOCK_FILE:
                yield f"extents overflow: records for fork {fork:#x} of file {cnid}, which has none"

    def bad_blocks(self):
        """The extents of the bad block file."""
        return [extent for _, extents in self.overflow.records.get((BAD_BLOCK_FILE, DATA_FORK), [])
                for extent in extents]

    def claimed(self):
        """The bitmap with the claims of all that the volume has."""
        claims = [(*extent, label) for label, fork in self._named_forks()
                  for extent in fork.extents]
        claims += [(*extent, "bad block file") for extent in self.bad_blocks()]
        return BlockMap(self.blocks.bits, self.blocks.total, self.reserved() + claims)

    def _blocks(self):
        yield from self.claimed().problems()
