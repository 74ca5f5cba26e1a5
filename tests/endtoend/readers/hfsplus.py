"""Reader of HFS Plus and HFSX volumes: Apple Technical Note TN1150."""

import struct
from dataclasses import dataclass, field
from functools import cached_property

from . import hfsplus_order
from .blocks import BlockMap, spread_bits
from .btree import BTree, KeyFormat
from .extents import DATA_FORK, RSRC_FORK, Fork, Overflow
from .hfs import HfsVolume
from .window import FormatError, Window

HEADER_OFFSET = 1024
ROOT_PARENT, ROOT, BAD_BLOCK_FILE = 1, 2, 5
FIRST_USER_ID = 16
FOLDER_RECORD, FILE_RECORD, FOLDER_THREAD, FILE_THREAD = 1, 2, 3, 4
INLINE_ATTRIBUTE, FORK_ATTRIBUTE, EXTENTS_ATTRIBUTE = 0x10, 0x20, 0x30
BINARY_COMPARE = 0xBC
# Name of a special file: its number, and where the volume header describes its fork.
SPECIAL_FILES = {"allocation file": (6, 112), "extents overflow file": (3, 192),
                 "catalog file": (4, 272), "attributes file": (8, 352), "startup file": (7, 432)}


class VolumeHeader:
    """The fields of a volume header, under their published names; dates in seconds since 1904."""

    _FORMAT = ">2sHI4sIIIIIIIIIIIIIIIQ32s"
    _NAMES = ("signature version attributes lastMountedVersion journalInfoBlock createDate "
              "modifyDate backupDate checkedDate fileCount folderCount blockSize totalBlocks "
              "freeBlocks nextAllocation rsrcClumpSize dataClumpSize nextCatalogID writeCount "
              "encodingsBitmap finderInfo").split()

    def __init__(self, raw):
        for name, value in zip(self._NAMES, struct.unpack(self._FORMAT, raw[:112])):
            setattr(self, name, value)
        self.raw = raw


@dataclass
class ForkData:
    """An HFSPlusForkData as it stands on the disk."""

    logical: int
    clump: int
    blocks: int
    extents: list


def parse_fork(raw):
    """The 80 bytes of an HFSPlusForkData."""
    logical, clump, blocks = struct.unpack_from(">QII", raw)
    return ForkData(logical, clump, blocks, parse_extents(raw[16:80]))


def parse_extents(raw):
    """The 64 bytes of an HFSPlusExtentRecord as (first block, count)."""
    return list(struct.iter_unpack(">II", raw))


@dataclass
class Entry:
    """A file or folder of the catalog. Dates are seconds since 1904, in GMT."""

    is_folder: bool
    parent: int
    name: str
    cnid: int
    flags: int
    type: bytes
    creator: bytes
    finder_flags: int
    finder_info: bytes          # userInfo and finderInfo: 32 bytes
    created: int
    modified: int
    attributes_modified: int
    accessed: int
    backed_up: int
    owner: int
    group: int
    admin_flags: int
    owner_flags: int
    mode: int
    special: int
    encoding: int
    record: bytes
    valence: int = 0
    data: Fork = None
    rsrc: Fork = None
    path: tuple = ()


@dataclass
class Catalog:
    """The leaf records of the catalog, and what was wrong with them."""

    entries: list = field(default_factory=list)
    threads: list = field(default_factory=list)     # (type, id, name in key, parent, name, raw)
    problems: list = field(default_factory=list)


def _units(raw):
    return raw.decode("utf-16-be", "surrogatepass")


def split_catalog_key(body):
    """(parent, name) of the key, without its length."""
    if len(body) < 6 or len(body) != 6 + 2 * int.from_bytes(body[4:6], "big"):
        raise FormatError(f"catalog: a key of {len(body)} bytes does not fit its name")
    return int.from_bytes(body[:4], "big"), _units(body[6:])


def split_extents_key(body):
    """(file number, fork type, first block) of the key, without its length."""
    if len(body) != 10:
        raise FormatError(f"extents overflow: key length {len(body)}, not 10")
    fork, pad, cnid, first = struct.unpack(">BBII", body)
    if pad:
        raise FormatError("extents overflow: the pad byte of a key is not zero")
    return cnid, fork, first


def split_attribute_key(body):
    """(file number, attribute name, first block) of the key, without its length."""
    if len(body) < 12 or len(body) != 12 + 2 * int.from_bytes(body[10:12], "big"):
        raise FormatError(f"attributes: a key of {len(body)} bytes does not fit its name")
    _, cnid, first, _ = struct.unpack_from(">HIIH", body)
    return cnid, body[12:], first


def _catalog_keys(name_key):
    def order(body):
        parent, name = split_catalog_key(body)
        return parent, name_key(name)
    return KeyFormat(True, 516, True, order)


EXTENTS_KEYS = KeyFormat(True, 10, False, split_extents_key)
ATTRIBUTE_KEYS = KeyFormat(True, 266, True, split_attribute_key)


class HfsPlusVolume:
    """An HFS Plus volume in `length` bytes of `buffer` from `offset`.

    An HFS wrapper there is followed to its embedded volume and kept as `wrapper`.
    """

    def __init__(self, buffer, offset=0, length=None):
        self.window = Window(buffer, offset, length)
        self.wrapper = None
        if self.window.read(HEADER_OFFSET, 2) == b"BD":
            self.wrapper = HfsVolume(self.window)
            inside = self.wrapper.embedded()
            if inside is None:
                raise FormatError("the HFS volume has no embedded HFS Plus volume")
            if sum(inside) > self.window.length:
                raise FormatError("the embedded HFS Plus volume reaches beyond its wrapper")
            self.window = Window(self.window, *inside)
        raw = self.window.read(HEADER_OFFSET, 512)
        if raw[:2] not in (b"H+", b"HX"):
            raise FormatError(f"no HFS Plus volume: signature {raw[:2].hex()}")
        self.header = VolumeHeader(raw)
        self.block_size = self.header.blockSize
        if self.block_size < 512 or self.block_size & (self.block_size - 1):
            raise FormatError(f"allocation block size {self.block_size} is no power of two from "
                              "512 on")
        self.fork_problems = []

    @cached_property
    def name(self):
        """The volume's name: that of the root folder."""
        for entry in self.catalog.entries:
            if entry.parent == ROOT_PARENT:
                return entry.name
        raise FormatError("catalog: there is no root folder")

    def read_blocks(self, start, count_bytes):
        """`count_bytes` bytes from allocation block `start` on."""
        return self.window.read(start * self.block_size, count_bytes)

    def _special_fork(self, name, overflow):
        number, at = SPECIAL_FILES[name]
        return self._fork(parse_fork(self.header.raw[at:at + 80]), number, DATA_FORK, name,
                          overflow)

    @cached_property
    def extents_fork(self):
        """The extents overflow file; it has no extents but those in the volume header."""
        return self._special_fork("extents overflow file", Overflow())

    @cached_property
    def extents_tree(self):
        """The B-tree of the extents overflow file."""
        return BTree("extents overflow", self.extents_fork.read(), EXTENTS_KEYS)

    @cached_property
    def overflow(self):
        """The records of the extents overflow file."""
        overflow = Overflow()
        for body, data in self.extents_tree.leaves():
            cnid, fork, first = split_extents_key(body)
            if len(data) != 64:
                raise FormatError(f"extents overflow: record of {len(data)} bytes, not 64")
            overflow.add(cnid, fork, first, parse_extents(data))
        return overflow

    @cached_property
    def special(self):
        """The five special files of the volume header, by name."""
        return {name: self._special_fork(name, self.overflow)
                for name in SPECIAL_FILES if name != "extents overflow file"} \
            | {"extents overflow file": self.extents_fork}

    @cached_property
    def blocks(self):
        """The bits of the allocation file, without claims."""
        total = self.header.totalBlocks
        bits = spread_bits(self.special["allocation file"].read())
        if len(bits) < total:
            raise FormatError(f"allocation file: {len(bits)} bits for {total} blocks")
        return BlockMap(bits, total)

    def _fork(self, described, cnid, kind, label, overflow):
        joined = overflow.join(described.extents, cnid, kind, label, self.fork_problems)
        return Fork(described.logical, described.blocks, joined, self)

    @cached_property
    def catalog_tree(self):
        """The B-tree of the catalog."""
        data = self.special["catalog file"].read()
        binary = self.header.signature == b"HX" and data[51:52] == bytes([BINARY_COMPARE])
        return BTree("catalog", data, _catalog_keys(
            hfsplus_order.binary_key if binary else hfsplus_order.folded_key))

    @cached_property
    def attributes_tree(self):
        """The B-tree of the attributes file, or None when the volume has none."""
        fork = self.special["attributes file"]
        return BTree("attributes", fork.read(), ATTRIBUTE_KEYS) if fork.blocks else None

    @cached_property
    def catalog(self):
        """Every record of the catalog."""
        catalog = Catalog()
        for body, data in self.catalog_tree.leaves():
            self._add_record(catalog, body, data)
        return catalog

    def _add_record(self, catalog, body, data):
        parent, name = split_catalog_key(body)
        where = f"catalog record {name!r} in folder {parent}"
        kind = int.from_bytes(data[:2], "big")
        if kind in (FOLDER_RECORD, FILE_RECORD):
            want = 88 if kind == FOLDER_RECORD else 248
        elif kind in (FOLDER_THREAD, FILE_THREAD):
            want = 10 + 2 * int.from_bytes(data[8:10], "big")
        else:
            catalog.problems.append(f"{where}: unknown record type {kind}")
            return
        if len(data) != want:
            catalog.problems.append(f"{where}: record of {len(data)} bytes, not {want}")
            if len(data) < want:
                return
        if kind in (FOLDER_RECORD, FILE_RECORD):
            entry = _parse_entry(kind == FOLDER_RECORD, parent, name, data)
            catalog.entries.append(entry)
            if not entry.is_folder:
                entry.data = self._fork(parse_fork(data[88:168]), entry.cnid, DATA_FORK,
                                        f"{where}, data fork", self.overflow)
                entry.rsrc = self._fork(parse_fork(data[168:248]), entry.cnid, RSRC_FORK,
                                        f"{where}, resource fork", self.overflow)
        else:
            target = int.from_bytes(data[4:8], "big")
            catalog.threads.append((kind, parent, name, target, _units(data[10:want]), data))

    @cached_property
    def attributes(self):
        """(file number, name, inline bytes or Fork) of every attribute."""
        found, forks, overflow = [], [], Overflow()
        if self.attributes_tree is None:
            return found
        for body, data in self.attributes_tree.leaves():
            cnid, name, first = split_attribute_key(body)
            kind = int.from_bytes(data[:4], "big")
            if kind == INLINE_ATTRIBUTE and len(data) >= 16:
                size = int.from_bytes(data[12:16], "big")
                found.append((cnid, _units(name), data[16:16 + size]))
                if size > len(data) - 16:
                    self.fork_problems.append(f"attribute {_units(name)!r} of {cnid}: {size} "
                                              "bytes do not fit its record")
            elif kind == FORK_ATTRIBUTE and len(data) == 88:
                forks.append((cnid, name, parse_fork(data[8:])))
            elif kind == EXTENTS_ATTRIBUTE and len(data) == 72:
                overflow.add(cnid, name, first, parse_extents(data[8:]))
            else:
                self.fork_problems.append(f"attribute {_units(name)!r} of {cnid}: record type "
                                          f"{kind:#x} of {len(data)} bytes")
        for cnid, name, described in forks:
            label = f"attribute {_units(name)!r} of {cnid}"
            found.append((cnid, _units(name),
                          self._fork(described, cnid, name, label, overflow)))
        for cnid, name in overflow.unused():
            self.fork_problems.append(f"attribute {_units(name)!r} of {cnid}: extents without it")
        return found

    def walk(self):
        """Yields every file and folder below the root, folders before their contents."""
        children = {}
        for entry in self.catalog.entries:
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

    def own_length(self):
        """The length that the volume header gives, for a volume with other data behind it."""
        return self.header.totalBlocks * self.block_size

    def check(self):
        """Every fault of the volume, and of its wrapper, as a list of sentences."""
        from .hfsplus_check import check
        return check(self)

    def orphans(self):
        """The number of blocks that are marked in the bitmap but belong to nothing."""
        from .hfsplus_check import claim_blocks
        return claim_blocks(self).orphans()


def _parse_entry(is_folder, parent, name, data):
    # Folder and file records are alike up to the text encoding; userInfo of a folder has no
    # type and creator, but its Finder flags stand in the same place.
    flags, valence, cnid = struct.unpack_from(">HII", data, 2)
    dates = struct.unpack_from(">5I", data, 12)
    owner, group, admin_flags, owner_flags, mode, special = struct.unpack_from(">IIBBHI", data, 32)
    return Entry(is_folder, parent, name, cnid, flags,
                 b"" if is_folder else data[48:52], b"" if is_folder else data[52:56],
                 int.from_bytes(data[56:58], "big"), data[48:80], *dates, owner, group,
                 admin_flags, owner_flags, mode, special, int.from_bytes(data[80:84], "big"), data,
                 valence=valence if is_folder else 0)
