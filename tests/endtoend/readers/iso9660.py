"""Reader of ISO 9660 (ECMA-119) images with their Joliet tree: strict about tables, order and reach.

What xorriso judges as well, such as the letters of identifiers, is left to it.
"""

import struct
from collections import namedtuple
from dataclasses import dataclass, field
from functools import cached_property
from itertools import chain

from .window import FormatError, Window

SECTOR = 2048
FIRST_DESCRIPTOR, MAX_DESCRIPTORS = 16, 64
PRIMARY, SUPPLEMENTARY, TERMINATOR = 1, 2, 255
JOLIET_ESCAPES = (b"%/@", b"%/C", b"%/E")
FOLDER, ASSOCIATED = 0x02, 0x04
APPLE_FIELD = b"AA\x0e\2"       # mark, length and version of Apple's extension of a file
# No extended attributes, neither file units nor gaps, and the first volume of the set.
_FIXED = bytes(3) + b"\1\0\0\1"

AppleInfo = namedtuple("AppleInfo", "type creator finder_flags")


def _sectors(size):
    return -(-size // SECTOR)


class Descriptor:
    """A primary or supplementary volume descriptor."""

    def __init__(self, raw, image):
        self.tree = "joliet" if raw[0] == SUPPLEMENTARY and raw[88:91] in JOLIET_ESCAPES else "iso"
        self.codec, self.pad = (("utf-16-be", b"\0") if self.tree == "joliet" else
                                ("latin-1", b" "))
        self.volume_id = raw[40:72].decode(self.codec).rstrip(" \0")
        self.space, sets, sequence, block, self.path_table_size = (
            image.both_endian(raw[at:at + size], f"{self.tree} descriptor, number at {at}")
            for at, size in ((80, 8), (120, 4), (124, 4), (128, 4), (132, 8)))
        self.tables_l, self.tables_m = (struct.unpack_from(order + "II", raw, at)
                                        for order, at in (("<", 140), (">", 148)))
        if (sets, sequence, block, raw[881], raw[156]) != (1, 1, SECTOR, 1, 34):
            image.problems.append(f"{self.tree} descriptor: fields of fixed contents have others")
        self.root = image.record(raw[156:190], self, None)


@dataclass
class Record:
    """A file or folder: its directory record as it stands on the disc."""

    path: tuple
    parent: object          # Record; None for the root
    window: Window
    extent: int             # first logical block
    size: int
    date: bytes             # 7 bytes: year since 1900 ... second, offset in quarter hours
    flags: int
    identifier: bytes
    system_use: bytes
    fixed: bytes            # extended attributes, file unit, gap, volume: as of one plain extent
    records: list = field(default_factory=list)     # of a folder, without "." and ".."

    is_folder = property(lambda self: bool(self.flags & FOLDER))
    span = property(lambda self: (self.extent, self.extent + _sectors(self.size)))

    @property
    def apple(self):
        """Type and creator, where the disc tells them; else None."""
        use = self.system_use
        if len(use) < 14 or use[:2] != APPLE_FIELD[:2]:
            return None
        return AppleInfo(use[4:8], use[8:12], int.from_bytes(use[12:14], "big"))

    def read(self):
        """The bytes of the file."""
        return self.window.read(self.extent * SECTOR, self.size)


class IsoImage:
    """The ISO 9660 volume at the start of `buffer`."""

    def __init__(self, buffer):
        self.window = Window(buffer)
        self.problems, self.order = [], []
        self.descriptors = {}       # 'iso', 'joliet'
        self.end = 0                # of the descriptors, in sectors
        for sector in range(FIRST_DESCRIPTOR, FIRST_DESCRIPTOR + MAX_DESCRIPTORS):
            raw = self.window.read(sector * SECTOR, SECTOR)
            if raw[1:6] != b"CD001":
                raise FormatError(f"descriptor at sector {sector}: no 'CD001'")
            if raw[0] == TERMINATOR:
                self.end = sector + 1
                break
            if raw[0] in (PRIMARY, SUPPLEMENTARY):
                found = Descriptor(raw, self)
                if self.descriptors.setdefault(found.tree, found) is not found:
                    self.problems.append(f"descriptor at sector {sector}: a second of its kind")
        if not self.end or "iso" not in self.descriptors:
            raise FormatError("no primary volume descriptor, or no end of the descriptors")

    def both_endian(self, raw, label):
        """The number that stands little-endian, then big-endian in `raw`."""
        half = len(raw) // 2
        little, big = int.from_bytes(raw[:half], "little"), int.from_bytes(raw[half:], "big")
        if little != big:
            self.problems.append(f"{label}: {little} little-endian, {big} big-endian")
        return little

    def record(self, raw, descriptor, parent):
        """The directory record at the start of `raw`, whose first byte is its length."""
        length = raw[0]
        if not 34 <= length <= len(raw) or length % 2 or 33 + raw[32] > length:
            raise FormatError(f"{descriptor.tree}: directory record of {length} bytes")
        end = 33 + raw[32]
        name = raw[33:end].decode(descriptor.codec, "replace")
        path = parent.path + (name,) if parent else ()
        label = f"{descriptor.tree} {path}"
        return Record(path, parent, self.window, self.both_endian(raw[2:10], f"{label}, extent"),
                      self.both_endian(raw[10:18], f"{label}, length"), raw[18:25], raw[25],
                      raw[33:end], raw[end + 1 - raw[32] % 2:length], raw[1:2] + raw[26:32])

    @cached_property
    def folders(self):
        """{tree: its folders, level by level}; faults are in `problems`."""
        return {tree: self._folders(descriptor) for tree, descriptor in self.descriptors.items()}

    def _folders(self, descriptor):
        folders, seen = [descriptor.root], set()
        for folder in folders:
            if folder.extent in seen:
                self.problems.append(f"{descriptor.tree} {folder.path}: its blocks are those of "
                                     "another directory")
                continue
            seen.add(folder.extent)
            self._read_folder(descriptor, folder)
            folders += [record for record in folder.records if record.is_folder]
        return folders

    def _read_folder(self, descriptor, folder):
        label = f"{descriptor.tree} {folder.path}"
        if folder.size == 0 or folder.size % SECTOR:
            self.problems.append(f"{label}: directory of {folder.size} bytes")
        data = self.window.read(folder.extent * SECTOR, folder.size)
        for start in range(0, len(data), SECTOR):
            sector, at = data[start:start + SECTOR], 0
            while at < len(sector) and sector[at]:
                folder.records.append(self.record(sector[at:], descriptor, folder))
                at += sector[at]
            if any(sector[at:]):
                self.problems.append(f"{label}: bytes after the last record of a sector")
        wanted = [(bytes([index]), of.extent, of.size)
                  for index, of in enumerate((folder, folder.parent or folder))]
        if wanted != [(dots.identifier, dots.extent, dots.size) for dots in folder.records[:2]]:
            self.problems.append(f"{label}: its first records are not '.' and '..'")
        del folder.records[:2]

    def walk(self, tree="iso"):
        """Every file and folder of 'iso' or 'joliet', folders before their contents."""
        return chain.from_iterable(folder.records for folder in self.folders[tree])

    def check(self):
        """Every fault as a list of sentences; what stands in another order is in `order`."""
        try:
            for tree, descriptor in self.descriptors.items():
                for folder in self.folders[tree]:
                    self._check_records(descriptor, folder)
                self._check_tables(descriptor)
            self._check_extents()
        except FormatError as error:
            self.problems.append(str(error))
        return self.problems

    def _check_records(self, descriptor, folder):
        taken, previous = set(), None
        for record, following in zip(folder.records, folder.records[1:] + [folder]):
            label, use = f"{descriptor.tree} {record.path}", record.system_use
            if record.fixed != _FIXED or record.flags & ~(1 | FOLDER | ASSOCIATED):
                self.problems.append(f"{label}: it is not one plain extent, {record.flags:#x}")
            if use[:2] == b"AA" and (use[:4] != APPLE_FIELD or not record.apple
                                     or record.is_folder):
                self.problems.append(f"{label}: Apple extension {use[:4].hex()}")
            if record.flags & ASSOCIATED and (following.identifier != record.identifier
                                              or following.flags & ASSOCIATED):
                self.problems.append(f"{label}: associated file without its file behind it")
            key = _sort_key(record.identifier, descriptor.pad) + (not record.flags & ASSOCIATED,)
            if key in taken:
                self.problems.append(f"{label}: twice in the directory")
            taken.add(key)
            if previous is not None and key < previous:
                self.order.append(f"{label}: out of order")
            previous = key

    def _check_tables(self, descriptor):
        tables = [self._path_rows(block, mark, descriptor)
                  for mark, blocks in (("<", descriptor.tables_l), (">", descriptor.tables_m))
                  for block in blocks if block]
        if not descriptor.tables_l[0] or not descriptor.tables_m[0] or \
                any(table != tables[0] for table in tables):
            self.problems.append(f"{descriptor.tree}: a path table is not there, or they differ "
                                 "from each other")
        for rows in tables[:1]:
            self._compare_tree(descriptor.tree, rows)
            self._table_order(descriptor, rows)

    def _path_rows(self, block, mark, descriptor):
        """(identifier, block, parent number) of each row."""
        raw, rows, at = self.window.read(block * SECTOR, descriptor.path_table_size), [], 0
        while at < len(raw):
            end = at + 8 + raw[at]
            if end > len(raw) or not raw[at]:
                raise FormatError(f"{descriptor.tree} path table: a row does not fit its size")
            rows.append((raw[at + 8:end], *struct.unpack_from(mark + "IH", raw, at + 2)))
            at = end + raw[at] % 2
        return rows

    def _compare_tree(self, tree, rows):
        """Each folder has one row, whose parent is the row of its parent."""
        by_block = {block: number for number, (_, block, _) in enumerate(rows, 1)}
        wanted = [(folder.identifier, folder.extent,
                   by_block.get((folder.parent or folder).extent)) for folder in self.folders[tree]]
        for row in set(wanted) ^ set(rows):
            self.problems.append(f"{tree} path table: no right row for {row}")
        if len(rows) != len(wanted):
            self.problems.append(f"{tree} path table: {len(rows)} rows, {len(wanted)} directories")

    def _table_order(self, descriptor, rows):
        """ECMA-119, 9.4: by level, then by number of the parent, then by identifier."""
        depth, before = {}, ()
        for number, (identifier, _, parent) in enumerate(rows, 1):
            depth[number] = depth.get(parent, 0) + 1
            key = (depth[number], parent, identifier.ljust(256, descriptor.pad))
            if key < before:
                self.order.append(f"{descriptor.tree} path table: {identifier!r} is out of order")
            before = key

    def _check_extents(self):
        """All that lies on the disc is inside the volume and apart, or exactly shared by files."""
        own, files = [((0, self.end), "the volume descriptors")], {}
        for tree, descriptor in self.descriptors.items():
            if descriptor.space * SECTOR > self.window.length:
                self.problems.append(f"{tree}: {descriptor.space} blocks, more than the file has")
            own += [((block, block + _sectors(descriptor.path_table_size)), f"{tree} path table")
                    for block in filter(None, descriptor.tables_l + descriptor.tables_m)]
            own += [(folder.span, f"{tree} {folder.path}") for folder in self.folders[tree]]
            for record in filter(lambda record: record.size, self.walk(tree)):
                if record.span[1] > descriptor.space:
                    self.problems.append(f"{tree} {record.path}: blocks {record.span} are outside "
                                         f"the volume of {descriptor.space}")
                if not record.is_folder:
                    files.setdefault(record.span, f"{tree} {record.path}")
        reach, owner = 0, None
        for span, name in sorted(chain(own, files.items())):
            if span[0] < reach:
                self.problems.append(f"{name}: block {span[0]} belongs to {owner} too")
            if span[1] > reach:
                reach, owner = span[1], name


def _cut(raw, mark):
    """What is before and behind a mark, which begins at a whole character."""
    at = raw.find(mark)
    while at % len(mark) and at >= 0:
        at = raw.find(mark, at + 1)
    return (raw, b"") if at < 0 else (raw[:at], raw[at + len(mark):])


def _sort_key(identifier, pad):
    """ECMA-119, 9.3: name, then extension; there is one version of each."""
    dot, semicolon = (b"\0.", b"\0;") if pad == b"\0" else (b".", b";")
    name, extension = _cut(_cut(identifier, semicolon)[0], dot)
    return name.ljust(256, pad), extension.ljust(256, pad)
