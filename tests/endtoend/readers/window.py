"""Bounded access to the bytes of an image."""

import mmap
import os

RAW_SYNC = b"\0" + b"\xff" * 10 + b"\0"
RAW_SECTOR = 2352


class FormatError(Exception):
    """The image cannot be read further; the text says what is wrong."""


class Window:
    """`length` bytes of `buffer` from `start`; every read is checked against these bounds."""

    def __init__(self, buffer, start=0, length=None):
        if isinstance(buffer, Window):
            if start < 0 or start > buffer.length:
                raise FormatError(f"offset {start} is outside the {buffer.length} bytes")
            available = buffer.length - start
            self.buffer, self.start = buffer.buffer, buffer.start + start
        else:
            if start < 0 or start > len(buffer):
                raise FormatError(f"offset {start} is outside the {len(buffer)} bytes")
            available = len(buffer) - start
            self.buffer, self.start = buffer, start
        self.length = available if length is None else min(length, available)

    def read(self, offset, count):
        """Exactly `count` bytes at `offset`, or FormatError."""
        if offset < 0 or count < 0 or offset + count > self.length:
            raise FormatError(f"bytes {offset}..{offset + count} are outside the "
                              f"{self.length} bytes")
        return bytes(self.buffer[self.start + offset:self.start + offset + count])


def load_image(path):
    """The bytes of the file at `path`: mapped, or for a raw MODE1 image its 2048-byte sectors."""
    with open(path, "rb") as file:
        if os.fstat(file.fileno()).st_size == 0:
            return b""
        mapped = mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
    if mapped[:12] == RAW_SYNC and len(mapped) % RAW_SECTOR == 0:
        return b"".join(mapped[at + 16:at + 16 + 2048]
                        for at in range(0, len(mapped), RAW_SECTOR))
    return mapped
