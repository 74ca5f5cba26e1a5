"""`join` and `split`: discs of other programs with our volumes, as other programs read both sides."""

import os
import shutil
import struct
import subprocess
import tempfile

import judges
import raw_sectors
from images import Image
from program import DONE, FAILED, PLAIN_USER, VELLMARK, Case, environment

FILES = {("PLAIN.TXT",): b"on the PC", ("SUB", "LARGE.BIN"): bytes(range(256)) * 700}
MAC_FILES = {("Macintosh only",): b"on the Macintosh", ("big",): bytes(range(255)) * 900}
FORMATS = {"hfs": (), "hfsplus": ("--hfsplus",)}


def pack():
    """One pack of an MPEG-1 program stream with a sequence header, groups and a picture."""
    video = (b"\x0f" + bytes.fromhex("000001b3 1600f014 ffffe0a4 000001b8 00080040"
                                     "00000100 000ffff8 00000101")).ljust(2306, b"\x55")
    return (bytes.fromhex("000001ba 2100010001 801b91 000001e0")
            + struct.pack(">H", len(video)) + video)


class Discs(Case):
    """A disc of genisoimage and a volume of each format."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        for folder, files in (("pc", FILES), ("mac", MAC_FILES)):
            for path, contents in files.items():
                place = cls.work.joinpath(folder, *path)
                place.parent.mkdir(parents=True, exist_ok=True)
                place.write_bytes(contents)
        cls.disc = cls.work / "source.iso"
        subprocess.run(["genisoimage", "-quiet", "-J", "-V", "PC", "-o", cls.disc,
                        cls.work / "pc"], check=True, stderr=subprocess.DEVNULL)
        cls.volumes = {}
        for kind, options in FORMATS.items():
            cls.volumes[kind] = volume = cls.work / f"{kind}.img"
            cls.done("format", volume, "--size", "3M", "--label", "Mac", *options)
            cls.done("put", volume, *sorted((cls.work / "mac").iterdir()))

    @classmethod
    def done(cls, *arguments):
        """Runs the program, which must succeed; gives what it said."""
        result = cls.vellmark(*arguments)
        if result.returncode != DONE:
            raise AssertionError(f"{arguments}: {result.stderr.decode(errors='replace')}")
        return result.stdout.decode()

    def setUp(self):
        self.here = self.work / self.id().rsplit(".")[-1]
        self.here.mkdir()

    def copy(self, name="disc.iso"):
        """A copy of the disc in the folder of the test."""
        return shutil.copyfile(self.disc, self.here / name)

    def refused(self, words, *arguments, **changes):
        """Runs the program, which must fail with these words."""
        result = self.vellmark(*arguments, **changes)
        self.assertEqual(FAILED, result.returncode, arguments)
        self.assertIn(words, result.stderr)

    def assert_split(self, image, plain):
        """The map is gone, and all else is as it was."""
        self.done("split", image)
        self.assertEqual(bytes(2560) + plain[2560:], image.read_bytes())
        self.assert_pc_side(image)

    def names(self):
        """What is in the folder of the test."""
        return sorted(os.listdir(self.here))

    def assert_pc_side(self, image):
        """xorriso sees the files of the PC."""
        with tempfile.TemporaryDirectory() as scratch:
            self.assert_same_tree(FILES, judges.xorriso(image, os.path.join(scratch, "x"), "iso")[0])

    def assert_both_sides(self, image, kind):
        """Judges see the files of the PC on one side and those of the Macintosh on the other."""
        self.assert_pc_side(image)
        with tempfile.TemporaryDirectory() as scratch:
            out = os.path.join(scratch, "out")
            files = ({path: file.data for path, file in judges.hfs_utils(image, out)[2].items()}
                     if kind == "hfs" else judges.seven_zip(image, out, "hfs")[0])
        self.assert_same_tree(MAC_FILES, files)


class Hybridation(Discs):
    """Discs with one track."""

    def test_plain_disc(self):
        """Catches a side that is lost, and bytes that a split does not bring back."""
        plain = self.disc.read_bytes()
        for kind, volume in self.volumes.items():
            with self.subTest(kind=kind):
                image, before = self.copy(), volume.read_bytes()
                said = self.done("join", image, volume)
                joined = image.read_bytes()
                self.assertIn(f"{len(joined)} bytes", said)
                self.assertEqual(before, volume.read_bytes())
                self.assertEqual(plain[1536:], joined[1536:len(plain)])
                self.assert_both_sides(image, kind)
                self.assertEqual([], Image(image).volume.check())
                self.refused(b"already contains", "join", image, volume, "--force")
                self.assertEqual(joined, image.read_bytes())
                self.assert_split(image, plain)
                self.refused(b"", "split", image)
                self.assertEqual(["disc.iso"], self.names())

    def test_batch_commands(self):
        """Catches a batch command with its arguments in the wrong order, or one that asks."""
        image = self.copy()
        self.done("/H", self.volumes["hfs"], image)
        self.assert_both_sides(image, "hfs")
        self.done("/DH", image)
        self.assertEqual(self.disc.read_bytes()[2560:], image.read_bytes()[2560:])

    def test_disc_that_its_owner_may_only_read(self):
        """Catches a disc that stays closed to its owner, or open to writing afterwards."""
        image = self.copy()
        image.chmod(0o440)
        for arguments, status in ((["join", image, self.volumes["hfs"]], DONE),
                                  (["join", image, self.volumes["hfs"]], FAILED),
                                  (["split", image], DONE), (["split", image], FAILED)):
            result = subprocess.run([*PLAIN_USER, VELLMARK, *arguments], env=environment(), check=False,
                                    capture_output=True, timeout=60)
            self.assertEqual(status, result.returncode, result.stderr)
            self.assertEqual(0o440, image.stat().st_mode & 0o7777)
        self.assertEqual(self.disc.read_bytes()[2560:], image.read_bytes()[2560:])


class VideoCd(Discs):
    """A Video CD of vcdimager with two tracks."""

    def setUp(self):
        super().setUp()
        self.image, self.sheet = self.here / "video.bin", self.here / "video.cue"
        track = self.here / "track.mpg"
        track.write_bytes(pack())
        subprocess.run(["vcdimager", "-q", "-b", "video.bin", "-c", "video.cue", track, track],
                       check=True, cwd=self.here, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        track.unlink()

    def test_video_cd(self):
        """Catches video that is not found any more, and wrong sectors."""
        old, old_sheet = self.image.read_bytes(), self.sheet.read_bytes()
        entries, files = judges.video_entries(self.image), judges.video_files(self.image)
        tracks = judges.video_tracks(self.image, self.here / "before")
        self.done("join", self.image, self.volumes["hfs"])
        new = self.image.read_bytes()
        added = (len(new) - len(old)) // raw_sectors.SIZE
        partition = -(-(self.volumes["hfs"].stat().st_size - 96 * 512) // 2048)
        self.assertEqual(partition + 150, added)
        self.assertEqual([sector + added for sector in entries], judges.video_entries(self.image))
        first = entries[0]
        self.assertEqual({name: sector + (added if sector >= first else 0)
                          for name, sector in files.items()}, judges.video_files(self.image))
        self.assertEqual([], [name for name, data in
                              judges.video_tracks(self.image, self.here / "after").items()
                              if name[0].endswith(".mpg") and data != tracks[name]])
        self.assertEqual(old, (self.here / "video.BAK").read_bytes())
        self.assertEqual(old_sheet, (self.here / "video.BAC").read_bytes())
        total = len(new) // raw_sectors.SIZE
        self.assertEqual({}, raw_sectors.problems(new, (
            *range(32), 150, 151, *range(first, total, 29), *range(first + partition - 2, total, 11))))
        size = 16 * raw_sectors.SIZE + 24 + 80
        self.assertEqual(struct.pack("<I", total) + struct.pack(">I", total), new[size:size + 8])
        data = self.here / "first.iso"
        data.write_bytes(judges.track_data(self.image, self.sheet, self.here / "out"))
        _, _, found = judges.hfs_utils(data, self.here / "hfs")
        self.assert_same_tree(MAC_FILES, {path: file.data for path, file in found.items()})
        self.assertIn(b"INDEX 01 00:%02d:%02d\r\n" % divmod(first + added, 75),
                      self.sheet.read_bytes())

    def test_refusals(self):
        """Catches a Video CD that is changed although it, or its sheet, is damaged."""
        old, old_sheet = self.image.read_bytes(), self.sheet.read_bytes()
        # The second entry, one frame before the first.
        frame = judges.video_entries(self.image)[0] + 149
        before = bytes(n // 10 << 4 | n % 10 for n in (frame // 4500, frame // 75 % 60, frame % 75))
        rows = [(old, old_sheet.replace(b"00:06:00", b"00:06:01"), b"cue"), (old, b"", b"cue")]
        for at, value in ((10, b"\xff\xff"), (10, b"\0\0"), (13, b"\xff"), (13, b"\x99"),
                          (18, b"\0"), (13, b"\0\0\0"), (17, before)):
            damaged = bytearray(old)
            at += 151 * raw_sectors.SIZE + 24
            damaged[at:at + len(value)] = value
            rows.append((bytes(damaged), old_sheet, b"Video CD"))
        names = self.names()
        for image, sheet, words in rows:
            self.image.write_bytes(image)
            self.sheet.write_bytes(sheet)
            self.refused(words, "join", self.image, self.volumes["hfs"])
            self.assertTrue(image == self.image.read_bytes(), "the image has changed")
            self.assertEqual((sheet, names), (self.sheet.read_bytes(), self.names()))

    def test_what_has_the_name_of_a_backup_stays(self):
        """Catches an only original that the next join takes the place of."""
        old, old_sheet = self.image.read_bytes(), self.sheet.read_bytes()
        (self.here / "video.BAC").symlink_to("nowhere")
        result = self.vellmark("join", self.image, self.volumes["hfs"])
        self.assertIn(b"video.BAK.1", result.stderr)
        self.assertEqual((old, old_sheet), tuple((self.here / name).read_bytes()
                                                 for name in ("video.BAK.1", "video.BAC.1")))
        self.assertEqual(["video.BAC", "video.BAC.1", "video.BAK.1", "video.bin", "video.cue"],
                         self.names())
