"""Times the expansion of compressed disk images beside other programs. Prints a Markdown table."""

import bz2
import functools
import multiprocessing
import random
import sys
import zlib

import disk_images
from measure import Contender, race, verdict

MEGABYTE = 1 << 20
IMAGE_MEGABYTES = 300
DISTINCT_MEGABYTES = 20
BLOCK_SECTORS = 512
MOST_MEMORY_KIB = 64 * 1024


def contents():
    """Text, tables and noise in turn, some of it again and again."""
    source = random.Random(1)
    words = [source.randbytes(source.randint(2, 9)).hex().encode() for _ in range(5000)]
    parts = []
    for number in range(DISTINCT_MEGABYTES):
        if number % 4 == 3:
            parts.append(source.randbytes(MEGABYTE))
        else:
            parts.append(b" ".join(source.choices(words, k=MEGABYTE // 8))[:MEGABYTE])
    return b"".join(parts) * (IMAGE_MEGABYTES // DISTINCT_MEGABYTES)


def write_image(path, kind, compress):
    """Makes the disk image of a kind of block."""
    disk_images.STORE[kind] = functools.cache(compress)
    path.write_bytes(disk_images.udif([disk_images.cut(contents(), kind, BLOCK_SECTORS)]))


def image(place, name, kind, compress):
    """The same, made once and kept; by another process, whose memory would count as that of the
    programs which this one starts."""
    path = place / f"expand {name}.dmg"
    if not path.exists():
        maker = multiprocessing.Process(target=write_image, args=(path, kind, compress))
        maker.start()
        maker.join()
    return path


def run(vellmark, place):
    """Prints the table, and whether the goals are reached."""
    print(f"\n### Disk images of {IMAGE_MEGABYTES} MB expanded\n")
    print("| | median s | processor s | peak memory MiB |")
    print("|---|---:|---:|---:|")
    goals = []
    for name, kind, compress in (("zlib", disk_images.ZLIB, zlib.compress),
                                 ("bzip2", disk_images.BZIP2, bz2.compress)):
        source = image(place, name, kind, compress)
        contenders = race([
            Contender(f"vellmark expand, {name}",
                      lambda _, output: [vellmark, "expand", source, output, "--quiet"]),
            Contender(f"dmg2img, {name}", lambda _, output: ["dmg2img", "-s", source, output]),
            Contender(f"7zz x, {name}",
                      lambda _, output: ["7zz", "x", "-so", "-tdmg", source],
                      stdout_is_output=True)], place, place / "out.img")
        for contender in contenders:
            print(f"| {contender.name} | {contender.median:.3f} | {contender.cpu:.3f} | "
                  f"{contender.peak_kib / 1024:.1f} |")
        ours, *others = contenders
        goals.append(f"- {ours.name}: " + ", ".join(
            f"{verdict(ours.median / other.median, 1)} of {other.name}" for other in others)
            + f"; memory {ours.peak_kib / 1024:.1f} MiB (at most {MOST_MEMORY_KIB // 1024}"
            + ("" if ours.peak_kib <= MOST_MEMORY_KIB else ", **missed**") + ")")
        sys.stdout.flush()
    print("\n" + "\n".join(goals))
