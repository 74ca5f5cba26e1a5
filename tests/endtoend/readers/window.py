"""Bounded access to the bytes of an image."""

import mmap
import os


class FormatError(Exception):
    """The image cannot be read further; the text says what is wrong."""


class Window:
    """`length` bytes of `buffer` from `start`; every read is checked against these bounds."""

    def __init__(self, buffer, start=0, length=None):
        outer = buffer if isinstance(buffer, Window) else None
        available = (outer.length if outer else len(buffer)) - start
        if start < 0 or available < 0:
            raise FormatError(f"offset {start} is outside the image")
        self.buffer = outer.buffer if outer else buffer
        self.start = start + (outer.start if outer else 0)
        self.length = available if length is None else min(length, available)

    def read(self, offset, count):
        """Exactly `count` bytes at `offset`, or FormatError."""
        if offset < 0 or count < 0 or offset + count > self.length:
            raise FormatError(f"bytes {offset}..{offset + count} are outside the "
                              f"{self.length} bytes")
        return bytes(self.buffer[self.start + offset:self.start + offset + count])


def load_image(path):
    """The bytes of the file at `path`, mapped."""
    with open(path, "rb") as file:
        if os.fstat(file.fileno()).st_size == 0:
            return b""
        return mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)
