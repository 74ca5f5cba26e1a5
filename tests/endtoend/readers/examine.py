"""Finds everything in an image that the readers of this package can judge."""

from . import udif
from .hfs import HfsVolume
from .hfsplus import HfsPlusVolume
from .iso9660 import IsoImage
from .partition import GPT_HFS_PLUS, PartitionTable
from .window import FormatError, Window

_HFS_TYPES = {"Apple_HFS", "Apple_HFSX", GPT_HFS_PLUS, "0xAF"}
_VOLUME_HEADER = 1024


class Examination:
    """What the image in `buffer` holds: readers by label, and all problems and warnings."""

    def __init__(self, buffer, relaxed_names=False):
        self.readers = {}
        self.partitions = []
        self.problems = []
        self.warnings = []
        if udif.is_udif(buffer):
            try:
                buffer, found = udif.unpack(buffer)
                self.problems += found
            except FormatError as error:
                self.problems.append(str(error))
                return
        self.buffer = Window(buffer)
        table = PartitionTable(buffer)
        self.partitions = table.partitions
        self.problems += table.check()
        self._iso(relaxed_names)
        self._volumes()
        if not self.readers:
            self.problems.append("nothing in the image is known")
        for label, reader in self.readers.items():
            self.problems += [f"{label}: {problem}" for problem in reader.check()]

    def _signature(self, offset, count=2):
        if offset + count > self.buffer.length:
            return b""
        return self.buffer.read(offset, count)

    def _iso(self, relaxed_names):
        if self._signature(16 * 2048 + 1, 5) != b"CD001":
            return
        try:
            image = IsoImage(self.buffer, relaxed_names)
        except FormatError as error:
            self.problems.append(f"ISO 9660: {error}")
            return
        self.readers["ISO 9660"] = image
        self.warnings += [f"ISO 9660: {warning}" for warning in image.warnings()]

    def _volumes(self):
        seen = set()
        for row in self.partitions:
            if row.type not in _HFS_TYPES or (row.start, row.length) in seen:
                continue
            seen.add((row.start, row.length))
            if not self._volume(f"{row.scheme} {row.type} at byte {row.start}", row.start,
                                row.length):
                self.problems.append(f"{row.scheme} {row.type} at byte {row.start}: no volume "
                                     "in the partition")
        if not any(start == 0 for start, _ in seen):
            self._volume("volume at byte 0", 0, None)

    def _volume(self, label, start, length):
        """True when there is an HFS or HFS Plus volume at byte `start`."""
        signature = self._signature(start + _VOLUME_HEADER)
        if signature not in (b"BD", b"H+", b"HX"):
            return False
        try:
            kind = HfsVolume if signature == b"BD" else HfsPlusVolume
            volume = kind(self.buffer, start, length)
            if length is None and "ISO 9660" in self.readers:
                volume = kind(self.buffer, start, volume.own_length())
            if kind is HfsVolume and volume.embedded() is not None:
                volume = HfsPlusVolume(volume.window)
            self.readers[label] = volume
        except FormatError as error:
            self.problems.append(f"{label}: {error}")
        return True
