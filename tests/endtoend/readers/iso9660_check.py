"""Strict checks of an ISO 9660 volume (ECMA-119) and its Joliet tree."""

import re
import struct
from itertools import chain

from .iso9660 import (APPLE_FIELD, APPLE_VERSION, ASSOCIATED, FOLDER, MULTI_EXTENT, SECTOR,
                      both_endian)
from .window import FormatError

_ISO_FILE = re.compile(rb"[A-Z0-9_]*\.[A-Z0-9_]*;[0-9]{1,5}")
_ISO_FOLDER = re.compile(rb"[A-Z0-9_]+")
_JOLIET_FORBIDDEN = re.compile("[\0-\x1f*/:;?\\\\]")
_D_CHARACTERS = re.compile(rb"[A-Z0-9_]*")
_A_CHARACTERS = re.compile(rb"[A-Z0-9_ !\"%&'()*+,\-./:;<=>?]*")


def check(image):
    """(problems, warnings) of the volume."""
    problems, warnings = [], []
    _descriptors(image, problems, warnings)
    for tree in image.descriptors:
        try:
            levels = _levels(image.trees[tree])
            _records(image, tree, levels, problems, warnings)
            _path_tables(image, tree, levels, problems, warnings)
        except FormatError as error:
            problems.append(str(error))
    try:
        _extents(image, problems)
    except FormatError as error:
        problems.append(str(error))
    # Reading the descriptors and trees has found what is wrong with single records.
    return image.problems + problems, warnings


def _descriptors(image, problems, warnings):
    for tree, descriptor in image.descriptors.items():
        label, raw = f"{tree} descriptor", descriptor.raw
        if descriptor.block_size != SECTOR:
            problems.append(f"{label}: logical block size {descriptor.block_size}, not 2048")
        if descriptor.space * SECTOR > image.window.length:
            problems.append(f"{label}: {descriptor.space} blocks in a file of "
                            f"{image.window.length} bytes")
        if not 1 <= descriptor.sequence <= descriptor.set_size:
            problems.append(f"{label}: volume {descriptor.sequence} of {descriptor.set_size}")
        if any(raw[72:80]) or raw[882] or any(raw[1395:]) or raw[881] != 1:
            problems.append(f"{label}: unused fields are not zero or the file structure version "
                            "is not 1")
        if tree == "iso" and any(raw[88:120]):
            problems.append(f"{label}: unused field at 88 is not zero")
        if raw[156] != 34 or raw[188:190] != b"\1\0":
            problems.append(f"{label}: the root's record is not of 34 bytes with identifier 0")
        both_endian(raw[158:166], f"{label}, root extent", problems)
        both_endian(raw[166:174], f"{label}, root data length", problems)
        for name, at in (("creation", 813), ("modification", 830), ("expiration", 847),
                         ("effective", 864)):
            if not _descriptor_date_ok(raw[at:at + 17]):
                problems.append(f"{label}: {name} date {raw[at:at + 17]!r}")
        if tree == "iso":
            for name, at, end, allowed in (
                    ("system identifier", 8, 40, _A_CHARACTERS),
                    ("volume identifier", 40, 72, _D_CHARACTERS),
                    ("volume set identifier", 190, 318, _D_CHARACTERS),
                    ("publisher", 318, 446, _A_CHARACTERS),
                    ("data preparer", 446, 574, _A_CHARACTERS),
                    ("application", 574, 702, _A_CHARACTERS)):
                if not allowed.fullmatch(raw[at:end].rstrip(b" ")):
                    warnings.append(f"{label}: {name} has other characters than ECMA-119 allows")


def _descriptor_date_ok(raw):
    if raw[:16] in (b"0" * 16, bytes(16), b" " * 16):
        return True
    if not raw[:16].isdigit():
        return False
    parts = [int(raw[4:6]), int(raw[6:8]), int(raw[8:10]), int(raw[10:12]), int(raw[12:14])]
    return _in_range(parts, raw[16])


def _in_range(parts, zone):
    month, day, hour, minute, second = parts
    return (1 <= month <= 12 and 1 <= day <= 31 and hour < 24 and minute < 60 and second < 60
            and -48 <= (zone ^ 0x80) - 0x80 <= 52)


def _levels(root):
    """All directories, in one list for each level of the hierarchy."""
    levels, current, seen = [], [root], set()
    while current:
        levels.append(current)
        following = []
        for directory in current:
            if id(directory) not in seen:
                seen.add(id(directory))
                following += directory.children
        current = following
    return levels


def _records(image, tree, levels, problems, warnings):
    names = warnings if image.relaxed_names else problems
    sequence = image.descriptors[tree].sequence
    if len(levels) > 8:
        warnings.append(f"{tree}: {len(levels)} levels of directories")
    for directory in chain.from_iterable(levels):
        where = f"{tree} /{'/'.join(directory.path)}"
        taken, previous, open_section, previous_size = set(), None, None, 0
        problems += [f"{where} {fault}" for fault in _associated_faults(directory.records)]
        for record in directory.records:
            label = f"{where} {image.name_text(tree, record.identifier)!r}"
            names += [f"{label}: {fault}" for fault in _name_faults(tree, record)]
            problems += [f"{label}: {fault}" for fault in _apple_faults(record)]
            date = record.date
            if any(date) and not _in_range(list(date[1:6]), date[6]):
                problems.append(f"{label}: date {date.hex()}")
            if record.flags & 0x60:
                problems.append(f"{label}: reserved bits in the flags 0x{record.flags:02X}")
            if record.sequence != sequence:
                problems.append(f"{label}: on volume {record.sequence}, not {sequence}")
            if record.unit_size or record.gap:
                problems.append(f"{label}: interleaved")
            if record.flags & FOLDER and record.flags & (ASSOCIATED | MULTI_EXTENT):
                problems.append(f"{label}: directory with the flags 0x{record.flags:02X}")
            name = (record.identifier, record.flags & ASSOCIATED)
            if open_section is not None and open_section != name:
                problems.append(f"{label}: it follows a file section that is not the last")
            elif open_section is None and name in taken:
                problems.append(f"{label}: twice in the directory")
            if open_section is not None and previous_size % SECTOR:
                problems.append(f"{label}: the section before is no whole number of blocks")
            taken.add(name)
            open_section = name if record.flags & MULTI_EXTENT else None
            previous_size = record.size
            key = _sort_key(tree, record)
            if previous is not None and key < previous:
                warnings.append(f"{label}: out of order")
            previous = key
        if open_section is not None:
            problems.append(f"{where}: the last file section of the last file is missing")


def _apple_faults(record):
    """What Apple's note on its extension does not allow in a system use area that has it."""
    raw = record.system_use
    if raw[:2] != b"AA":
        return
    if len(raw) < APPLE_FIELD or (raw[2], raw[3]) != (APPLE_FIELD, APPLE_VERSION):
        yield f"Apple extension {raw[:4].hex()} in {len(raw)} bytes"
    if record.flags & FOLDER:
        yield "directory with the type and creator of a file"


def _associated_faults(records):
    """An associated file stands directly before the file that it belongs to."""
    for record, following in zip(records, records[1:] + [None]):
        if record.flags & ASSOCIATED and not record.flags & MULTI_EXTENT and (
                following is None or following.identifier != record.identifier
                or following.flags & ASSOCIATED):
            yield f"{record.identifier!r}: associated file without its file behind it"


def _split_name(tree, identifier):
    """(name, extension, version) of an identifier, as bytes."""
    dot, semicolon = (b"\0.", b"\0;") if tree == "joliet" else (b".", b";")
    base, version = _cut(identifier, semicolon)
    name, extension = _cut(base, dot)
    return name, extension, version


def _cut(raw, mark):
    at = raw.find(mark)
    while at % len(mark) and at >= 0:
        at = raw.find(mark, at + 1)
    return (raw, b"") if at < 0 else (raw[:at], raw[at + len(mark):])


def _sort_key(tree, record):
    """ECMA-119, 9.3: name, extension, version descending, associated file first."""
    name, extension, version = _split_name(tree, record.identifier)
    pad, width = (b"\0", 256) if tree == "joliet" else (b" ", 256)
    if tree == "joliet":
        version = version[1::2]
    number = int(version) if version.isdigit() else 0
    return (name.ljust(width, pad), extension.ljust(width, pad), -number,
            not record.flags & ASSOCIATED)


def _name_faults(tree, record):
    raw = record.identifier
    if tree == "joliet":
        if len(raw) % 2 or not raw:
            yield f"identifier of {len(raw)} bytes"
            return
        text = raw.decode("utf-16-be", "replace")
        if not record.flags & FOLDER:
            text = re.sub(";[0-9]{1,5}$", "", text)
        if len(text) > 64:
            yield f"identifier of {len(text)} characters"
        if _JOLIET_FORBIDDEN.search(text):
            yield "characters that Joliet does not allow"
    elif record.flags & FOLDER:
        if not 1 <= len(raw) <= 31:
            yield f"identifier of {len(raw)} characters"
        if not _ISO_FOLDER.fullmatch(raw):
            yield "identifier that ECMA-119 does not allow for a directory"
    else:
        name, extension, version = _split_name(tree, raw)
        if not _ISO_FILE.fullmatch(raw) or not 1 <= int(version) <= 32767:
            yield "identifier that ECMA-119 does not allow for a file"
        if not 1 <= len(name + extension) <= 30:
            yield f"name and extension of {len(name + extension)} characters"


def _path_tables(image, tree, levels, problems, warnings):
    descriptor = image.descriptors[tree]
    tables = []
    for mark, numbers in (("<", descriptor.tables_l), (">", descriptor.tables_m)):
        for index, block in enumerate(numbers):
            label = f"{tree} path table {'L' if mark == '<' else 'M'}{' (second)' * index}"
            if block:
                raw = image.window.read(block * SECTOR, descriptor.path_table_size)
                tables.append(_path_rows(raw, mark, label, problems))
            elif index == 0:
                problems.append(f"{label}: not there")
    if any(table != tables[0] for table in tables[1:]):
        problems.append(f"{tree}: the path tables differ from each other")
    if tables:
        _compare_tree(tree, tables[0], levels, problems)
        _table_order(tree, tables[0], problems, warnings)


def _path_rows(raw, mark, label, problems):
    """(identifier, block, parent number) of each row."""
    rows, at = [], 0
    while at < len(raw):
        if at + 8 > len(raw) or at + 8 + raw[at] > len(raw) or raw[at] == 0:
            raise FormatError(f"{label}: row {len(rows) + 1} does not fit the table's size")
        attribute_blocks, block, parent = struct.unpack_from(mark + "BIH", raw, at + 1)
        end = at + 8 + raw[at]
        rows.append((raw[at + 8:end], block + attribute_blocks, parent))
        if raw[at] % 2 and raw[end:end + 1] != b"\0":
            problems.append(f"{label}: padding byte of row {len(rows)} is missing or not zero")
        at = end + raw[at] % 2
    return rows


def _compare_tree(tree, rows, levels, problems):
    """Each directory has one row, whose parent is the row of its parent."""
    by_block = {}
    for number, (identifier, block, _) in enumerate(rows, 1):
        if block in by_block:
            problems.append(f"{tree} path table: rows {by_block[block]} and {number} have the "
                            f"same block {block}")
        by_block[block] = number
    found = set()
    for directory in chain.from_iterable(levels):
        name = "/" + "/".join(directory.path)
        number = by_block.get(directory.record.first)
        if number is None:
            problems.append(f"{tree} path table: no row for {name}")
            continue
        found.add(number)
        identifier, _, parent = rows[number - 1]
        if identifier != (directory.record.identifier if directory.parent else b"\0"):
            problems.append(f"{tree} path table: row {number} is {identifier!r}, the directory "
                            f"{name}")
        above = directory.parent or directory
        if parent != by_block.get(above.record.first):
            problems.append(f"{tree} path table: row {number} of {name} has the parent {parent}, "
                            f"not {by_block.get(above.record.first)}")
    for number in sorted(set(range(1, len(rows) + 1)) - found):
        problems.append(f"{tree} path table: row {number} {rows[number - 1][0]!r} is no directory")


def _table_order(tree, rows, problems, warnings):
    """ECMA-119, 9.4: by level, then by number of the parent, then by identifier."""
    depth, before = {1: 1}, None
    pad = b"\0" if tree == "joliet" else b" "
    if rows[0][2] != 1 or rows[0][0] != b"\0":
        problems.append(f"{tree} path table: the first row is not the root")
    for number, (identifier, _, parent) in enumerate(rows, 1):
        if number > 1:
            if not 1 <= parent < number:
                problems.append(f"{tree} path table: row {number} has the parent {parent}")
                depth[number] = 0
            else:
                depth[number] = depth[parent] + 1
        key = (depth[number], parent, identifier.ljust(256, pad))
        if before is not None and key < before:
            warnings.append(f"{tree} path table: row {number} {identifier!r} is out of order")
        before = key


def _extents(image, problems):
    """All that lies on the disc is inside the volume and apart, or exactly shared."""
    spans = {(0, image.terminator + 1): "the volume descriptors"}
    for tree, descriptor in image.descriptors.items():
        size = -(-descriptor.path_table_size // SECTOR)
        for block in descriptor.tables_l + descriptor.tables_m:
            if block:
                _own(spans, (block, block + size), f"a path table of {tree}", problems)
        for directory in chain.from_iterable(_levels(image.trees[tree])):
            record, name = directory.record, f"{tree} /{'/'.join(directory.path)}"
            blocks = -(-record.size // SECTOR)
            _own(spans, (record.extent, record.first + blocks), name, problems)
    shared, files = set(spans), {}
    for tree in image.descriptors:
        space = image.descriptors[tree].space
        for entry in image.walk(tree):
            if entry.is_folder:
                continue
            for first, size in entry.extents:
                span = (first, first + -(-size // SECTOR))
                if size == 0:
                    continue
                name = f"{tree} /{'/'.join(entry.path)}"
                if span[1] > space:
                    problems.append(f"{name}: blocks {span[0]}..{span[1] - 1} are outside the "
                                    f"volume of {space}")
                if span in shared:
                    problems.append(f"{name}: its blocks are those of {spans[span]}")
                files.setdefault(span, name)
    reach, owner = 0, None
    for span, name in sorted(chain(spans.items(), files.items())):
        if span[0] < reach and not (span in spans and span in files):
            problems.append(f"{name}: block {span[0]} belongs to {owner} too")
        if span[1] > reach:
            reach, owner = span[1], name
    end = max(span[1] for span in spans)
    if end * SECTOR > image.window.length:
        problems.append(f"{owner}: it reaches beyond the file of {image.window.length} bytes")


def _own(spans, span, name, problems):
    """Notes blocks that nobody else may have."""
    if span in spans:
        problems.append(f"{name}: its blocks are those of {spans[span]}")
    spans[span] = name
