"""Reader of HFS volumes: Inside Macintosh: Files, chapter 2, "Data Organization on Volumes"."""

import struct
from dataclasses import dataclass, field
from functools import cached_property

from . import hfs_order
from .blocks import BlockMap, spread_bits
from .btree import BTree, KeyFormat
from .extents import DATA_FORK, RSRC_FORK, Fork, Overflow
from .window import FormatError, Window

SECTOR = 512
MDB_OFFSET = 1024
ROOT_PARENT, ROOT, EXTENTS_FILE, CATALOG_FILE, BAD_BLOCK_FILE = 1, 2, 3, 4, 5
FIRST_USER_ID = 16
FOLDER_RECORD, FILE_RECORD, FOLDER_THREAD, FILE_THREAD = 1, 2, 3, 4
THREAD_EXISTS = 0x02
RECORD_LENGTHS = {FOLDER_RECORD: 70, FILE_RECORD: 102, FOLDER_THREAD: 46, FILE_THREAD: 46}


def _three_extents(values):
    return [tuple(values[at:at + 2]) for at in (0, 2, 4)]


class MasterDirectoryBlock:
    """The fields of an MDB, under their published names."""

    _FORMAT = ">HIIHHHHHIIHIH28sIHIIIHII32sHHHI6HI6H"
    _NAMES = ("drSigWord drCrDate drLsMod drAtrb drNmFls drVBMSt drAllocPtr drNmAlBlks drAlBlkSiz "
              "drClpSiz drAlBlSt drNxtCNID drFreeBks drVN drVolBkUp drVSeqNum drWrCnt drXTClpSiz "
              "drCTClpSiz drNmRtDirs drFilCnt drDirCnt drFndrInfo drEmbedSigWord drEmbedStart "
              "drEmbedCount drXTFlSize").split()

    def __init__(self, raw):
        values = struct.unpack(self._FORMAT, raw[:162])
        for name, value in zip(self._NAMES, values):
            setattr(self, name, value)
        at = len(self._NAMES)
        self.drXTExtRec = _three_extents(values[at:at + 6])
        self.drCTFlSize = values[at + 6]
        self.drCTExtRec = _three_extents(values[at + 7:at + 13])

    @property
    def name(self):
        """The bytes of the volume's name."""
        return self.drVN[1:1 + self.drVN[0]]


@dataclass
class Entry:
    """A file or folder of the catalog. Dates are seconds since 1904, in local time."""

    is_folder: bool
    parent: int
    raw_name: bytes
    cnid: int
    flags: int
    type: bytes
    creator: bytes
    finder_flags: int
    finder_info: bytes          # FInfo and FXInfo, or DInfo and DXInfo: 32 bytes
    created: int
    modified: int
    backed_up: int
    record: bytes
    valence: int = 0
    data: Fork = None
    rsrc: Fork = None
    path: tuple = ()
    raw_path: tuple = ()

    @property
    def name(self):
        """The name as text."""
        return self.raw_name.decode("mac_roman")


@dataclass
class Catalog:
    """The leaf records of the catalog, and what was wrong with them."""

    entries: list = field(default_factory=list)
    threads: list = field(default_factory=list)     # (type, id, name in key, parent, name, raw)
    problems: list = field(default_factory=list)


def split_catalog_key(body):
    """(parent, name bytes) of the key, without its length byte."""
    if len(body) < 6 or len(body) < 6 + body[5]:
        raise FormatError(f"catalog: a key of {len(body)} bytes is too short for its name")
    return int.from_bytes(body[1:5], "big"), body[6:6 + body[5]]


def _catalog_order(body):
    parent, name = split_catalog_key(body)
    return parent, hfs_order.sort_key(name)


def split_extents_key(body):
    """(file number, fork type, first block) of the key, without its length byte."""
    if len(body) != 7:
        raise FormatError(f"extents overflow: key length {len(body)}, not 7")
    fork, cnid, first = struct.unpack(">BIH", body)
    return cnid, fork, first


CATALOG_KEYS = KeyFormat(False, 37, False, _catalog_order)
EXTENTS_KEYS = KeyFormat(False, 7, False, split_extents_key)


class HfsVolume:
    """An HFS volume in `length` bytes of `buffer` from `offset`."""

    def __init__(self, buffer, offset=0, length=None):
        self.window = Window(buffer, offset, length)
        raw = self.window.read(MDB_OFFSET, 162)
        if raw[:2] != b"BD":
            raise FormatError(f"no HFS volume: signature {raw[:2].hex()}")
        self.mdb = MasterDirectoryBlock(raw)
        self.block_size = self.mdb.drAlBlkSiz
        if self.block_size == 0 or self.block_size % SECTOR:
            raise FormatError(f"allocation block size {self.block_size} is no multiple of 512")
        self.tree_problems = []

    @property
    def name(self):
        """The volume's name as text."""
        return self.mdb.name.decode("mac_roman")

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
    def extents_fork(self):
        """The extents overflow file; it has no extents but those in the MDB."""
        return self._fork(self.mdb.drXTFlSize, self.mdb.drXTFlSize, self.mdb.drXTExtRec,
                          EXTENTS_FILE, DATA_FORK, "extents overflow file", Overflow())

    @cached_property
    def catalog_fork(self):
        """The catalog file."""
        return self._fork(self.mdb.drCTFlSize, self.mdb.drCTFlSize, self.mdb.drCTExtRec,
                          CATALOG_FILE, DATA_FORK, "catalog file", self.overflow)

    @cached_property
    def extents_tree(self):
        """The B*-tree of the extents overflow file."""
        return BTree("extents overflow", self.extents_fork.read(), EXTENTS_KEYS)

    @cached_property
    def catalog_tree(self):
        """The B*-tree of the catalog."""
        return BTree("catalog", self.catalog_fork.read(), CATALOG_KEYS)

    @cached_property
    def overflow(self):
        """The records of the extents overflow file."""
        overflow = Overflow()
        for body, data in self.extents_tree.leaves():
            cnid, fork, first = split_extents_key(body)
            if len(data) != 12:
                raise FormatError(f"extents overflow: record of {len(data)} bytes, not 12")
            overflow.add(cnid, fork, first, _three_extents(struct.unpack(">6H", data)))
        return overflow

    def _fork(self, logical, physical, extents, cnid, kind, label, overflow):
        if physical % self.block_size:
            self.tree_problems.append(f"{label}: physical length {physical} is no multiple of the "
                                      f"block size {self.block_size}")
        joined = overflow.join(extents, cnid, kind, label, self.tree_problems)
        return Fork(logical, physical // self.block_size, joined, self)

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
        if len(body) > 6 + len(name) + (len(name) + 1) % 2:
            catalog.problems.append(f"{where}: key length {len(body)} for a name of {len(name)}")
        if body[0]:
            catalog.problems.append(f"{where}: reserved byte of the key is not zero")
        kind = data[0] if data else 0
        if kind not in RECORD_LENGTHS:
            catalog.problems.append(f"{where}: unknown record type {kind}")
            return
        if len(data) != RECORD_LENGTHS[kind]:
            catalog.problems.append(f"{where}: record of {len(data)} bytes, not "
                                    f"{RECORD_LENGTHS[kind]}")
            if len(data) < RECORD_LENGTHS[kind]:
                return
        if data[1]:
            catalog.problems.append(f"{where}: reserved byte of the record is not zero")
        if kind == FOLDER_RECORD:
            catalog.entries.append(_folder_entry(parent, name, data))
        elif kind == FILE_RECORD:
            catalog.entries.append(self._file_entry(parent, name, data, where))
        else:
            target = int.from_bytes(data[10:14], "big")
            if data[14] > 31:
                catalog.problems.append(f"{where}: thread with a name of {data[14]} bytes")
            catalog.threads.append((kind, parent, name, target, data[15:15 + data[14]], data))

    def _file_entry(self, parent, name, data, where):
        flags, = struct.unpack_from(">B", data, 2)
        cnid, _, logical, physical, _, rsrc_logical, rsrc_physical, created, modified, \
            backed_up = struct.unpack_from(">IHIIHIIIII", data, 20)
        extents = struct.unpack_from(">12H", data, 74)
        return Entry(
            False, parent, name, cnid, flags, data[4:8], data[8:12],
            int.from_bytes(data[12:14], "big"), data[4:20] + data[56:72], created, modified,
            backed_up, data,
            data=self._fork(logical, physical, _three_extents(extents[:6]), cnid, DATA_FORK,
                            f"{where}, data fork", self.overflow),
            rsrc=self._fork(rsrc_logical, rsrc_physical, _three_extents(extents[6:]), cnid,
                            RSRC_FORK, f"{where}, resource fork", self.overflow))

    def walk(self):
        """Yields every file and folder below the root, folders before their contents."""
        children = {}
        for entry in self.catalog.entries:
            children.setdefault(entry.parent, []).append(entry)
        pending = [((), (), ROOT)]
        seen = {ROOT}
        while pending:
            path, raw_path, folder = pending.pop()
            for entry in children.get(folder, []):
                entry.path = path + (entry.name,)
                entry.raw_path = raw_path + (entry.raw_name,)
                yield entry
                if entry.is_folder and entry.cnid not in seen:
                    seen.add(entry.cnid)
                    pending.append((entry.path, entry.raw_path, entry.cnid))

    def own_length(self):
        """The length that the MDB gives: allocation blocks and the two sectors after them.

        A hybrid disc without a partition map has more than the volume in its file.
        """
        mdb = self.mdb
        return mdb.drAlBlSt * SECTOR + mdb.drNmAlBlks * self.block_size + 2 * SECTOR

    def embedded(self):
        """(offset, length) in bytes of an embedded HFS Plus volume in this one, or None."""
        mdb = self.mdb
        if mdb.drEmbedSigWord != 0x482B:
            return None
        return (mdb.drAlBlSt * SECTOR + mdb.drEmbedStart * self.block_size,
                mdb.drEmbedCount * self.block_size)

    def check(self):
        """Every fault of the volume as a list of sentences."""
        from .hfs_check import check
        return check(self)

    def orphans(self):
        """The number of blocks that are marked in the bitmap but belong to nothing."""
        from .hfs_check import claim_blocks
        return claim_blocks(self).orphans()


def _folder_entry(parent, name, data):
    flags, valence, cnid, created, modified, backed_up = struct.unpack_from(">HHIIII", data, 2)
    return Entry(True, parent, name, cnid, flags, b"", b"", int.from_bytes(data[30:32], "big"),
                 data[22:54], created, modified, backed_up, data, valence=valence)
