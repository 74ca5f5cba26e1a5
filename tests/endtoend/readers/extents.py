"""Forks: extents of the first record joined with those of the extents overflow file."""

from collections import namedtuple
from itertools import takewhile

from .window import FormatError

DATA_FORK = 0x00
RSRC_FORK = 0xFF


class Fork(namedtuple("Fork", "logical blocks extents volume")):
    """A fork as its record describes it, and its extents as (first block, count)."""

    def read(self):
        """The bytes of the fork up to its logical length."""
        parts, left = [], self.logical
        for start, count in self.extents:
            take = min(left, count * self.volume.block_size)
            parts.append(self.volume.read_blocks(start, take))
            left -= take
        if left > 0:
            raise FormatError(f"the extents end {left} bytes before the fork does")
        return b"".join(parts)

    def faults(self, label):
        """Its lengths against its extents."""
        held, size = sum(count for _, count in self.extents), self.blocks * self.volume.block_size
        if held != self.blocks:
            yield f"{label}: extents hold {held} blocks, the record says {self.blocks}"
        if self.logical > size:
            yield f"{label}: logical length {self.logical} is more than its blocks hold"


class Overflow:
    """The records of an extents overflow file, by (file number, fork)."""

    def __init__(self):
        self.records = {}
        self.used = set()

    def add(self, cnid, fork, first_block, extents):
        """Notes one leaf record; `first_block` is the fork's block number in its key."""
        self.records.setdefault((cnid, fork), []).append((first_block, extents))

    def join(self, first, cnid, fork, label, problems):
        """All extents of a fork, of its own record `first` and the overflow file."""
        joined = _used_slots(first, label, problems)
        full = len(joined) == len(first)
        self.used.add((cnid, fork))
        for first_block, extents in self.records.get((cnid, fork), []):
            covered = sum(count for _, count in joined)
            slots = _used_slots(extents, label, problems)
            if not full or not slots:
                problems.append(f"{label}: extents overflow although an earlier extent record "
                                "has room, or an empty record")
            if first_block != covered:
                problems.append(f"{label}: overflow extents for block {first_block}, the ones "
                                f"before end at {covered}")
            full = len(slots) == len(extents)
            joined += slots
        return joined

    def unused(self):
        """Keys that no fork asked for."""
        return sorted(set(self.records) - self.used)


def _used_slots(extents, label, problems):
    """The extents before the first empty one; what follows must be zero."""
    used = list(takewhile(lambda extent: extent[1], extents))
    if any(map(any, extents[len(used):])):
        problems.append(f"{label}: an unused extent descriptor is not zero")
    return used
