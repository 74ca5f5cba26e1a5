"""Layouts at their edges: empty, with room, and in the order of the standard."""

import os

from images import KINDS, Image
from program import Case

MEGABYTE = 1 << 20


class LayoutEdges(Case):
    """Each test makes a tree of its own."""

    def setUp(self):
        self.here = self.work / self.id().rsplit(".")[-1]
        self.source = self.here / "source"
        self.source.mkdir(parents=True)

    def build(self, *options, name="disc.img"):
        """Makes an image of the source folder that no reader finds fault with."""
        image = Image(self.make(self.source, self.here / name, *options))
        self.assertEqual([], image.problems)
        return image

    def files(self, count, folder="", size=16):
        """Makes files that hold their own number."""
        place = self.source / folder
        place.mkdir(exist_ok=True)
        for index in range(count):
            (place / f"f{index:05d}").write_bytes(f"{index:05d}".encode().ljust(size, b"."))

    def test_one_empty_folder(self):
        """Catches a tree file, path table or file area of no blocks at all."""
        (self.source / "alone").mkdir()
        for kind in KINDS:
            image = self.build(*kind.options, name=kind.name)
            self.assertIn(("ALONE",), image.iso_folders("iso") if image.iso else {("ALONE",)})
            self.assertIn(("alone",), image.mac_folders() if image.volume else {("alone",)})

    def test_free_room(self):
        """Catches room that the bitmap or the map does not have, or that PC files lie in."""
        self.files(30)
        (self.here / "later").write_bytes(os.urandom(3 * MEGABYTE))
        for kind in KINDS:
            if "hfs" not in kind.views and "plus" not in kind.views:
                continue
            for size, least in (("3M", 3 * MEGABYTE), ("200M", 200 * MEGABYTE)):
                with self.subTest(kind=kind.name, size=size):
                    image = self.build("--label", "Room", *kind.options, "--free", size,
                                       name=kind.name + size)
                    self.assertGreaterEqual(image.volume.blocks.free() * image.volume.block_size,
                                            least)
                    self.assertLess(image.path.stat().st_blocks * 512, 4 * MEGABYTE)
                    self.assertEqual(0, self.vellmark("put", image.path,
                                                      self.here / "later").returncode)
                    changed = Image(image.path)
                    self.assertEqual([], changed.problems)
                    self.assertEqual((self.here / "later").read_bytes(),
                                     changed.mac_files()[("later",)].data.read())
                    if image.iso:
                        self.assertEqual(*({path: entry.read() for path, entry
                                            in each.iso_files("joliet").items()}
                                           for each in (image, changed)))

    def test_strict_order(self):
        """Catches records in the order of the project where that of ECMA-119 was asked for."""
        for place in ("", "z-b", "z.b/y", "z/deep/3/4/5/6/7/8/9"):
            (self.source / place).mkdir(parents=True, exist_ok=True)
            for name in ("a", "a.b", "a-b", "a-", "A1.c", "A1", "a.b.c", "A.B-c", "Ab", "é.txt"):
                (self.source / place / name).write_text(name)
        plain = self.build("--label", "Order")
        self.assertIn("out of order", "".join(plain.iso.order))
        result = self.vellmark("make", self.source, "-o", plain.path, "--force", "--strict-iso")
        self.assertEqual(0, result.returncode)
        self.assertIn(b"below the eighth level, which ISO 9660 does not allow: 2", result.stderr)
        image = Image(plain.path)
        self.assertEqual([], image.problems)
        self.assertNotIn("out of order", "".join(image.iso.order))
        self.assertEqual(*({path: entry.read() for path, entry in each.iso_files("joliet").items()}
                           for each in (plain, image)))
