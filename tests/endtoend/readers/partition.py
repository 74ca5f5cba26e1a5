"""Reader of partition maps: Apple (Inside Macintosh: Devices, SCSI Manager), MBR and GPT."""

import struct
import uuid
import zlib
from dataclasses import dataclass

from .window import FormatError, Window

SECTOR = 512
EXTENDED_TYPES = (0x05, 0x0F, 0x85)
PROTECTIVE = 0xEE
GPT_HFS_PLUS = "48465300-0000-11AA-AA11-00306543ECAC"
GPT_UNUSED = "00000000-0000-0000-0000-000000000000"


@dataclass
class Partition:
    """One partition; `start` and `length` are bytes."""

    scheme: str         # 'apm', 'apm512' (a second map in 512-byte blocks), 'mbr', 'gpt'
    type: str
    name: str
    start: int
    length: int


class PartitionTable:
    """All partition maps that the start of `buffer` tells of."""

    def __init__(self, buffer):
        self.window = Window(buffer)
        self.problems = []
        self.partitions = []
        self.block_size = SECTOR        # of the driver descriptor
        for step in (self._apple, self._mbr):
            try:
                step()
            except FormatError as error:
                self.problems.append(str(error))

    def check(self):
        """Every fault of the maps as a list of sentences."""
        return list(self.problems)

    def of_scheme(self, scheme):
        """The partitions of one map."""
        return [row for row in self.partitions if row.scheme == scheme]

    def _starts_with(self, offset, signature):
        return offset + len(signature) <= self.window.length \
            and self.window.read(offset, len(signature)) == signature

    # Apple partition map

    def _apple(self):
        if self._starts_with(0, b"ER"):
            self._driver_descriptor()
        elif not self._starts_with(SECTOR, b"PM"):
            return
        size = self.block_size
        if self._starts_with(size, b"PM"):
            self._apple_map("apm", size)
        else:
            self.problems.append(f"driver descriptor: no partition map at byte {size}, although "
                                 f"its blocks have {size} bytes")
        # A disc may carry a map for each of both sector sizes.
        if size != SECTOR and self._starts_with(SECTOR, b"PM"):
            self._apple_map("apm512", SECTOR)
            self._compare_maps()

    def _driver_descriptor(self):
        size, count, _, _, _, drivers = struct.unpack(">HIHHIH", self.window.read(2, 16))
        if size < SECTOR or size % SECTOR:
            raise FormatError(f"driver descriptor: block size {size} is no multiple of 512")
        self.block_size = size
        if count * size > self.window.length:
            self.problems.append(f"driver descriptor: {count} blocks of {size} bytes in a file of "
                                 f"{self.window.length}")
        if drivers > 61:
            self.problems.append(f"driver descriptor: {drivers} drivers do not fit")
            return
        for index in range(drivers):
            start, blocks, _ = struct.unpack(">IHH", self.window.read(18 + 8 * index, 8))
            if start * size + blocks * SECTOR > self.window.length:
                self.problems.append(f"driver descriptor: driver {index} is outside the file")

    def _apple_map(self, scheme, size):
        count, found = None, []
        number = 1
        while count is None or number <= count:
            raw = self.window.read(number * size, SECTOR)
            label = f"{scheme} entry {number}"
            if raw[:2] != b"PM":
                self.problems.append(f"{label}: no signature 'PM'")
                break
            entries, start, length = struct.unpack_from(">III", raw, 4)
            if count is None:
                count = entries
                if not 1 <= count <= 4096:
                    raise FormatError(f"{label}: a map of {count} entries")
            if entries != count:
                self.problems.append(f"{label}: a map of {entries} entries, the first says {count}")
            self._apple_entry(label, raw, start, length, size)
            found.append(Partition(scheme, _text(raw[48:80]), _text(raw[16:48]), start * size,
                                   length * size))
            number += 1
        maps = [row for row in found if row.type == "Apple_partition_map"]
        if len(maps) != 1:
            self.problems.append(f"{scheme}: {len(maps)} entries for the map itself, not 1")
        elif maps[0].start != size:
            self.problems.append(f"{scheme}: the map starts at byte {maps[0].start}, not {size}")
        elif maps[0].length < len(found) * size:
            self.problems.append(f"{scheme}: {len(found)} entries do not fit the map of "
                                 f"{maps[0].length} bytes")
        self._overlaps(found)
        self.partitions += found

    def _apple_entry(self, label, raw, start, length, size):
        data_start, data_length, _, boot_start, boot_size = struct.unpack_from(">IIIII", raw, 80)
        if any(raw[2:4]):
            self.problems.append(f"{label}: pmSigPad is not zero")
        if start == 0:
            self.problems.append(f"{label}: it starts at the driver descriptor")
        if not _text(raw[48:80]):
            self.problems.append(f"{label}: no type")
        if (start + length) * size > self.window.length:
            self.problems.append(f"{label}: blocks {start}+{length} of {size} bytes reach beyond "
                                 f"the file of {self.window.length}")
        if length == 0:
            self.problems.append(f"{label}: no blocks")
        if data_start + data_length > length:
            self.problems.append(f"{label}: data area {data_start}+{data_length} is larger than "
                                 f"its {length} blocks")
        if boot_start * size + boot_size > length * size:
            self.problems.append(f"{label}: boot code reaches beyond its {length} blocks")

    def _compare_maps(self):
        first, second = [{(row.start, row.length) for row in self.of_scheme(scheme)
                          if row.type in ("Apple_HFS", "Apple_HFSX")}
                         for scheme in ("apm", "apm512")]
        if first != second:
            self.problems.append(f"apm: HFS partitions at {sorted(first)}, in the map of 512-byte "
                                 f"blocks at {sorted(second)}")

    def _overlaps(self, rows):
        rows = sorted(rows, key=lambda row: row.start)
        for left, right in zip(rows, rows[1:]):
            if left.start + left.length > right.start and right.length:
                self.problems.append(f"{left.scheme}: {left.type} at byte {left.start} overlaps "
                                     f"{right.type} at {right.start}")

    # MBR

    def _mbr(self):
        if self.window.length < SECTOR or not self._starts_with(510, b"\x55\xaa"):
            return
        rows = self._mbr_rows(0, "MBR")
        # A boot sector of a file system ends alike; its code is no table of partitions.
        if rows is None or not rows:
            return
        if any(kind == PROTECTIVE for kind, _, _ in rows):
            self._gpt()
        found = []
        for kind, start, count in rows:
            found.append(Partition("mbr", f"0x{kind:02X}", "", start * SECTOR, count * SECTOR))
            if kind == PROTECTIVE:
                # It may tell of the largest count where the disk is larger.
                continue
            if (start + count) * SECTOR > self.window.length:
                self.problems.append(f"MBR: partition 0x{kind:02X} of sectors {start}+{count} "
                                     f"reaches beyond the file of {self.window.length} bytes")
            if count == 0:
                self.problems.append(f"MBR: partition 0x{kind:02X} has no sectors")
            if kind in EXTENDED_TYPES:
                self.partitions += self._logical(start)
        self._overlaps([row for row in found if row.type != f"0x{PROTECTIVE:02X}"])
        self.partitions += found

    def _mbr_rows(self, sector, label):
        """(type, first sector, count) of the used entries; None when it is no such table."""
        raw = self.window.read(sector * SECTOR, SECTOR)
        rows = []
        for index in range(4):
            status, _, kind, _, start, count = struct.unpack_from("<B3sB3sII", raw,
                                                                  446 + 16 * index)
            if status not in (0x00, 0x80):
                if label == "MBR":
                    return None
                self.problems.append(f"{label}: status 0x{status:02X}")
            if kind:
                rows.append((kind, start, count))
        return rows

    def _logical(self, base):
        """Logical partitions of the extended one that starts at sector `base`."""
        found, sector, seen = [], base, set()
        while sector not in seen:
            seen.add(sector)
            if not self._starts_with(sector * SECTOR + 510, b"\x55\xaa"):
                raise FormatError(f"MBR: no extended boot record at sector {sector}")
            onward = None
            for kind, start, count in self._mbr_rows(sector, f"EBR at {sector}"):
                if kind in EXTENDED_TYPES:
                    onward = base + start
                    continue
                row = Partition("mbr", f"0x{kind:02X}", "", (sector + start) * SECTOR,
                                count * SECTOR)
                if row.start + row.length > self.window.length:
                    self.problems.append(f"EBR at {sector}: partition reaches beyond the file")
                found.append(row)
            if onward is None:
                return found
            sector = onward
        raise FormatError(f"MBR: the chain of extended boot records returns to sector {sector}")

    # GPT

    def _gpt(self):
        last = self.window.length // SECTOR - 1
        first = self._gpt_table("GPT", 1, None)
        header = self.window.read(SECTOR, 92)
        backup, = struct.unpack_from("<Q", header, 32)
        if backup != last:
            self.problems.append(f"GPT: the backup header should be at sector {last}, the header "
                                 f"says {backup}")
        second = self._gpt_table("backup GPT", backup, 1)
        if first != second:
            self.problems.append("GPT: the backup table tells of other partitions")
        self._overlaps(first)
        self.partitions += first

    def _gpt_table(self, label, sector, other):
        raw = self.window.read(sector * SECTOR, 92)
        signature, revision, size, crc, _, mine, alternate, usable, last, _, table, count, \
            entry_size, table_crc = struct.unpack("<8sIIIIQQQQ16sQIII", raw)
        if signature != b"EFI PART":
            raise FormatError(f"{label}: no header at sector {sector}")
        if revision != 0x10000:
            self.problems.append(f"{label}: revision {revision:#x}")
        if not 92 <= size <= SECTOR:
            raise FormatError(f"{label}: header size {size}")
        full = self.window.read(sector * SECTOR, size)
        if zlib.crc32(full[:16] + bytes(4) + full[20:]) != crc:
            self.problems.append(f"{label}: checksum of the header is wrong")
        if mine != sector or other is not None and alternate != other:
            self.problems.append(f"{label}: it says that it is at {mine}, the other at {alternate}")
        if entry_size < 128 or entry_size % 8 or count > 4096:
            raise FormatError(f"{label}: {count} entries of {entry_size} bytes")
        entries = self.window.read(table * SECTOR, count * entry_size)
        if zlib.crc32(entries) != table_crc:
            self.problems.append(f"{label}: checksum of the table is wrong")
        found = []
        for index in range(count):
            row = entries[index * entry_size:(index + 1) * entry_size]
            kind = str(uuid.UUID(bytes_le=row[:16])).upper()
            if kind == GPT_UNUSED:
                continue
            start, end = struct.unpack_from("<QQ", row, 32)
            name = row[56:128].decode("utf-16-le", "replace").split("\0")[0]
            found.append(Partition("gpt", kind, name, start * SECTOR,
                                   (end + 1 - start) * SECTOR))
            if not usable <= start <= end <= last:
                self.problems.append(f"{label}: partition {index} of sectors {start}..{end} is "
                                     f"outside {usable}..{last}")
            if (end + 1) * SECTOR > self.window.length:
                self.problems.append(f"{label}: partition {index} reaches beyond the file")
        return found


def _text(raw):
    return raw.split(b"\0")[0].decode("mac_roman")
