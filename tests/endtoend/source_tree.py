"""The folder of PC files that goes into the images, and what each view must call its files.

The names that the views must show are written out by hand where they differ from those on the PC;
the four digits of a fallback name are the CRC-16 of the whole name (polynomial 1021, initial value
0), low nibble first: on HFS in MacRoman, where that holds it, and else in UTF-8.
"""

import binascii
import os
import random
import unicodedata
from dataclasses import dataclass

from program import local_offset

MAC_EPOCH = 2_082_844_800       # seconds from 1904 to 1970
MAC_LAST = 0xFFFFFFFF
MANY = 400
SUMMER_2001, WINTER_2001 = 1_004_229_000, 1_004_232_600     # 02:30 twice, the clock is set back
DATES = {"new": None, "old": 915_148_800, "ancient": -2_147_483_648, "far": 2_840_140_800,
         "summer": SUMMER_2001, "winter": WINTER_2001}


def crc_digits(name, codec="utf-8"):
    """The four digits of a fallback name."""
    return f"{binascii.crc_hqx(name.encode(codec), 0):04X}"[::-1]


def decomposed(name):
    """The form of names on HFS Plus, for the letters that occur here: symbols stay joined."""
    return "".join(letter if "\u2000" <= letter <= "\u2fff" else unicodedata.normalize("NFD", letter)
                   for letter in name)


class Name:
    """How a name of the PC appears in each view."""

    def __init__(self, source, joliet="", hfs="", plus=""):
        self.source = source
        self.joliet, self.hfs = joliet or source, hfs or source
        self.plus = plus or decomposed(source)


def _long_names():
    """Names that views must cut, and two that are the same once they are cut."""
    stem = "Quarterly report on the state of the harbour "      # 45 letters
    one, two = stem + "one.txt", stem + "two.txt"
    return [
        Name(one, hfs=stem[:27] + ".txt"),
        Name(two, hfs=stem[:22] + "-" + crc_digits(two) + ".txt"),
        Name("y" * 63, joliet="y" * 62, hfs="y" * 31),
        # Decomposed it still has no more than 255 bytes, which judges need.
        Name("é" * 80 + ".txt", joliet="é" * 58 + ".txt", hfs="é" * 27 + ".txt"),
    ]


def _twin(name):
    """A name that differs in case only from another one."""
    other = name + "-" + crc_digits(name)
    return Name(name, joliet=other, hfs=name + "-" + crc_digits(name, "mac_roman"),
                plus=decomposed(other))


# Every character that MacRoman has beyond ASCII, eight a name.
MAC_ROMAN = [f"{first:02X} " + bytes(range(first, first + 8)).decode("mac_roman")
             for first in range(0x80, 0x100, 8)]


ODD_NAMES = [
    Name("Grüße aus Köln.txt"), Name("trailing dot."), Name("many.dots.in.it.txt"),
    Name("README"), _twin("readme"), Name("Éclair"), _twin("éclair"),
    Name("a*b", joliet="a_b"), Name("what?", joliet="what_"), *map(Name, MAC_ROMAN),
    # A Macintosh parts folders by colons, and shows a slash where another system shows a colon.
    Name("co:lon", joliet="co_lon", hfs="co/lon", plus="co/lon"),
    Name(".hidden"), Name("quote's \"name\""), Name("-dash"),
    # From a Macintosh, letters and marks apart.
    Name(decomposed("naïve à côté.txt"), joliet="naïve à côté.txt", hfs="naïve à côté.txt"),
    # Outside Windows-1252, and MacRoman but for one letter.
    Name("日本語.txt", hfs="___.txt"), Name("Ωmega"), Name("emoji 😀.txt", hfs="emoji __.txt"),
    Name("setup.exe"),
]


@dataclass
class SourceFile:
    """One file on the PC; `mac_gmt` and `mac_local` are its dates on HFS Plus and HFS."""

    path: tuple
    content: bytes
    modified: int

    hidden = property(lambda self: self.path[-1].startswith("."))
    mac_gmt = property(lambda self: _mac_date(self.modified))
    mac_local = property(lambda self: _mac_date(self.modified + local_offset(self.modified)))


def _mac_date(moment):
    """The nearest date that the formats can hold; 0 would be none."""
    return min(max(moment + MAC_EPOCH, 1), MAC_LAST)


class SourceTree:
    """Makes the tree under `root`; the contents come from a fixed seed."""

    def __init__(self, root):
        self.root = root
        self.random = random.Random(1904)
        self.files = []
        self.folders = []
        self.names = {}             # path on the PC: Name
        root.mkdir()
        for folder, table in (("odd names", ODD_NAMES), ("long", _long_names())):
            self._folder(folder)
            for name in table:
                self._file(folder, name.source, size=self.random.randrange(50, 5000), name=name)
        for folder, name in (("Ordner für Bücher", "Müßiggang.txt"), ("v1.2", "INSIDE.TXT")):
            self._folder(folder)
            self._file(folder, name)
        self._folder("empty folder")
        self._folder("sizes")
        for size in (0, 1, 511, 512, 513, 2047, 2048, 2049, 4096, 65535, 65536, 1_000_001,
                     2_200_000, 5_300_000):
            self._file("sizes", f"s{size}.bin", size=size)
        self._folder("dates")
        for name, modified in DATES.items():
            self._file("dates", name, modified=modified)
        path = ()
        for level in range(1, 11):
            path += (f"level{level}",)
            self._folder(*path)
            self._file(*path, f"at {level}.txt")
        self._folder("many")
        for index in range(MANY):
            self._file("many", f"{index:04d} picture.jpeg", size=32 + index % 90)
        # What the disk made of the dates is what counts; some cannot hold them all.
        for file in self.files:
            file.modified = int(os.stat(self.root.joinpath(*file.path)).st_mtime)

    def _folder(self, *path):
        self.root.joinpath(*path).mkdir()
        self.folders.append(path)

    def _file(self, *path, size=100, modified=1_000_000_000, name=None):
        content = self.random.randbytes(size)
        place = self.root.joinpath(*path)
        place.write_bytes(content)
        if modified is not None:
            os.utime(place, (modified, modified))
        self.files.append(SourceFile(path, content, 0))
        if name:
            self.names[path] = name

    def expected(self, view):
        """{path in 'joliet', 'hfs' or 'plus': SourceFile}."""
        found = {}
        for file in self.files:
            path = tuple(map(decomposed if view == "plus" else str, file.path))
            if file.path in self.names:
                path = path[:-1] + (getattr(self.names[file.path], view),)
            assert path not in found
            found[path] = file
        return found

    def expected_folders(self, view):
        """The paths of the folders in the view."""
        convert = decomposed if view == "plus" else str
        return {tuple(convert(part) for part in path) for path in self.folders}
