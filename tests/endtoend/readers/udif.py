"""Reader of UDIF disk images (.dmg): the trailer, its property list and the block tables.

Only what a disk image of zero, raw, zlib or bzip2 chunks needs; checksums of the format are
compared when they are CRC-32.
"""

import bz2
import plistlib
import struct
import zlib
from xml.parsers.expat import ExpatError

from .window import FormatError, Window

SECTOR = 512
MAX_DISK = 1 << 33      # a test image is never larger than 8 GB
ZERO, RAW, IGNORE = 0x00000000, 0x00000001, 0x00000002
ZLIB, BZIP2 = 0x80000005, 0x80000006
COMMENT, END = 0x7FFFFFFE, 0xFFFFFFFF
CRC32 = 2


def is_udif(buffer):
    """True when the last 512 bytes are a UDIF trailer."""
    return len(buffer) >= 512 and bytes(buffer[-512:-508]) == b"koly"


def unpack(buffer):
    """(bytes of the disk, problems) of the disk image in `buffer`."""
    window, problems = Window(buffer), []
    trailer = window.read(window.length - 512, 512)
    data_start, = struct.unpack_from(">Q", trailer, 24)
    plist_start, plist_length = struct.unpack_from(">QQ", trailer, 216)
    sectors, = struct.unpack_from(">Q", trailer, 492)
    try:
        plist = plistlib.loads(window.read(plist_start, plist_length))
        tables = [row["Data"] for row in plist["resource-fork"]["blkx"]]
    except (ValueError, LookupError, TypeError, AttributeError, ExpatError) as error:
        raise FormatError(f"UDIF: the property list cannot be read: {error}") from error
    pieces, checksums = {}, []
    for table in tables:
        first, data, checksum = _unpack_table(window, data_start, table, problems)
        pieces[first] = data
        checksums.append(checksum)
    disk = b""
    for first in sorted(pieces):
        if first * SECTOR > MAX_DISK:
            raise FormatError(f"UDIF: a block table starts at sector {first}")
        if first * SECTOR != len(disk):
            problems.append(f"UDIF: a block table starts at sector {first}, not "
                            f"{len(disk) // SECTOR}")
            disk = disk[:first * SECTOR].ljust(first * SECTOR, b"\0")
        disk += pieces[first]
    if sectors * SECTOR != len(disk):
        problems.append(f"UDIF: {len(disk) // SECTOR} sectors, the trailer says {sectors}")
    kind, = struct.unpack_from(">I", trailer, 352)
    master = zlib.crc32(b"".join(crc.to_bytes(4, "big") for crc in checksums))
    if kind == CRC32 and int.from_bytes(trailer[360:364], "big") != master:
        problems.append("UDIF: the master checksum is wrong")
    return disk, problems


def _unpack_table(window, data_start, table, problems):
    """(first sector, bytes, CRC-32) of one block table; the CRC leaves out ignored chunks."""
    if table[:4] != b"mish" or len(table) < 204:
        raise FormatError("UDIF: a block table has no 'mish' signature")
    first, count, offset = struct.unpack_from(">QQQ", table, 8)
    rows, = struct.unpack_from(">I", table, 200)
    if len(table) < 204 + 40 * rows:
        raise FormatError(f"UDIF: a block table is too short for its {rows} chunks")
    parts, at, checksum = [], 0, 0
    for row in range(rows):
        kind, _, start, length, packed_at, packed = struct.unpack_from(">IIQQQQ", table,
                                                                       204 + 40 * row)
        if kind in (COMMENT, END):
            continue
        if start != at:
            problems.append(f"UDIF: chunk {row} starts at sector {start}, not {at}")
        raw = b""
        if kind not in (ZERO, IGNORE):
            raw = window.read(data_start + offset + packed_at, packed)
        parts.append(_unpack_chunk(kind, raw, length * SECTOR))
        if kind != IGNORE:
            checksum = zlib.crc32(parts[-1], checksum)
        at = start + length
    data = b"".join(parts)
    if len(data) != count * SECTOR:
        problems.append(f"UDIF: a block table gives {len(data)} bytes for {count} sectors")
    kind, = struct.unpack_from(">I", table, 64)
    if kind == CRC32 and int.from_bytes(table[72:76], "big") != checksum:
        problems.append(f"UDIF: the checksum of the table from sector {first} is wrong")
    return first, data, checksum


def _unpack_chunk(kind, raw, size):
    """The `size` bytes of one chunk."""
    try:
        if kind in (ZERO, IGNORE):
            if size > MAX_DISK:
                raise FormatError(f"UDIF: a chunk of {size} empty bytes is too large")
            data = bytes(size)
        elif kind == RAW:
            data = raw
        elif kind == ZLIB:
            data = zlib.decompressobj().decompress(raw, size + 1)
        elif kind == BZIP2:
            data = bz2.BZ2Decompressor().decompress(raw, size + 1)
        else:
            raise FormatError(f"UDIF: unknown method {kind:#x} of a chunk")
    except (zlib.error, OSError) as error:
        raise FormatError(f"UDIF: a chunk cannot be unpacked: {error}") from error
    if len(data) != size:
        raise FormatError(f"UDIF: a chunk gives {len(data)} bytes, not {size}")
    return data
