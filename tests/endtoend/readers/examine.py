"""Finds everything in an image that the readers of this package can judge."""

from .hfs import HfsVolume
from .hfsplus import HfsPlusVolume
from .iso9660 import IsoImage
from .partition import PartitionTable
from .window import FormatError, Window

_VOLUME_HEADER = 1024


class Examination:
    """What the image in `buffer` holds: readers by label, and all that is wrong with it."""

    def __init__(self, buffer):
        self.readers = {}
        self.buffer = Window(buffer)
        table = PartitionTable(buffer)
        self.partitions, self.problems = table.partitions, table.problems
        # A formatted HFS image has but the mark of a descriptor, by which hybrid tools know it.
        if self._signature(16 * 2048, 6) == b"\1CD001":
            self._add("ISO 9660", lambda: IsoImage(self.buffer))
        starts = [(row.start, row.length) for row in self.partitions if row.type == "Apple_HFS"]
        for start, length in starts or [(0, None)]:
            self._volume(f"volume at byte {start}", start, length)
        if not self.readers:
            self.problems.append("nothing in the image is known")
        for label, reader in self.readers.items():
            self.problems += [f"{label}: {problem}" for problem in reader.check()]

    def _signature(self, offset, count=2):
        return self.buffer.read(offset, count) if offset + count <= self.buffer.length else b""

    def _add(self, label, read):
        try:
            self.readers[label] = read()
        except FormatError as error:
            self.problems.append(f"{label}: {error}")

    def _volume(self, label, start, length):
        kind = {b"BD": HfsVolume, b"H+": HfsPlusVolume, b"HX": HfsPlusVolume}.get(
            self._signature(start + _VOLUME_HEADER))
        if kind is None:
            self.problems += [f"{label}: there is none"] * (length is not None)
            return

        def read():
            volume = kind(self.buffer, start, length)
            if length is None and "ISO 9660" in self.readers:
                # A hybrid disc without a partition map has more than the volume in its file.
                volume = kind(self.buffer, start, volume.own_length())
            return volume
        self._add(label, read)
