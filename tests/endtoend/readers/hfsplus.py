"""Reader of HFS Plus volumes: Apple Technical Note TN1150."""

import struct
from collections import namedtuple
from functools import cached_property

from . import hfsplus_order
from .blocks import BlockMap, spread_bits
from .btree import BTree, KeyFormat
from .extents import DATA_FORK, RSRC_FORK, Fork
from .volume import (EXTENTS_FILE, FILE_RECORD, FILE_THREAD, FOLDER_RECORD, FOLDER_THREAD,
                     ROOT_PARENT, Entry, Thread, Volume)
from .window import FormatError, Window

HEADER_OFFSET = 1024
# Numbers of the special files, in the order in which the volume header describes their forks.
SPECIAL_FILES = {"allocation file": 6, "extents overflow file": EXTENTS_FILE, "catalog file": 4,
                 "attributes file": 8, "startup file": 7}
_VERSIONS = {b"H+": 4, b"HX": 5}
_BIG_KEYS, _VARIABLE_INDEX_KEYS = 2, 4
_UNMOUNTED, _INCONSISTENT, _IDS_REUSED = 1 << 8, 1 << 11, 1 << 12
_HAS_FOLDER_COUNT = 0x0010
# The last mount may write the dates and the counters of one header only; the rest is equal.
_ALTERNATE_FIELDS = ("signature", "version", "createDate", "blockSize", "totalBlocks")


_HEADER = ">2sHI4sIIIIIIIIIIIIIIIQ32s400s"
# The fields of a volume header, under their published names, and what is behind them; dates in
# seconds since 1904.
VolumeHeader = namedtuple("VolumeHeader", (
    "signature version attributes lastMountedVersion journalInfoBlock createDate modifyDate "
    "backupDate checkedDate fileCount folderCount blockSize totalBlocks freeBlocks nextAllocation "
    "rsrcClumpSize dataClumpSize nextCatalogID writeCount encodingsBitmap finderInfo forks"))


def _parse_fork(raw):
    """(logical length, blocks, extents) of the 80 bytes of an HFSPlusForkData."""
    logical, _, blocks = struct.unpack_from(">QII", raw)
    return logical, blocks, raw[16:80]


def _units(raw):
    return raw.decode("utf-16-be", "surrogatepass")


def _split_catalog_key(body):
    """(parent, name) of the key, without its length."""
    if len(body) < 6 or len(body) != 6 + 2 * int.from_bytes(body[4:6], "big"):
        raise FormatError(f"catalog: a key of {len(body)} bytes does not fit its name")
    return int.from_bytes(body[:4], "big"), _units(body[6:])


def _split_extents_key(body):
    """(file number, fork type, first block) of the key, without its length."""
    if len(body) != 10 or body[1]:
        raise FormatError(f"extents overflow: key length {len(body)}, or a pad byte that is set")
    fork, cnid, first = struct.unpack(">BxII", body)
    return cnid, fork, first


class HfsPlusVolume(Volume):
    """An HFS Plus volume in `length` bytes of `buffer` from `offset`."""

    extent_format, extents_size = ">II", 64
    split_extents_key = staticmethod(_split_extents_key)

    def __init__(self, buffer, offset=0, length=None):
        super().__init__(Window(buffer, offset, length))
        self.header = self._header(HEADER_OFFSET)
        self.block_size = self.header.blockSize
        if self.header.signature not in _VERSIONS or self.block_size < 512 or \
                self.block_size & (self.block_size - 1):
            raise FormatError(f"no HFS Plus volume, or blocks of {self.block_size} bytes")

    def _header(self, offset):
        return VolumeHeader._make(struct.unpack(_HEADER, self.window.read(offset, 512)))

    @property
    def name(self):
        """The volume's name: that of the root folder."""
        return next(entry.name for entry in self.entries if entry.parent == ROOT_PARENT)

    def read_blocks(self, start, count_bytes):
        """`count_bytes` bytes from allocation block `start` on."""
        return self.window.read(start * self.block_size, count_bytes)

    @cached_property
    def extents_tree(self):
        """The B-tree of the extents overflow file; it has no extents but those in the header."""
        logical, blocks, extents = _parse_fork(self.header.forks[80:160])
        return BTree("extents overflow", Fork(logical, blocks, self.extents(extents), self).read(),
                     KeyFormat(True, 10, False, _split_extents_key))

    @cached_property
    def system(self):
        """(name, Fork) of the five special files of the volume header."""
        return [(name, self.fork(*_parse_fork(self.header.forks[at * 80:at * 80 + 80]), number,
                                 DATA_FORK, name))
                for at, (name, number) in enumerate(SPECIAL_FILES.items())]

    @cached_property
    def blocks(self):
        """The bits of the allocation file, without claims."""
        bits = spread_bits(dict(self.system)["allocation file"].read())
        if len(bits) < self.header.totalBlocks:
            raise FormatError(f"allocation file: {len(bits)} bits are too few")
        return BlockMap(bits, self.header.totalBlocks)

    @cached_property
    def catalog_tree(self):
        """The B-tree of the catalog."""
        data = dict(self.system)["catalog file"].read()

        def order(body):
            parent, name = _split_catalog_key(body)
            return parent, hfsplus_order.folded_key(name)
        return BTree("catalog", data, KeyFormat(True, 516, True, order))

    def items(self):
        """An Entry or a Thread for each record of the catalog."""
        for body, data in self.catalog_tree.leaves():
            parent, name = _split_catalog_key(body)
            where = f"catalog record {name!r} in folder {parent}"
            kind = int.from_bytes(data[:2], "big")
            is_thread = kind in (FOLDER_THREAD, FILE_THREAD)
            want = {FOLDER_RECORD: 88, FILE_RECORD: 248}.get(
                kind, 10 + 2 * int.from_bytes(data[8:10], "big") if is_thread else 1 << 16)
            if len(data) != want:
                self.faults.append(f"{where}: type {kind} of {len(data)} bytes")
            if len(data) < want:
                continue
            if is_thread:
                yield Thread(kind, parent, bool(name), int.from_bytes(data[4:8], "big"),
                             _units(data[10:want]), data[2:4])
            else:
                yield self._entry(kind == FOLDER_RECORD, parent, name, data)

    def _entry(self, is_folder, parent, name, data):
        # Folder and file records are alike up to the text encoding; userInfo of a folder has no
        # type and creator, but its Finder flags stand in the same place.
        flags, valence, cnid, _, modified = struct.unpack_from(">HIIII", data, 2)
        entry = Entry(is_folder, parent, name, cnid, flags, b"" if is_folder else data[48:52],
                      b"" if is_folder else data[52:56], int.from_bytes(data[56:58], "big"),
                      modified, data, valence=valence if is_folder else 0)
        mode = int.from_bytes(data[42:44], "big")
        if mode == 0 or is_folder != (mode & 0xF000 == 0x4000):
            self.faults.append(f"{entry.label}: mode {mode:o}")
        if any(data[84:88]) and not (is_folder and flags & _HAS_FOLDER_COUNT):
            self.faults.append(f"{entry.label}: a reserved field is not zero")
        if not 1 <= len(name.encode("utf-16-be", "surrogatepass")) <= 510 or ":" in name or \
                any(0xD800 <= ord(char) < 0xE000 for char in name):
            self.faults.append(f"{entry.label}: not such a name")
        if not is_folder:
            entry.data = self.fork(*_parse_fork(data[88:168]), cnid, DATA_FORK,
                                   f"{entry.label}, data fork")
            entry.rsrc = self.fork(*_parse_fork(data[168:248]), cnid, RSRC_FORK,
                                   f"{entry.label}, resource fork")
        return entry

    def own_length(self):
        """The length that the volume header gives, for a volume with other data behind it."""
        return self.header.totalBlocks * self.block_size

    def reserved(self):
        """(start, count, owner) of the blocks that the headers lie in."""
        # The boot blocks and the header are the first 1536 bytes; the alternate header and the
        # sector after it are the last 1024, which may lie behind the last whole block.
        total, heads = self.header.totalBlocks, -(-(HEADER_OFFSET + 512) // self.block_size)
        first = max(heads, (self.window.length - 1024) // self.block_size)
        return [(0, heads, "volume header"), (first, max(total - first, 0), "alternate header")]

    def own_faults(self):
        """What is wrong with the header, its copy and the special files."""
        header, length = self.header, self.window.length
        if header.version != _VERSIONS[header.signature]:
            yield f"header: version {header.version}"
        if header.totalBlocks != length // self.block_size:
            yield f"header: {header.totalBlocks} blocks in {length} bytes"
        if header.attributes & (_UNMOUNTED | _INCONSISTENT) != _UNMOUNTED:
            yield "header: the volume is not marked as unmounted properly, or as inconsistent"
        if header.nextAllocation > header.totalBlocks or \
                (header.rsrcClumpSize | header.dataClumpSize) % self.block_size:
            yield "header: nextAllocation is outside the volume, or a clump is no multiple of a block"
        other = self._header(length - 1024)
        for field in _ALTERNATE_FIELDS:
            if getattr(header, field) != getattr(other, field):
                yield f"alternate header: {field} is {getattr(other, field)}"
        if header.forks != other.forks:
            yield "alternate header: the special files differ"
        yield from self._special_faults()
        files = sum(not entry.is_folder for entry in self.entries)
        yield from self.counts(
            {"fileCount": (header.fileCount, files),
             "folderCount": (header.folderCount, len(self.entries) - files - 1),
             "freeBlocks": (header.freeBlocks, self.blocks.free())},
            None if header.attributes & _IDS_REUSED else header.nextCatalogID,
            header.finderInfo)

    def _special_faults(self):
        for name, fork in self.system:
            if name not in ("allocation file", "startup file") and \
                    fork.logical != fork.blocks * self.block_size:
                yield f"{name}: logical length {fork.logical} differs from its blocks"
        data = dict(self.system)["allocation file"].read()
        extra = len(data) * 8 - self.header.totalBlocks
        if extra > 0 and int.from_bytes(data, "big") & ((1 << extra) - 1):
            yield "allocation file: bits beyond the last block are set"
        for tree, attributes in ((self.extents_tree, _BIG_KEYS),
                                 (self.catalog_tree, _BIG_KEYS | _VARIABLE_INDEX_KEYS)):
            if tree.attributes != attributes or tree.tree_type or tree.reserved1:
                yield f"{tree.label}: header attributes {tree.attributes:#x}, not {attributes:#x}"
        if self.catalog_tree.compare_type not in (0, 0xCF):
            yield f"catalog: key compare type {self.catalog_tree.compare_type:#x}"
        if self.catalog_tree.node_size < 4096:
            yield f"catalog: node size {self.catalog_tree.node_size} is below 4096"
