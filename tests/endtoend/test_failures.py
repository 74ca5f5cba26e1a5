"""What goes wrong ends with a sentence that names the thing, and leaves nothing half-made."""

import fcntl
import os
import resource
import shutil
import signal
import subprocess

from images import KINDS
from program import DONE, FAILED, VELLMARK, Case, environment

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
        self.addCleanup(shutil.rmtree, self.here)

    def assert_left(self, old):
        """The target folder has the image of before, or nothing."""
        self.assertEqual(["disc.iso"] if old else [], os.listdir(self.target))
        if old:
            self.assertEqual(old, self.image.read_bytes())

    def test_full_target(self):
        """Catches a write that fails unseen: a limit on the size of files stands for a disk."""
        (self.source / "large").write_bytes(bytes(3 * MEGABYTE))
        for kind in KINDS:
            old = self.image.read_bytes() if self.image.exists() else None
            for limit in (65536, 2 * MEGABYTE):
                with self.subTest(kind=kind.name, limit=limit):
                    result = subprocess.run(
                        [VELLMARK, "make", self.source, "-o", self.image, "--force", *kind.options],
                        env=environment(), capture_output=True, check=False, timeout=60,
                        preexec_fn=lambda size=limit: resource.setrlimit(resource.RLIMIT_FSIZE,
                                                                         (size, size)))
                    self.assertEqual(FAILED, result.returncode, result.stderr)
                    # The project, the tables or the image: whichever was the first without room.
                    self.assertTrue(result.stderr.startswith(b"vellmark: "), result.stderr)
                    self.assert_left(old)
            self.image.write_bytes(b"old")

    def test_locks(self):
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
            # At the same time, as each waits a while for the lock.
            runs = [(verb, subprocess.Popen([VELLMARK, *verb], env=environment(),
                                            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                            stderr=subprocess.PIPE)) for verb in reading + changing]
            for verb, process in runs:
                said = process.communicate(timeout=60)[1]
                may_run = operation == fcntl.LOCK_SH and verb in reading
                with self.subTest(verb=verb[0], operation=operation):
                    self.assertEqual(DONE if may_run else FAILED, process.returncode, said)
                    self.assertEqual(may_run, b"another process" not in said)
            for file, old in zip(files, before):
                with file, open(file.name, "rb") as now:
                    self.assertEqual(old, now.read())

    def test_interrupt(self):
        """Catches a stopped build that leaves its file, or loses the older image."""
        with open(self.source / "large", "wb") as file:
            file.truncate(3 << 30)
        self.image.write_bytes(b"old")
        scratch = self.here / "tmp"
        scratch.mkdir()
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
            with self.subTest(signal=number):
                # In a directory of its own, so that what it keeps there is seen too.
                status, said = self.stop(number, ["make", self.source, "-o", self.image, "--force"],
                                         self._is_copying, TMPDIR=str(scratch))
                self.assertEqual(FAILED, status, said)
                self.assertIn(b"abort", said.lower())
                self.assert_left(b"old")
                self.assertEqual([], os.listdir(scratch))

    def _is_copying(self, _):
        # The new image is under way when it has grown past its tables.
        try:
            return any(name != "disc.iso" and (self.target / name).stat().st_size > 8 * MEGABYTE
                       for name in os.listdir(self.target))
        except FileNotFoundError:
            return False
