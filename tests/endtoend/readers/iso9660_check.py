"""Strict checks of an ISO 9660 volume (ECMA-119) and its Joliet tree."""

import struct
from itertools import chain

from .iso9660 import APPLE_FIELD, APPLE_VERSION, ASSOCIATED, FOLDER, SECTOR
from .window import FormatError

# No extended attributes, neither file units nor gaps, and the first volume of the set.
_FIXED = bytes(3) + b"\1\0\0\1"


def check(image):
    """(problems, what stands in another order) of the volume."""
    problems, order = [], []
    try:
        for tree, levels in image.trees.items():
            for directory in chain.from_iterable(levels):
                _records(tree, directory, problems, order)
            _path_tables(image, tree, levels, problems, order)
        _extents(image, problems)
    except FormatError as error:
        problems.append(str(error))
    # Reading the descriptors and trees has found what is wrong with single records.
    return image.problems + problems, order


def _records(tree, directory, problems, order):
    taken, previous = set(), None
    for record, following in zip(directory.records, directory.records[1:] + [None]):
        label = f"{directory.label(tree)} {record.identifier!r}"
        if record.fixed != _FIXED or record.flags & ~(1 | FOLDER | ASSOCIATED):
            problems.append(f"{label}: it is not one plain extent, flags 0x{record.flags:02X}")
        if record.system_use[:2] == b"AA" and (
                len(record.system_use) < APPLE_FIELD or record.flags & FOLDER or
                tuple(record.system_use[2:4]) != (APPLE_FIELD, APPLE_VERSION)):
            problems.append(f"{label}: Apple extension {record.system_use[:4].hex()}")
        if record.flags & ASSOCIATED and (
                following is None or following.identifier != record.identifier
                or following.flags & ASSOCIATED):
            problems.append(f"{label}: associated file without its file behind it")
        name = (record.identifier, record.flags & ASSOCIATED)
        if name in taken:
            problems.append(f"{label}: twice in the directory")
        taken.add(name)
        key = _sort_key(tree, record)
        if previous is not None and key < previous:
            order.append(f"{label}: out of order")
        previous = key


def _cut(raw, mark):
    at = raw.find(mark)
    while at % len(mark) and at >= 0:
        at = raw.find(mark, at + 1)
    return (raw, b"") if at < 0 else (raw[:at], raw[at + len(mark):])


def _sort_key(tree, record):
    """ECMA-119, 9.3: name, extension, associated file first; there is one version of each."""
    pad, dot, semicolon = (b"\0", b"\0.", b"\0;") if tree == "joliet" else (b" ", b".", b";")
    name, extension = _cut(_cut(record.identifier, semicolon)[0], dot)
    return name.ljust(256, pad), extension.ljust(256, pad), not record.flags & ASSOCIATED


def _path_tables(image, tree, levels, problems, order):
    descriptor = image.descriptors[tree]
    tables = []
    for mark, numbers in (("<", descriptor.tables_l), (">", descriptor.tables_m)):
        if not numbers[0]:
            problems.append(f"{tree}: a path table is not there")
        for block in filter(None, numbers):
            raw = image.window.read(block * SECTOR, descriptor.path_table_size)
            tables.append(_path_rows(raw, mark, tree, problems))
    if any(table != tables[0] for table in tables[1:]):
        problems.append(f"{tree}: the path tables differ from each other")
    if tables:
        _compare_tree(tree, tables[0], levels, problems)
        _table_order(tree, tables[0], order)


def _path_rows(raw, mark, tree, problems):
    """(identifier, block, parent number) of each row."""
    rows, at = [], 0
    while at < len(raw):
        if at + 8 > len(raw) or at + 8 + raw[at] > len(raw) or raw[at] == 0:
            raise FormatError(f"{tree} path table: row {len(rows) + 1} does not fit its size")
        _, block, parent = struct.unpack_from(mark + "BIH", raw, at + 1)
        end = at + 8 + raw[at]
        rows.append((raw[at + 8:end], block, parent))
        if raw[at] % 2 and raw[end:end + 1] != b"\0":
            problems.append(f"{tree} path table: padding byte of row {len(rows)} is not zero")
        at = end + raw[at] % 2
    return rows


def _compare_tree(tree, rows, levels, problems):
    """Each directory has one row, whose parent is the row of its parent."""
    by_block = {block: number for number, (_, block, _) in enumerate(rows, 1)}
    found = set()
    for directory in chain.from_iterable(levels):
        above = directory.parent or directory
        number = by_block.get(directory.record.extent)
        wanted = (directory.record.identifier if directory.parent else b"\0",
                  directory.record.extent, by_block.get(above.record.extent))
        if number is None or rows[number - 1] != wanted:
            problems.append(f"{tree} path table: no right row for {directory.label(tree)}")
        found.add(number)
    if len(found) != len(rows):
        problems.append(f"{tree} path table: {len(rows)} rows for {len(found)} directories")


def _table_order(tree, rows, order):
    """ECMA-119, 9.4: by level, then by number of the parent, then by identifier."""
    depth, before = {1: 1}, None
    pad = b"\0" if tree == "joliet" else b" "
    for number, (identifier, _, parent) in enumerate(rows, 1):
        depth[number] = depth.get(parent, 0) + (number > 1)
        key = (depth[number], parent, identifier.ljust(256, pad))
        if before is not None and key < before:
            order.append(f"{tree} path table: row {number} {identifier!r} is out of order")
        before = key


def _extents(image, problems):
    """All that lies on the disc is inside the volume and apart, or exactly shared by files."""
    own, files = [((0, image.end), "the volume descriptors")], {}
    for tree, descriptor in image.descriptors.items():
        if descriptor.space * SECTOR > image.window.length:
            problems.append(f"{tree}: {descriptor.space} blocks in a file of "
                            f"{image.window.length} bytes")
        size = -(-descriptor.path_table_size // SECTOR)
        own += [((block, block + size), f"a path table of {tree}")
                for block in filter(None, descriptor.tables_l + descriptor.tables_m)]
        own += [((directory.record.extent,
                  directory.record.extent + -(-directory.record.size // SECTOR)),
                 directory.label(tree)) for directory in chain.from_iterable(image.trees[tree])]
        for entry in image.walk(tree):
            span = (entry.extent, entry.extent + -(-entry.size // SECTOR))
            if span[1] > descriptor.space and entry.size:
                problems.append(f"{tree} {entry.path}: blocks {span} are outside the volume of "
                                f"{descriptor.space}")
            if entry.size and not entry.is_folder:
                files.setdefault(span, f"{tree} {entry.path}")
    reach, owner = 0, None
    for span, name in sorted(chain(own, files.items())):
        if span[0] < reach:
            problems.append(f"{name}: block {span[0]} belongs to {owner} too")
        if span[1] > reach:
            reach, owner = span[1], name
