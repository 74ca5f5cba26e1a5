"""What `put` writes into an empty volume, as other programs read it, and `get` takes out again."""

import os
import shutil
import subprocess
import unittest
from unicodedata import normalize

import judges
from images import Image
from mac_sources import mac_binary
from program import DONE, SKIPPED, Case, local_offset
from source_tree import MAC_EPOCH

FORMATS = {"hfs": (), "plus": ("--hfsplus",)}
# The clock of ZONE is set back between the two: 02:30 comes twice.
SUMMER, WINTER = 1_004_229_000, 1_004_232_600
LONG = "A letter with a name of more than thirty-one characters"

# {path on the PC: (path on HFS, contents, date)}
DEEP = tuple(f"level {number}" for number in range(40))
FILES = {
    ("Grüße.txt",): (("Grüße.txt",), b"Umlaut", SUMMER),
    ("a:b",): (("a/b",), b"slash", WINTER),
    ("empty",): (("empty",), b"", 1_000_000_000),
    ("日本.txt",): (("__.txt",), b"outside MacRoman", 1_000_000_000),
    (LONG + " folder", LONG + " 1"): ((LONG[:31], LONG[:31]), b"cut", 1_000_000_000),
    ("large.bin",): (("large.bin",), bytes(range(256)) * 4000, 1_000_000_000),
    (*DEEP, "file"): ((*DEEP, "file"), b"deep", 1_000_000_000),
}


class Put(Case):
    """A tree that tries everything, in a volume of each format."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.source = cls.work / "source"
        for path, (_, contents, date) in FILES.items():
            place = cls.source.joinpath(*path)
            place.parent.mkdir(parents=True, exist_ok=True)
            place.write_bytes(contents)
            os.utime(place, (date, date))
        os.mkfifo(cls.source / "pipe")
        cls.images = {}
        for kind, options in FORMATS.items():
            cls.images[kind] = image = cls.work / f"{kind}.img"
            cls.vellmark("format", image, "--size", "8M", "--label", "Put", *options)
            # The second run replaces everything, names that were cut too.
            for _ in range(2):
                put = cls.vellmark("put", image, "source", "--replace", "yes")
                if put.returncode != SKIPPED or (b"shortened" in put.stderr) != (kind == "hfs"):
                    raise AssertionError(put.stderr)

    def expected(self, kind):
        """{path in the volume: (contents, date there)}."""
        def place(path, on_hfs):
            return ("source", *(on_hfs if kind == "hfs" else
                                (normalize("NFD", name.replace(":", "/")) for name in path)))
        return {place(path, on_hfs):
                (contents, date + MAC_EPOCH + (local_offset(date) if kind == "hfs" else 0))
                for path, (on_hfs, contents, date) in FILES.items()}

    def test_strict_readers(self):
        """Catches a volume that is not as its format wants it, wrong names, bytes and dates."""
        for kind, path in self.images.items():
            with self.subTest(kind=kind):
                image = Image(path)
                self.assertEqual(list(image.volume.check()), [])
                found = {path: (entry.data.read(), entry.modified)
                         for path, entry in image.mac_files().items()}
                self.assertEqual(found, self.expected(kind))

    def test_other_programs(self):
        """Catches what this program's own readers would both get wrong."""
        image = self.work / "hcopy.img"
        shutil.copy(self.images["hfs"], image)
        # hfsutils would take the slash for a folder of the PC.
        self.assertEqual(self.vellmark("rm", image, "source/a:b").returncode, DONE)
        files = judges.hfs_utils(image, self.work / "hcopy")[2]
        wanted = {path: contents for path, (contents, _) in self.expected("hfs").items()
                  if len(path) < 10 and path[-1] != "a/b"}
        self.assertEqual({path: file.data for path, file in files.items() if path in wanted},
                         wanted)
        files = judges.seven_zip(self.images["plus"], self.work / "7zz", "hfs")[0]
        self.assertEqual(sorted(files.values()),
                         sorted(contents for _, contents, _ in FILES.values()))

    def test_macutils(self):
        """Catches a MacBinary file that others take apart wrongly, and a BinHex of theirs misread."""
        forks = {"data": b"data" * 100, "resource": b"fork" * 75}
        image, sent = self.work / "v.img", self.work / "sent.bin"
        shutil.copy(self.images["hfs"], image)
        sent.write_bytes(mac_binary(b"Mail", b"APPLtest", 0x2100, *forks.values(),
                                    (3_000_000_000, 3_000_000_000)))
        self.vellmark("put", image, sent, "--containers", "yes")
        self.vellmark("get", image, "Mail", "--mode", "macbinary", "-o", "got.bin")
        subprocess.run(["macunpack", "-3", "got.bin"], cwd=self.work, check=True)
        for end, content in zip(("data", "rsrc"), forks.values()):
            self.assertEqual((self.work / f"Mail.{end}").read_bytes(), content)
        (self.work / "theirs.hqx").write_bytes(subprocess.run(
            ["binhex", "got.bin"], cwd=self.work, check=True, capture_output=True).stdout)
        put = self.vellmark("put", image, "theirs.hqx", "--containers", "yes", "--force")
        self.assertEqual((put.returncode, put.stderr), (DONE, b""))
        for mode, content in forks.items():
            got = self.vellmark("get", image, "Mail", "--mode", mode, "-o", "-")
            self.assertEqual(got.stdout, content)

    def test_full_volume(self):
        """Catches items behind the one that does not fit that are lost in silence."""
        image = self.work / "full.img"
        self.vellmark("format", image, "--size", "1M", "--label", "F")
        for name, size in (("a", 10), ("b", 700_000), ("c", 700_000), ("d", 10), ("e", 10)):
            (self.work / name).write_bytes(bytes(size))
        put = self.vellmark("put", image, *"abcde")
        self.assertEqual(put.returncode, 1)
        self.assertIn(b"skipped c: Not enough free space", put.stderr)
        self.assertIn(b"2 of the items were not reached: d and those behind it.", put.stderr)
        self.assertEqual(sorted(Image(image).mac_files()), [("a",), ("b",)])


if __name__ == "__main__":
    unittest.main()
