"""Who owns which allocation block, compared with the volume's bitmap."""

_SPREAD = [bytes((byte >> (7 - bit)) & 1 for bit in range(8)) for byte in range(256)]


def spread_bits(packed):
    """One byte, 0 or 1, for each bit of `packed`, the highest bit of each byte first."""
    return b"".join(map(_SPREAD.__getitem__, packed))


class BlockMap:
    """The bitmap of a volume and the extents that its structures claim."""

    def __init__(self, bits, total):
        self.bits = bits[:total]
        self.total = total
        self.claims = []

    def claim(self, start, count, owner):
        """Notes that `owner` (a text for messages) uses `count` blocks from `start`."""
        if count:
            self.claims.append((start, count, owner))

    def free(self):
        """The number of clear bits."""
        return self.bits.count(0)

    def problems(self):
        """Claims outside the volume, of clear bits, or of blocks that have another owner."""
        found = []
        reach, reach_owner = 0, None
        for start, count, owner in sorted(self.claims):
            end = start + count
            if end > self.total:
                found.append(f"{owner}: blocks {start}..{end - 1} are outside the volume of "
                             f"{self.total} blocks")
            clear = self.bits.count(0, start, min(end, self.total))
            if clear:
                first = self.bits.find(0, start, end)
                found.append(f"{owner}: {clear} of its blocks are free in the bitmap, "
                             f"first block {first}")
            if start < reach:
                found.append(f"{owner}: block {start} belongs to {reach_owner} too")
            if end > reach:
                reach, reach_owner = end, owner
        return found

    def orphans(self):
        """The number of marked blocks that nobody claims."""
        owned = bytearray(self.total)
        for start, count, _ in self.claims:
            end = min(start + count, self.total)
            if start < end:
                owned[start:end] = b"\1" * (end - start)
        marked = int.from_bytes(self.bits, "big")
        return (marked & ~int.from_bytes(owned, "big")).bit_count()
