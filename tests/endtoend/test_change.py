"""Verbs that change a volume in place, judged by readers and programs that share no code with it."""

import random
import subprocess

import judges
from images import Image
from mac_sources import mac_binary
from program import DONE, FAILED, Case

FORMATS = {"hfs": (), "plus": ("--hfsplus",)}

class Change(Case):
    """A small volume of each format, filled anew for every test."""

    def setUp(self):
        self.images = {}
        (self.work / "plan.txt").write_bytes(b"the plan")
        (self.work / "notes").write_bytes(b"n" * 5000)
        for kind, options in FORMATS.items():
            image = self.work / f"{kind}.img"
            image.unlink(missing_ok=True)
            self.run_all(image, ("format", "--size", "4M", "--label", "Work", *options),
                         ("mkdir", "--parents", "Old/Drafts", "New"),
                         ("put", "--to", "Old/Drafts", "plan.txt", "notes"))
            self.images[kind] = image

    def run_all(self, image, *commands):
        """Runs verbs that must succeed, each with the image put behind its name."""
        for verb, *arguments in commands:
            done = self.vellmark(verb, image, *arguments)
            self.assertEqual(done.returncode, DONE, done.stderr)

    def paths(self, image):
        """{path: data} as the strict readers see it; they must find no fault."""
        opened = Image(image)
        self.assertEqual(opened.problems, [])
        return {"/".join(path): entry.data.read() for path, entry in opened.mac_files().items()}

    def test_moved_renamed_deleted(self):
        """Catches threads, keys, valences and counts that do not follow an item."""
        for kind, image in self.images.items():
            with self.subTest(kind=kind):
                self.run_all(image, ("mv", "Old/Drafts", "--to", "New"),
                             ("rename", "New/Drafts/plan.txt", "Der Plan – 1:2"),
                             ("rename", "New/Drafts/notes", "NOTES"),
                             ("mkdir", "New/Drafts/Inner"),
                             ("rm", "Old"))
                self.assertEqual(self.paths(image), {"New/Drafts/Der Plan – 1/2": b"the plan",
                                                     "New/Drafts/NOTES": b"n" * 5000})
                if kind == "hfs":
                    self.run_all(image, ("mv", "New/Drafts/NOTES", "--to", "/"))
                    files = judges.hfs_utils(image, self.work / "hcopy")[2]
                    self.assertEqual(files[("NOTES",)].data, b"n" * 5000)
                    self.run_all(image, ("rm", "NOTES"))
                self.run_all(image, ("rm", "--force", "New"))
                self.assertEqual(self.paths(image), {})

    def test_hybrids(self):
        """Catches changes of the Macintosh side that reach the PC side of the same disc."""
        source = self.work / "disc"
        (source / "Sub").mkdir(parents=True)
        for number in range(12):
            (source / f"file {number}.txt").write_bytes(bytes([number]) * (3001 * number))
        (source / "Sub" / "big.bin").write_bytes(random.Random(1).randbytes(300_000))
        (self.work / "new").write_bytes(b"!" * 50_000)
        names = [f"folder number {number}" for number in range(150)]
        for kind, options in FORMATS.items():
            with self.subTest(kind=kind):
                disc = self.work / f"{kind}.iso"
                self.vellmark("make", source, "-o", disc, "--label", "D", *options)
                before = judges.seven_zip(disc, self.work / f"{kind} before", "iso")[0]
                self.assertEqual(len(before), 13)
                for status, verb, *arguments in (
                        (DONE, "rm", "file 3.txt", "file 4.txt"), (FAILED, "put", "new"),
                        (FAILED, "put", "--force", "disc/file 5.txt"), (DONE, "rm", "--force", "Sub"),
                        (FAILED, "put", "new"), (None, "mkdir", *names),
                        (DONE, "rename", "file 5.txt", "shared")):
                    done = self.vellmark(verb, disc, "--writable", *arguments)
                    self.assertIn(done.returncode, (DONE, FAILED) if status is None else (status,), done.stderr)
                self.assertEqual(judges.seven_zip(disc, self.work / f"{kind} after", "iso")[0], before)
                self.assertEqual(Image(disc).problems, [])
                shown = self.vellmark("get", disc, "shared", "--as", "hfs", "-o", "-").stdout
                self.assertEqual(shown, (source / "file 5.txt").read_bytes())
                with open(disc, "r+b") as image:  # a root directory outside the disc
                    image.seek(16 * 2048 + 158)
                    image.write(b"\xff\xff\xff\x7f")
                done = self.vellmark("mkdir", disc, "--writable", "no more")
                self.assertEqual(done.returncode, FAILED)
                self.assertIn(b"a PC side (ISO 9660) that is damaged", done.stderr)

    def test_macutils(self):
        """Catches a MacBinary file that others take apart wrongly, and a BinHex of theirs misread."""
        forks = {"data": b"data" * 100, "resource": b"fork" * 75}
        image, sent = self.images["hfs"], self.work / "sent.bin"
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
