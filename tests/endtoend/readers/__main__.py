"""Tells what an image holds and what is wrong with it.

    python3 -m readers [--list] [--relaxed-names] IMAGE

Exit status 0: no problem; 1: problems, or nothing known in the image; 2: wrong use.
"""

import argparse
import sys

from .examine import Examination
from .hfs import HfsVolume
from .iso9660 import IsoImage
from .window import FormatError, load_image


def _describe(reader, listing):
    """Lines about one volume."""
    if isinstance(reader, IsoImage):
        for tree, descriptor in reader.descriptors.items():
            yield f"{tree} tree {descriptor.volume_id!r}, {descriptor.space} blocks"
            if listing:
                for entry in reader.walk(tree):
                    yield _line(entry, entry.path, "" if entry.is_folder else entry.size)
        return
    kind = "HFS" if isinstance(reader, HfsVolume) else "HFS Plus"
    entries = list(reader.walk())
    files = sum(not entry.is_folder for entry in entries)
    yield (f"{kind} {reader.name!r}, {reader.blocks.total} blocks of {reader.block_size}, "
           f"{files} files, {len(entries) - files} folders, {reader.orphans()} blocks of nobody")
    if listing:
        for entry in entries:
            yield _line(entry, entry.path, "" if entry.is_folder else
                        f"{entry.data.logical}+{entry.rsrc.logical} {entry.type!r} "
                        f"{entry.creator!r}")


def _line(entry, path, details):
    name = "/".join(ascii(part)[1:-1] for part in path)
    return f"  {name}{'/' if entry.is_folder else ''} {details}".rstrip()


def main(arguments=None):
    """Examines one image and gives the exit status."""
    parser = argparse.ArgumentParser(prog="readers", description="Judge a disc image strictly.")
    parser.add_argument("image")
    parser.add_argument("--list", action="store_true", help="list all files and folders")
    parser.add_argument("--relaxed-names", action="store_true",
                        help="ISO identifiers beyond ECMA-119 are warnings")
    options = parser.parse_args(arguments)
    try:
        buffer = load_image(options.image)
    except OSError as error:
        parser.error(f"{options.image}: {error.strerror}")
    found = Examination(buffer, options.relaxed_names)
    for row in found.partitions:
        print(f"{row.scheme}: {row.type} {row.name!r} at byte {row.start}, {row.length} bytes")
    for label, reader in found.readers.items():
        try:
            for line in _describe(reader, options.list):
                print(f"{label}: {line}")
        except FormatError as error:
            print(f"{label}: {error}")
    for warning in found.warnings:
        print(f"warning: {warning}")
    for problem in found.problems:
        print(f"PROBLEM: {problem}")
    print(f"{len(found.problems)} problems, {len(found.warnings)} warnings")
    return 1 if found.problems else 0


if __name__ == "__main__":
    sys.exit(main())
