"""Each fault planted in a good HFS Plus volume must be reported."""

import random
import struct
import unittest

from . import makers
from .hfsplus import HfsPlusVolume
from .hfsplus_check import is_decomposed
from .window import FormatError

HEADER = 1024


class PlusPatch:
    """A copy of an HFS Plus image with ways to find its structures and change them."""

    def __init__(self, image):
        self.data = bytearray(image)
        self.volume = HfsPlusVolume(image)
        tree = self.volume.catalog_tree
        self.size = tree.node_size
        (start, _), = self.volume.special["catalog file"].extents
        self.tree = start * self.volume.block_size

    def put(self, offset, layout, *values):
        """Writes big-endian `values` at `offset`."""
        struct.pack_into(">" + layout, self.data, offset, *values)

    def get(self, offset, layout):
        """One big-endian value at `offset`."""
        return struct.unpack_from(">" + layout, self.data, offset)[0]

    def add(self, offset, layout, amount):
        """Adds to the value at `offset`."""
        self.put(offset, layout, self.get(offset, layout) + amount)

    def node(self, number):
        """Offset of a node of the catalog."""
        return self.tree + number * self.size

    def root(self):
        """Offset of the root node of the catalog."""
        return self.node(self.volume.catalog_tree.root)

    def leaf(self, index):
        """Offset of the leaf node with this index in the chain."""
        number = self.volume.catalog_tree.first_leaf
        for _ in range(index):
            number = self.get(self.node(number), "I")
        return self.node(number)

    def records(self):
        """(offset of key, offset of data) of every leaf record."""
        number = self.volume.catalog_tree.first_leaf
        while number:
            node = self.node(number)
            for index in range(self.get(node + 10, "H")):
                key = node + self.get(node + self.size - 2 - 2 * index, "H")
                yield key, key + 2 + self.get(key, "H")
            number = self.get(node, "I")

    def record(self, name, key=False):
        """Offset of the data (or the key) of the file or folder called `name`."""
        packed = struct.pack(">H", len(name)) + name.encode("utf-16-be")
        for key_at, data_at in self.records():
            if self.data[key_at + 6:data_at] == packed:
                return key_at if key else data_at
        raise AssertionError(f"no record {name}")

    def thread(self, cnid):
        """Offset of the data of the thread of `cnid`."""
        for key_at, data_at in self.records():
            if self.data[key_at + 2:data_at] == struct.pack(">IH", cnid, 0):
                return data_at
        raise AssertionError(f"no thread of {cnid}")


def _swap_first_records(patch):
    """Swaps the first two records when they are files with names of equal length."""
    node = patch.leaf(1)
    offsets = [node + patch.get(node + patch.size - 2 - 2 * index, "H")
               for index in range(patch.get(node + 10, "H"))]
    for first, second, third in zip(offsets, offsets[1:], offsets[2:]):
        if second - first == third - second:
            patch.data[first:third] = patch.data[second:third] + patch.data[first:second]
            return
    raise AssertionError("no two records of the same length")


def _big_bit(patch):
    block = patch.get(patch.record("big.bin") + 88 + 16, "I")
    (start, _), = patch.volume.special["allocation file"].extents
    patch.data[start * patch.volume.block_size + block // 8] ^= 0x80 >> block % 8


FAULTS = [
    ("version", lambda p: p.put(HEADER + 2, "H", 5), "version 5"),
    ("not unmounted", lambda p: p.put(HEADER + 4, "I", 0), "not marked as unmounted"),
    ("inconsistent", lambda p: p.put(HEADER + 4, "I", 0x900), "inconsistent"),
    ("file count", lambda p: p.add(HEADER + 32, "I", 1), "fileCount"),
    ("folder count", lambda p: p.add(HEADER + 36, "I", 1), "folderCount"),
    ("total blocks", lambda p: p.add(HEADER + 44, "I", -1), "blocks of 2048 bytes in"),
    ("free blocks", lambda p: p.add(HEADER + 48, "I", 1), "free blocks"),
    ("next number", lambda p: p.put(HEADER + 64, "I", 20), "nextCatalogID"),
    ("blessed folder", lambda p: p.put(HEADER + 80, "I", 9999), "finderInfo[0]"),
    ("allocation file", lambda p: p.put(HEADER + 112, "Q", 1), "allocation file"),
    ("alternate header", lambda p: p.add(len(p.data) - 1024 + 44, "I", 1), "totalBlocks is"),
    ("special files differ", lambda p: p.add(len(p.data) - 1024 + 120, "I", 1), "files differ"),
    ("used block free in the bitmap", _big_bit, "'big.bin', data fork: 1 of its blocks are free"),
    ("header block free", lambda p: p.put(
        p.volume.special["allocation file"].extents[0][0] * 2048, "B", 0x7F),
     "volume header: 1 of"),
    ("swapped keys", _swap_first_records, "not above the one before"),
    ("forward link", lambda p: p.put(p.leaf(1), "I", 0), "links forward to"),
    ("backward link", lambda p: p.put(p.leaf(1) + 4, "I", 0), "links back to"),
    ("node kind", lambda p: p.put(p.leaf(1) + 8, "B", 0), "kind 0, not leaf"),
    ("record offset", lambda p: p.put(p.leaf(1) + p.size - 4, "H", 13), "record offset"),
    ("index key", lambda p: p.add(p.root() + 16, "I", 1), "differs from the key in its parent"),
    ("index key too long", lambda p: p.add(p.root() + 14, "H", 2), "does not fit its name"),
    ("leaf records", lambda p: p.add(p.node(0) + 20, "I", 1), "leaf records in the header"),
    ("free nodes", lambda p: p.add(p.node(0) + 40, "I", 1), "free nodes in the header"),
    ("total nodes", lambda p: p.add(p.node(0) + 36, "I", 1), "do not fill the file"),
    ("key length limit", lambda p: p.put(p.node(0) + 34, "H", 37), "greatest key length"),
    ("tree attributes", lambda p: p.put(p.node(0) + 52, "I", 2), "header attributes"),
    ("valence", lambda p: p.add(p.record("deep") + 4, "I", 1), "valence"),
    ("mode", lambda p: p.put(p.record("big.bin") + 42, "H", 0), "mode 0"),
    ("mode of a folder", lambda p: p.put(p.record("big.bin") + 42, "H", 0o40755), "does not fit"),
    ("thread flag", lambda p: p.put(p.record("big.bin") + 2, "H", 0), "flags do not tell"),
    ("number twice", lambda p: p.put(p.record("big.bin") + 8, "I", 16), "is used by 2 records"),
    ("no thread", lambda p: p.put(p.record("big.bin") + 8, "I", 16), "no such file or folder"),
    ("thread's name", lambda p: p.put(p.thread(16) + 10, "H", 0x5A), "thread of 16: it says"),
    ("thread's parent", lambda p: p.add(p.thread(16) + 4, "I", 1), "thread of 16: it says"),
    ("thread's kind", lambda p: p.put(p.thread(16), "H", 4), "does not fit its record"),
    ("blocks of a fork", lambda p: p.add(p.record("big.bin") + 100, "I", 1), "extents hold"),
    ("logical length", lambda p: p.put(p.record("big.bin") + 88, "Q", 10**9), "logical length"),
    ("extent outside", lambda p: p.put(p.record("big.bin") + 104, "I", 10**6), "outside the vol"),
    ("two owners", lambda p: p.put(p.record("big.bin") + 104, "I", 0), "belongs to"),
    ("unused extent", lambda p: p.put(p.record("big.bin") + 160, "I", 1), "unused extent"),
    ("attribute flag", lambda p: p.put(p.record("big.bin") + 2, "H", 6), "tell of attributes"),
    ("composed name", lambda p: p.put(p.record("cafe\u0301.txt", True) + 8 + 6, "H", 0xE9),
     "not canonically decomposed"),
    ("colon", lambda p: p.put(p.record("big.bin", True) + 8 + 6, "H", 0x3A), "colon in the name"),
    ("reserved2", lambda p: p.put(p.record("big.bin") + 84, "I", 1), "reserved2"),
    ("record type", lambda p: p.put(p.record("big.bin"), "H", 9), "unknown record type"),
]


def problems_of(data):
    """What a reader says, be it at once or in check()."""
    try:
        return HfsPlusVolume(bytes(data)).check()
    except FormatError as error:
        return [str(error)]


def embed(wrapper, inside):
    """`wrapper`, an empty HFS image, with the HFS Plus volume `inside` in front of its last block."""
    data = bytearray(wrapper)
    blocks, size, first = (struct.unpack_from(layout, data, 1024 + at)[0]
                           for layout, at in ((">H", 18), (">I", 20), (">H", 28)))
    count = -(-len(inside) // size)
    start = blocks - count - 1
    at = first * 512 + start * size
    data[at:at + len(inside)] = inside
    for block in range(start, start + count):
        data[3 * 512 + block // 8] |= 0x80 >> block % 8
    free, = struct.unpack_from(">H", data, 1024 + 34)
    struct.pack_into(">H", data, 1024 + 34, free - count)
    for mdb in (1024, len(data) - 1024):
        struct.pack_into(">HHH", data, mdb + 124, 0x482B, start, count)
    # The bad block file: one record in one leaf, the first node after the header node.
    tree = first * 512 + struct.unpack_from(">H", data, 1024 + 134)[0] * size
    struct.pack_into(">HIIII", data, tree + 14, 1, 1, 1, 1, 1)
    struct.pack_into(">I", data, tree + 40, struct.unpack_from(">I", data, tree + 40)[0] - 1)
    data[tree + 0xF8] |= 0x40
    struct.pack_into(">IIBBHHBBIHHH", data, tree + 512, 0, 0, 0xFF, 1, 1, 0, 7, 0, 5, 0,
                     start, count)
    struct.pack_into(">HH", data, tree + 1024 - 4, 14 + 20, 14)
    return bytes(data)


class PlusFaults(unittest.TestCase):
    """The table above, each row on a fresh copy."""

    def setUp(self):
        self.image = makers.hfs_partition(makers.plus_hybrid_image())
        self.before = problems_of(self.image)

    def new_problems(self, data):
        """Problems that the image as made does not have."""
        return [problem for problem in problems_of(data) if problem not in self.before]

    def test_each_fault_is_reported(self):
        for name, plant, words in FAULTS:
            with self.subTest(name):
                patch = PlusPatch(self.image)
                plant(patch)
                new = self.new_problems(patch.data)
                self.assertTrue(any(words in problem for problem in new), new)

    def _overflowing(self):
        """The volume with big.bin's extents partly in the extents overflow file.

        That file has its header node alone; its second node takes the last blocks of big.bin.
        """
        patch = PlusPatch(self.image)
        tree, block = patch.volume.extents_tree, patch.volume.block_size
        if tree.total_nodes != 1:
            self.skipTest("this xorriso makes an extents overflow file of more than one node")
        taken = tree.node_size // block
        at = patch.record("big.bin") + 88
        start, count = patch.get(at + 16, "I"), patch.get(at + 20, "I") - taken
        patch.put(at, "QII", count * block, 0, count)
        for index in range(8):
            patch.put(at + 16 + 8 * index, "II", start + index, 1)
        (first, held), = patch.volume.special["extents overflow file"].extents
        for header in (HEADER, len(patch.data) - 1024):
            patch.put(header + 192, "Q", 2 * tree.node_size)
            patch.put(header + 204, "III", held + taken, first, held)
            patch.put(header + 216, "II", start + count, taken)
        patch.put(first * block + 14, "HIIII", 1, 1, 1, 1, 1)
        patch.put(first * block + 36, "II", 2, 0)
        patch.put(first * block + 0xF8, "B", 0xC0)
        leaf, cnid = (start + count) * block, patch.get(patch.record("big.bin") + 8, "I")
        patch.put(leaf, "IIBBHHHBBII", 0, 0, 0xFF, 1, 1, 0, 10, 0, 0, cnid, 8)
        patch.put(leaf + 26, "16I", start + 8, count - 8, *[0] * 14)
        patch.put(leaf + tree.node_size - 4, "HH", 14 + 76, 14)
        return patch, leaf

    def test_overflow_extents_are_followed_and_checked(self):
        patch, leaf = self._overflowing()
        self.assertEqual(self.new_problems(patch.data), [])
        volume = HfsPlusVolume(bytes(patch.data))
        big, = (entry for entry in volume.walk() if entry.name == "big.bin")
        self.assertEqual(len(big.data.extents), 9)
        self.assertEqual(big.data.read(), makers.BIG[:big.data.logical])
        for name, offset, words in (("first block", 25, "the ones before end at 8"),
                                    ("file", 19, "which has none"),
                                    ("count", 33, "extents hold")):
            with self.subTest(name):
                data = bytearray(patch.data)
                data[leaf + offset] ^= 1
                new = self.new_problems(data)
                self.assertTrue(any(words in problem for problem in new), new)

    def test_wrapper_is_followed_and_checked(self):
        wrapper = makers.HfsMaker(len(self.image) + 400 * 1024).finish()
        data = embed(wrapper, self.image)
        volume = HfsPlusVolume(data)
        inside = [problem for problem in volume.check() if problem not in self.before]
        self.assertEqual(inside, [])
        self.assertEqual(volume.wrapper.orphans(), 0)
        self.assertEqual(sum(not entry.is_folder for entry in volume.walk()), 304)
        start, = struct.unpack_from(">H", data, 1024 + 126)
        for name, at, words in (("bad block file", data.index(struct.pack(">IHH", 5, 0, start)),
                                 "not in the bad block file"),
                                ("bitmap", 3 * 512 + start // 8 + 1, "are free in the bitmap")):
            with self.subTest(name):
                bad = bytearray(data)
                bad[at] ^= 0x40
                new = [problem for problem in problems_of(bad) if problem not in self.before]
                self.assertTrue(any(words in problem for problem in new), new)

    def test_random_damage_never_breaks_the_reader(self):
        seed = random.randrange(1 << 32)
        print(f"seed {seed}")
        chance = random.Random(seed)
        patch = PlusPatch(self.image)
        places = [(HEADER, 512), (patch.node(0), 512), (patch.root(), 512),
                  (patch.leaf(0), 1024), (patch.leaf(1), 1024)]
        for _ in range(150):
            data = bytearray(self.image)
            start, length = chance.choice(places)
            for _ in range(chance.randint(1, 6)):
                data[start + chance.randrange(length)] = chance.randrange(256)
            try:
                volume = HfsPlusVolume(bytes(data))
                volume.check()
                for entry in volume.walk():
                    if entry.data:
                        entry.data.read()
            except FormatError:
                pass


class Names(unittest.TestCase):
    """Decomposition as TN1150 has it."""

    def test_decomposed(self):
        for name, expected in (("cafe\u0301", True), ("caf\u00e9", False), ("plain", True),
                               ("\u2126", True), ("\uf900", True), ("\ud7a3", False),
                               ("a\u0301\u0323", False), ("a\u0323\u0301", True)):
            with self.subTest(ascii(name)):
                self.assertEqual(is_decomposed(name), expected)


if __name__ == "__main__":
    unittest.main()
