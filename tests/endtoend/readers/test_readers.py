"""Images that other programs made, with one fault each: the readers must name it."""

import functools
import os
import struct
import subprocess
import tempfile
import unittest
from pathlib import Path

from .examine import Examination
from .hfs import HfsVolume
from .hfsplus import HfsPlusVolume
from .iso9660 import IsoImage

BIG = bytes(range(256)) * 160       # 40,960 bytes

@functools.cache
def hfs_image():
    """HFS by hfsutils, with so many files that the catalog has index nodes."""
    with tempfile.TemporaryDirectory() as folder:
        source, image = Path(folder) / "source", Path(folder) / "image"
        source.write_bytes(BIG)
        image.write_bytes(bytes(4 << 20))
        for words in (("hformat", "-l", "Test Vol", image), ("hmkdir", ":Folder"),
                      ("hmkdir", ":Folder:Deep"), ("hcopy", "-r", source, ":big"),
                      *(("hcopy", "-r", source, f":Folder:file {number}") for number in range(40)),
                      ("humount",)):
            subprocess.run(words, check=True, capture_output=True, cwd=folder,
                           env=dict(os.environ, HOME=folder))
        return image.read_bytes()


@functools.cache
def made_from(*command):
    """The image that a program makes of a folder."""
    with tempfile.TemporaryDirectory() as scratch:
        folder, image = Path(scratch) / "tree", Path(scratch) / "image"
        (folder / "Sub Folder" / "deep").mkdir(parents=True)
        for number in range(300):
            (folder / "Sub Folder" / f"file number {number:03}.txt").write_text(f"{number}\n")
        (folder / "big.bin").write_bytes(BIG)
        (folder / "caf\u00e9.txt").write_text("accent\n")
        (folder / "Sub Folder" / "deep" / "last").write_text("last\n")
        # AppleDouble (RFC 1740): the Finder's information, then the resource fork.
        if "-apple" in command:
            (folder / "._big.bin").write_bytes(
                struct.pack(">II16xH6I", 0x51607, 0x20000, 2, 9, 50, 32, 2, 82, 600)
                + b"TYPEcrea".ljust(32, b"\0") + b"rsrc" * 150)
        subprocess.run([*command, "-o", image, folder], check=True, capture_output=True)
        return image.read_bytes()


def iso_image():
    """ISO 9660 with Joliet and Apple's extension by genisoimage."""
    return made_from("genisoimage", "-quiet", "-J", "-R", "-apple", "--osx-double", "-V", "VOL")


def plus_image():
    """HFS Plus by xorriso."""
    image = made_from("xorriso", "-as", "mkisofs", "-quiet", "-hfsplus")
    row, = (row for row in Examination(image).partitions if row.type == "Apple_HFS")
    return image[row.start:row.start + row.length]


class Damage:
    """A copy of an image; places are found by the bytes that stand there."""

    def __init__(self, image, reader):
        self.data, self.reader = bytearray(image), reader

    def record(self, name):
        """Offset of the catalog record of an item."""
        return self.data.index(next(entry.record for entry in self.reader.entries
                                    if entry.name == name))

    def leaf(self):
        """Offset of the second leaf node of the catalog."""
        tree = self.reader.catalog_tree
        number = tree.node(tree.first_leaf).forward
        return self.data.index(tree.data[number * tree.node_size:(number + 1) * tree.node_size])

    def iso_record(self, name):
        """Offset of a directory record of the ISO tree."""
        return self.data.index(name, self.reader.descriptors["iso"].root.extent * 2048) - 33

    def flip(self, offset, mask=1):
        """Changes bits of a byte."""
        self.data[offset] ^= mask

    def put(self, offset, contents):
        """Writes bytes."""
        self.data[offset:offset + len(contents)] = contents


# What is done, and what must be said of it.
HFS = [(lambda d: d.flip(1024 + 35), "drFreeBks"),
       (lambda d: d.flip(3 * 512, 0x80), "free in the bitmap"),
       (lambda d: d.flip(1024 + 87), "drFilCnt"),
       (lambda d: d.put(1024 + 30, b"\0\0\0\x14"), "next number"),
       (lambda d: d.flip(len(d.data) - 1024 + 19), "alternate MDB: drNmAlBlks"),
       (lambda d: d.flip(d.record("Deep") + 5), "valence"),
       (lambda d: d.put(d.record("big") + 74, b"\0\0"), "belongs to"),
       (lambda d: d.flip(d.leaf() + 3), "links forward to"),
       (lambda d: d.flip(d.leaf() + 8, 0xFF), "not 255"),
       (lambda d: d.flip(d.leaf() + 18), "differs from the key in its parent"),
       (lambda d: d.flip(d.data.index(b"\3" + bytes(9) + b"\0\0\0\2\6Folder") + 13), "it says")]
PLUS = [(lambda d: d.flip(1024 + 51), "freeBlocks is"),
        (lambda d: d.flip(len(d.data) - 1024 + 120), "special files differ"),
        (lambda d: d.flip(d.record("big.bin") + 103), "extents hold"),
        (lambda d: d.put(d.record("big.bin") + 104, bytes(4)), "belongs to"),
        (lambda d: d.put(d.record("big.bin") + 42, b"\x41\xed"), "mode"),
        (lambda d: d.put(d.record("cafe\u0301.txt") - 12, b"\0\xe9\0x"),
         "not canonically decomposed")]
ISO = [(lambda d: d.flip(16 * 2048 + 80), "big-endian"),
       (lambda d: d.flip(d.data.index(b"DEEP", d.reader.descriptors["iso"].tables_l[0] * 2048) - 2),
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
