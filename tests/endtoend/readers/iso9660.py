"""Reader of ISO 9660 (ECMA-119) images with their Joliet tree: strict about tables, order and reach.

What isoinfo, isovfy and xorriso judge as well, such as the letters of identifiers, is left to them.
"""

import struct
from dataclasses import dataclass, field
from functools import cached_property
from itertools import chain

from .window import FormatError, Window

SECTOR = 2048
FIRST_DESCRIPTOR, MAX_DESCRIPTORS = 16, 64
PRIMARY, SUPPLEMENTARY, TERMINATOR = 1, 2, 255
JOLIET_ESCAPES = (b"%/@", b"%/C", b"%/E")
FOLDER, ASSOCIATED = 0x02, 0x04
APPLE_FIELD, APPLE_VERSION = 14, 2


def both_endian(raw, label, problems):
    """The number that stands little-endian, then big-endian in `raw`."""
    half = len(raw) // 2
    little, big = int.from_bytes(raw[:half], "little"), int.from_bytes(raw[half:], "big")
    if little != big:
        problems.append(f"{label}: {little} little-endian, {big} big-endian")
    return little


class Descriptor:
    """A primary or supplementary volume descriptor."""

    def __init__(self, raw, label, problems):
        self.raw = raw
        self.joliet = raw[0] == SUPPLEMENTARY and raw[88:91] in JOLIET_ESCAPES
        self.volume_id = raw[40:72].decode("utf-16-be" if self.joliet else "latin-1").rstrip(" \0")
        self.space, sets, sequence, block, self.path_table_size = (
            both_endian(raw[at:at + size], f"{label}, number at {at}", problems)
            for at, size in ((80, 8), (120, 4), (124, 4), (128, 4), (132, 8)))
        self.tables_l, self.tables_m = (struct.unpack_from(order + "II", raw, at)
                                        for order, at in (("<", 140), (">", 148)))
        if (sets, sequence, block) != (1, 1, SECTOR):
            problems.append(f"{label}: volume {sequence} of {sets}, blocks of {block} bytes")
        if any(raw[72:80]) or any(raw[1395:]) or raw[881] != 1 or raw[156] != 34 or \
                raw[188:190] != b"\1\0":
            problems.append(f"{label}: fields of fixed contents have others")


@dataclass
class AppleInfo:
    """What Apple's extension tells of a file."""

    type: bytes
    creator: bytes
    finder_flags: int


@dataclass
class Record:
    """A directory record as it stands on the disc."""

    extent: int             # first logical block
    size: int
    date: bytes             # 7 bytes: year since 1900 ... second, offset in quarter hours
    flags: int
    identifier: bytes
    system_use: bytes
    fixed: bytes            # extended attributes, file unit, gap, volume: as of one plain extent


def parse_record(raw, label, problems):
    """The directory record at the start of `raw`, whose first byte is its length."""
    length = raw[0]
    if length < 34 or length > len(raw) or length % 2 or 33 + raw[32] > length:
        raise FormatError(f"{label}: directory record of {length} bytes")
    end = 33 + raw[32]
    use = end + (1 - raw[32] % 2)
    if any(raw[end:use]):
        problems.append(f"{label}: padding byte after the identifier is not zero")
    return Record(both_endian(raw[2:10], f"{label}, extent", problems),
                  both_endian(raw[10:18], f"{label}, data length", problems), raw[18:25], raw[25],
                  raw[33:end], raw[use:length], raw[1:2] + raw[26:32])


@dataclass
class Directory:
    """A directory of one tree."""

    path: tuple
    record: Record
    parent: object                                  # Directory, or None for the root
    records: list = field(default_factory=list)     # without "." and ".."
    children: list = field(default_factory=list)    # Directory

    def label(self, tree):
        """Its name in messages."""
        return f"{tree} /{'/'.join(self.path)}"


@dataclass
class Entry:
    """A file or folder."""

    path: tuple
    record: Record
    window: Window

    is_folder = property(lambda self: bool(self.record.flags & FOLDER))
    extent = property(lambda self: self.record.extent)
    size = property(lambda self: self.record.size)
    flags = property(lambda self: self.record.flags)
    date = property(lambda self: self.record.date)

    @property
    def apple(self):
        """Type and creator, where the disc tells them; else None."""
        use = self.record.system_use
        if len(use) < APPLE_FIELD or use[:2] != b"AA":
            return None
        return AppleInfo(use[4:8], use[8:12], int.from_bytes(use[12:14], "big"))

    def read(self):
        """The bytes of the file."""
        return self.window.read(self.extent * SECTOR, self.size)


class IsoImage:
    """The ISO 9660 volume at the start of `buffer`."""

    def __init__(self, buffer):
        self.window = Window(buffer)
        self.problems = []
        self.descriptors = {}       # 'iso', 'joliet'
        self.end = 0                # of the descriptors, in sectors
        for sector in range(FIRST_DESCRIPTOR, FIRST_DESCRIPTOR + MAX_DESCRIPTORS):
            raw = self.window.read(sector * SECTOR, SECTOR)
            label = f"descriptor at sector {sector}"
            if raw[1:6] != b"CD001":
                raise FormatError(f"{label}: no 'CD001'")
            if raw[6] != 1 or raw[0] == TERMINATOR and any(raw[7:]):
                self.problems.append(f"{label}: version {raw[6]}, or a terminator that holds more")
            if raw[0] == TERMINATOR:
                self.end = sector + 1
                break
            if raw[0] in (PRIMARY, SUPPLEMENTARY):
                found = Descriptor(raw, label, self.problems)
                tree = "joliet" if found.joliet else "iso"
                if tree in self.descriptors:
                    self.problems.append(f"{label}: a second one of its kind")
                self.descriptors.setdefault(tree, found)
        if not self.end or "iso" not in self.descriptors:
            raise FormatError("no primary volume descriptor, or no end of the descriptors")

    def root_record(self, tree):
        """The root's directory record in the descriptor."""
        return parse_record(self.descriptors[tree].raw[156:190], f"{tree} root", [])

    @cached_property
    def trees(self):
        """The directories of each tree, in one list for each level; faults are in `problems`."""
        return {tree: self._levels(tree) for tree in self.descriptors}

    def _levels(self, tree):
        parse_record(self.descriptors[tree].raw[156:190], f"{tree} root", self.problems)
        levels = [[Directory((), self.root_record(tree), None)]]
        seen = set()
        while levels[-1]:
            for directory in levels[-1]:
                if directory.record.extent in seen:
                    self.problems.append(f"{directory.label(tree)}: its blocks are those of "
                                         "another directory")
                else:
                    self._read_directory(tree, directory)
                seen.add(directory.record.extent)
            levels.append([child for directory in levels[-1] for child in directory.children])
        return levels[:-1]

    def _read_directory(self, tree, directory):
        label, size = directory.label(tree), directory.record.size
        if size == 0 or size % SECTOR:
            self.problems.append(f"{label}: directory of {size} bytes")
        data = self.window.read(directory.record.extent * SECTOR, size)
        records = []
        for start in range(0, len(data), SECTOR):
            sector, at = data[start:start + SECTOR], 0
            while at < len(sector) and sector[at]:
                records.append(parse_record(sector[at:], f"{label} record {len(records)}",
                                            self.problems))
                at += sector[at]
            if any(sector[at:]):
                self.problems.append(f"{label}: bytes after the last record of a sector")
        for index, of in enumerate((directory, directory.parent or directory)):
            dots = records[index] if index < len(records) else None
            if dots is None or dots.identifier != bytes([index]) or not dots.flags & FOLDER or \
                    (dots.extent, dots.size) != (of.record.extent, of.record.size):
                self.problems.append(f"{label}: record {index} is not {'.' * (index + 1)!r}")
        directory.records = records[2:]
        codec = "utf-16-be" if tree == "joliet" else "latin-1"
        directory.children = [
            Directory(directory.path + (record.identifier.decode(codec, "replace"),), record,
                      directory) for record in directory.records if record.flags & FOLDER]

    def walk(self, tree="iso"):
        """Yields every file and folder of 'iso' or 'joliet', folders before their contents."""
        codec = "utf-16-be" if tree == "joliet" else "latin-1"
        for directory in chain.from_iterable(self.trees[tree]):
            for record in directory.records:
                name = record.identifier.decode(codec, "replace")
                yield Entry(directory.path + (name,), record, self.window)

    @cached_property
    def results(self):
        """(every fault of the volume, what stands in another order), as sentences."""
        from .iso9660_check import check
        return check(self)

    def check(self):
        """Every fault of the volume as a list of sentences."""
        return self.results[0]
