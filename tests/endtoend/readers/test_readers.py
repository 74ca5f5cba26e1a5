"""A volume that another program made, with one fault each: the readers must name it."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

from .hfs import HfsVolume


def hfs_image():
    """HFS by hfsutils, with so many files that the catalog has index nodes."""
    with tempfile.TemporaryDirectory() as folder:
        source, image = Path(folder) / "source", Path(folder) / "image"
        source.write_bytes(bytes(range(256)) * 160)
        image.write_bytes(bytes(4 << 20))
        for words in (("hformat", "-l", "Test Vol", image), ("hmkdir", ":Folder"),
                      ("hmkdir", ":Folder:Deep"), ("hcopy", "-r", source, ":big"),
                      *(("hcopy", "-r", source, f":Folder:file {number}") for number in range(40)),
                      ("humount",)):
            subprocess.run(words, check=True, capture_output=True, cwd=folder,
                           env=dict(os.environ, HOME=folder))
        return image.read_bytes()


class Faults(unittest.TestCase):
    """Each row on a fresh copy."""

    def test_each_fault_is_named(self):
        image = hfs_image()
        reader = HfsVolume(image)
        before, tree = reader.check(), reader.catalog_tree
        record = {entry.name: image.index(entry.record) for entry in reader.entries}
        number = tree.node(tree.first_leaf).forward * tree.node_size
        leaf = image.index(tree.data[number:number + tree.node_size])
        thread = image.index(b"\3" + bytes(9) + b"\0\0\0\2\6Folder")
        free = reader.blocks.bits.rfind(0)
        for offset, mask, words in (
                (1024 + 35, 1, "drFreeBks"), (3 * 512, 0x80, "free in the bitmap"),
                (1024 + 87, 1, "drFilCnt"), (1024 + 33, 0x3F, "next number"),
                (len(image) - 1024 + 19, 1, "alternate MDB: drNmAlBlks"),
                (record["Deep"] + 5, 1, "valence"), (record["big"] + 75, 1, "belongs to"),
                (leaf + 3, 1, "links forward to"), (leaf + 8, 0xFF, "not 255"),
                (leaf + 18, 1, "differs from the key in its parent"), (thread + 13, 1, "it says"),
                (3 * 512 + free // 8, 0x80 >> free % 8, "drFreeBks")):
            with self.subTest(words=words):
                damaged = bytearray(image)
                damaged[offset] ^= mask
                found = HfsVolume(bytes(damaged))
                self.assertIn(words, "\n".join(set(found.check()) - set(before)))
        self.assertEqual((0, 1), (reader.orphans(), found.orphans()))
