"""Reader of ISO 9660 (ECMA-119) images with their Joliet tree."""

import struct
from dataclasses import dataclass, field
from functools import cached_property

from .window import FormatError, Window

SECTOR = 2048
FIRST_DESCRIPTOR = 16
MAX_DESCRIPTORS = 64
PRIMARY, SUPPLEMENTARY, TERMINATOR = 1, 2, 255
JOLIET_ESCAPES = (b"%/@", b"%/C", b"%/E")
FOLDER, ASSOCIATED, MULTI_EXTENT = 0x02, 0x04, 0x80
APPLE_FIELD, APPLE_VERSION = 14, 2


def both_endian(raw, label, problems):
    """The number that stands little-endian, then big-endian in `raw`."""
    half = len(raw) // 2
    little = int.from_bytes(raw[:half], "little")
    big = int.from_bytes(raw[half:], "big")
    if little != big:
        problems.append(f"{label}: {little} little-endian, {big} big-endian")
    return little


class Descriptor:
    """A primary or supplementary volume descriptor."""

    def __init__(self, raw, label, problems):
        self.raw = raw
        self.label = label
        self.type = raw[0]
        self.flags = raw[7]
        self.escapes = raw[88:120]
        self.joliet = self.type == SUPPLEMENTARY and self.escapes[:3] in JOLIET_ESCAPES
        self.system_id = self.text(raw[8:40])
        self.volume_id = self.text(raw[40:72])
        number = {}
        for name, at, size in (("volume space size", 80, 8), ("volume set size", 120, 4),
                               ("volume sequence number", 124, 4), ("logical block size", 128, 4),
                               ("path table size", 132, 8)):
            number[name] = both_endian(raw[at:at + size], f"{label}, {name}", problems)
        self.space = number["volume space size"]
        self.set_size = number["volume set size"]
        self.sequence = number["volume sequence number"]
        self.block_size = number["logical block size"]
        self.path_table_size = number["path table size"]
        self.tables_l = struct.unpack_from("<II", raw, 140)
        self.tables_m = struct.unpack_from(">II", raw, 148)

    def text(self, raw):
        """A padded identifier of the descriptor."""
        if self.joliet:
            return raw[:len(raw) // 2 * 2].decode("utf-16-be", "replace").rstrip(" \0")
        return raw.decode("latin-1").rstrip(" \0")


@dataclass
class AppleInfo:
    """What Apple's extension tells of a file."""

    type: bytes
    creator: bytes
    finder_flags: int


def apple_info(system_use):
    """The AppleInfo at the start of a system use area, or None."""
    if len(system_use) < APPLE_FIELD or system_use[:2] != b"AA":
        return None
    return AppleInfo(system_use[4:8], system_use[8:12], int.from_bytes(system_use[12:14], "big"))


@dataclass
class Record:
    """A directory record as it stands on the disc."""

    extent: int             # first logical block, extended attribute record not included
    attribute_blocks: int
    size: int
    date: bytes             # 7 bytes: year since 1900 ... second, offset in quarter hours
    flags: int
    unit_size: int
    gap: int
    sequence: int
    identifier: bytes
    system_use: bytes

    @property
    def first(self):
        """The first block of the data."""
        return self.extent + self.attribute_blocks


@dataclass
class Directory:
    """A directory of one tree."""

    path: tuple
    record: Record
    parent: object                  # Directory, or None for the root
    records: list = field(default_factory=list)     # without "." and ".."
    children: list = field(default_factory=list)    # Directory


@dataclass
class Entry:
    """A file or folder; the sections of a file of many extents are joined."""

    path: tuple
    identifier: bytes
    is_folder: bool
    size: int
    extents: list           # (first block, bytes)
    flags: int
    date: bytes
    system_use: bytes
    window: Window

    @property
    def extent(self):
        """The first block."""
        return self.extents[0][0]

    @property
    def apple(self):
        """Type and creator, where the disc tells them."""
        return apple_info(self.system_use)

    def read(self):
        """The bytes of the file."""
        return b"".join(self.window.read(first * SECTOR, size) for first, size in self.extents)


def parse_record(raw, label, problems):
    """The directory record at the start of `raw`, whose first byte is its length."""
    length = raw[0]
    if length < 34 or length > len(raw) or 33 + raw[32] > length:
        raise FormatError(f"{label}: directory record of {length} bytes with an identifier of "
                          f"{raw[32] if len(raw) > 32 else '?'}")
    extent = both_endian(raw[2:10], f"{label}, extent", problems)
    size = both_endian(raw[10:18], f"{label}, data length", problems)
    sequence = both_endian(raw[28:32], f"{label}, volume sequence number", problems)
    end = 33 + raw[32]
    use = end + (1 - raw[32] % 2)
    if length % 2:
        problems.append(f"{label}: directory record of odd length {length}")
    if use > end and raw[end:use] not in (b"\0", b""):
        problems.append(f"{label}: padding byte after the identifier is not zero")
    return Record(extent, raw[1], size, raw[18:25], raw[25], raw[26], raw[27], sequence,
                  raw[33:end], raw[use:length])


class IsoImage:
    """The ISO 9660 volume at the start of `buffer`.

    With `relaxed_names`, characters and lengths of identifiers that ECMA-119 does not allow are
    warnings instead of problems.
    """

    def __init__(self, buffer, relaxed_names=False):
        self.window = Window(buffer)
        self.relaxed_names = relaxed_names
        self.problems = []
        self.descriptors = {}       # 'iso', 'joliet'
        self.terminator = None
        self._read_descriptors()
        if "iso" not in self.descriptors:
            raise FormatError("no primary volume descriptor")

    def _read_descriptors(self):
        for index in range(MAX_DESCRIPTORS):
            sector = FIRST_DESCRIPTOR + index
            raw = self.window.read(sector * SECTOR, SECTOR)
            label = f"descriptor at sector {sector}"
            if raw[1:6] != b"CD001":
                raise FormatError(f"{label}: no 'CD001'")
            kind = raw[0]
            if kind == TERMINATOR:
                self.terminator = sector
                if any(raw[7:]):
                    self.problems.append(f"{label}: the terminator is not zero after its version")
                return
            if kind in (PRIMARY, SUPPLEMENTARY):
                self._keep(Descriptor(raw, label, self.problems))
            elif kind > 3:
                self.problems.append(f"{label}: type {kind} is reserved")
            # An enhanced descriptor, a supplementary one of version 2, has file structure 2.
            if raw[6] != 1 and not (kind == SUPPLEMENTARY and raw[6] == 2):
                self.problems.append(f"{label}: version {raw[6]}")
        raise FormatError("no volume descriptor set terminator")

    def _keep(self, descriptor):
        if descriptor.type == PRIMARY:
            if "iso" in self.descriptors:
                same = self.descriptors["iso"].raw == descriptor.raw
                if not same:
                    self.problems.append(f"{descriptor.label}: differs from the first primary one")
                return
            self.descriptors["iso"] = descriptor
        elif descriptor.joliet:
            if "joliet" in self.descriptors:
                self.problems.append(f"{descriptor.label}: a second Joliet descriptor")
                return
            self.descriptors["joliet"] = descriptor

    def name_text(self, tree, identifier):
        """The identifier as text."""
        if tree == "joliet":
            return identifier.decode("utf-16-be", "replace")
        return identifier.decode("latin-1")

    def root_record(self, tree):
        """The root's directory record in the descriptor."""
        raw = self.descriptors[tree].raw[156:190]
        return parse_record(raw, f"{tree} root", [])

    @cached_property
    def trees(self):
        """The root Directory of each tree; all that is wrong with records is in `problems`."""
        return {tree: self._read_tree(tree) for tree in self.descriptors}

    def _read_tree(self, tree):
        root = Directory((), self.root_record(tree), None)
        pending, seen = [root], {root.record.first}
        while pending:
            directory = pending.pop()
            self._read_directory(tree, directory)
            for record in directory.records:
                if not record.flags & FOLDER:
                    continue
                name = self.name_text(tree, record.identifier)
                child = Directory(directory.path + (name,), record, directory)
                directory.children.append(child)
                if record.first in seen:
                    self.problems.append(f"{tree} {'/'.join(child.path)}: its blocks are those of "
                                         "another directory")
                    continue
                seen.add(record.first)
                pending.append(child)
        return root

    def _read_directory(self, tree, directory):
        label = f"{tree} /{'/'.join(directory.path)}"
        size = directory.record.size
        if size == 0 or size % SECTOR:
            self.problems.append(f"{label}: directory of {size} bytes")
        try:
            data = self.window.read(directory.record.first * SECTOR, size)
        except FormatError as error:
            self.problems.append(f"{label}: {error}")
            return
        records = []
        for start in range(0, len(data), SECTOR):
            sector, at = data[start:start + SECTOR], 0
            while at < len(sector) and sector[at]:
                if at + sector[at] > len(sector):
                    self.problems.append(f"{label}: a record crosses the end of its sector")
                    break
                try:
                    records.append(parse_record(sector[at:], f"{label} record {len(records)}",
                                                self.problems))
                except FormatError as error:
                    self.problems.append(str(error))
                    break
                at += sector[at]
            else:
                if any(sector[at:]):
                    self.problems.append(f"{label}: bytes after the last record of a sector")
        self._dot_records(label, directory, records)
        directory.records = records[2:]

    def _dot_records(self, label, directory, records):
        parent = directory.parent or directory
        for index, (name, of) in enumerate(((".", directory), ("..", parent))):
            if index >= len(records) or records[index].identifier != bytes([index]):
                self.problems.append(f"{label}: record {index} is not '{name}'")
                continue
            got = records[index]
            if (got.extent, got.size) != (of.record.extent, of.record.size):
                self.problems.append(f"{label}: '{name}' is {got.extent}+{got.size}, not "
                                     f"{of.record.extent}+{of.record.size}")
            if not got.flags & FOLDER:
                self.problems.append(f"{label}: '{name}' is no directory")

    def walk(self, tree="iso"):
        """Yields every file and folder of 'iso' or 'joliet', folders before their contents."""
        pending = [self.trees[tree]]
        while pending:
            directory = pending.pop()
            sections = []
            for record in directory.records:
                sections.append(record)
                if record.flags & MULTI_EXTENT:
                    continue
                yield self._entry(tree, directory, sections)
                sections = []
            pending += directory.children

    def _entry(self, tree, directory, sections):
        last = sections[-1]
        name = self.name_text(tree, last.identifier)
        return Entry(directory.path + (name,), last.identifier, bool(last.flags & FOLDER),
                     sum(record.size for record in sections),
                     [(record.first, record.size) for record in sections], last.flags, last.date,
                     last.system_use, self.window)

    def check(self):
        """Every fault of the volume as a list of sentences."""
        return self._results[0]

    def warnings(self):
        """What a careful writer would do otherwise: orders, depth."""
        return self._results[1]

    @cached_property
    def _results(self):
        from .iso9660_check import check
        return check(self)
