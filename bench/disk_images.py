"""Writes UDIF disk images (.dmg) with blocks of the kinds that Python can compress."""

import bz2
import plistlib
import struct
import zlib

SECTOR = 512
ZERO, ZLIB, BZIP2 = 0x00000000, 0x80000005, 0x80000006
END = 0xFFFFFFFF

STORE = {ZLIB: zlib.compress, BZIP2: bz2.compress}


def cut(data, kind, sectors=64):
    """The bytes of an image as blocks of one kind; those that are empty as zeros."""
    pieces = [data[at:at + sectors * SECTOR] for at in range(0, len(data), sectors * SECTOR)]
    return [(kind if any(piece) else ZERO, piece) for piece in pieces]


def _checksum(value):
    return struct.pack(">III", 2, 32, value).ljust(136, b"\0")


def _table(first, blocks, stored):
    """A table of blocks (kind, plain bytes), whose stored bytes are put behind `stored`.

    Blocks of the same bytes object stand for the same stored bytes.
    """
    rows, at, crc, places = b"", 0, 0, {}
    for kind, plain in blocks:
        if id(plain) not in places:
            packed = b"" if kind == ZERO else STORE[kind](plain)
            places[id(plain)] = len(stored), len(packed)
            stored += packed
        rows += struct.pack(">IIQQQQ", kind, 0, at, len(plain) // SECTOR, *places[id(plain)])
        at += len(plain) // SECTOR
        crc = zlib.crc32(plain, crc)
    rows += struct.pack(">IIQQQQ", END, 0, at, 0, len(stored), 0)
    head = struct.pack(">4sIQQQII24x", b"mish", 1, first, at, 0, 2056, first & 0xFF)
    return head + _checksum(crc) + struct.pack(">I", len(rows) // 40) + rows, at, crc


def udif(tables):
    """The image of these tables: stored bytes, the property list behind them, and the trailer."""
    stored, sectors, rows, crcs = bytearray(), 0, [], b""
    for number, blocks in enumerate(tables):
        table, count, crc = _table(sectors, blocks, stored)
        rows.append({"Attributes": "0x0050", "Data": table, "ID": str(number),
                     "Name": f"part {number}"})
        sectors += count
        crcs += struct.pack(">I", crc)
    # A resource of another kind, behind the tables.
    other = {"Attributes": "0x0050", "Data": b"a resource that is no table", "ID": "0", "Name": ""}
    plist = plistlib.dumps({"resource-fork": {"blkx": rows, "plst": [other]}})
    trailer = struct.pack(">4sIIIQQQQQII16x", b"koly", 4, 512, 1, 0, 0, len(stored), 0, 0, 1, 1)
    trailer += _checksum(zlib.crc32(stored)) + struct.pack(">QQ120x", len(stored), len(plist))
    trailer += _checksum(zlib.crc32(crcs)) + struct.pack(">IQ12x", 1, sectors)
    assert len(trailer) == 512
    return bytes(stored) + plist + trailer
