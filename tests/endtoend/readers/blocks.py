"""Who owns which allocation block, compared with the volume's bitmap."""

_SPREAD = [bytes((byte >> (7 - bit)) & 1 for bit in range(8)) for byte in range(256)]


def spread_bits(packed):
    """One byte, 0 or 1, for each bit of `packed`, the highest bit of each byte first."""
    return b"".join(map(_SPREAD.__getitem__, packed))


class BlockMap:
    """The bitmap of a volume, and the claims of its structures: (start, count, owner)."""

    def __init__(self, bits, total, claims=()):
        self.bits, self.total = bits[:total], total
        self.claims = sorted(claim for claim in claims if claim[1])

    def free(self):
        """The number of clear bits."""
        return self.bits.count(0)

    def problems(self):
        """Claims outside the volume, of clear bits, or of blocks that have another owner."""
        reach, reach_owner = 0, None
        for start, count, owner in self.claims:
            end = start + count
            if end > self.total:
                yield (f"{owner}: blocks {start}..{end - 1} are outside the volume of "
                       f"{self.total} blocks")
            if clear := self.bits.count(0, start, min(end, self.total)):
                yield (f"{owner}: {clear} of its blocks are free in the bitmap, first block "
                       f"{self.bits.find(0, start, end)}")
            if start < reach:
                yield f"{owner}: block {start} belongs to {reach_owner} too"
            if end > reach:
                reach, reach_owner = end, owner

    def orphans(self):
        """The number of marked blocks that nobody claims."""
        left = bytearray(self.bits)
        for start, count, _ in self.claims:
            left[start:start + count] = bytes(len(left[start:start + count]))
        return left.count(1)
