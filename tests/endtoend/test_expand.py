"""Compressed disk images: what is told of one that lacks something, and what a stop leaves."""

import os
import shutil
import signal
import unittest

import disk_images
from disk_images import BZIP2, SECTOR, ZLIB
from program import DONE, FAILED, SKIPPED, Case

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
