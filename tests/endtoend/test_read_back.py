"""Every file of a made image, read back through each of its trees, equals its source."""

import datetime
import functools
import re
import shutil

import judges
from images import BLOCK, KINDS, Image
from program import Case
from source_tree import SourceTree

ISO_NAME = re.compile(r"[A-Z0-9_]{1,8}(\.[A-Z0-9_]{1,3})?")
INVISIBLE, HIDDEN = 0x4000, 0x01
TEXT = (b"TEXT", b"????")
# Of the English part of the table that comes with the program.
SIGNATURES = {"TXT": (b"TEXT", b"ttxt"), "EXE": (b"BINA", b"dosa"), "JPEG": (b"JPEG", b"ogle"),
              "BIN": (b"mBIN", b"SITx")}


def type_of(source):
    """Type and creator of a file by the end of its name."""
    _, dot, extension = source.path[-1].rpartition(".")
    return SIGNATURES.get(extension.upper(), TEXT) if dot else TEXT


def on_images(*views):
    """Runs a test on each image that holds a view, with a folder for what comes out of it."""
    def decorate(method):
        @functools.wraps(method)
        def run(self):
            for view in views:
                for kind, image in self.images.items():
                    if view in kind.views:
                        with self.subTest(image=kind.name):
                            method(self, view, image, self.work / f"{kind.name} {self.id()}")
        return run
    return decorate


def iso_moment(raw):
    """Seconds from 1970 of the seven bytes of a directory record."""
    year, month, day, hour, minute, second, quarters = raw
    assert quarters == 0
    moment = datetime.datetime(1900 + year, month, day, hour, minute, second,
                               tzinfo=datetime.timezone.utc)
    return int(moment.timestamp())


class ReadBack(Case):
    """The five kinds of image of one tree, read by strict readers and by other programs."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.tree = SourceTree(cls.work / "source")
        cls.images = {}
        for kind in KINDS:
            path = cls.make(cls.work / "source", cls.work / (kind.name + ".img"), "--label",
                            "Harbour", *kind.options)
            cls.images[kind] = Image(path)

    def contents(self, view):
        """{path: bytes} that a view must show."""
        return {path: file.content for path, file in self.tree.expected(view).items()}

    def test_no_problem(self):
        """Catches any count, bit, order, padding or date that a format forbids."""
        for kind, image in self.images.items():
            with self.subTest(image=kind.name):
                self.assertEqual([], image.problems)
                self.assertEqual("iso" in kind.views, image.iso is not None)
                self.assertEqual(kind.name != "iso", image.volume is not None)

    @on_images("joliet")
    def test_joliet(self, view, image, out):
        """Catches a wrong name, date, flag or byte in the tree that a PC shows."""
        entries, expected = image.iso_files(view), self.tree.expected(view)
        self.assert_same_tree(self.contents(view),
                              {path: entry.read() for path, entry in entries.items()})
        self.assertEqual(self.tree.expected_folders(view), image.iso_folders(view))
        for path, source in expected.items():
            self.assertEqual(source.modified, iso_moment(entries[path].date), path)
            self.assertEqual(HIDDEN if source.hidden else 0, entries[path].flags, path)
        files, dates, folders = judges.xorriso(image.path, out, view)
        # The readers of a PC take a point at the end away.
        shown = {path: path[:-1] + (path[-1].removesuffix("."),) for path in expected}
        self.assert_same_tree({shown[path]: source.content for path, source in expected.items()},
                              files)
        self.assertEqual(self.tree.expected_folders(view), folders)
        self.assertEqual({shown[path]: source.modified for path, source in expected.items()}, dates)

    @on_images("iso")
    def test_iso(self, view, image, out):
        """Catches an identifier that is no 8.3 name, and a file that Joliet shows elsewhere."""
        entries = image.iso_files(view)
        paths = entries.keys() | image.iso_folders(view)
        for path in paths:
            self.assertTrue(ISO_NAME.fullmatch(path[-1]), path)
        self.assertLessEqual({("V12", "INSIDE.TXT"), ("SIZES", "S512.BIN"), ("DATES", "ANCIENT"),
                              ("LEVEL1", "LEVEL2")}, paths)
        self.assertEqual(*(sorted((len(path), entry.extent, entry.size, entry.date, entry.flags)
                                  for path, entry in image.iso_files(tree).items())
                           for tree in ("joliet", "iso")))
        files, _, folders = judges.xorriso(image.path, out, view)
        self.assert_same_tree({path: entry.read() for path, entry in entries.items()}, files)
        self.assertEqual(len(self.tree.folders), len(folders))

    @on_images("hfs", "plus")
    def test_macintosh(self, view, image, _):
        """Catches a wrong name, date, type, flag or byte of a catalog record."""
        files, sources = image.mac_files(), self.tree.expected(view)
        self.assert_same_tree(self.contents(view), {path: entry.data.read() for path, entry
                                                    in files.items()})
        self.assertEqual(self.tree.expected_folders(view), image.mac_folders())
        for path, source in sources.items():
            entry = files[path]
            modified = source.mac_local if view == "hfs" else source.mac_gmt
            self.assertEqual((*type_of(source), 0, modified, INVISIBLE if source.hidden else 0),
                             (entry.type, entry.creator, entry.rsrc.logical, entry.modified,
                              entry.finder_flags), path)

    def test_bytes_lie_in_the_image_once(self):
        """Catches a file that is stored for each view, and one that is stored in pieces."""
        for kind, image in self.images.items():
            counts, view = image.block_counts(), kind.views[-1]
            for file in self.tree.expected(view).values():
                for at in range(0, len(file.content), BLOCK):
                    block = file.content[at:at + BLOCK].ljust(BLOCK, b"\0")
                    self.assertEqual(1, counts[block], (kind.name, file.path, at))

    def test_a_copy_of_the_tree_made_in_another_order(self):
        """Catches the clock, an order that comes from the disk, and a path of the PC."""
        other = self.work / "another place"
        other.mkdir()
        for folder in self.tree.folders:
            other.joinpath(*folder).mkdir()
        for file in reversed(self.tree.files):
            shutil.copy2(self.tree.root.joinpath(*file.path), other.joinpath(*file.path))
        # The dates of folders are in the image too.
        for folder in reversed(self.tree.folders):
            shutil.copystat(self.tree.root.joinpath(*folder), other.joinpath(*folder))
        for kind, image in self.images.items():
            again = self.make(other, self.work / "again.img", "--label", "Harbour", "--force",
                              *kind.options)
            self.assertTrue(again.read_bytes() == image.bytes[:], kind.name)
