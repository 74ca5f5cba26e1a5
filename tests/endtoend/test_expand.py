"""Compressed disk images: expanded as other programs expand them, and opened by every verb."""

import os
import shutil
import signal
import subprocess
import unittest

import disk_images
from disk_images import BZIP2, LZMA, RAW, SECTOR, ZLIB
from program import DONE, FAILED, SKIPPED, Case

KINDS = (RAW, ZLIB, BZIP2, LZMA)


def expanded_by(*command):
    """What another program writes that expands a disk image."""
    return subprocess.run(command, capture_output=True, check=True, stdin=subprocess.DEVNULL,
                          timeout=300).stdout


class Expand(Case):
    """A partition with an HFS+ volume, as plain image and as disk images."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        source = cls.work / "source"
        source.mkdir()
        (source / "Read Me.txt").write_text("read me\n" * 400)
        (source / "pattern").write_bytes(b"abcabcab" * 4000 + os.urandom(300_000))
        cls.plain_path = cls.make(source, cls.work / "plain.img", "--hfsplus")
        plain = cls.plain_path.read_bytes()
        cls.plain = plain.ljust(-(-len(plain) // SECTOR) * SECTOR, b"\0")
        cls.plain_path.write_bytes(cls.plain)
        cls.zlib = disk_images.udif([disk_images.cut(cls.plain, ZLIB)])
        cls.scratch = cls.work / "scratch"
        cls.scratch.mkdir()

    def image(self, contents):
        """A file with these contents."""
        path = self.work / "disk.dmg"
        path.write_bytes(contents)
        return path

    def test_as_other_programs_do(self):
        """Catches a block that is expanded wrongly, or goes to a wrong place."""
        out = self.work / "out.img"
        for kind in KINDS:
            for tables in (1, 3):
                with self.subTest(kind=kind, tables=tables):
                    blocks = disk_images.cut(self.plain, kind)
                    step = -(-len(blocks) // tables)
                    image = self.image(disk_images.udif(
                        [blocks[at:at + step] for at in range(0, len(blocks), step)]))
                    result = self.vellmark("expand", image, out, "--force", "--verify")
                    self.assertEqual((DONE, b""), (result.returncode, result.stderr))
                    self.assertTrue(out.read_bytes() == self.plain)
                    judged = expanded_by("7zz", "x", "-so", "-tdmg", image)
                    self.assertTrue(judged == self.plain, "7zz")
                    if kind in (ZLIB, BZIP2):
                        expanded_by("dmg2img", "-s", image, out)
                        self.assertTrue(out.read_bytes() == self.plain, "dmg2img")

    def test_every_verb_opens_it(self):
        """Catches a verb that takes the stored bytes for an image, and a temporary file."""
        image = self.image(self.zlib)
        for verb, *rest in (("ls", "-R"), ("tree",), ("find", "Read"), ("label",),
                            ("attr", "Read Me.txt"), ("get", "Read Me.txt", "-o", "-")):
            of_image, of_plain = (self.vellmark(verb, path, *rest, TMPDIR=str(self.scratch))
                                  for path in (image, self.plain_path))
            self.assertEqual((DONE, b""), (of_image.returncode, of_image.stderr), verb)
            self.assertEqual(of_plain.stdout.replace(b"plain.img", b""),
                             of_image.stdout.replace(b"disk.dmg", b""), verb)
        told = self.vellmark("info", image).stdout
        self.assertIn(f"disk.dmg: {len(self.plain)} bytes".encode(), told)
        for verb, *rest in (("rm", "Read Me.txt", "--force"), ("label", "New"), ("mkdir", "F")):
            result = self.vellmark(verb, image, *rest, TMPDIR=str(self.scratch))
            self.assertEqual(FAILED, result.returncode, verb)
            self.assertIn(b"the verb expand makes a plain image", result.stderr)
        self.assertEqual(self.zlib, image.read_bytes())
        self.assertEqual([], os.listdir(self.scratch))

    def test_refusals(self):
        """Catches a damaged image that gives a target, and an image that is replaced by itself."""
        image = self.image(bytes(2) + self.zlib[2:])
        result = self.vellmark("expand", image, "none.img")
        self.assertEqual((FAILED, b""), (result.returncode, result.stdout))
        self.assertIn(b"compressed data is damaged", result.stderr)
        self.assertFalse((self.work / "none.img").exists())
        image.write_bytes(self.zlib)
        for arguments in ((image, image, "--force"), (image, self.plain_path)):
            self.assertEqual(FAILED, self.vellmark("expand", *arguments).returncode, arguments)
        self.assertEqual((self.zlib, self.plain), (image.read_bytes(), self.plain_path.read_bytes()))

    def test_what_is_missing_is_told(self):
        """Catches an image that lacks something and counts as whole."""
        contents = bytearray(self.zlib)
        contents[-512 + 492:-512 + 500] = (len(self.plain) // SECTOR + 9).to_bytes(8, "big")
        image, out = self.image(contents), self.work / "out.img"
        for arguments in (("expand", image, out, "--force", "--quiet"), ("ls", image),
                          ("label", image), ("find", image, "Read"), ("/DC", image, out)):
            with self.subTest(arguments=arguments):
                result = self.vellmark(*arguments)
                self.assertEqual(SKIPPED, result.returncode)
                self.assertIn(b"disk.dmg: Its tables leave out 9 of its", result.stderr)
                if out in arguments:
                    self.assertTrue(out.read_bytes() == self.plain + bytes(9 * SECTOR))
                    out.unlink()

    def test_stopped(self):
        """Catches a temporary file or a target that a stopped program leaves behind."""
        blocks = [(BZIP2, bytes(range(256)) * 4096)] * 400
        image = self.image(disk_images.udif([blocks]))
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT,
                       signal.SIGKILL):
            for verb in (("ls", image), ("expand", image, self.scratch / "out.img")):
                with self.subTest(signal=number, verb=verb[0]):
                    status, said = self.stop(number, verb, self._is_writing,
                                             TMPDIR=str(self.scratch))
                    killed = number == signal.SIGKILL
                    self.assertEqual(-number if killed else FAILED, status, said)
                    self.assertIn(b"" if killed else b"Stopped as you wished", said)
                    left = os.listdir(self.scratch)
                    shutil.rmtree(self.scratch)
                    self.scratch.mkdir()
                    if not killed or verb[0] == "ls":
                        self.assertEqual([], left)

    def _is_writing(self, process):
        try:
            for name in os.listdir(f"/proc/{process.pid}/fd"):
                path = f"/proc/{process.pid}/fd/{name}"
                if str(self.scratch) in os.readlink(path) and os.stat(path).st_size > 1 << 20:
                    return True
        except FileNotFoundError:
            pass
        return False


if __name__ == "__main__":
    unittest.main()
