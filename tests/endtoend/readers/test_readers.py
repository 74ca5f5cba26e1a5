"""The readers against images that other programs made.

Run all tests of this package from the folder above it:
    VELLMARK_SAMPLES=FOLDER python3 -m unittest discover -s readers -t .
Tests whose programs or samples are missing are skipped and say so.
"""

import contextlib
import hashlib
import io
import tempfile
import unittest
from pathlib import Path

from . import hfs_order, makers
from .__main__ import main
from .examine import Examination
from .hfs import HfsVolume
from .hfsplus import HfsPlusVolume
from .hfsplus_order import folded_key
from .iso9660 import IsoImage
from .partition import PartitionTable
from .udif import unpack
from .window import load_image

# Other writers keep the first block of a fork in fields that the format reserves.
RESERVED = ("filStBlk is", "filRStBlk is")


def serious(problems):
    """Problems without the known habit of HFS writers above."""
    return [problem for problem in problems if not any(word in problem for word in RESERVED)]


def digest(fork):
    """Length and the first digits of the SHA-256 of a fork."""
    data = fork.read()
    return len(data), hashlib.sha256(data).hexdigest()[:16]


class Samples(unittest.TestCase):
    """What other programs read in the samples."""

    def test_hfs_basic(self):
        volume = HfsVolume(load_image(makers.sample("vol/hfs_basic.img")))
        self.assertEqual(serious(volume.check()), [])
        self.assertEqual(len(volume.check()), 9)
        self.assertEqual(volume.orphans(), 0)
        files = {":".join(entry.path): entry for entry in volume.walk() if not entry.is_folder}
        self.assertEqual(len(files), 8)
        eps = files["Folder One:Deep:Hands_m.eps"]
        self.assertEqual((eps.type, eps.creator), (b"EPSF", b"ART5"))
        self.assertEqual(digest(eps.data), (49731, "8f6b660cf7b5979a"))
        self.assertEqual(digest(eps.rsrc), (23096, "dc6c614d52c3d66b"))
        self.assertEqual(files["caf\u00e9 \u2022"].raw_name, b"caf\x8e \xa5")
        self.assertEqual(digest(files["caf\u00e9 \u2022"].data), (3000, "e96498ef7f455dd5"))
        self.assertEqual(files["empty"].finder_flags & 0x4000, 0x4000)
        self.assertEqual(volume.mdb.drFndrInfo[:4], b"\0\0\0\x13")

    def test_hfs_newfs(self):
        volume = HfsVolume(load_image(makers.sample("vol/hfs_newfs.img")))
        self.assertEqual(serious(volume.check()), [])
        entry, = volume.walk()
        self.assertEqual(digest(entry.data), (18, "e9024f1a07d29d52"))

    def test_hfsplus_newfs(self):
        volume = HfsPlusVolume(load_image(makers.sample("vol/hfsplus_newfs.img")))
        # The maker leaves the root without a mode and counts folders without the flag for it.
        self.assertEqual(volume.check(), ["folder 2 'Plus Vol': mode 0",
                                          "folder 2 'Plus Vol': reserved bytes at the end are "
                                          "not zero"])
        files = {"/".join(entry.path): entry for entry in volume.walk() if not entry.is_folder}
        self.assertEqual(len(files), 305)
        self.assertEqual(digest(files["big.bin"].data), (70000, "b950ac87a04b7546"))
        self.assertEqual(files["link"].data.read(), b"big.bin")
        # The maker widened each byte of the UTF-8 name with its sign.
        name = "caf\uffc3\uffa9 \uffe6\uff97\uffa5\uffe6\uff9c\uffac"
        self.assertEqual(digest(files["Folder One/Deep/" + name].data), (3000, "e96498ef7f455dd5"))

    def test_disk_image_of_the_system(self):
        found = Examination(load_image(makers.sample("dmg/real_hdiutil_hfsplus_zlib.dmg")))
        self.assertEqual(found.problems, [])
        volume, = found.readers.values()
        files = {"/".join(entry.path): entry for entry in volume.walk()}
        self.assertEqual(len(files), 20)
        self.assertIn("nfc_te\u0301stfile\u0300", files)
        self.assertEqual(digest(files["testdir1/resourcefork1"].rsrc), (17, "8c9eea71ce8d2f7c"))
        attributes = {name: value for _, name, value in volume.attributes}
        self.assertEqual(attributes["myxattr1"], b"My 1st extended attribute")
        self.assertEqual(digest(attributes["mylargexattr"]), (8158, "d8d1b678fa626647"))

    def test_disk_images_of_another_program(self):
        whole = load_image(makers.sample("vol/hfsplus_newfs.img"))
        for name in ("dmg/libdmg_zlib.dmg", "dmg/libdmg_bzip2.dmg"):
            disk, problems = unpack(load_image(makers.sample(name)))
            self.assertEqual(disk, whole[:])
            self.assertEqual(problems, ["UDIF: 4096 sectors, the trailer says 0"])

    def test_gpt_disk(self):
        found = Examination(load_image(makers.sample("disk/gpt_hfsplus.img")))
        self.assertEqual([problem.split(": ", 1)[1] for problem in found.problems],
                         ["folder 2 'GptVol': mode 0"])
        volume, = found.readers.values()
        entry, = volume.walk()
        self.assertEqual(digest(entry.data), (18, "e9024f1a07d29d52"))

    def test_raw_sectors(self):
        data = load_image(makers.sample("raw/isofs-m1.bin"))
        self.assertEqual(hashlib.sha256(data).hexdigest()[:16], "03043ff0b8a634bd")
        image = IsoImage(data)
        self.assertEqual((image.check(), image.warnings()), ([], []))
        self.assertEqual(len(list(image.walk())), 3)


class Hfsutils(unittest.TestCase):
    """Volumes by hformat, hmkdir and hcopy."""

    def test_volume(self):
        volume = HfsVolume(makers.hfs_image())
        self.assertEqual(serious(volume.check()), [])
        self.assertEqual(volume.orphans(), 0)
        self.assertGreater(volume.catalog_tree.depth, 2)
        files = {":".join(entry.path): entry for entry in volume.walk()}
        self.assertEqual(len(files), 3 + 62)
        self.assertEqual(files["big"].data.read(), makers.BIG)
        self.assertEqual(files["Folder:file 33"].data.read(), b"small\n")
        self.assertEqual(files["Folder"].valence, 61)

    def test_extents_in_the_overflow_file(self):
        volume = HfsVolume(makers.fragmented_hfs_image())
        self.assertEqual(serious(volume.check()), [])
        big, = (entry for entry in volume.walk() if entry.name == "big")
        self.assertGreater(len(big.data.extents), 3)
        self.assertEqual(big.data.read(), makers.BIG + makers.BIG)

    def test_order_of_names(self):
        # Each byte in the middle of a name; '*', '?', '{' and '\\' are patterns to the program.
        bytes_used = sorted(set(range(1, 256)) - set(b":*?{\\"))
        maker = makers.HfsMaker(2048 * 1024)
        made = []
        for byte in bytes_used:
            name = b"n" + bytes([byte]) + b"x"
            with contextlib.suppress(makers.subprocess.CalledProcessError):
                maker.run(b"hmkdir", b":" + name)
                made.append(name)
        volume = HfsVolume(maker.finish())
        self.assertEqual(volume.check(), [])
        self.assertEqual(sorted(made, key=hfs_order.sort_key),
                         [entry.raw_name for entry in volume.walk()])
        # What it refused it took for a name that was there, as the ranks do.
        self.assertEqual(len({hfs_order.sort_key(b"n" + bytes([byte]) + b"x")
                              for byte in bytes_used}), len(made))


class Genisoimage(unittest.TestCase):
    """Images by genisoimage."""

    def test_trees_hold_the_same_files(self):
        image = IsoImage(makers.iso_image())
        self.assertEqual((image.check(), image.warnings()), ([], []))
        trees = [[entry for entry in image.walk(tree) if not entry.is_folder]
                 for tree in ("iso", "joliet")]
        self.assertEqual([len(files) for files in trees], [304, 304])
        joliet = {"/".join(entry.path): entry.read() for entry in trees[1]}
        self.assertEqual(joliet["big.bin"], makers.BIG)
        self.assertEqual(joliet["Sub Folder/file number 17.txt"], b"17\n")
        self.assertEqual(joliet["caf\u00e9.txt"], b"accent\n")
        self.assertEqual(sorted(joliet.values()), sorted(entry.read() for entry in trees[0]))

    def test_apple_extension(self):
        image = IsoImage(makers.apple_image())
        self.assertEqual((image.check(), image.warnings()), ([], []))
        found = [(entry.path, entry.flags, entry.apple.type + entry.apple.creator, entry.read())
                 for entry in image.walk()]
        self.assertEqual(found, [(("FILE.;1",), 4, b"TYPEcrea", b"rsrc" * 150),
                                 (("FILE.;1",), 0, b"TYPEcrea", b"data" * 100),
                                 (("PLAIN.TXT;1",), 0, b"TEXTunix", b"plain")])

    def test_hybrid(self):
        image = makers.hybrid_image("-part")
        found = Examination(image)
        # It leaves the pad and the boot fields of the map unset, and puts the alternate MDB one
        # allocation block before the end of the partition.
        unexpected = [problem for problem in serious(found.problems)
                      if "apm entry" not in problem and "alternate MDB" not in problem]
        self.assertEqual(unexpected, [])
        volume = HfsVolume(makers.hfs_partition(image))
        files = {"/".join(entry.path): entry for entry in volume.walk() if not entry.is_folder}
        self.assertEqual(files["big.bin"].data.read(), makers.BIG)
        self.assertEqual(files["Sub Folder/deep/deeper/last"].data.read(), b"last\n")
        # The blocks of the ISO 9660 structures belong to nothing of the HFS volume.
        self.assertGreater(volume.orphans(), 0)

    def test_hybrid_without_a_map(self):
        # The volume ends before the file does; the MDB tells where.
        image = makers.hybrid_image()
        found = Examination(image)
        self.assertEqual(set(found.readers), {"ISO 9660", "volume at byte 0"})
        volume = found.readers["volume at byte 0"]
        self.assertLess(volume.window.length, len(image))
        self.assertEqual([problem for problem in serious(volume.check())
                          if "alternate MDB" not in problem], [])

    def test_map_nodes(self):
        image = makers.crowded_hybrid_image()
        volume = HfsVolume(makers.hfs_partition(image))
        self.assertEqual([problem for problem in serious(volume.check())
                          if "alternate MDB" not in problem], [])
        self.assertGreater(volume.catalog_tree.node(0).forward, 0)
        self.assertGreater(len(list(volume.walk())), 9000)


class Xorriso(unittest.TestCase):
    """Images by xorriso."""

    def test_hfs_plus(self):
        image = makers.plus_hybrid_image()
        volume = HfsPlusVolume(makers.hfs_partition(image))
        # It clears the last byte of its allocation file, whose blocks are all in use.
        unexpected = [problem for problem in volume.check() if "free in the bitmap" not in problem
                      and "clear bits" not in problem]
        self.assertEqual(unexpected, [])
        files = {"/".join(entry.path): entry for entry in volume.walk() if not entry.is_folder}
        self.assertEqual(len(files), 304)
        self.assertEqual(files["big.bin"].data.read(), makers.BIG)
        self.assertEqual(files["Sub Folder/file number 299.txt"].data.read(), b"299\n")
        self.assertIn("cafe\u0301.txt", files)

    def test_hybrid(self):
        image = makers.plus_hybrid_image()
        # Boot code stands where the descriptor has its block count.
        self.assertEqual([problem for problem in PartitionTable(image).check()
                          if "driver descriptor" not in problem], [])
        iso = IsoImage(image)
        self.assertEqual(iso.check(), [])
        big, = (entry for entry in iso.walk() if entry.path == ("BIG.BIN;1",))
        self.assertEqual(big.read(), makers.BIG)


class Order(unittest.TestCase):
    """FastUnicodeCompare on the cases that differ from plain comparison."""

    def test_folded_key(self):
        self.assertEqual(folded_key("ABC"), folded_key("abc"))
        self.assertEqual(folded_key("a\u200db"), folded_key("ab"))      # ignored joiner
        self.assertLess(folded_key("a"), folded_key("ab"))
        self.assertGreater(folded_key("\0"), folded_key("zzz"))         # NUL comes last
        self.assertLess(folded_key("\U0001f600"), folded_key("\uff5e"))     # by units
        self.assertNotEqual(folded_key("\u00e9"), folded_key("\u00c9"))  # composed: as they are


class CommandLine(unittest.TestCase):
    """python3 -m readers"""

    def run_on(self, data, *options):
        """(exit status, output) of the command."""
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "image"
            path.write_bytes(data)
            output = io.StringIO()
            with contextlib.redirect_stdout(output):
                status = main([*options, str(path)])
        return status, output.getvalue()

    def test_good_image(self):
        status, output = self.run_on(makers.iso_image(), "--list")
        self.assertEqual(status, 0)
        self.assertIn("joliet tree 'VOLUME'", output)
        self.assertIn("Sub Folder/deep/deeper/last 5", output)

    def test_bad_image(self):
        data = bytearray(makers.iso_image())
        data[16 * 2048 + 80] ^= 1
        status, output = self.run_on(data)
        self.assertEqual(status, 1)
        self.assertIn("PROBLEM: ISO 9660: ", output)

    def test_unknown_image(self):
        for data in (b"", b"text", bytes(100000), b"ER" + bytes(600), b"koly" + bytes(508)):
            status, output = self.run_on(data)
            self.assertEqual(status, 1)
            self.assertIn("PROBLEM: ", output)


if __name__ == "__main__":
    unittest.main()
