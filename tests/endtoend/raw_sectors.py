"""Raw sectors of 2,352 bytes, checked as ECMA-130 and CD-ROM XA say.

Their error correction is judged in tests/IO.
"""

SIZE = 2352
SYNC = b"\0" + b"\xff" * 10 + b"\0"
EDC = 1 << 32 | 0x8001801B


def _edc_rest(data):
    """Remainder of the division by the EDC polynomial, least significant bits first."""
    value = int.from_bytes(data, "little")
    bits = 8 * len(data)
    rest = int(f"{value:0{bits}b}"[::-1], 2)
    while rest.bit_length() > 32:
        rest ^= EDC << (rest.bit_length() - 33)
    return rest


def _bcd(value):
    return value // 10 << 4 | value % 10


def header(number, mode):
    """Synchronisation and header of a sector."""
    frames = number + 150
    return SYNC + bytes((_bcd(frames // 4500), _bcd(frames // 75 % 60), _bcd(frames % 75), mode))


def wrap(data, mode):
    """A raw image around plain data, without checks, which no reader of the data needs."""
    offset = 16 if mode == 1 else 24
    return b"".join((header(at // 2048, mode).ljust(offset, b"\0") + data[at:at + 2048]
                     ).ljust(SIZE, b"\0") for at in range(0, len(data), 2048))


def problem(image, number):
    """What is wrong with a sector of an image; None when nothing is."""
    sector = image[number * SIZE:(number + 1) * SIZE]
    mode = sector[15]
    if sector[:16] != header(number, mode) or mode not in (1, 2):
        return "header"
    if mode == 1:
        right = _edc_rest(sector[:2068]) == 0 and not any(sector[2068:2076])
        return None if right else "mode 1 checks"
    if sector[16:20] != sector[20:24]:
        return "subheader"
    if sector[18] & 0x20:
        return None if _edc_rest(sector[16:]) == 0 else "form 2 checks"
    return None if _edc_rest(sector[16:2076]) == 0 else "form 1 checks"


def problems(image, numbers):
    """{number: what is wrong} of some sectors."""
    return {number: what for number in numbers if (what := problem(image, number))}
