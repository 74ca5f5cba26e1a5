"""What goes wrong ends with a sentence that names the thing, and leaves nothing half-made."""

import fcntl
import os
import resource
import shutil
import signal
import socket
import subprocess
import time
import unittest

from images import KINDS, Image
from program import DONE, FAILED, SKIPPED, VELLMARK, Case, environment

MEGABYTE = 1 << 20


class Failures(Case):
    """Each test has a source folder and a target folder."""

    def setUp(self):
        self.here = self.work / self.id().rsplit(".")[-1]
        self.source, self.target = self.here / "source", self.here / "target"
        self.source.mkdir(parents=True)
        self.target.mkdir()
        (self.source / "plain.txt").write_text("plain")
        self.image = self.target / "disc.iso"

    def refused(self, *arguments, says, status=FAILED, **changes):
        """Runs the program, which must fail and say each of the words; gives what it said."""
        result = self.vellmark(*arguments, **changes)
        said = result.stderr.decode()
        self.assertEqual(status, result.returncode, said)
        self.assertEqual(b"", result.stdout)
        for word in says:
            self.assertIn(word, said)
        self.assertNotIn("Traceback", said)
        return said

    def left(self):
        """The names in the target folder."""
        return sorted(os.listdir(self.target))


class Targets(Failures):
    """Places where no image can be made."""

    @unittest.skipIf(os.geteuid() == 0, "root may write everywhere")
    def test_read_only_folder(self):
        """Catches a build that runs for long before it finds that it may not write."""
        self.target.chmod(0o555)
        self.refused("make", self.source, "-o", self.image, says=[str(self.image)])
        self.assertEqual([], self.left())

    def test_full_target(self):
        """Catches a write that fails unseen: a limit on the size of files stands for a disk."""
        (self.source / "large").write_bytes(bytes(3 * MEGABYTE))
        for old in (None, b"old"):
            for kind in KINDS:
                for limit in (4096, 65536, MEGABYTE, 2 * MEGABYTE):
                    with self.subTest(kind=kind.name, limit=limit, old=old):
                        if old:
                            self.image.write_bytes(old)
                        self._full(kind, limit)
                        self.assertEqual(["disc.iso"] if old else [], self.left())
                        if old:
                            self.assertEqual(old, self.image.read_bytes())

    def _full(self, kind, limit):
        def restrict():
            resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
        result = subprocess.run(
            [VELLMARK, "make", self.source, "-o", self.image, "--force", *kind.options],
            env=environment(), capture_output=True, preexec_fn=restrict, check=False, timeout=60)
        self.assertEqual(FAILED, result.returncode, result.stderr)
        # The project, the tables or the image: whichever was the first that had no room.
        self.assertTrue(result.stderr.startswith(b"vellmark: "), result.stderr)


class Sources(Failures):
    """Sources that cannot be read, or that are nothing for a disc."""

    @unittest.skipIf(os.geteuid() == 0, "root may read everything")
    def test_unreadable_file(self):
        """Catches a file that is left out in silence."""
        (self.source / "secret").write_text("secret")
        (self.source / "secret").chmod(0)
        result = self.vellmark("make", self.source, "-o", self.image)
        self.assertIn(result.returncode, (FAILED, SKIPPED))
        self.assertIn("secret", result.stderr.decode())

    def test_special_files_are_named(self):
        """Catches a pipe that the build waits for, and an item that is left out unnamed."""
        os.mkfifo(self.source / "pipe")
        with socket.socket(socket.AF_UNIX) as listener:
            here = os.getcwd()
            os.chdir(self.source)           # the path of a socket has a short limit
            try:
                listener.bind("socket")
            finally:
                os.chdir(here)
            os.symlink("nowhere", self.source / "dangling")
            result = self.vellmark("make", self.source, "-o", self.image)
        self.assertEqual(SKIPPED, result.returncode)
        for name in ("pipe", "socket", "dangling"):
            self.assertIn(name, result.stderr.decode())
        image = Image(self.image)
        self.assertEqual([], image.problems)
        self.assertEqual({("plain.txt",)}, set(image.mac_files()))

    def test_links_are_followed_once(self):
        """Catches a circle of links that never ends, and a link that is left out."""
        (self.source / "folder").mkdir()
        (self.source / "folder" / "inside").write_text("inside")
        os.symlink("..", self.source / "folder" / "up")
        os.symlink("plain.txt", self.source / "same")
        result = self.vellmark("make", self.source, "-o", self.image)
        self.assertIn(result.returncode, (DONE, SKIPPED))
        files = {path: entry.read() for path, entry
                 in Image(self.image).iso_files("joliet").items()}
        self.assertEqual(b"plain", files[("same",)])
        self.assertEqual(b"inside", files[("folder", "inside")])
        self.assertLess(len(files), 10)

    def test_file_of_4_gib(self):
        """Catches a size that is cut to 32 bits."""
        with open(self.source / "giant", "wb") as file:
            file.truncate(1 << 32)
        result = self.vellmark("make", self.source, "-o", self.image)
        self.assertEqual(SKIPPED, result.returncode)
        self.assertIn("giant", result.stderr.decode())
        self.assertIn("4294967296", result.stderr.decode().replace(" ", "").replace(",", ""))
        self.assertEqual({("plain.txt",)}, set(Image(self.image).mac_files()))

    def test_name_that_is_no_utf8(self):
        """Catches a name of other bytes that is not opened, or that stops the rest."""
        with open(os.path.join(os.fsencode(self.source), b"odd \xff\xfe name.txt"), "wb") as file:
            file.write(b"odd bytes")
        self.make(self.source, self.image)
        image = Image(self.image)
        self.assertEqual([], image.problems)
        self.assertIn(b"odd bytes", [entry.read() for entry
                                     in image.iso_files("joliet").values()])
        self.assertIn(b"odd bytes", [entry.data.read() for entry in image.mac_files().values()])


class Locks(Failures):
    """Files that another process reads or changes."""

    def test_one_rule(self):
        """Catches a verb that reads what is being changed, or changes what is being read."""
        plain, project, other = (self.target / name for name in ("plain.iso", "p.vlpr", "other"))
        self.make(self.source, self.image)
        self.make(self.source, plain, "--kind", "iso")
        self.vellmark("new", project)
        reading = [("ls", self.image), ("check", project), ("join", other, self.image)]
        changing = [("mkdir", self.image, "x"), ("split", self.image), ("join", plain, self.image),
                    ("make", self.source, "-o", self.image, "--force"),
                    ("format", self.image, "--size", "1M", "--label", "V", "--force"),
                    ("add", project, self.source), ("rebuild", project), ("new", project, "--force"),
                    ("build", project, "-o", other, "--force")]
        for operation in (fcntl.LOCK_EX, fcntl.LOCK_SH):
            shutil.copy(plain, other)
            files = [open(path, "rb") for path in (self.image, plain, project)]
            before = [file.read() for file in files]
            for file in files:
                fcntl.flock(file, operation)
            runs = [(verb, subprocess.Popen([VELLMARK, *verb], env=environment(),
                                            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                            stderr=subprocess.PIPE)) for verb in reading + changing]
            for verb, process in runs:
                said = process.communicate(timeout=60)[1]
                with self.subTest(verb=verb[0], operation=operation):
                    if operation == fcntl.LOCK_SH and verb in reading:
                        self.assertEqual(DONE, process.returncode, said)
                    else:
                        self.assertEqual(FAILED, process.returncode, said)
                        self.assertIn(b"another process", said)
            for file, old in zip(files, before):
                with file, open(file.name, "rb") as now:
                    self.assertEqual(old, now.read())


class Stopping(Failures):
    """A build that the person stops."""

    def test_interrupt(self):
        """Catches a stopped build that leaves its file, or loses the older image."""
        with open(self.source / "large", "wb") as file:
            file.truncate(3 << 30)
        self.image.write_bytes(b"old")
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(signal=number):
                # In a directory of its own, so that what it keeps there is seen too.
                scratch = self.here / f"tmp{int(number)}"
                scratch.mkdir()
                with subprocess.Popen(
                        [VELLMARK, "make", self.source, "-o", self.image, "--force"],
                        env=environment(TMPDIR=str(scratch)), stderr=subprocess.PIPE,
                        stdin=subprocess.DEVNULL) as process:
                    self._wait_for_the_copy(process)
                    process.send_signal(number)
                    _, said = process.communicate(timeout=30)
                self.assertEqual(FAILED, process.returncode, said)
                self.assertIn(b"abort", said.lower())
                self.assertEqual(["disc.iso"], self.left())
                self.assertEqual(b"old", self.image.read_bytes())
                self.assertEqual([], os.listdir(scratch))

    def _wait_for_the_copy(self, process):
        # The new image is under way when it has grown past its tables.
        while process.poll() is None:
            for name in os.listdir(self.target):
                try:
                    if name != "disc.iso" and (self.target / name).stat().st_size > 8 * MEGABYTE:
                        return
                except FileNotFoundError:
                    pass
            time.sleep(0.002)
        self.fail("the build ended before it could be stopped")

    def tearDown(self):
        shutil.rmtree(self.here)


if __name__ == "__main__":
    unittest.main()
