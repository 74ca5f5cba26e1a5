"""Images for the tests of the readers, made by other programs; SkipTest when one is missing."""

import functools
import os
import re
import shutil
import struct
import subprocess
import tempfile
import unittest
from pathlib import Path

from .partition import PartitionTable

BIG = bytes(range(256)) * 160       # 40,960 bytes


def need(program):
    """Skips the test when `program` is not installed."""
    if shutil.which(program) is None:
        raise unittest.SkipTest(f"{program} is not installed")


def sample(name):
    """Path of a sample image; skips the test when the samples are not there."""
    folder = os.environ.get("VELLMARK_SAMPLES")
    if not folder:
        raise unittest.SkipTest("VELLMARK_SAMPLES does not name the folder of the samples")
    path = Path(folder) / name
    if not path.exists():
        raise unittest.SkipTest(f"{path} is not there")
    return path


class HfsMaker:
    """An HFS image under construction by hfsutils, in a folder of its own."""

    def __init__(self, size, name="Test Vol"):
        need("hformat")
        self.folder = tempfile.TemporaryDirectory()
        self.path = Path(self.folder.name) / "image"
        self.path.write_bytes(bytes(size))
        self.run("hformat", "-l", name, self.path)

    def run(self, *words):
        """The output of one program of hfsutils, which keeps its state in HOME."""
        return subprocess.run(words, check=True, capture_output=True, cwd=self.folder.name,
                              env=dict(os.environ, HOME=self.folder.name)).stdout

    def bytes_free(self):
        """The free space of the volume as hvol tells it."""
        return int(re.search(rb"(\d+) bytes free", self.run("hvol")).group(1))

    def copy(self, data, *targets):
        """Copies `data` into files of these HFS paths."""
        source = Path(self.folder.name) / "source"
        source.write_bytes(data)
        for target in targets:
            self.run("hcopy", "-r", source, target)

    def finish(self):
        """The bytes of the image."""
        self.run("humount")
        data = self.path.read_bytes()
        self.folder.cleanup()
        return data


@functools.cache
def hfs_image():
    """HFS with folders, 60 small files (so that the catalog has index nodes) and a big one."""
    maker = HfsMaker(1954 * 512)
    for folder in (":Folder", ":Folder:Deep", ":Other"):
        maker.run("hmkdir", folder)
    maker.copy(b"small\n", *(f":Folder:file {number:02}" for number in range(60)))
    maker.copy(BIG, ":big")
    maker.copy(b"", ":Folder:Deep:empty")
    return maker.finish()


@functools.cache
def fragmented_hfs_image():
    """HFS whose file 'big' has more extents than its catalog record holds."""
    maker = HfsMaker(800 * 1024)
    names = [f":gap {number:03}" for number in range(96)]
    maker.copy(b"x" * 2048, *names)
    # The catalog has grown by now; what is left must be too small for 'big' in one piece.
    maker.copy(bytes(maker.bytes_free() - 20_000), ":filler")
    maker.run("hdel", *names[::2])
    maker.copy(BIG + BIG, ":big")
    return maker.finish()


def _tree(folder):
    """A small tree of files for the makers of ISO images."""
    (folder / "Sub Folder" / "deep" / "deeper").mkdir(parents=True)
    (folder / "Other").mkdir()
    for number in range(300):
        (folder / "Sub Folder" / f"file number {number}.txt").write_text(f"{number}\n")
    (folder / "big.bin").write_bytes(BIG)
    (folder / "empty").write_bytes(b"")
    (folder / "caf\u00e9.txt").write_text("accent\n")
    (folder / "Sub Folder" / "deep" / "deeper" / "last").write_text("last\n")


def _made_from(fill, command):
    need(command[0])
    with tempfile.TemporaryDirectory() as scratch:
        source, image = Path(scratch) / "tree", Path(scratch) / "image"
        source.mkdir()
        fill(source)
        subprocess.run([*command, "-o", image, source], check=True, capture_output=True)
        return image.read_bytes()


@functools.cache
def iso_image():
    """ISO 9660 with Joliet by genisoimage."""
    return _made_from(_tree, ["genisoimage", "-quiet", "-J", "-V", "VOLUME"])


@functools.cache
def apple_image():
    """ISO 9660 with Apple's extension by genisoimage: a file with two forks, and a plain one."""
    def fill(folder):
        (folder / "file").write_bytes(b"data" * 100)
        # AppleDouble (RFC 1740): the Finder's information, then the resource fork.
        (folder / "._file").write_bytes(
            struct.pack(">II16xH6I", 0x51607, 0x20000, 2, 9, 50, 32, 2, 82, 600)
            + b"TYPEcrea".ljust(32, b"\0") + b"rsrc" * 150)
        (folder / "plain.txt").write_bytes(b"plain")
    return _made_from(fill, ["genisoimage", "-quiet", "-R", "-apple", "--osx-double"])


@functools.cache
def hybrid_image(*options):
    """ISO 9660 and HFS by genisoimage; with "-part", an Apple partition map too."""
    def fill(folder):
        _tree(folder)
        # It miscounts the size of smaller hybrids and gives up.
        (folder / "filler").write_bytes(BIG * 10)
    return _made_from(fill, ["genisoimage", "-quiet", "-hfs", *options, "-V", "HYBRID"])


@functools.cache
def crowded_hybrid_image():
    """A hybrid whose catalog has more nodes than its header node can map."""
    def fill(folder):
        for outer in range(9):
            (folder / str(outer)).mkdir()
            for number in range(1000):
                (folder / str(outer) / f"{outer} {number} with a long name").write_text("x")
    return _made_from(fill, ["genisoimage", "-quiet", "-hfs", "-part", "-V", "CROWDED"])


@functools.cache
def plus_hybrid_image():
    """ISO 9660 and HFS Plus by xorriso."""
    return _made_from(_tree, ["xorriso", "-as", "mkisofs", "-quiet", "-hfsplus"])


def hfs_partition(image):
    """The bytes of the Apple_HFS partition of an image."""
    for row in PartitionTable(image).partitions:
        if row.type == "Apple_HFS":
            return image[row.start:row.start + row.length]
    raise AssertionError("the image has no Apple_HFS partition")
