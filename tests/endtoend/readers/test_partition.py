"""Partition maps made by hand, byte by byte, and the same with faults."""

import struct
import unittest
import uuid
import zlib

from .partition import GPT_HFS_PLUS, PartitionTable

SIZE = 256 * 2048


def apple_entry(count, start, length, name, kind):
    """One entry of an Apple partition map."""
    return struct.pack(">2sHIII32s32sIII", b"PM", 0, count, start, length, name, kind, 0, length,
                       0x33).ljust(512, b"\0")


def apple_map(block, rows, count=None):
    """A disk of `SIZE` bytes with a driver descriptor and a map of `rows`."""
    data = bytearray(SIZE)
    struct.pack_into(">2sHI", data, 0, b"ER", block, SIZE // block)
    for number, row in enumerate(rows, 1):
        data[number * block:number * block + 512] = apple_entry(count or len(rows), *row)
    return data


def good_rows(block):
    """The map itself in four blocks, an HFS partition and free space."""
    blocks = SIZE // block
    return [(1, 4, b"Apple", b"Apple_partition_map"), (5, 100, b"disc", b"Apple_HFS"),
            (105, blocks - 105, b"", b"Apple_Free")]


def mbr(rows):
    """A disk with an MBR of (status, type, first sector, count)."""
    data = bytearray(SIZE)
    data[510:512] = b"\x55\xaa"
    for index, (status, kind, start, count) in enumerate(rows):
        struct.pack_into("<B3sB3sII", data, 446 + 16 * index, status, b"", kind, b"", start, count)
    return data


def gpt(start=64, end=199):
    """A disk with a GPT and one HFS Plus partition."""
    last = SIZE // 512 - 1
    data = mbr([(0, 0xEE, 1, last)])
    table = bytearray(128 * 128)
    table[:128] = struct.pack("<16s16sQQQ72s", uuid.UUID(GPT_HFS_PLUS).bytes_le, b"\1" * 16, start,
                              end, 0, "Disk".encode("utf-16-le"))
    for mine, other, rows in ((1, last, 2), (last, 1, last - 32)):
        header = struct.pack("<8sIIIIQQQQ16sQIII", b"EFI PART", 0x10000, 92, 0, 0, mine, other, 34,
                             last - 33, b"\2" * 16, rows, 128, 128, zlib.crc32(table))
        header = header[:16] + struct.pack("<I", zlib.crc32(header)) + header[20:]
        data[mine * 512:mine * 512 + 92] = header
        data[rows * 512:rows * 512 + len(table)] = table
    return data


class Maps(unittest.TestCase):
    """Good maps are read without problems, faults are named."""

    def expect(self, data, words):
        """check() says `words`."""
        problems = PartitionTable(bytes(data)).check()
        self.assertTrue(any(words in problem for problem in problems), problems)

    def test_apple_map_in_blocks_of_the_descriptor(self):
        for block in (512, 2048):
            table = PartitionTable(bytes(apple_map(block, good_rows(block))))
            self.assertEqual(table.check(), [])
            self.assertEqual([(row.type, row.name, row.start, row.length)
                              for row in table.of_scheme("apm")][1],
                             ("Apple_HFS", "disc", 5 * block, 100 * block))

    def test_two_apple_maps_are_compared(self):
        data = apple_map(2048, good_rows(2048))
        for number, row in enumerate([(1, 3, b"Apple", b"Apple_partition_map"),
                                      (20, 400, b"disc", b"Apple_HFS")], 1):
            data[number * 512:number * 512 + 512] = apple_entry(2, *row)
        table = PartitionTable(bytes(data))
        self.assertEqual(table.check(), [])
        self.assertEqual(len(table.of_scheme("apm512")), 2)
        struct.pack_into(">I", data, 1024 + 8, 24)
        self.expect(data, "in the map of 512-byte blocks")

    def test_faults_of_apple_maps(self):
        own, hfs, rest = good_rows(512)
        for words, rows in (
                ("overlaps", [own, (4, 100, b"", b"Apple_HFS"), rest]),
                ("beyond the file", [own, hfs, (105, SIZE, b"", b"Apple_Free")]),
                ("0 entries for the map itself", [hfs, rest]),
                ("do not fit the map", [(1, 2, b"", b"Apple_partition_map"), hfs, rest]),
                ("the map starts at byte", [(2, 3, b"", b"Apple_partition_map"), hfs, rest]),
                ("no type", [own, (5, 100, b"", b""), rest]),
                ("no blocks", [own, (5, 0, b"", b"Apple_HFS"), rest])):
            with self.subTest(words):
                self.expect(apple_map(512, rows), words)
        for words, offset, value in (
                ("the first says", 1024 + 7, 9), ("no signature 'PM'", 1024, 0),
                ("pmSigPad", 514, 1), ("data area", 1024 + 80, 1),
                ("boot code", 1024 + 96, 1), ("no partition map", 2, 8)):
            with self.subTest(words):
                data = apple_map(512, good_rows(512))
                data[offset] = value
                self.expect(data, words)

    def test_mbr(self):
        table = PartitionTable(bytes(mbr([(0x80, 0xAF, 8, 100), (0, 0x83, 108, 50)])))
        self.assertEqual(table.check(), [])
        self.assertEqual([(row.type, row.start, row.length) for row in table.partitions],
                         [("0xAF", 4096, 51200), ("0x83", 108 * 512, 25600)])
        self.expect(mbr([(0, 0xAF, 8, SIZE)]), "beyond the file")
        self.expect(mbr([(0, 0xAF, 8, 100), (0, 0xAF, 107, 5)]), "overlaps")

    def test_logical_partitions(self):
        data = mbr([(0, 0x05, 100, 200)])
        for sector, rows in ((100, [(0, 0xAF, 2, 20), (0, 0x05, 50, 50)]),
                             (150, [(0, 0xAF, 2, 9)])):
            data[sector * 512:sector * 512 + 512] = mbr(rows)[:512]
        table = PartitionTable(bytes(data))
        self.assertEqual(table.check(), [])
        self.assertEqual([row.start // 512 for row in table.partitions if row.type == "0xAF"],
                         [102, 152])
        data[150 * 512:151 * 512] = mbr([(0, 0x05, 0, 50)])[:512]
        self.expect(data, "returns to sector 100")

    def test_gpt(self):
        table = PartitionTable(bytes(gpt()))
        self.assertEqual(table.check(), [])
        row, = table.of_scheme("gpt")
        self.assertEqual((row.type, row.name, row.start, row.length),
                         (GPT_HFS_PLUS, "Disk", 64 * 512, 136 * 512))
        self.expect(gpt(end=5000), "outside 34..")
        for words, offset in (("checksum of the header", 512 + 40), ("checksum of the table", 1024),
                              ("no header at sector 1", 512), ("backup GPT: checksum", SIZE - 400),
                              ("other partitions", 1024 + 40)):
            with self.subTest(words):
                data = gpt()
                data[offset] ^= 1
                if words.startswith("backup"):
                    data[SIZE - 512 + 60] ^= 1
                self.expect(data, words)

    def test_no_map(self):
        table = PartitionTable(bytes(SIZE))
        self.assertEqual((table.partitions, table.check()), ([], []))
        self.assertEqual(PartitionTable(b"").check(), [])


if __name__ == "__main__":
    unittest.main()
