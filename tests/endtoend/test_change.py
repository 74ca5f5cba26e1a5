"""Verbs that change a volume in place, judged by readers and programs that share no code with it."""

import json
import random
import shutil
import struct
import subprocess
import unittest
import uuid
import zlib

import judges
from images import Image
from program import DONE, FAILED, SKIPPED, USAGE, Case
from readers.hfs import HfsVolume
from readers.hfsplus import HfsPlusVolume

FORMATS = {"hfs": (), "plus": ("--hfsplus",)}
START = 40          # sector of a partition
HYBRIDS = {"hfs": (), "plus": (),
           "genisoimage": ("genisoimage", "-quiet", "-R", "-J", "-hfs"),
           "xorriso": ("xorriso", "-as", "mkisofs", "-quiet", "-J", "-hfsplus")}


def unlock(disc):
    """Takes the locks off the volumes of a disc that another program made."""
    image = bytearray(disc.read_bytes())
    for at in range(0, len(image) - 512, 512):
        if image[at:at + 2] == b"BD" and image[at + 20:at + 24] == b"\0\0\x08\0":
            image[at + 10:at + 12] = b"\x01\0"
        elif image[at:at + 4] in (b"H+\0\4", b"HX\0\5"):
            image[at + 4:at + 8] = b"\0\0\1\0"
    disc.write_bytes(image)


def boot_record(kind, count):
    """A master boot record with one partition of `count` sectors behind itself, or at START."""
    start = 1 if kind == 0xEE else START
    return (bytes(446) + struct.pack("<B3sB3sII", 0, b"", kind, b"", start, count)).ljust(
        510, b"\0") + b"\x55\xaa"


def guid_table(volume):
    """A disk with that one partition in a GUID partition table (UEFI, "GPT Disk Layout")."""
    count = len(volume) // 512
    last = START + count + 33
    kind = uuid.UUID("48465300-0000-11AA-AA11-00306543ECAC").bytes_le
    rows = (kind + bytes(range(16)) + struct.pack("<QQQ", START, START + count - 1, 0)).ljust(
        128 * 128, b"\0")

    def header(mine, other, table):
        raw = struct.pack("<8sIIIIQQQQ16sQIII", b"EFI PART", 0x10000, 92, 0, 0, mine, other, 34,
                          last - 33, bytes(16), table, 128, 128, zlib.crc32(rows))
        return (raw[:16] + struct.pack("<I", zlib.crc32(raw)) + raw[20:]).ljust(512, b"\0")
    return ((boot_record(0xEE, last) + header(1, last, 2) + rows).ljust(START * 512, b"\0") + volume
            + rows + header(last, 1, last - 32))


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

    def test_refusals_change_nothing(self):
        """Catches a refused change that is half done, and a refusal without a reason."""
        for kind, image in self.images.items():
            with self.subTest(kind=kind):
                before = image.read_bytes()
                for words, *arguments in (
                        (b"one of its children", "mv", "Old", "--to", "Old/Drafts"),
                        (b"has no Old/nothing", "rm", "Old/nothing"),
                        (b"already", "rename", "Old/Drafts/notes", "PLAN.TXT"),
                        (b"no name", "rename", "Old/Drafts/notes", "x" * 256),
                        (b"cannot be deleted", "rm", "/"),
                        (b"item Old/Drafts/notes already.\n", "mkdir", "--parents",
                         "Old/Drafts/notes/q/r"),
                        (b"which has no forks", "swap", "Old")):
                    done = self.vellmark(arguments[0], image, *arguments[1:])
                    self.assertEqual(done.returncode, FAILED, arguments)
                    self.assertIn(words, done.stderr)
                    self.assertEqual(done.stderr.count(b"vellmark:"), 1, done.stderr)
                self.assertEqual(self.paths(image),
                                 {"Old/Drafts/plan.txt": b"the plan", "Old/Drafts/notes": b"n" * 5000})
                # A flush counts itself and stamps its date; nothing else may differ.
                after = image.read_bytes()
                self.assertLess(sum(a != b for a, b in zip(before, after)), 16)

    def test_attributes_and_searches(self):
        """Catches fields of a record that are changed in the wrong place, and hits that are lost."""
        for kind, image in self.images.items():
            with self.subTest(kind=kind):
                notes = "Old/Drafts/notes"
                self.run_all(image, ("attr", notes, "--type", "TEXT", "--creator", "R*ch",
                                     "--set", "invisible", "--modified", "1999-12-31T23:59:58Z",
                                     "--locked", "yes"),
                             ("swap", "Old/Drafts/plan.txt"), ("label", "Été"))
                opened = Image(image)
                self.assertEqual(opened.problems, [])
                plan = opened.mac_files()["Old", "Drafts", "plan.txt"]
                self.assertEqual((plan.data.read(), plan.rsrc.read()), (b"", b"the plan"))
                shown = self.vellmark("attr", image, notes).stdout.decode()
                for words in ("TEXT", "R*ch", "invisible", "1999-12-31 23:59", "locked    yes"):
                    self.assertIn(words, shown)
                self.assertEqual(self.vellmark("label", image).stdout, "Été\n".encode())
                for date in ("yesterday", "2026-02-31", "2026-11-31T10:00"):
                    self.assertEqual(
                        self.vellmark("attr", image, "Old", "--created", date).returncode, USAGE)
                listed = json.loads(self.vellmark("ls", image, "Old/Drafts", "--json").stdout)
                self.assertEqual([entry["locked"] for entry in listed["trees"][0]["entries"]],
                                 [True, False])
                self.run_all(image, ("replace-signature", "TEXTR*ch", "CCCCDDDD"))
                for *search, found in (("*an*", "--json", b"[]\n"), ("pl*", b"Old/Drafts/plan.txt\n"),
                                       ("--signature", "CCCC", b"Old/Drafts/notes\n"),
                                       ("--signature", "CCCCDDDD", b"Old/Drafts/notes\n")):
                    self.assertEqual(self.vellmark("find", image, *search).stdout, found, search)

    def test_behind_other_partition_tables(self):
        """Catches a change that lies off its partition, or reaches the tables around it."""
        for kind, image in self.images.items():
            place = Image(image).volume.window
            volume = place.read(0, place.length)
            for name, disk in (("mbr", boot_record(0xAF, len(volume) // 512).ljust(START * 512, b"\0")
                                + volume), ("gpt", guid_table(volume))):
                with self.subTest(kind=kind, table=name):
                    image.write_bytes(disk)
                    self.run_all(image, ("mkdir", "More"), ("rm", "Old/Drafts/notes"),
                                 ("put", "--to", "More", "notes"))
                    changed, end = image.read_bytes(), START * 512 + len(volume)
                    self.assertEqual(disk[:START * 512] + disk[end:],
                                     changed[:START * 512] + changed[end:])
                    found = (HfsVolume if kind == "hfs" else HfsPlusVolume)(
                        changed, START * 512, len(volume))
                    self.assertEqual([], found.check())
                    files = {"/".join(entry.path): entry.data.read() for entry in found.walk()
                             if not entry.is_folder}
                    self.assertEqual({"Old/Drafts/plan.txt": b"the plan", "More/notes": b"n" * 5000},
                                     files)

    def test_hybrids(self):
        """Catches changes of the Macintosh side that reach the PC side of the same disc."""
        source = self.work / "disc"
        (source / "Sub").mkdir(parents=True)
        for number in range(12):
            (source / f"file {number}.txt").write_bytes(bytes([number]) * (3001 * number))
        (source / "Sub" / "big.bin").write_bytes(random.Random(1).randbytes(300_000))
        (self.work / "new").write_bytes(b"!" * 50_000)
        names = [f"folder number {number}" for number in range(150)]
        for kind, command in HYBRIDS.items():
            if command and not shutil.which(command[0]):
                continue
            with self.subTest(kind=kind):
                disc = self.work / f"{kind}.iso"
                if command:
                    subprocess.run([*command, "-V", "D", "-o", disc, source], check=True, capture_output=True)
                    unlock(disc)
                else:
                    self.vellmark("make", source, "-o", disc, "--label", "D",
                                  *(("--hfsplus",) if kind == "plus" else ()))
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
                if not command:
                    self.assertEqual(Image(disc).problems, [])
                shown = self.vellmark("get", disc, "shared", "--as", "hfs", "-o", "-").stdout
                self.assertEqual(shown, (source / "file 5.txt").read_bytes())
                with open(disc, "r+b") as image:  # a root directory outside the disc
                    image.seek(16 * 2048 + 158)
                    image.write(b"\xff\xff\xff\x7f")
                done = self.vellmark("mkdir", disc, "--writable", "no more")
                self.assertEqual(done.returncode, FAILED)
                self.assertIn(b"a PC side (ISO 9660) that is damaged", done.stderr)

    def test_what_later_systems_keep(self):
        """Catches aliases taken for links, and links that change, end a batch or are passed over."""
        image = self.images["plus"]
        (self.work / "other").write_bytes(b"other")
        self.run_all(image, ("attr", "Old/Drafts/notes", "--type", "fdrp", "--creator", "MACS"),
                     ("rename", "Old/Drafts/notes", "alias"),
                     ("attr", "Old/Drafts/plan.txt", "--type", "hlnk", "--creator", "hfs+"))
        for status, verb, *arguments in (
                (FAILED, "put", "--force", "--to", "Old/Drafts", "plan.txt", "other"),
                (SKIPPED, "replace-signature", "hlnkhfs+", "TEXTttxt")):
            done = self.vellmark(verb, image, *arguments)
            self.assertEqual(done.returncode, status, done.stderr)
            self.assertIn(b"plan.txt is a hard link", done.stderr)
        found = self.vellmark("find", image, "--signature", "hlnk").stdout
        self.assertEqual(found, b"Old/Drafts/plan.txt\n")
        self.assertEqual(self.vellmark("get", image, "Old/Drafts/other", "-o", "-").stdout, b"other")

    def test_the_journal(self):
        """Catches steps of a change that leave no line."""
        log = self.work / "journal.log"
        for verb, *arguments in (("rename", "Old/Drafts/notes", "News"), ("put", "plan.txt"),
                                 ("get", "Old", "--force")):
            self.vellmark("--log", log, verb, self.images["plus"], *arguments)
        lines = log.read_text(encoding="utf-8")
        for words in ("nb.secteurs = ", ", nb.octets = 512.", "*ren notes\tNews",
                      "COMPIL : plan.txt\t1\t", 'Copying folder "Old" to "Old"'):
            self.assertIn(words, lines)


if __name__ == "__main__":
    unittest.main()
