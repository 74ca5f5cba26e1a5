"""Order of names in an HFS Plus catalog: FastUnicodeCompare of Apple Technical Note TN1150."""

# UTF-16 units that the comparison leaves out.
_IGNORED = (*range(0x200C, 0x2010), *range(0x202A, 0x202F), *range(0x206A, 0x2070), 0xFEFF)

# Runs of UTF-16 units: the first, how many, the step from one to the next, and how far behind it
# lies the unit that each of them compares as.
_FOLDED = (
    (0x0041, 26, 1, 32), (0x00C6, 1, 1, 32), (0x00D0, 1, 1, 32), (0x00D8, 1, 1, 32),
    (0x00DE, 1, 1, 32), (0x0110, 1, 1, 1), (0x0126, 1, 1, 1), (0x0132, 1, 1, 1), (0x013F, 2, 2, 1),
    (0x014A, 1, 1, 1), (0x0152, 1, 1, 1), (0x0166, 1, 1, 1), (0x0181, 1, 1, 210),
    (0x0182, 2, 2, 1), (0x0186, 1, 1, 206), (0x0187, 1, 1, 1), (0x0189, 2, 1, 205),
    (0x018B, 1, 1, 1), (0x018E, 1, 1, 79), (0x018F, 1, 1, 202), (0x0190, 1, 1, 203),
    (0x0191, 1, 1, 1), (0x0193, 1, 1, 205), (0x0194, 1, 1, 207), (0x0196, 1, 1, 211),
    (0x0197, 1, 1, 209), (0x0198, 1, 1, 1), (0x019C, 1, 1, 211), (0x019D, 1, 1, 213),
    (0x019F, 1, 1, 214), (0x01A2, 2, 2, 1), (0x01A7, 1, 1, 1), (0x01A9, 1, 1, 218),
    (0x01AC, 1, 1, 1), (0x01AE, 1, 1, 218), (0x01B1, 2, 1, 217), (0x01B3, 2, 2, 1),
    (0x01B7, 1, 1, 219), (0x01B8, 1, 1, 1), (0x01BC, 1, 1, 1), (0x01C4, 1, 1, 2),
    (0x01C5, 1, 1, 1), (0x01C7, 1, 1, 2), (0x01C8, 1, 1, 1), (0x01CA, 1, 1, 2), (0x01CB, 1, 1, 1),
    (0x01E4, 1, 1, 1), (0x01F1, 1, 1, 2), (0x01F2, 1, 1, 1), (0x0391, 17, 1, 32),
    (0x03A3, 7, 1, 32), (0x03E2, 7, 2, 1), (0x0402, 2, 2, 80), (0x0405, 2, 1, 80),
    (0x0408, 4, 1, 80), (0x040F, 1, 1, 80), (0x0410, 9, 1, 32), (0x041A, 22, 1, 32),
    (0x0460, 11, 2, 1), (0x0478, 5, 2, 1), (0x0490, 24, 2, 1), (0x04C3, 1, 1, 1),
    (0x04C7, 1, 1, 1), (0x04CB, 1, 1, 1), (0x0531, 38, 1, 48), (0x10A0, 38, 1, 48),
    (0x2160, 16, 1, 16), (0xFF21, 26, 1, 32),
)

# NUL comes last, so that it is not left out.
_TRANSLATION = {0: 0xFFFF} | dict.fromkeys(_IGNORED) | {
    unit: unit + distance for first, count, step, distance in _FOLDED
    for unit in range(first, first + count * step, step)}


def folded_key(name):
    """A value that orders names (str) without regard to case, by UTF-16 units."""
    return name.translate(_TRANSLATION).encode("utf-16-be", "surrogatepass")
