"""A volume that another program made, with one fault each: the readers must name it."""

import functools
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

from .hfs import HfsVolume

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
class Faults(unittest.TestCase):
    """The table above, each row on a fresh copy."""

    def test_each_fault_is_named(self):
        reader = HfsVolume(hfs_image())
        before = reader.check()
        for plant, words in HFS:
            with self.subTest(words=words):
                damage = Damage(hfs_image(), reader)
                plant(damage)
                found = HfsVolume(bytes(damage.data)).check()
                self.assertIn(words, "\n".join(set(found) - set(before)))
        damage, free = Damage(hfs_image(), reader), reader.blocks.bits.rfind(0)
        damage.flip(3 * 512 + free // 8, 0x80 >> free % 8)
        self.assertEqual(1, HfsVolume(bytes(damage.data)).orphans())



if __name__ == "__main__":
    unittest.main()
