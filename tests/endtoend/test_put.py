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
    (LONG + " 1",): ((LONG[:31],), b"cut", 1_000_000_000),
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
            image = cls.work / f"{kind}.img"
            made = cls.vellmark("format", image, "--size", "8M", "--label", "Put", *options)
            put = cls.vellmark("put", image, "source")
            if made.returncode != DONE or put.returncode != SKIPPED:
                raise AssertionError(made.stderr + put.stderr)
            cls.images[kind] = (image, put)

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
        for kind, (path, _) in self.images.items():
            with self.subTest(kind=kind):
                image = Image(path)
                self.assertEqual(list(image.volume.check()), [])
                found = {path: (entry.data.read(), entry.modified)
                         for path, entry in image.mac_files().items()}
                self.assertEqual(found, self.expected(kind))

    @unittest.skipUnless(shutil.which("hmount"), "needs hfsutils")
    def test_hfsutils(self):
        """Catches what this program's own readers would both get wrong on HFS."""
        image = self.work / "hcopy.img"
        shutil.copy(self.images["hfs"][0], image)
        # hfsutils would take the slash for a folder of the PC.
        self.assertEqual(self.vellmark("rm", image, "source/a:b").returncode, DONE)
        files = judges.hfs_utils(image, self.work / "hcopy")[2]
        wanted = {path: contents for path, (contents, _) in self.expected("hfs").items()
                  if len(path) < 10 and path[-1] != "a/b"}
        self.assertEqual({path: file.data for path, file in files.items() if path in wanted},
                         wanted)

    @unittest.skipUnless(shutil.which("7zz"), "needs 7zz")
    def test_seven_zip(self):
        """The same on HFS Plus."""
        files = judges.seven_zip(self.images["plus"][0], self.work / "7zz", "hfs")[0]
        self.assertEqual(sorted(files.values()),
                         sorted(contents for _, contents, _ in FILES.values()))

    def test_get_gives_the_tree_back(self):
        """Catches names and dates that do not survive the way in and out."""
        for kind, (image, _) in self.images.items():
            with self.subTest(kind=kind):
                out = self.work / f"out {kind}"
                self.assertEqual(self.vellmark("get", image, "source", "-o", out).returncode, DONE)
                for path, (on_hfs, contents, date) in FILES.items():
                    names = path if kind == "plus" else [n.replace("/", ":") for n in on_hfs]
                    place = out.joinpath(*names)
                    self.assertEqual(place.read_bytes(), contents)
                    # Local time cannot tell the two half hours apart.
                    known = {SUMMER, WINTER} if kind == "hfs" and date in (SUMMER, WINTER) else {
                        date}
                    self.assertIn(int(place.stat().st_mtime), known)

    @unittest.skipUnless(shutil.which("macunpack") and shutil.which("binhex"), "needs macutils")
    def test_macutils(self):
        """Catches a MacBinary file that others take apart wrongly, and a BinHex of theirs misread."""
        sent = mac_binary(b"Mail", b"APPLtest", 0x2100, b"data" * 100, b"fork" * 75,
                          (3_000_000_000, 3_000_000_000))
        for kind, (original, _) in self.images.items():
            with self.subTest(kind=kind):
                work = self.work / f"macutils {kind}"
                work.mkdir()
                image = work / "v.img"
                shutil.copy(original, image)
                (work / "sent.bin").write_bytes(sent)
                self.vellmark("put", image, work / "sent.bin", "--containers", "yes")
                self.vellmark("get", image, "Mail", "--mode", "macbinary", "-o", work / "got.bin")
                subprocess.run(["macunpack", "-3", "got.bin"], cwd=work, check=True)
                self.assertEqual((work / "Mail.data").read_bytes(), b"data" * 100)
                self.assertEqual((work / "Mail.rsrc").read_bytes(), b"fork" * 75)
                (work / "theirs.hqx").write_bytes(subprocess.run(
                    ["binhex", "got.bin"], cwd=work, check=True, capture_output=True).stdout)
                put = self.vellmark("put", image, work / "theirs.hqx", "--containers", "yes",
                                    "--force")
                self.assertEqual((put.returncode, put.stderr), (DONE, b""))
                for mode, content in (("data", b"data" * 100), ("resource", b"fork" * 75)):
                    got = self.vellmark("get", image, "Mail", "--mode", mode, "-o", "-")
                    self.assertEqual(got.stdout, content)


class PutRefuses(Case):
    """What is wrong is said, and nothing is changed."""

    def test_sentences(self):
        """Catches a crash, a change, or a message that does not say what is wrong."""
        image = self.work / "v.img"
        self.vellmark("format", image, "--size", "2M", "--label", "V")
        (self.work / "f").write_bytes(b"x")
        for arguments, status, text in (
                (("f", "--to", "No/where"), 1, b"No; --parents"),
                (("f", "--type", "abcde"), 2, b"abcde"), (("missing",), 1, b"cannot be found"),
                (("v.img",), 1, b"the image itself"), (("log",), 1, b"the open journal")):
            with self.subTest(arguments=arguments):
                result = self.vellmark("--log", "log", "put", image, *arguments)
                self.assertEqual(result.returncode, status, result.stderr)
                self.assertIn(text, result.stderr)
                self.assertNotIn(b"No", self.vellmark("ls", image).stdout)
        made = self.vellmark("put", image, "f", "--to", "A/B:C", "--parents", "--type", "ab")
        self.assertEqual(made.returncode, DONE, made.stderr)
        entry = Image(image).mac_files()[("A", "B/C", "f")]
        self.assertEqual((entry.type, entry.creator), (b"ab  ", b"????"))
        kept = self.vellmark("put", image, "f", "--to", "A/B:C")
        self.assertIn(b"exists already; --force replaces it", kept.stderr)
        lost = self.vellmark("put", image, "missing", "--to", "New", "--parents")
        self.assertEqual(lost.stderr, b"vellmark: skipped missing: It cannot be found.\n")
        self.assertNotIn(b"New", self.vellmark("ls", image).stdout)

    def test_full_volume(self):
        """Catches items behind the one that does not fit that are lost in silence."""
        image = self.work / "full.img"
        self.vellmark("format", image, "--size", "1M", "--label", "F")
        folder = self.work / "full"
        folder.mkdir()
        for name, size in (("a", 10), ("b", 700_000), ("c", 700_000), ("d", 10), ("e", 10)):
            (folder / name).write_bytes(bytes(size))
        put = self.vellmark("put", image, *(f"full/{name}" for name in "abcde"))
        self.assertEqual(put.returncode, 1)
        self.assertIn(b"skipped full/c: Not enough free space", put.stderr)
        self.assertIn(b"2 of the items were not reached: full/d and those behind it.", put.stderr)
        self.assertEqual(sorted(Image(image).mac_files()), [("a",), ("b",)])

    def test_long_names_are_replaced(self):
        """Catches files and folders with long names that are doubled by a second run."""
        (self.work / LONG).mkdir()
        for name in ("1", "2"):
            (self.work / LONG / (LONG + name)).write_bytes(name.encode())
        for kind, options in FORMATS.items():
            image = self.work / f"long {kind}.img"
            self.vellmark("format", image, "--size", "2M", "--label", "V", *options)
            for run in range(2):
                put = self.vellmark("put", image, LONG, "--replace", "yes")
                self.assertEqual(put.returncode, DONE, run)
                self.assertEqual(b"names were shortened" in put.stderr, kind == "hfs")
            files = Image(image).mac_files()
            self.assertEqual(sorted(entry.data.read() for entry in files.values()), [b"1", b"2"])
            self.assertEqual(len({path[0] for path in files}), 1)


if __name__ == "__main__":
    unittest.main()
