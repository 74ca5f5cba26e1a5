"""The readers against images that other programs made, and against the same with one fault each."""

import functools
import os
import re
import struct
import subprocess
import tempfile
import unittest
from pathlib import Path

from .examine import Examination
from .hfs import HfsVolume
from .hfsplus import HfsPlusVolume, is_decomposed
from .hfsplus_order import folded_key
from .iso9660 import IsoImage

BIG = bytes(range(256)) * 160       # 40,960 bytes
# What is known of these programs: hfsutils and genisoimage keep the first block of a fork in
# reserved fields; genisoimage puts the alternate MDB elsewhere and has maps of another kind; xorriso
# clears the last byte of its bitmap, and has code where a driver descriptor goes.
HABITS = re.compile("a reserved field|alternate MDB|blocks end with|map entry|do not fit in|driver|"
                    "free in the bitmap|freeBlocks|clear bits")


@functools.cache
def hfs_image():
    """HFS with so many files that the catalog has index nodes, one in more than three extents."""
    with tempfile.TemporaryDirectory() as folder:
        source, image = Path(folder) / "source", Path(folder) / "image"

        def run(*words):
            return subprocess.run(words, check=True, capture_output=True, cwd=folder,
                                  env=dict(os.environ, HOME=folder)).stdout

        def copy(data, *targets):
            source.write_bytes(data)
            for target in targets:
                run("hcopy", "-r", source, target)
        image.write_bytes(bytes(800 * 1024))
        run("hformat", "-l", "Test Vol", image)
        for path in (":Folder", ":Folder:Deep"):
            run("hmkdir", path)
        names = [f":Folder:gap {number:02}" for number in range(60)]
        copy(b"x" * 2048, *names)
        free = int(re.search(rb"(\d+) bytes free", run("hvol")).group(1))
        copy(bytes(free - 20_000), ":filler")
        run("hdel", *names[::2])
        copy(BIG, ":big")
        run("humount")
        return image.read_bytes()


@functools.cache
def made_from(*command, extra=0):
    """The image that a program makes of a folder."""
    with tempfile.TemporaryDirectory() as scratch:
        folder, image = Path(scratch) / "tree", Path(scratch) / "image"
        (folder / "Sub Folder" / "deep" / "deeper").mkdir(parents=True)
        (folder / "Other").mkdir()
        for number in range(300):
            (folder / "Sub Folder" / f"file number {number:03}.txt").write_text(f"{number}\n")
        (folder / "big.bin").write_bytes(BIG)
        (folder / "caf\u00e9.txt").write_text("accent\n")
        (folder / "Sub Folder" / "deep" / "deeper" / "last").write_text("last\n")
        if extra:
            (folder / "filler").write_bytes(bytes(extra))
        # AppleDouble (RFC 1740): the Finder's information, then the resource fork.
        if "-apple" in command:
            (folder / "._big.bin").write_bytes(
                struct.pack(">II16xH6I", 0x51607, 0x20000, 2, 9, 50, 32, 2, 82, 600)
                + b"TYPEcrea".ljust(32, b"\0") + b"rsrc" * 150)
        subprocess.run([*command, "-o", image, folder], check=True, capture_output=True)
        return image.read_bytes()


def partition(image):
    """The bytes of the Apple_HFS partition of a hybrid disc."""
    row, = (row for row in Examination(image).partitions if row.type == "Apple_HFS")
    return image[row.start:row.start + row.length]


def iso_image():
    """ISO 9660 with Joliet and Apple's extension by genisoimage."""
    return made_from("genisoimage", "-quiet", "-J", "-R", "-apple", "--osx-double", "-V", "VOL")


def plus_image():
    """HFS Plus by xorriso."""
    return partition(made_from("xorriso", "-as", "mkisofs", "-quiet", "-hfsplus"))


class OtherPrograms(unittest.TestCase):
    """What is found in images that are whole."""

    def expect(self, volume, wanted):
        """No fault but known habits of these programs, and files of these contents."""
        self.assertEqual([], [problem for problem in volume.check() if not HABITS.search(problem)])
        files = {"/".join(entry.path): entry for entry in volume.walk() if not entry.is_folder}
        for path, contents in wanted.items():
            self.assertEqual(contents, files[path].data.read(), path)
        return files

    def test_hfsutils(self):
        volume = HfsVolume(hfs_image())
        files = self.expect(volume, {"big": BIG, "Folder/gap 33": b"x" * 2048})
        self.assertEqual((32, 0), (len(files), volume.orphans()))
        self.assertGreater(len(files["big"].data.extents), 3)
        self.assertGreater(volume.catalog_tree.depth, 1)

    def test_genisoimage(self):
        image = IsoImage(iso_image())
        self.assertEqual(([], []), (image.check(), image.order))
        joliet = {"/".join(entry.path): entry.read() for entry in image.walk("joliet")
                  if not entry.is_folder and not entry.flags & 4}
        self.assertEqual((303, BIG, b"17\n"), (len(joliet), joliet["big.bin"],
                                               joliet["Sub Folder/file number 017.txt"]))
        rsrc, data = (entry for entry in image.walk() if entry.path == ("BIG.BIN;1",))
        self.assertEqual((b"rsrc" * 150, BIG, b"TYPE", b"crea"),
                         (rsrc.read(), data.read(), data.apple.type, rsrc.apple.creator))
        # It miscounts the size of smaller hybrids and gives up.
        disc = made_from("genisoimage", "-quiet", "-hfs", "-part", "-V", "H", extra=400_000)
        self.assertEqual([], [problem for problem in Examination(disc).problems
                              if not HABITS.search(problem)])
        self.expect(HfsVolume(partition(disc)), {"big.bin": BIG})

    def test_xorriso(self):
        self.expect(HfsPlusVolume(plus_image()), {"cafe\u0301.txt": b"accent\n", "big.bin": BIG})

    def test_names_of_hfs_plus(self):
        self.assertEqual(folded_key("ABC"), folded_key("a\u200dbc"))    # an ignored joiner
        self.assertGreater(folded_key("\0"), folded_key("zzz"))         # NUL comes last
        self.assertLess(folded_key("\U0001f600"), folded_key("\uff5e"))     # by units
        for name, expected in (("cafe\u0301", True), ("caf\u00e9", False), ("\u2126", True),
                               ("\ud7a3", False), ("a\u0301\u0323", False)):
            self.assertEqual(expected, is_decomposed(name), ascii(name))


class Damage:
    """A copy of an image; places are found by the bytes that stand there."""

    def __init__(self, image, reader):
        self.data, self.reader = bytearray(image), reader

    def record(self, name):
        """Offset of the catalog record of an item."""
        return self.data.index(next(entry.record for entry in self.reader.entries
                                    if entry.name == name))

    def node(self, number):
        """Offset of a node of the catalog."""
        tree = self.reader.catalog_tree
        return self.data.index(tree.data[number * tree.node_size:(number + 1) * tree.node_size])

    def leaf(self):
        """Offset of the second leaf node of the catalog."""
        tree = self.reader.catalog_tree
        return self.node(tree.node(tree.first_leaf).forward)

    def flip(self, offset, mask=1):
        """Changes bits of a byte."""
        self.data[offset] ^= mask

    def put(self, offset, contents):
        """Writes bytes."""
        self.data[offset:offset + len(contents)] = contents

    def row(self, name, table):
        """Offset of a row of a path table of the ISO tree."""
        return self.data.index(name, table[0] * 2048) - 8

    def iso_record(self, name):
        """Offset of a directory record of the ISO tree."""
        return self.data.index(name, self.reader.descriptors["iso"].root.extent * 2048) - 33


def _both_tables(damage):
    found = damage.reader.descriptors["iso"]
    struct.pack_into("<H", damage.data, damage.row(b"DEEP", found.tables_l) + 6, 1)
    struct.pack_into(">H", damage.data, damage.row(b"DEEP", found.tables_m) + 6, 1)


# What is done, and what must be said of it.
HFS = [(lambda d: d.flip(1024 + 35), "drFreeBks"),
       (lambda d: d.flip(3 * 512, 0x80), "free in the bitmap"),
       (lambda d: d.flip(1024 + 87), "drFilCnt"),
       (lambda d: d.put(1024 + 30, b"\0\0\0\x14"), "next number"),
       (lambda d: d.flip(len(d.data) - 1024 + 19), "alternate MDB: drNmAlBlks"),
       (lambda d: d.flip(d.record("Deep") + 5), "valence"),
       (lambda d: d.put(d.record("big") + 74, b"\0\0"), "belongs to"),
       (lambda d: d.flip(d.record("big") + 33), "no multiple"),
       (lambda d: d.flip(d.data.index(b"\7\0" + d.data[d.record("big") + 20:][:4]) + 7),
        "the ones before end at"),
       (lambda d: d.flip(d.leaf() + 3), "links forward to"),
       (lambda d: d.flip(d.leaf() + 8, 0xFF), "not 255"),
       (lambda d: d.flip(d.leaf() + 18), "differs from the key in its parent"),
       (lambda d: d.flip(d.node(0) + 0xF8, 0x40), "free in the node map"),
       (lambda d: d.flip(d.node(0) + 23), "leaf records in the header"),
       (lambda d: d.flip(d.data.index(b"\3" + bytes(9) + b"\0\0\0\2\6Folder") + 13), "it says")]
PLUS = [(lambda d: d.flip(1024 + 51), "freeBlocks is"),
        (lambda d: d.flip(dict(d.reader.system)["allocation file"].extents[0][0] * 2048, 0x80),
         "volume header: 1 of its blocks are free"),
        (lambda d: d.flip(len(d.data) - 1024 + 120), "special files differ"),
        (lambda d: d.put(1024 + 64, b"\0\0\0\x14"), "next number"),
        (lambda d: d.flip(d.record("big.bin") + 103), "extents hold"),
        (lambda d: d.put(d.record("big.bin") + 104, bytes(4)), "belongs to"),
        (lambda d: d.put(d.record("big.bin") + 42, b"\x41\xed"), "mode"),
        (lambda d: d.flip(d.leaf() + 19), "differs from the key in its parent"),
        (lambda d: d.put(d.record("cafe\u0301.txt") - 12, b"\0\xe9\0x"),
         "not canonically decomposed")]
ISO = [(lambda d: d.flip(16 * 2048 + 80), "big-endian"),
       (_both_tables, "no right row"),
       (lambda d: d.flip(d.row(b"DEEP", d.reader.descriptors["iso"].tables_l) + 6),
        "differ from each other"),
       (lambda d: struct.pack_into("<I4x", d.data, d.iso_record(b"BIG.BIN;1") + 2, 3), "belongs to"),
       (lambda d: struct.pack_into("<I", d.data, d.iso_record(b"BIG.BIN;1") + 2, 10**6), "outside"),
       (lambda d: d.flip(d.data.index(b"AA\x0e\2", d.iso_record(b"BIG.BIN;1")) + 3), "Apple")]


class Faults(unittest.TestCase):
    """The tables above, each row on a fresh copy."""

    def test_each_fault_is_named(self):
        for image, kind, rows in ((hfs_image(), HfsVolume, HFS), (plus_image(), HfsPlusVolume, PLUS),
                                  (iso_image(), IsoImage, ISO)):
            reader = kind(image)
            before = reader.check()
            for plant, words in rows:
                with self.subTest(words=words):
                    damage = Damage(image, reader)
                    plant(damage)
                    new = [problem for problem in kind(bytes(damage.data)).check()
                           if problem not in before]
                    self.assertIn(words, "\n".join(new))

    def test_a_wrong_order_and_a_block_of_nobody(self):
        damage = Damage(iso_image(), IsoImage(iso_image()))
        first = damage.iso_record(b"FILE_001.TXT;1")
        length = damage.data[first]
        two = damage.data[first:first + 2 * length]
        damage.put(first, two[length:] + two[:length])
        found = IsoImage(bytes(damage.data))
        self.assertEqual([], found.check())
        self.assertIn("out of order", "".join(found.order))
        volume = HfsVolume(hfs_image())
        damage, free = Damage(hfs_image(), volume), volume.blocks.bits.rfind(0)
        damage.flip(3 * 512 + free // 8, 0x80 >> free % 8)
        self.assertEqual(1, HfsVolume(bytes(damage.data)).orphans())


if __name__ == "__main__":
    unittest.main()
