"""Forks: extents of the first record joined with those of the extents overflow file."""

from dataclasses import dataclass, field

from .window import FormatError

DATA_FORK = 0x00
RSRC_FORK = 0xFF


@dataclass
class Fork:
    """A fork as its record describes it, and its extents as (first block, count)."""

    logical: int
    blocks: int
    extents: list = field(default_factory=list)
    volume: object = None

    def read(self):
        """The bytes of the fork up to its logical length."""
        parts, left = [], self.logical
        for start, count in self.extents:
            if left <= 0:
                break
            take = min(left, count * self.volume.block_size)
            parts.append(self.volume.read_blocks(start, take))
            left -= take
        if left > 0:
            raise FormatError(f"the extents end {left} bytes before the fork does")
        return b"".join(parts)


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
        covered = sum(count for _, count in joined)
        self.used.add((cnid, fork))
        for first_block, extents in self.records.get((cnid, fork), []):
            if not full:
                problems.append(f"{label}: extents overflow although an earlier extent record "
                                "has room")
            if first_block != covered:
                problems.append(f"{label}: overflow extents for block {first_block}, the ones "
                                f"before end at {covered}")
            slots = _used_slots(extents, label, problems)
            if not slots:
                problems.append(f"{label}: empty record in the extents overflow file")
            full = len(slots) == len(extents)
            covered += sum(count for _, count in slots)
            joined += slots
        return joined

    def unused(self):
        """Keys that no fork asked for."""
        return sorted(set(self.records) - self.used)


def _used_slots(extents, label, problems):
    """The extents before the first empty one; what follows must be zero."""
    used = []
    for index, (start, count) in enumerate(extents):
        if count == 0:
            if any(start or count for start, count in extents[index:]):
                problems.append(f"{label}: an unused extent descriptor is not zero")
            break
        used.append((start, count))
    return used


def check_fork(fork, block_size, label):
    """Lengths of a fork against its extents."""
    held = sum(count for _, count in fork.extents)
    if held != fork.blocks:
        yield f"{label}: extents hold {held} blocks, the record says {fork.blocks}"
    if fork.logical > fork.blocks * block_size:
        yield (f"{label}: logical length {fork.logical} is more than its {fork.blocks} blocks "
               "hold")
