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


def problem(image, number):
    """What is wrong with a sector of an image; None when nothing is."""
    sector = image[number * SIZE:(number + 1) * SIZE]
    frames = number + 150
    place = map(_bcd, (frames // 4500, frames // 75 % 60, frames % 75))
    if sector[:16] != SYNC + bytes((*place, 2)):
        return "header"
    if sector[16:20] != sector[20:24]:
        return "subheader"
    if sector[18] & 0x20:
        return None if _edc_rest(sector[16:]) == 0 else "form 2 checks"
    return None if _edc_rest(sector[16:2076]) == 0 else "form 1 checks"


def problems(image, numbers):
    """{number: what is wrong} of some sectors."""
    return {number: what for number in numbers if (what := problem(image, number))}
