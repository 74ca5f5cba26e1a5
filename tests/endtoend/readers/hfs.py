"""Reader of HFS volumes: Inside Macintosh: Files, chapter 2, "Data Organization on Volumes"."""

import struct
from collections import namedtuple
from functools import cached_property

from . import hfs_order
from .blocks import BlockMap, spread_bits
from .btree import BTree, KeyFormat
from .extents import DATA_FORK, RSRC_FORK, Fork
from .volume import (CATALOG_FILE, EXTENTS_FILE, FILE_RECORD, FILE_THREAD, FOLDER_RECORD,
                     FOLDER_THREAD, ROOT, Entry, Thread, Volume)
from .window import FormatError, Window

SECTOR = 512
MDB_OFFSET = 1024
LARGEST_CLUMP = 1 << 20
RECORD_LENGTHS = {FOLDER_RECORD: 70, FILE_RECORD: 102, FOLDER_THREAD: 46, FILE_THREAD: 46}
# What stays the same in both copies of the MDB: the second one is written when the volume is made
# and when one of the system's files grows.
_ALTERNATE_FIELDS = ("drSigWord", "drCrDate", "drVBMSt", "drNmAlBlks", "drAlBlkSiz", "drAlBlSt",
                     "drEmbedSigWord", "drEmbedStart", "drEmbedCount", "drXTFlSize", "drXTExtRec",
                     "drCTFlSize", "drCTExtRec")
_MDB = ">HIIHHHHHIIHIH28sIHIIIHII32sHHHI12sI12s"
# The fields of a master directory block, under their published names.
MasterDirectoryBlock = namedtuple("MasterDirectoryBlock", (
    "drSigWord drCrDate drLsMod drAtrb drNmFls drVBMSt drAllocPtr drNmAlBlks drAlBlkSiz drClpSiz "
    "drAlBlSt drNxtCNID drFreeBks drVN drVolBkUp drVSeqNum drWrCnt drXTClpSiz drCTClpSiz "
    "drNmRtDirs drFilCnt drDirCnt drFndrInfo drEmbedSigWord drEmbedStart drEmbedCount drXTFlSize "
    "drXTExtRec drCTFlSize drCTExtRec"))


def _split_catalog_key(body):
    """(parent, name bytes) of the key, without its length byte."""
    if len(body) < 6 or len(body) < 6 + body[5]:
        raise FormatError(f"catalog: a key of {len(body)} bytes is too short for its name")
    return int.from_bytes(body[1:5], "big"), body[6:6 + body[5]]


def _catalog_order(body):
    parent, name = _split_catalog_key(body)
    return parent, hfs_order.sort_key(name)


def _split_extents_key(body):
    """(file number, fork type, first block) of the key, without its length byte."""
    if len(body) != 7:
        raise FormatError(f"extents overflow: key length {len(body)}, not 7")
    fork, cnid, first = struct.unpack(">BIH", body)
    return cnid, fork, first


class HfsVolume(Volume):
    """An HFS volume in `length` bytes of `buffer` from `offset`."""

    extent_format, extents_size = ">HH", 12
    split_extents_key = staticmethod(_split_extents_key)

    def __init__(self, buffer, offset=0, length=None):
        super().__init__(Window(buffer, offset, length))
        self.mdb = self._mdb(MDB_OFFSET)
        self.block_size = self.mdb.drAlBlkSiz
        if self.mdb.drSigWord != 0x4244 or not self.block_size or self.block_size % SECTOR:
            raise FormatError(f"no HFS volume, or blocks of {self.block_size} bytes")
        self.raw_name = self.mdb.drVN[1:1 + self.mdb.drVN[0]]
        self.name = self.raw_name.decode("mac_roman")

    def _mdb(self, offset):
        return MasterDirectoryBlock._make(struct.unpack(_MDB, self.window.read(offset, 162)))

    def read_blocks(self, start, count_bytes):
        """`count_bytes` bytes from allocation block `start` on."""
        return self.window.read(self.mdb.drAlBlSt * SECTOR + start * self.block_size, count_bytes)

    @cached_property
    def blocks(self):
        """The bitmap, without claims."""
        total = self.mdb.drNmAlBlks
        packed = self.window.read(self.mdb.drVBMSt * SECTOR, (total + 7) // 8)
        return BlockMap(spread_bits(packed), total)

    @cached_property
    def extents_tree(self):
        """The B*-tree of the extents overflow file, which has no extents but those in the MDB."""
        fork = Fork(self.mdb.drXTFlSize, 0, self.extents(self.mdb.drXTExtRec), self)
        return BTree("extents overflow", fork.read(), KeyFormat(False, 7, False, _split_extents_key))

    @cached_property
    def system(self):
        """(label, Fork) of the files that the MDB describes."""
        mdb = self.mdb
        return [(label, self._sized(size, size, extents, cnid, DATA_FORK, label))
                for label, size, extents, cnid in (
                    ("extents overflow file", mdb.drXTFlSize, mdb.drXTExtRec, EXTENTS_FILE),
                    ("catalog file", mdb.drCTFlSize, mdb.drCTExtRec, CATALOG_FILE))]

    @cached_property
    def catalog_tree(self):
        """The B*-tree of the catalog."""
        return BTree("catalog", self.system[1][1].read(),
                     KeyFormat(False, 37, False, _catalog_order))

    def _sized(self, logical, physical, extents, cnid, kind, label):
        if physical % self.block_size:
            self.faults.append(f"{label}: physical length {physical} is no multiple of the "
                               f"block size {self.block_size}")
        return self.fork(logical, physical // self.block_size, extents, cnid, kind, label)

    def items(self):
        """An Entry or a Thread for each record of the catalog."""
        for body, data in self.catalog_tree.leaves():
            parent, name = _split_catalog_key(body)
            kind = data[0] if data else 0
            if len(data) != RECORD_LENGTHS.get(kind) or data[1] or body[0] or b":" in name or \
                    len(body) > 6 + len(name) + (len(name) + 1) % 2 or len(name) > 31:
                self.faults.append(f"catalog record {name!r} in folder {parent}: type {kind} of "
                                   f"{len(data)} bytes, a key of {len(body)} bytes for such a "
                                   "name, or a reserved byte that is not zero")
            if len(data) < RECORD_LENGTHS.get(kind, 1 << 16):
                continue
            if kind == FOLDER_RECORD:
                flags, valence, cnid, _, modified = struct.unpack_from(">HHIII", data, 2)
                yield Entry(True, parent, name.decode("mac_roman"), cnid, flags, b"", b"",
                            int.from_bytes(data[30:32], "big"), modified, data, name, valence)
            elif kind == FILE_RECORD:
                yield self._file(parent, name, data)
            else:
                yield Thread(kind, parent, bool(name), int.from_bytes(data[10:14], "big"),
                             data[15:15 + data[14]].decode("mac_roman"), data[2:10])

    def _file(self, parent, raw_name, data):
        cnid, start, logical, physical, rsrc_start, rsrc_logical, rsrc_physical, _, modified = \
            struct.unpack_from(">IHIIHIIII", data, 20)
        entry = Entry(False, parent, raw_name.decode("mac_roman"), cnid, data[2], data[4:8],
                      data[8:12], int.from_bytes(data[12:14], "big"), modified, data, raw_name)
        if data[3] or start or rsrc_start or any(data[98:102]) or data[2] & 0x7C:
            self.faults.append(f"{entry.label}: a reserved field is not zero")
        entry.data = self._sized(logical, physical, data[74:86], cnid, DATA_FORK,
                                 f"{entry.label}, data fork")
        entry.rsrc = self._sized(rsrc_logical, rsrc_physical, data[86:98], cnid, RSRC_FORK,
                                 f"{entry.label}, resource fork")
        return entry

    def own_length(self):
        """The length that the MDB gives: allocation blocks and the two sectors after them."""
        return (self.mdb.drAlBlSt + 2) * SECTOR + self.mdb.drNmAlBlks * self.block_size

    def reserved(self):
        """Blocks that no file has: none."""
        return []

    def own_faults(self):
        """What is wrong with the MDB, its copy and the bitmap."""
        mdb, length = self.mdb, self.window.length
        sectors = -(-mdb.drNmAlBlks // (SECTOR * 8))
        if mdb.drVBMSt < 3 or mdb.drVBMSt + sectors > mdb.drAlBlSt:
            yield (f"MDB: the bitmap of {sectors} sectors from {mdb.drVBMSt} reaches into the MDB "
                   f"or the allocation blocks at {mdb.drAlBlSt}")
        if self.own_length() > length or mdb.drNmAlBlks == 0:
            yield f"MDB: {mdb.drNmAlBlks} allocation blocks do not fit in {length} bytes"
        if not 1 <= mdb.drVN[0] <= 27 or b":" in self.raw_name or mdb.drAllocPtr > mdb.drNmAlBlks:
            yield f"MDB: volume name {self.raw_name!r}, or drAllocPtr {mdb.drAllocPtr}"
        for tree in (self.extents_tree, self.catalog_tree):
            if tree.node_size != SECTOR:
                yield f"{tree.label}: node size {tree.node_size}, not 512"
        for field in ("drClpSiz", "drXTClpSiz", "drCTClpSiz"):
            size = getattr(mdb, field)
            if size == 0 or size % self.block_size or \
                    field == "drClpSiz" and size > max(LARGEST_CLUMP, self.block_size):
                yield f"MDB: {field} {size} with blocks of {self.block_size}"
        other = self._mdb(length // SECTOR * SECTOR - 1024)
        for field in _ALTERNATE_FIELDS:
            if getattr(mdb, field) != getattr(other, field):
                yield f"alternate MDB: {field} is {getattr(other, field)}"
        yield from self._counts()
        # Checkers take an extent that ends with the volume for damage.
        for start, count, owner in self.claimed().claims:
            if start + count == mdb.drNmAlBlks:
                yield f"{owner}: its blocks end with the last one of the volume"

    def _counts(self):
        mdb, entries = self.mdb, self.entries
        files = [entry for entry in entries if not entry.is_folder]
        folders = [entry for entry in entries if entry.is_folder and entry.cnid != ROOT]
        roots = [entry for entry in entries if entry.cnid == ROOT]
        yield from self.counts(
            {"drFilCnt": (mdb.drFilCnt, len(files)), "drDirCnt": (mdb.drDirCnt, len(folders)),
             "drNmFls": (mdb.drNmFls, sum(entry.parent == ROOT for entry in files)),
             "drNmRtDirs": (mdb.drNmRtDirs, sum(entry.parent == ROOT for entry in folders)),
             "drFreeBks": (mdb.drFreeBks, self.blocks.free()),
             "the root's name": ([self.raw_name], [root.raw_name for root in roots])},
            mdb.drNxtCNID, mdb.drFndrInfo)
