"""Reader of Apple partition maps (Inside Macintosh: Devices, "SCSI Manager")."""

import struct
from collections import namedtuple

from .window import FormatError, Window

SECTOR = 512

# `start` and `length` are bytes.
Partition = namedtuple("Partition", "type start length")


class PartitionTable:
    """The partition map at the start of `buffer`, in blocks of the size that its descriptor tells."""

    def __init__(self, buffer):
        self.window = Window(buffer)
        self.problems, self.partitions = [], []
        try:
            if self.window.length > 2 * SECTOR and self.window.read(0, 2) == b"ER":
                self._read()
        except FormatError as error:
            self.problems.append(str(error))

    def _read(self):
        block, count, _, _, _, drivers = struct.unpack(">HIHHIH", self.window.read(2, 16))
        if block < SECTOR or block % SECTOR:
            raise FormatError(f"driver descriptor: blocks of {block} bytes")
        if drivers or count * block > self.window.length:
            self.problems.append(f"driver descriptor: {count} blocks, {drivers} drivers")
        number, entries = 0, 1
        while number < entries:
            number += 1
            raw = self.window.read(number * block, SECTOR)
            pad, entries, start, length = struct.unpack_from(">HIII", raw, 2)
            data, size = struct.unpack_from(">II", raw, 80)
            if raw[:2] != b"PM" or not 1 <= entries <= 64:
                raise FormatError(f"map entry {number}: signature {raw[:2]}, {entries} entries")
            if pad or not start or not length or data + size > length or \
                    (start + length) * block > self.window.length:
                self.problems.append(f"map entry {number}: blocks {start}+{length}, its data "
                                     f"{data}+{size}")
            kind = raw[48:80].split(b"\0")[0].decode("mac_roman")
            self.partitions.append(Partition(kind, start * block, length * block))
        rows = sorted(self.partitions, key=lambda row: row.start)
        if [row.start for row in rows if row.type == "Apple_partition_map"] != [block]:
            self.problems.append("the map does not begin with one entry for itself")
        self.problems += [f"{left.type} overlaps {right.type} at byte {right.start}"
                          for left, right in zip(rows, rows[1:])
                          if left.start + left.length > right.start]
