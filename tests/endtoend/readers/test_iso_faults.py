"""Each fault planted in a good ISO 9660 image must be reported."""

import random
import struct
import unittest

from . import makers
from .iso9660 import IsoImage
from .window import FormatError

PVD, SVD, END = 16 * 2048, 17 * 2048, 18 * 2048


class IsoPatch:
    """A copy of an ISO image with ways to find its records."""

    def __init__(self, image):
        self.data = bytearray(image)
        self.image = IsoImage(image)

    def both(self, offset, value):
        """Writes a 32-bit number little-endian and big-endian."""
        struct.pack_into("<I", self.data, offset, value)
        struct.pack_into(">I", self.data, offset + 4, value)

    def directory(self, tree, *path):
        """The Directory at `path`."""
        found = self.image.trees[tree]
        for name in path:
            found, = (child for child in found.children if child.path[-1] == name)
        return found

    def offset(self, tree, *path):
        """Byte offset of a directory's first sector."""
        return self.directory(tree, *path).record.first * 2048

    def record(self, tree, *path):
        """Byte offset of the record of the file or folder at `path`."""
        name = path[-1].encode("utf-16-be" if tree == "joliet" else "latin-1")
        at = self.offset(tree, *path[:-1])
        while True:
            if self.data[at + 33:at + 33 + self.data[at + 32]] == name:
                return at
            # The next record, or the next sector after the last one.
            at += self.data[at] or 2048 - at % 2048

    def row(self, tree, identifier, mark="<"):
        """Byte offset of the row of the path table that has this identifier (bytes)."""
        descriptor = self.image.descriptors[tree]
        at = (descriptor.tables_l if mark == "<" else descriptor.tables_m)[0] * 2048
        while self.data[at + 8:at + 8 + self.data[at]] != identifier:
            at += 8 + self.data[at] + self.data[at] % 2
        return at


def _in_both_tables(patch, identifier, where, value):
    for mark in "<>":
        struct.pack_into(mark + "H", patch.data, patch.row("iso", identifier, mark) + where, value)


def _duplicate(patch):
    """Two files of SUB_FOLD get the same name."""
    first = patch.record("iso", "SUB_FOLD", "FILE_001.TXT;1")
    second = first + patch.data[first]
    patch.data[second + 33:second + 47] = patch.data[first + 33:first + 47]


def _partly_shared(patch):
    """big.bin starts one block into itself in the Joliet tree."""
    at = patch.record("joliet", "big.bin")
    patch.both(at + 2, struct.unpack_from("<I", patch.data, at + 2)[0] + 1)


def _crossing_record(patch):
    """The last record of the first sector of SUB_FOLD tells of more than the sector holds."""
    at = end = patch.offset("iso", "SUB_FOLD")
    while at < end + 2048 and patch.data[at]:
        last, at = at, at + patch.data[at]
    patch.data[last] = 254


FAULTS = [
    ("both endian", lambda p: p.data.__setitem__(PVD + 80, p.data[PVD + 80] ^ 1), "big-endian"),
    ("too few bytes", lambda p: p.both(PVD + 80, 10**6), "blocks in a file of"),
    ("beyond the volume", lambda p: p.both(PVD + 80, 60), "are outside the volume of 60"),
    ("version", lambda p: p.data.__setitem__(PVD + 6, 3), "version 3"),
    ("date", lambda p: p.data.__setitem__(PVD + 813 + 4, 0x39), "creation date"),
    ("no terminator", lambda p: p.data.__setitem__(END + 1, 0), "no 'CD001'"),
    ("structure version", lambda p: p.data.__setitem__(PVD + 881, 2), "file structure version"),
    ("block size", lambda p: struct.pack_into("<H", p.data, PVD + 128, 512), "block size 512"),
    ("root record", lambda p: p.data.__setitem__(PVD + 188, 2), "not of 34 bytes"),
    ("record number", lambda p: p.data.__setitem__(
        p.record("iso", "BIG.BIN;1") + 13, 9), "data length"),
    ("lower case", lambda p: p.data.__setitem__(p.record("iso", "BIG.BIN;1") + 33, 0x62),
     "not allow for a file"),
    ("no version", lambda p: p.data.__setitem__(p.record("iso", "BIG.BIN;1") + 40, 0x5F),
     "not allow for a file"),
    ("dot in a folder", lambda p: p.data.__setitem__(p.record("iso", "OTHER") + 34, 0x2E),
     "not allow for a directory"),
    ("Joliet characters", lambda p: p.data.__setitem__(p.record("joliet", "big.bin") + 34, 0x2A),
     "Joliet does not allow"),
    ("twice", _duplicate, "twice in the directory"),
    ("bad date", lambda p: p.data.__setitem__(p.record("iso", "BIG.BIN;1") + 19, 13), "date"),
    ("reserved flag", lambda p: p.data.__setitem__(p.record("iso", "BIG.BIN;1") + 25, 0x20),
     "reserved bits"),
    ("section without end", lambda p: p.data.__setitem__(p.record("iso", "BIG.BIN;1") + 25, 0x80),
     "file section"),
    ("volume of a set", lambda p: struct.pack_into(
        "<HH", p.data, p.record("iso", "BIG.BIN;1") + 28, 2, 0x200), "on volume 2"),
    ("wrong '.'", lambda p: p.both(p.offset("iso", "SUB_FOLD") + 2, 5), "'.' is 5+"),
    ("wrong '..'", lambda p: p.both(p.offset("iso", "SUB_FOLD", "DEEP") + 34 + 2, 5), "'..' is 5+"),
    ("no '..'", lambda p: p.data.__setitem__(p.offset("iso", "OTHER") + 34 + 33, 0x41), "not '..'"),
    ("crossing record", _crossing_record, "crosses the end of its sector"),
    ("bytes after the records", lambda p: p.data.__setitem__(p.offset("iso", "OTHER") + 2047, 1),
     "after the last record"),
    ("directory size", lambda p: p.both(p.record("iso", "OTHER") + 10, 100), "directory of 100"),
    ("shared directory", lambda p: p.data.__setitem__(
        slice(p.record("iso", "OTHER") + 2, p.record("iso", "OTHER") + 10),
        p.data[p.record("iso", "SUB_FOLD") + 2:p.record("iso", "SUB_FOLD") + 10]),
     "those of another directory"),
    ("outside", lambda p: p.both(p.record("iso", "BIG.BIN;1") + 2, 10**6), "are outside"),
    ("partly shared", _partly_shared, "belongs to"),
    ("file in a directory", lambda p: p.both(
        p.record("iso", "BIG.BIN;1") + 2, p.directory("iso").record.first), "belongs to"),
    ("wrong parent", lambda p: _in_both_tables(p, b"DEEP", 6, 1), "has the parent 1"),
    ("tables differ", lambda p: struct.pack_into("<H", p.data, p.row("iso", b"DEEP") + 6, 1),
     "differ from each other"),
    ("unknown row", lambda p: struct.pack_into("<I", p.data, p.row("iso", b"DEEP") + 2, 3),
     "no row for /SUB_FOLD/DEEP"),
    ("name in the table", lambda p: p.data.__setitem__(p.row("iso", b"DEEP") + 8, 0x58),
     "the directory /SUB_FOLD/DEEP"),
    ("no table M", lambda p: struct.pack_into(">I", p.data, PVD + 148, 0), "path table M: not"),
    ("table too short", lambda p: p.both(PVD + 132, 12), "path table"),
]


def _move_associated(patch):
    """The associated file gets the name of another one."""
    at = patch.record("iso", "FILE.;1")
    patch.data[at + 33] = 0x45


APPLE_FAULTS = [
    ("length", lambda p: p.data.__setitem__(p.record("iso", "FILE.;1") + 42, 15), "Apple extension"),
    ("version", lambda p: p.data.__setitem__(p.record("iso", "FILE.;1") + 43, 1),
     "Apple extension"),
    ("associated alone", _move_associated, "associated file without its file"),
    ("associated twice", lambda p: p.data.__setitem__(p.record("iso", "PLAIN.TXT;1") + 25, 4),
     "associated file without its file"),
]


def _swap_files(patch):
    """Two neighbouring files change places: names and extents, so that only the order is wrong."""
    first = patch.record("iso", "SUB_FOLD", "FILE_001.TXT;1")
    size = patch.data[first]
    assert patch.data[first + size] == size
    patch.data[first:first + 2 * size] = (patch.data[first + size:first + 2 * size]
                                          + patch.data[first:first + size])


def _swap_directories(patch):
    """OTHER becomes ZTHER in directory and tables: still first in the tables."""
    patch.data[patch.record("iso", "OTHER") + 33] = 0x5A
    for mark in "<>":
        patch.data[patch.row("iso", b"OTHER", mark) + 8] = 0x5A


def results_of(data):
    """(problems, warnings) of an image."""
    try:
        image = IsoImage(bytes(data))
        return image.check(), image.warnings()
    except FormatError as error:
        return [str(error)], []


class IsoFaults(unittest.TestCase):
    """The table above, each row on a fresh copy."""

    def setUp(self):
        self.image = makers.iso_image()
        self.assertEqual(results_of(self.image), ([], []))

    def test_each_fault_is_reported(self):
        apple = makers.apple_image()
        for image, (name, plant, words) in [*((self.image, row) for row in FAULTS),
                                            *((apple, row) for row in APPLE_FAULTS)]:
            with self.subTest(name):
                patch = IsoPatch(image)
                plant(patch)
                problems, _ = results_of(patch.data)
                self.assertTrue(any(words in problem for problem in problems), problems)

    def test_wrong_order_is_a_warning_only(self):
        for name, plant, words in (("directory", _swap_files, "out of order"),
                                   ("path table", _swap_directories, "path table: row")):
            with self.subTest(name):
                patch = IsoPatch(self.image)
                plant(patch)
                problems, warnings = results_of(patch.data)
                self.assertEqual(problems, [])
                self.assertTrue(any(words in warning for warning in warnings), warnings)

    def test_relaxed_names_are_warnings(self):
        patch = IsoPatch(self.image)
        patch.data[patch.record("iso", "BIG.BIN;1") + 33] = 0x62
        image = IsoImage(bytes(patch.data), relaxed_names=True)
        self.assertEqual(image.check(), [])
        self.assertTrue(any("not allow for a file" in line for line in image.warnings()))

    def test_random_damage_never_breaks_the_reader(self):
        seed = random.randrange(1 << 32)
        print(f"seed {seed}")
        chance = random.Random(seed)
        patch = IsoPatch(self.image)
        places = [(PVD, 190), (SVD, 190), (patch.offset("iso"), 300),
                  (patch.offset("iso", "SUB_FOLD"), 2048),
                  (patch.image.descriptors["iso"].tables_l[0] * 2048, 60)]
        for _ in range(150):
            data = bytearray(self.image)
            start, length = chance.choice(places)
            for _ in range(chance.randint(1, 4)):
                data[start + chance.randrange(length)] = chance.randrange(256)
            results_of(data)


if __name__ == "__main__":
    unittest.main()
