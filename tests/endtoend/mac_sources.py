"""Macintosh files on the PC: one Macintosh file in each of the forms in which it travels there.

Every form is written after its published layout: AppleSingle and AppleDouble after RFC 1740,
MacBinary after its first version, named streams as Linux keeps them.
"""

import os
import random
import struct
from dataclasses import dataclass

from program import local_offset
from source_tree import MAC_EPOCH

INVISIBLE = 0x4000
FLAGS = 0x2400                      # a bundle and an icon of its own
DISK_DATE = 1_000_000_000
MADE, CHANGED = 3_000_000_000, 3_100_000_000    # what MacBinary tells, in local time since 1904

CODINGS = {"plain": ".txt", "streams": "", "double": "", "single": ".as", "macbinary": ".bin"}
CONTENTS = ("data", "rsrc", "both", "none")
# Large enough for the way in which large files are copied.
SIZES = {"data": 5000, "rsrc": 3000, ("macbinary", "data"): 2_300_000,
         ("double", "rsrc"): 2_200_001}


def mac_binary(name, signature, flags, data, rsrc, dates):
    """A MacBinary file."""
    head = struct.pack(">BB63s8sH", 0, len(name), name, signature, flags).ljust(83, b"\0")
    head += struct.pack(">4I", len(data), len(rsrc), *dates)
    head = head.ljust(128, b"\0") + data
    return head + bytes(-len(head) % 128) + rsrc


def apple_file(magic, entries):
    """An AppleSingle or AppleDouble file of (id, bytes)."""
    head = struct.pack(">II16xH", magic, 0x20000, len(entries))
    at, body = len(head) + 12 * len(entries), b""
    for number, content in entries:
        head += struct.pack(">III", number, at + len(body), len(content))
        body += content
    return head + body


@dataclass
class MacSource:
    """One Macintosh file, and how it lies on the PC."""

    coding: str
    content: str
    data: bytes
    rsrc: bytes
    signature: bytes
    flags: int

    # Its name on the PC.
    pc_name = property(lambda self: f"{self.coding} {self.content}{CODINGS[self.coding]}")

    @property
    def mac_name(self):
        """Its name on the Macintosh: one form brings one of its own."""
        return f"Inner {self.content}" if self.coding == "macbinary" else self.pc_name

    @property
    def local_date(self):
        """When it was changed, in local time since 1904."""
        return (CHANGED if self.coding == "macbinary" else
                DISK_DATE + local_offset(DISK_DATE) + MAC_EPOCH)

    @property
    def gmt_date(self):
        """The same in Greenwich."""
        return self.local_date - local_offset(self.local_date - MAC_EPOCH)

    @property
    def pc_bytes(self):
        """The bytes of the PC's file."""
        name, finder = self.mac_name.encode(), self._finder_info()
        if self.coding == "single":
            return apple_file(0x51600, [(9, finder), (1, self.data), (2, self.rsrc)])
        if self.coding == "macbinary":
            return mac_binary(name, self.signature, self.flags, self.data, self.rsrc,
                              (MADE, CHANGED))
        return self.data

    def _finder_info(self):
        return (self.signature + self.flags.to_bytes(2, "big")).ljust(32, b"\0")

    def write(self, folder):
        """Writes the file, and what stands beside it."""
        place = folder / self.pc_name
        place.write_bytes(self.pc_bytes)
        if self.coding == "double":
            (folder / ("._" + self.pc_name)).write_bytes(
                apple_file(0x51607, [(9, self._finder_info()), (2, self.rsrc)]))
        if self.coding == "streams":
            info = b"AFP\0" + struct.pack(">III", 0x10000, 0, 0) + self._finder_info() + bytes(12)
            os.setxattr(place, "user.AFP_AfpInfo", info)
            if self.rsrc:
                os.setxattr(place, "user.AFP_Resource", self.rsrc)
        os.utime(place, (DISK_DATE, DISK_DATE))


def keeps_streams(folder):
    """Whether the file system of a folder has attributes of the user."""
    probe = folder / "probe"
    probe.touch()
    try:
        os.setxattr(probe, "user.probe", b"1")
        return True
    except OSError:
        return False
    finally:
        probe.unlink()


def all_sources(with_streams):
    """A file of every form with either fork, both and none."""
    chance, found = random.Random(1740), []
    for number, coding in enumerate(CODINGS):
        if coding == "streams" and not with_streams:
            continue
        for content in CONTENTS:
            # A plain file has one fork, and a MacBinary file without forks is none.
            if (coding == "plain" and content in ("rsrc", "both")
                    or (coding, content) == ("macbinary", "none")):
                continue
            forks = {kind: chance.randbytes(SIZES.get((coding, kind), SIZES[kind]) + number)
                     if content in (kind, "both") else b"" for kind in ("data", "rsrc")}
            plain = coding == "plain"
            has_flags = coding not in ("plain", "streams")
            found.append(MacSource(
                coding, content, forks["data"], forks["rsrc"],
                b"TEXTttxt" if plain else f"Ty{number}{content[0]}Cr{number}!".encode(),
                (INVISIBLE if content == "none" else FLAGS) if has_flags else 0))
    return found
