"""Times looking at bytes beside grep: a search, a page, a list of resources. Prints a Markdown table."""

import random
import struct
import subprocess
import sys

from measure import Contender, race, verdict

MEGABYTE = 1 << 20
FORK_MEGABYTES = 700
RESOURCES, RESOURCE_BYTES = 5_000, 3_300
SEARCH_RATIO, PAGE_SECONDS, RESOURCES_SECONDS = 2, 0.020, 0.2
ABSENT = "Quixotic"


def contents(megabytes):
    """Text, tables and noise in turn, megabyte by megabyte."""
    source = random.Random(1)
    words = [source.randbytes(source.randint(2, 9)).hex().encode() for _ in range(5000)]
    parts = [b" ".join(source.choices(words, k=MEGABYTE // 8))[:MEGABYTE].ljust(MEGABYTE),
             source.randbytes(MEGABYTE),
             struct.pack(f">{MEGABYTE // 4}I", *range(MEGABYTE // 4)),
             bytes(MEGABYTE)]
    return (parts[number % len(parts)] for number in range(megabytes))


def resource_fork():
    """A fork of 16 MB with resources of one size, in ten types."""
    each = RESOURCES // 10
    data = (struct.pack(">I", RESOURCE_BYTES) + bytes(RESOURCE_BYTES)) * RESOURCES
    types, references = b"", b""
    for number in range(10):
        types += b"TYP%d" % number + struct.pack(">HH", each - 1, 2 + 80 + len(references))
        for index in range(each):
            place = (number * each + index) * (RESOURCE_BYTES + 4)
            references += struct.pack(">HHII", index, 0xFFFF, place, 0)
    resources = bytes(24) + struct.pack(">HHH", 28, 0, 9) + types + references
    head = struct.pack(">IIII", 256, 256 + len(data), len(data), len(resources)).ljust(256, b"\0")
    return head + data + resources


def volume(vellmark, place):
    """A volume with both files, made once; the large one stays beside it."""
    image, large, fork = place / "inspect.img", place / "large", place / "fork"
    if not image.exists():
        with large.open("wb") as out:
            for part in contents(FORK_MEGABYTES):
                out.write(part)
        fork.write_bytes(resource_fork())
        subprocess.run([vellmark, "format", image, "--size", "800M", "--label", "Bench",
                        "--hfsplus", "--quiet"], check=True)
        subprocess.run([vellmark, "put", image, large, "--quiet"], check=True)
        subprocess.run([vellmark, "put", image, fork, "--mode", "resource", "--quiet"], check=True)
    return image, large


def failing(*words):
    """A command that ends with status 1, as a search does that finds nothing."""
    return ["sh", "-c", '"$@"; test $? = 1', "sh", *words]


def run(vellmark, place):
    """Prints the table, and whether the goals are reached."""
    image, large = volume(vellmark, place)
    last = FORK_MEGABYTES * MEGABYTE // 512 - 1
    search, grep, page, resources = race([
        Contender(f"`dump --search`, {FORK_MEGABYTES} MB without a match", lambda *_: failing(
            vellmark, "dump", image, "large", "--search", ABSENT)),
        Contender("`grep -c` of the same bytes", lambda *_: failing("grep", "-c", ABSENT, large)),
        Contender("`dump`, the last page", lambda *_: [
            vellmark, "dump", image, "large", "--sector", str(last)]),
        Contender(f"`resources`, {RESOURCES:,} in 16 MB", lambda *_: [
            vellmark, "resources", image, "fork"])], place, place / "none")
    print("\n### Bytes looked at\n")
    print("| | median s | processor s | peak memory MiB |")
    print("|---|---:|---:|---:|")
    for each in (search, grep, page, resources):
        print(f"| {each.name} | {each.median:.3f} | {each.cpu:.3f} | {each.peak_kib / 1024:.1f} |")
    print(f"\n- search: {verdict(search.median / grep.median, SEARCH_RATIO)} of grep; "
          f"page: {verdict(page.median, PAGE_SECONDS)} s; "
          f"resources: {verdict(resources.median, RESOURCES_SECONDS)} s")
    sys.stdout.flush()
