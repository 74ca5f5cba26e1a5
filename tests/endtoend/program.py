"""Runs the program that is tested, away from the settings and the time zone of whoever tests."""

import os
import subprocess
import tempfile
import time
import unittest.mock
from pathlib import Path

VELLMARK = os.environ.get("VELLMARK", "vellmark")

# Central Europe with its summer time, told in full: it needs no time zone files.
ZONE = "CET-1CEST,M3.5.0,M10.5.0/3"
BUILD_TIME = 1_100_000_000

DONE, FAILED, USAGE, SKIPPED = 0, 1, 2, 3
# The superuser may write everywhere, until that is taken away.
PLAIN_USER = ([] if os.geteuid() else
              ["setpriv", "--bounding-set", "-dac_override", "--inh-caps", "-dac_override"])


def environment(**changes):
    """A fixed environment for the program and its judges; a change to None leaves one out."""
    values = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "TZ": ZONE,
              "SOURCE_DATE_EPOCH": str(BUILD_TIME)}
    values.update({name: os.environ[name] for name in
                   ("ASAN_OPTIONS", "UBSAN_OPTIONS", "LD_LIBRARY_PATH") if name in os.environ})
    values.update(changes)
    return {name: value for name, value in values.items() if value is not None}


def local_offset(moment):
    """Seconds that ZONE is ahead of UTC at `moment`."""
    with unittest.mock.patch.dict(os.environ, TZ=ZONE):
        time.tzset()
        offset = time.localtime(moment).tm_gmtoff
    time.tzset()
    return offset


class Case(unittest.TestCase):
    """A test with a folder of its own and ways to run the program in it."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        held = tempfile.TemporaryDirectory(prefix="vellmark-test-")
        cls.addClassCleanup(held.cleanup)
        cls.work = Path(held.name)
        (cls.work / "home").mkdir()

    @classmethod
    def vellmark(cls, *arguments, **changes):
        """Runs the program; gives what it wrote and its exit status."""
        changes.setdefault("HOME", str(cls.work / "home"))
        return subprocess.run([VELLMARK, *map(os.fspath, arguments)], env=environment(**changes),
                              capture_output=True, cwd=cls.work, stdin=subprocess.DEVNULL,
                              timeout=300, check=False)

    @classmethod
    def make(cls, source, image, *options, **changes):
        """Makes an image that must come out without a word but those about changed names."""
        result = cls.vellmark("make", source, "-o", image, *options, **changes)
        told = [line for line in result.stderr.splitlines()
                if b" shortened, or had " not in line and not line.startswith(b"vellmark:   ")]
        if result.returncode != DONE or told:
            raise AssertionError(f"make {options}: status {result.returncode}, "
                                 f"{result.stderr.decode(errors='replace')}")
        return Path(image)

    def stop(self, number, arguments, is_writing, **changes):
        """Runs the program and sends it a signal once `is_writing(process)`; (status, errors)."""
        with subprocess.Popen([VELLMARK, *map(os.fspath, arguments)], env=environment(**changes),
                              stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE) as process:
            while process.poll() is None and not is_writing(process):
                time.sleep(0.002)
            process.send_signal(number)
            said = process.communicate(timeout=30)[1]
        return process.returncode, said

    def assert_same_tree(self, expected, got):
        """Two dictionaries of path and bytes; the message names paths, never contents."""
        self.assertEqual(([], []), (sorted(expected.keys() - got.keys()),
                                    sorted(got.keys() - expected.keys())),
                         "files that are missing, and files that should not be there")
        different = [path for path in expected if expected[path] != got[path]]
        self.assertEqual([], different, "files whose bytes differ")
