"""Each fault planted in a good HFS volume must be reported."""

import random
import struct
import unittest

from . import makers
from .hfs import HfsVolume
from .window import FormatError

MDB = 1024


class HfsPatch:
    """A copy of an HFS image with ways to find its structures and change them."""

    def __init__(self, image):
        self.data = bytearray(image)
        self.volume = HfsVolume(image)

    def put(self, offset, layout, *values):
        """Writes big-endian `values` at `offset`."""
        struct.pack_into(">" + layout, self.data, offset, *values)

    def get(self, offset, layout):
        """One big-endian value at `offset`."""
        return struct.unpack_from(">" + layout, self.data, offset)[0]

    def add(self, offset, layout, amount):
        """Adds to the value at `offset`."""
        self.put(offset, layout, self.get(offset, layout) + amount)

    def block(self, number):
        """Offset of an allocation block."""
        return self.get(MDB + 28, "H") * 512 + number * self.get(MDB + 20, "I")

    def node(self, number):
        """Offset of a node of the catalog."""
        at = number * 512
        for start, count in self.volume.catalog_fork.extents:
            if at < count * self.volume.block_size:
                return self.block(start) + at
            at -= count * self.volume.block_size
        raise AssertionError(f"node {number} is outside the catalog")

    def leaf(self, index):
        """Offset of the leaf node with this index in the chain."""
        number = self.volume.catalog_tree.first_leaf
        for _ in range(index):
            number = self.get(self.node(number), "I")
        return self.node(number)

    def root(self):
        """Offset of the root node."""
        return self.node(self.volume.catalog_tree.root)

    def record(self, name, kind):
        """Offset of the data of the catalog record of this name (bytes) and type."""
        for entry in self.volume.catalog.entries:
            if entry.raw_name == name:
                return self._find(struct.pack(">IB", entry.parent, len(name)) + name, kind)
        raise AssertionError(f"no record {name}")

    def thread(self, cnid):
        """Offset of the data of the folder thread of `cnid`."""
        return self._find(struct.pack(">IB", cnid, 0), 3)

    def _find(self, key, kind):
        tree = self.volume.catalog_tree
        number = tree.first_leaf
        while number:
            node = self.node(number)
            for index in range(self.get(node + 10, "H")):
                at = node + self.get(node + 510 - 2 * index, "H")
                data = at + (self.data[at] + 2) // 2 * 2
                if self.data[at + 2:at + 2 + len(key)] == key and self.data[data] == kind:
                    return data
            number = self.get(node, "I")
        raise AssertionError(f"no record of key {key} and type {kind}")

    def bitmap(self, block):
        """(offset, mask) of a block's bit."""
        return self.get(MDB + 14, "H") * 512 + block // 8, 0x80 >> block % 8


def _swap_first_records(patch):
    """Swaps the first two keys of equal length in a leaf of small files."""
    node = patch.leaf(5)
    first, second, third = (node + patch.get(node + 510 - 2 * index, "H") for index in range(3))
    assert second - first == third - second
    patch.data[first:third] = patch.data[second:third] + patch.data[first:second]


def _claim_twice(patch):
    big, small = patch.record(b"big", 2), patch.record(b"file 07", 2)
    patch.data[small + 74:small + 76] = patch.data[big + 74:big + 76]


def _flip_bit(patch, block):
    at, mask = patch.bitmap(block)
    patch.data[at] ^= mask


def _big_block(patch):
    return patch.get(patch.record(b"big", 2) + 74, "H")


def _make_cycle(patch):
    """Folder 'Deep' becomes a child of itself, its thread likewise."""
    deep = patch.get(patch.record(b"Deep", 1) + 6, "I")
    patch.put(patch.record(b"Deep", 1) - 12 + 2, "I", deep)
    patch.put(patch.thread(deep) + 10, "I", deep)


def _lose_leaf(patch):
    """The second child of the first index node above the leaves is the third one too."""
    node = patch.root()
    while patch.data[node + 9] > 2:
        first = node + patch.get(node + 510, "H")
        node = patch.node(patch.get(first + 38, "I"))
    second, third = (node + patch.get(node + 510 - 2 * index, "H") for index in (1, 2))
    patch.put(second + 38, "I", patch.get(third + 38, "I"))


# What goes wrong, how it is done, and what check() must say.
FAULTS = [
    ("free count", lambda p: p.add(MDB + 34, "H", 1), "free blocks"),
    ("used block free in the bitmap", lambda p: _flip_bit(p, _big_block(p)), "are free in the"),
    ("file count", lambda p: p.add(MDB + 84, "I", 1), "drFilCnt"),
    ("folder count", lambda p: p.add(MDB + 88, "I", 1), "drDirCnt"),
    ("files in the root", lambda p: p.add(MDB + 12, "H", 1), "drNmFls"),
    ("folders in the root", lambda p: p.add(MDB + 82, "H", 1), "drNmRtDirs"),
    ("next number", lambda p: p.put(MDB + 30, "I", 20), "drNxtCNID"),
    ("bitmap in the MDB", lambda p: p.put(MDB + 14, "H", 2), "inside the MDB"),
    ("bitmap in the blocks", lambda p: p.put(MDB + 28, "H", 3), "reaches into"),
    ("too many blocks", lambda p: p.add(MDB + 18, "H", 3), "after the alternate MDB"),
    ("alternate MDB", lambda p: p.add(len(p.data) - 1024 + 18, "H", 1), "alternate MDB at byte"),
    ("no alternate MDB", lambda p: p.put(len(p.data) - 1024, "H", 0), "drSigWord"),
    ("volume name", lambda p: p.put(MDB + 37, "B", 0x5A), "the root folder is called"),
    ("blessed folder", lambda p: p.put(MDB + 92, "I", 9999), "drFndrInfo"),
    ("valence", lambda p: p.add(p.record(b"Deep", 1) + 4, "H", 1), "valence"),
    ("swapped keys", _swap_first_records, "not above the one before"),
    ("forward link", lambda p: p.put(p.leaf(2), "I", 0), "links forward to"),
    ("backward link", lambda p: p.put(p.leaf(2) + 4, "I", 0), "links back to"),
    ("node kind", lambda p: p.put(p.leaf(2) + 8, "B", 0), "kind 0, not leaf"),
    ("node height", lambda p: p.put(p.leaf(2) + 9, "B", 2), "height 2, not 1"),
    ("record offset", lambda p: p.put(p.leaf(2) + 508, "H", 13), "record offset"),
    ("record count", lambda p: p.put(p.leaf(2) + 10, "H", 300), "impossible record count"),
    ("child reached twice", _lose_leaf, "reached twice"),
    ("index key", lambda p: p.add(p.root() + 16, "I", 1), "differs from the key in its parent"),
    ("index key length", lambda p: p.put(p.root() + 14, "B", 31), "index key length 31"),
    ("tree depth", lambda p: p.add(p.node(0) + 14, "H", 1), "height"),
    ("leaf records", lambda p: p.add(p.node(0) + 20, "I", 1), "leaf records in the header"),
    ("last leaf", lambda p: p.add(p.node(0) + 28, "I", 1), "last leaf"),
    ("free nodes", lambda p: p.add(p.node(0) + 40, "I", 1), "free nodes in the header"),
    ("node in use is free", lambda p: p.put(p.node(0) + 0xF8, "B", 0x7F), "free in the node map"),
    ("free node is marked", lambda p: p.put(p.node(0) + 0x1F7, "B", 1), "marked in the node map"),
    ("key length limit", lambda p: p.put(p.node(0) + 34, "H", 36), "greatest key length"),
    ("two owners", _claim_twice, "belongs to"),
    ("physical length", lambda p: p.add(p.record(b"big", 2) + 30, "I", 512), "extents hold"),
    ("odd physical length", lambda p: p.add(p.record(b"big", 2) + 30, "I", 1), "no multiple"),
    ("logical length", lambda p: p.put(p.record(b"big", 2) + 26, "I", 10**6), "logical length"),
    ("extent outside", lambda p: p.put(p.record(b"big", 2) + 74, "H", 60000), "outside the volume"),
    ("unused extent", lambda p: p.put(p.record(b"big", 2) + 84, "H", 1), "unused extent"),
    ("filTyp", lambda p: p.put(p.record(b"big", 2) + 3, "B", 1), "filTyp"),
    ("filResrv", lambda p: p.put(p.record(b"big", 2) + 98, "I", 1), "filResrv"),
    ("dirResrv", lambda p: p.put(p.record(b"Deep", 1) + 66, "I", 1), "dirResrv"),
    ("reserved byte", lambda p: p.put(p.record(b"big", 2) + 1, "B", 1), "reserved byte of the rec"),
    ("number twice", lambda p: p.put(p.record(b"big", 2) + 20, "I", 16), "is used by 2 records"),
    ("thread flag", lambda p: p.put(p.record(b"big", 2) + 2, "B", 0x82), "flags tell of one"),
    ("thread's parent", lambda p: p.add(p.thread(16) + 10, "I", 1), "thread of 16: it says"),
    ("thread's name", lambda p: p.put(p.thread(16) + 15, "B", 0x5A), "thread of 16: it says"),
    ("thread's kind", lambda p: p.put(p.thread(16), "B", 4), "does not fit its record"),
    ("lost folder", lambda p: p.put(p.record(b"Other", 1) + 6, "I", 5000), "no such file or"),
    ("colon", lambda p: p.put(p.record(b"big", 2) - 2, "B", 0x3A), "colon in the name"),
    ("record type", lambda p: p.put(p.record(b"big", 2), "B", 9), "unknown record type"),
    ("own parent", _make_cycle, "not reachable from the root"),
    ("block size", lambda p: p.put(MDB + 20, "I", 1000), "no multiple of 512"),
    ("clump size", lambda p: p.put(MDB + 24, "I", 700), "drClpSiz"),
]


def problems_of(data):
    """What a reader says, be it at once or in check()."""
    try:
        return HfsVolume(bytes(data)).check()
    except FormatError as error:
        return [str(error)]


class HfsFaults(unittest.TestCase):
    """The table above, each row on a fresh copy."""

    def test_each_fault_is_reported(self):
        image = makers.hfs_image()
        before = problems_of(image)
        for name, plant, words in FAULTS:
            with self.subTest(name):
                patch = HfsPatch(image)
                plant(patch)
                new = [problem for problem in problems_of(patch.data) if problem not in before]
                self.assertTrue(any(words in problem for problem in new), new)

    def test_marked_block_of_nobody_is_an_orphan(self):
        patch = HfsPatch(makers.hfs_image())
        free = patch.volume.blocks.bits.rfind(0)
        _flip_bit(patch, free)
        patch.add(MDB + 34, "H", -1)
        before = problems_of(makers.hfs_image())
        self.assertEqual(problems_of(patch.data), before)
        self.assertEqual(patch.volume.orphans(), 0)
        self.assertEqual(HfsVolume(bytes(patch.data)).orphans(), 1)

    def test_overflow_extents_are_checked(self):
        image = makers.fragmented_hfs_image()
        before = problems_of(image)
        volume = HfsVolume(image)
        cnid = next(entry.cnid for entry in volume.walk() if entry.name == "big")
        key = bytes([7, 0]) + struct.pack(">I", cnid)
        at = image.index(key)
        for name, offset, words in (("first block", 7, "the ones before end at"),
                                    ("file number", 4, "which has none"),
                                    ("extent", 11, "extents hold")):
            with self.subTest(name):
                data = bytearray(image)
                data[at + offset] ^= 1
                new = [problem for problem in problems_of(data) if problem not in before]
                self.assertTrue(any(words in problem for problem in new), new)

    def test_random_damage_never_breaks_the_reader(self):
        seed = random.randrange(1 << 32)
        print(f"seed {seed}")
        chance = random.Random(seed)
        image = makers.hfs_image()
        patch = HfsPatch(image)
        places = [(MDB, 162), (patch.node(0), 512), (patch.root(), 512), (patch.leaf(0), 512),
                  (patch.leaf(3), 512), (patch.block(0), 512)]
        for _ in range(300):
            data = bytearray(image)
            start, length = chance.choice(places)
            for _ in range(chance.randint(1, 6)):
                data[start + chance.randrange(length)] = chance.randrange(256)
            try:
                volume = HfsVolume(bytes(data))
                volume.check()
                for entry in volume.walk():
                    if entry.data:
                        entry.data.read()
            except FormatError:
                pass


if __name__ == "__main__":
    unittest.main()
