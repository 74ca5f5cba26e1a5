"""Strict checks of an HFS Plus volume: Apple Technical Note TN1150."""

import re
import struct
from collections import Counter
from unicodedata import ucd_3_2_0

from .blocks import BlockMap
from .extents import DATA_FORK, Fork, check_fork
from .hfsplus import (BAD_BLOCK_FILE, FILE_THREAD, FIRST_USER_ID, FOLDER_THREAD, HEADER_OFFSET,
                      ROOT, ROOT_PARENT, VolumeHeader)
from .window import FormatError

_BAD_CLOSE, _BIG_KEYS, _VARIABLE_INDEX_KEYS = 1, 2, 4
_UNMOUNTED, _INCONSISTENT, _IDS_REUSED = 1 << 8, 1 << 11, 1 << 12
_THREAD_EXISTS, _HAS_ATTRIBUTES, _HAS_FOLDER_COUNT = 0x0002, 0x0004, 0x0010
# The last mount may write the dates and the counters of one header only; the rest is equal.
_ALTERNATE_FIELDS = ("signature", "version", "createDate", "blockSize", "totalBlocks")
_NOT_DECOMPOSED = re.compile("[\u2000-\u2fff\uf900-\ufaff\U0002f800-\U0002faff]")


def check(volume):
    """Every fault of the volume; a part that cannot be read ends the checks of that part."""
    found = []
    if volume.wrapper is not None:
        found += [f"wrapper: {problem}" for problem in volume.wrapper.check()]
    for step in (_header, _alternate, _special_files, _trees, _catalog_records, _threads,
                 _hierarchy, _counts, _attributes, _forks, _blocks):
        try:
            for problem in step(volume):
                found.append(problem)
        except FormatError as error:
            if str(error) not in found:
                found.append(str(error))
    return found


def _header(volume):
    header, length = volume.header, volume.window.length
    if header.version != {b"H+": 4, b"HX": 5}[header.signature]:
        yield f"volume header: version {header.version} of {header.signature.decode()}"
    if header.totalBlocks != length // header.blockSize:
        yield (f"volume header: {header.totalBlocks} blocks of {header.blockSize} bytes in "
               f"{length} bytes")
    if not header.attributes & _UNMOUNTED:
        yield "volume header: the volume is not marked as unmounted properly"
    if header.attributes & _INCONSISTENT:
        yield "volume header: the volume is marked as inconsistent"
    if header.nextAllocation > header.totalBlocks:
        yield f"volume header: nextAllocation {header.nextAllocation} is outside the volume"
    for field in ("rsrcClumpSize", "dataClumpSize"):
        if getattr(header, field) % header.blockSize:
            yield f"volume header: {field} {getattr(header, field)} is no multiple of a block"
    free = volume.blocks.free()
    if header.freeBlocks != free:
        yield (f"volume header: {header.freeBlocks} free blocks, {free} clear bits in the "
               "allocation file")
    folders = {entry.cnid for entry in volume.catalog.entries if entry.is_folder}
    words = struct.unpack(">8I", header.finderInfo)
    for index in (0, 1, 2, 3, 5):
        if words[index] and words[index] not in folders:
            yield f"volume header: finderInfo[{index}] names folder {words[index]}, not there"


def _alternate(volume):
    at = volume.window.length - 1024
    if at <= HEADER_OFFSET:
        yield "alternate volume header: no room for it"
        return
    other = VolumeHeader(volume.window.read(at, 512))
    for field in _ALTERNATE_FIELDS:
        first, second = getattr(volume.header, field), getattr(other, field)
        if first != second:
            yield f"alternate volume header at byte {at}: {field} is {second}, not {first}"
            if field == "signature":
                return
    if volume.header.raw[112:] != other.raw[112:]:
        yield f"alternate volume header at byte {at}: the special files differ"


def _special_files(volume):
    for name, fork in volume.special.items():
        check_fork(fork, volume.block_size, name, found := [])
        yield from found
        if name in ("allocation file", "startup file"):
            continue
        if fork.logical != fork.blocks * volume.block_size:
            yield (f"{name}: logical length {fork.logical} differs from its {fork.blocks} blocks "
                   f"of {volume.block_size}")
    data = volume.special["allocation file"].read()
    total = volume.header.totalBlocks
    extra = len(data) * 8 - total
    if extra > 0 and int.from_bytes(data, "big") & ((1 << extra) - 1):
        yield "allocation file: bits beyond the last block are set"


def _trees(volume):
    trees = [(volume.extents_tree, _BIG_KEYS),
             (volume.catalog_tree, _BIG_KEYS | _VARIABLE_INDEX_KEYS)]
    if volume.attributes_tree is not None:
        trees.append((volume.attributes_tree, _BIG_KEYS | _VARIABLE_INDEX_KEYS))
    for tree, attributes in trees:
        yield from tree.check()
        if tree.attributes & ~_BAD_CLOSE != attributes:
            yield f"{tree.label}: header attributes {tree.attributes:#x}, not {attributes:#x}"
        if tree.attributes & _BAD_CLOSE:
            yield f"{tree.label}: the header says that the tree was not closed properly"
        if tree.tree_type:
            yield f"{tree.label}: btreeType is {tree.tree_type}, not 0"
        if tree.reserved1:
            yield f"{tree.label}: reserved1 of the header is not zero"
    compare, signature = volume.catalog_tree.compare_type, volume.header.signature
    if compare not in ((0, 0xCF) if signature == b"H+" else (0xBC, 0xCF)):
        yield f"catalog: key compare type {compare:#x} in a volume {signature.decode()}"
    if volume.catalog_tree.node_size < 4096:
        yield f"catalog: node size {volume.catalog_tree.node_size} is below 4096"


def _label(entry):
    kind = "folder" if entry.is_folder else "file"
    return f"{kind} {entry.cnid} {entry.name!r}"


def is_decomposed(name):
    """True when each part of the name that TN1150 decomposes is decomposed canonically."""
    return all(ucd_3_2_0.normalize("NFD", part) == part for part in _NOT_DECOMPOSED.split(name))


def _catalog_records(volume):
    yield from volume.catalog.problems
    for entry in volume.catalog.entries:
        label = _label(entry)
        units = len(entry.name.encode("utf-16-be", "surrogatepass")) // 2
        if not 1 <= units <= 255:
            yield f"{label}: name of {units} units"
        if ":" in entry.name:
            yield f"{label}: colon in the name"
        if not is_decomposed(entry.name):
            yield f"{label}: the name is not canonically decomposed"
        if any(0xD800 <= ord(char) < 0xE000 for char in entry.name):
            yield f"{label}: unpaired surrogate in the name"
        if entry.cnid < FIRST_USER_ID and entry.cnid != ROOT:
            yield f"{label}: its number is below {FIRST_USER_ID}"
        if entry.mode == 0:
            yield f"{label}: mode 0"
        elif entry.is_folder != ((entry.mode & 0xF000) == 0x4000):
            yield f"{label}: mode {entry.mode:o} does not fit its kind"
        if entry.is_folder:
            if any(entry.record[84:88]) and not entry.flags & _HAS_FOLDER_COUNT:
                yield f"{label}: reserved bytes at the end are not zero"
        else:
            if any(entry.record[84:88]):
                yield f"{label}: reserved2 is not zero"
            if not entry.flags & _THREAD_EXISTS:
                yield f"{label}: its flags do not tell of a thread"


def _threads(volume):
    records = {entry.cnid: entry for entry in volume.catalog.entries}
    threaded = set()
    for kind, cnid, key_name, parent, name, raw in volume.catalog.threads:
        label = f"thread of {cnid}"
        if key_name:
            yield f"{label}: its key has a name"
        if any(raw[2:4]):
            yield f"{label}: reserved bytes are not zero"
        threaded.add(cnid)
        entry = records.get(cnid)
        if entry is None:
            yield f"{label}: no such file or folder"
        elif kind != (FOLDER_THREAD if entry.is_folder else FILE_THREAD):
            yield f"{label}: kind {kind} does not fit its record"
        elif (entry.parent, entry.name) != (parent, name):
            yield (f"{label}: it says {name!r} in {parent}, the record is {entry.name!r} in "
                   f"{entry.parent}")
    for entry in volume.catalog.entries:
        if entry.cnid not in threaded:
            yield f"{_label(entry)}: no thread"


def _hierarchy(volume):
    entries = volume.catalog.entries
    for cnid, count in Counter(entry.cnid for entry in entries).items():
        if count > 1:
            yield f"catalog: number {cnid} is used by {count} records"
    children = Counter(entry.parent for entry in entries)
    subfolders = Counter(entry.parent for entry in entries if entry.is_folder)
    folders = {entry.cnid for entry in entries if entry.is_folder}
    for parent in children:
        if parent != ROOT_PARENT and parent not in folders:
            yield f"catalog: {children[parent]} entries lie in folder {parent}, which is not there"
    for entry in entries:
        if not entry.is_folder:
            continue
        if entry.valence != children[entry.cnid]:
            yield f"{_label(entry)}: valence {entry.valence}, {children[entry.cnid]} entries"
        count = int.from_bytes(entry.record[84:88], "big")
        if entry.flags & _HAS_FOLDER_COUNT and count != subfolders[entry.cnid]:
            yield f"{_label(entry)}: folder count {count}, {subfolders[entry.cnid]} folders"
    roots = [entry for entry in entries if entry.parent == ROOT_PARENT]
    if len(roots) != 1 or roots[0].cnid != ROOT or not roots[0].is_folder:
        yield "catalog: there is not exactly one root folder"
    reached = {id(entry) for entry in volume.walk()} | {id(entry) for entry in roots}
    for entry in entries:
        if id(entry) not in reached and entry.parent in folders:
            yield f"{_label(entry)}: not reachable from the root"


def _counts(volume):
    header, entries = volume.header, volume.catalog.entries
    facts = {"fileCount": sum(not entry.is_folder for entry in entries),
             "folderCount": sum(entry.is_folder and entry.cnid != ROOT for entry in entries)}
    for field, fact in facts.items():
        if getattr(header, field) != fact:
            yield f"volume header: {field} is {getattr(header, field)}, the catalog has {fact}"
    highest = max((entry.cnid for entry in entries), default=0)
    if header.nextCatalogID < FIRST_USER_ID:
        yield f"volume header: nextCatalogID is {header.nextCatalogID}"
    elif header.nextCatalogID <= highest and not header.attributes & _IDS_REUSED:
        yield (f"volume header: nextCatalogID is {header.nextCatalogID}, the highest number in "
               f"use {highest}")


def _attributes(volume):
    records = {entry.cnid: entry for entry in volume.catalog.entries}
    owners = {cnid for cnid, _, _ in volume.attributes}
    for cnid in sorted(owners):
        if cnid not in records:
            yield f"attributes: of {cnid}, which is not there"
        elif not records[cnid].flags & _HAS_ATTRIBUTES:
            yield f"{_label(records[cnid])}: its flags do not tell of its attributes"
    for cnid, entry in records.items():
        if entry.flags & _HAS_ATTRIBUTES and cnid not in owners:
            yield f"{_label(entry)}: its flags tell of attributes, there are none"


def _labelled_forks(volume):
    """(label, Fork) of every fork but those of the special files."""
    for entry in volume.catalog.entries:
        if not entry.is_folder:
            yield f"{_label(entry)}, data fork", entry.data
            yield f"{_label(entry)}, resource fork", entry.rsrc
    for cnid, name, value in volume.attributes:
        if isinstance(value, Fork):
            yield f"attribute {name!r} of {cnid}", value


def _forks(volume):
    for label, fork in _labelled_forks(volume):
        check_fork(fork, volume.block_size, label, found := [])
        yield from found
    # Joining the extents of the forks has found what is wrong with their descriptors.
    yield from volume.fork_problems
    for cnid, fork in volume.overflow.unused():
        if cnid != BAD_BLOCK_FILE:
            yield f"extents overflow: records for fork {fork:#x} of file {cnid}, which has none"


def claim_blocks(volume):
    """The bitmap with the claims of the headers, the special files and all forks."""
    size, total = volume.block_size, volume.header.totalBlocks
    blocks = BlockMap(volume.blocks.bits, volume.blocks.total)
    # The boot blocks and the header are the first 1536 bytes; the alternate header and the
    # sector after it are the last 1024, which may lie behind the last whole block.
    heads = -(-(HEADER_OFFSET + 512) // size)
    blocks.claim(0, heads, "volume header")
    first = max(heads, (volume.window.length - 1024) // size)
    if first < total:
        blocks.claim(first, total - first, "alternate volume header")
    forks = [(name, fork.extents) for name, fork in volume.special.items()]
    forks += [(label, fork.extents) for label, fork in _labelled_forks(volume)]
    for _, extents in volume.overflow.records.get((BAD_BLOCK_FILE, DATA_FORK), []):
        forks.append(("bad block file", extents))
    for label, extents in forks:
        for start, count in extents:
            blocks.claim(start, count, label)
    return blocks


def _blocks(volume):
    yield from claim_blocks(volume).problems()
