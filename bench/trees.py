"""The trees of files that the benchmark copies; each is made once and kept."""

import random
import shutil

MEGABYTE = 1 << 20
SMALL = (1024, 8192)


def _make(place, fill):
    """Makes a tree in a folder aside, so that one that is there is whole."""
    if place.exists():
        return place
    aside = place.with_name(place.name + ".part")
    shutil.rmtree(aside, ignore_errors=True)
    aside.mkdir(parents=True)
    fill(aside)
    aside.rename(place)
    return place


def small_files(root, count, folders):
    """`count` files of 1 to 8 KiB in as many folders, or in the top folder when that is 0."""
    def fill(place):
        chosen = random.Random(count)
        data = chosen.randbytes(2 * MEGABYTE)
        homes = [place / f"folder{index:03d}" for index in range(folders)] or [place]
        for home in homes:
            home.mkdir(exist_ok=True)
        for index in range(count):
            size, start = chosen.randint(*SMALL), chosen.randrange(MEGABYTE)
            # 8.3 names: the other programs do not make so many long ones differ.
            (homes[index % len(homes)] / f"f{index:06d}.txt").write_bytes(
                data[start:start + size])
    return _make(root / f"{count} in {folders}", fill)


def equal_files(root, count):
    """`count` files of 4 KiB in one folder."""
    def fill(place):
        chosen = random.Random(count)
        for index in range(count):
            (place / f"note {index:06d}.txt").write_bytes(chosen.randbytes(4096))
    return _make(root / f"{count} equal", fill)


def one_large_file(root):
    """One file of 700 MiB."""
    def fill(place):
        chosen = random.Random(700)
        with open(place / "large.bin", "wb") as file:
            for _ in range(700):
                file.write(chosen.randbytes(MEGABYTE))
    return _make(root / "one large", fill)


def large_files(root):
    """8 files of 64 MiB."""
    def fill(place):
        chosen = random.Random(8)
        for index in range(8):
            with open(place / f"large{index}.bin", "wb") as file:
                for _ in range(64):
                    file.write(chosen.randbytes(MEGABYTE))
    return _make(root / "large", fill)
