"""The five kinds of image, and what the strict readers say of one."""

from collections import Counter, namedtuple

from readers.examine import Examination
from readers.iso9660 import IsoImage
from readers.window import load_image

BLOCK = 2048

# A kind of image: its options, and the trees that it holds.
Kind = namedtuple("Kind", "name options views")

KINDS = (Kind("hybrid-hfs", (), ("iso", "joliet", "hfs")),
         Kind("hybrid-hfsplus", ("--hfsplus",), ("iso", "joliet", "plus")),
         Kind("iso", ("--kind", "iso"), ("iso", "joliet")),
         Kind("hfs", ("--kind", "hfs"), ("hfs",)),
         Kind("hfsplus", ("--kind", "hfs", "--hfsplus"), ("plus",)))


class Image:
    """An image through the strict readers."""

    def __init__(self, path):
        self.path = path
        self.bytes = load_image(path)
        self.examination = Examination(self.bytes)
        readers = self.examination.readers.values()
        self.iso = next((found for found in readers if isinstance(found, IsoImage)), None)
        self.volume = next((found for found in readers if found is not self.iso), None)

    @property
    def problems(self):
        """What is wrong with the image; every used block of its volume has an owner."""
        orphans = self.volume.orphans() if self.volume else 0
        return (self.examination.problems +
                [f"{orphans} blocks are in use without an owner"] * (orphans > 0))

    def iso_files(self, tree):
        """{path without version: entry} of the files of 'iso' or 'joliet'."""
        return {entry.path[:-1] + (entry.path[-1].removesuffix(";1"),): entry
                for entry in self.iso.walk(tree) if not entry.is_folder}

    def iso_folders(self, tree):
        """The paths of the folders."""
        return {entry.path for entry in self.iso.walk(tree) if entry.is_folder}

    def mac_files(self):
        """{path: entry} of the files of the volume."""
        return {entry.path: entry for entry in self.volume.walk() if not entry.is_folder}

    def mac_folders(self):
        """The paths of its folders."""
        return {entry.path for entry in self.volume.walk() if entry.is_folder}

    def block_counts(self):
        """How often each block of bytes occurs in the image."""
        return Counter(self.bytes[at:at + BLOCK] for at in range(0, len(self.bytes), BLOCK))
