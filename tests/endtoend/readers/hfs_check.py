"""Strict checks of an HFS volume: Inside Macintosh: Files, chapter 2."""

import struct
from collections import Counter

from .extents import DATA_FORK, check_fork
from .blocks import BlockMap
from .hfs import (BAD_BLOCK_FILE, FILE_THREAD, FIRST_USER_ID, FOLDER_THREAD, MDB_OFFSET, ROOT,
                  ROOT_PARENT, SECTOR, THREAD_EXISTS, MasterDirectoryBlock)
from .window import FormatError

LARGEST_CLUMP = 1 << 20

# What stays the same in both copies of the MDB: the second one is written when the volume is
# made and when one of the system's files grows.
_ALTERNATE_FIELDS = ("drSigWord", "drCrDate", "drVBMSt", "drNmAlBlks", "drAlBlkSiz", "drAlBlSt",
                     "drEmbedSigWord", "drEmbedStart", "drEmbedCount", "drXTFlSize", "drXTExtRec",
                     "drCTFlSize", "drCTExtRec")


def check(volume):
    """Every fault of the volume; a part that cannot be read ends the checks of that part."""
    found = []
    steps = (_layout, _alternate, _trees, _catalog_records, _threads, _hierarchy, _counts, _forks,
             _blocks)
    for step in steps:
        try:
            for problem in step(volume):
                found.append(problem)
        except FormatError as error:
            if str(error) not in found:
                found.append(str(error))
    return found


def _layout(volume):
    mdb, length = volume.mdb, volume.window.length
    if mdb.drVBMSt < 3:
        yield f"MDB: the volume bitmap starts at sector {mdb.drVBMSt}, inside the MDB"
    sectors = -(-mdb.drNmAlBlks // (SECTOR * 8))
    if mdb.drVBMSt + sectors > mdb.drAlBlSt:
        yield (f"MDB: the volume bitmap of {sectors} sectors from {mdb.drVBMSt} reaches into the "
               f"allocation blocks at {mdb.drAlBlSt}")
    end = mdb.drAlBlSt * SECTOR + mdb.drNmAlBlks * volume.block_size
    if end > length - 2 * SECTOR:
        yield (f"MDB: allocation blocks end at byte {end}, after the alternate MDB at "
               f"{length - 2 * SECTOR}")
    if mdb.drNmAlBlks == 0:
        yield "MDB: no allocation blocks"
    if not 1 <= mdb.drVN[0] <= 27:
        yield f"MDB: volume name of {mdb.drVN[0]} bytes"
    if b":" in mdb.name:
        yield "MDB: colon in the volume name"
    if mdb.drAllocPtr > mdb.drNmAlBlks:
        yield f"MDB: drAllocPtr {mdb.drAllocPtr} is outside the volume"
    for field in ("drClpSiz", "drXTClpSiz", "drCTClpSiz"):
        size = getattr(mdb, field)
        if size == 0 or size % volume.block_size:
            yield f"MDB: {field} {size} is no multiple of the block size {volume.block_size}"
    if mdb.drClpSiz > max(LARGEST_CLUMP, volume.block_size):
        yield f"MDB: drClpSiz {mdb.drClpSiz} is above a megabyte"
    free = volume.blocks.free()
    if mdb.drFreeBks != free:
        yield f"MDB: {mdb.drFreeBks} free blocks, {free} clear bits in the bitmap"


def _alternate(volume):
    at = volume.window.length // SECTOR * SECTOR - 2 * SECTOR
    if at <= MDB_OFFSET:
        yield "alternate MDB: no room for it"
        return
    other = MasterDirectoryBlock(volume.window.read(at, 162))
    for field in _ALTERNATE_FIELDS:
        first, second = getattr(volume.mdb, field), getattr(other, field)
        if first != second:
            yield f"alternate MDB at byte {at}: {field} is {second}, in the MDB {first}"
            if field == "drSigWord":
                return


def _trees(volume):
    for tree, fork in ((volume.extents_tree, volume.extents_fork),
                       (volume.catalog_tree, volume.catalog_fork)):
        check_fork(fork, volume.block_size, tree.label, found := [])
        yield from found
        if tree.node_size != SECTOR:
            yield f"{tree.label}: node size {tree.node_size}, not 512"
        yield from tree.check()


def _label(entry):
    kind = "folder" if entry.is_folder else "file"
    return f"{kind} {entry.cnid} {entry.name!r}"


def _name_faults(raw, longest=31):
    if not 1 <= len(raw) <= longest:
        yield f"name of {len(raw)} bytes"
    if b":" in raw:
        yield "colon in the name"


def _catalog_records(volume):
    yield from volume.catalog.problems
    for entry in volume.catalog.entries:
        label, raw = _label(entry), entry.record
        for fault in _name_faults(entry.raw_name):
            yield f"{label}: {fault}"
        if entry.cnid < FIRST_USER_ID and not (entry.is_folder and entry.cnid == ROOT):
            yield f"{label}: its number is below {FIRST_USER_ID}"
        if entry.is_folder:
            if any(raw[54:70]):
                yield f"{label}: dirResrv is not zero"
            continue
        if raw[3]:
            yield f"{label}: filTyp is {raw[3]}"
        for name, at in (("filStBlk", 24), ("filRStBlk", 34)):
            value = int.from_bytes(raw[at:at + 2], "big")
            if value:
                yield f"{label}: {name} is {value}, not 0"
        if any(raw[98:102]):
            yield f"{label}: filResrv is not zero"
        if entry.flags & 0x7C:
            yield f"{label}: undefined bits in filFlags 0x{entry.flags:02X}"


def _threads(volume):
    records = {entry.cnid: entry for entry in volume.catalog.entries}
    threaded = set()
    for kind, cnid, key_name, parent, name, raw in volume.catalog.threads:
        label = f"thread of {cnid}"
        if key_name:
            yield f"{label}: its key has a name"
        if any(raw[2:10]):
            yield f"{label}: reserved bytes are not zero"
        threaded.add(cnid)
        entry = records.get(cnid)
        if entry is None:
            yield f"{label}: no such file or folder"
        elif entry.is_folder != (kind == FOLDER_THREAD):
            yield f"{label}: kind {kind} does not fit its record"
        elif (entry.parent, entry.raw_name) != (parent, name):
            yield (f"{label}: it says {name!r} in {parent}, the record is {entry.raw_name!r} in "
                   f"{entry.parent}")
        if kind == FILE_THREAD and entry and not entry.flags & THREAD_EXISTS:
            yield f"{label}: the file record does not tell that there is a thread"
    for entry in volume.catalog.entries:
        if entry.cnid in threaded:
            continue
        if entry.is_folder:
            yield f"{_label(entry)}: no thread"
        elif entry.flags & THREAD_EXISTS:
            yield f"{_label(entry)}: no thread, although its flags tell of one"


def _hierarchy(volume):
    entries = volume.catalog.entries
    for cnid, count in Counter(entry.cnid for entry in entries).items():
        if count > 1:
            yield f"catalog: number {cnid} is used by {count} records"
    children = Counter(entry.parent for entry in entries)
    folders = {entry.cnid for entry in entries if entry.is_folder}
    for parent in children:
        if parent != ROOT_PARENT and parent not in folders:
            yield f"catalog: {children[parent]} entries lie in folder {parent}, which is not there"
    for entry in entries:
        if entry.is_folder and entry.valence != children[entry.cnid]:
            yield f"{_label(entry)}: valence {entry.valence}, {children[entry.cnid]} entries"
    roots = [entry for entry in entries if entry.parent == ROOT_PARENT]
    if len(roots) != 1 or roots[0].cnid != ROOT or not roots[0].is_folder:
        yield "catalog: there is not exactly one root folder"
    elif roots[0].raw_name != volume.mdb.name:
        yield (f"catalog: the root folder is called {roots[0].raw_name!r}, the volume "
               f"{volume.mdb.name!r}")
    reached = {id(entry) for entry in volume.walk()} | {id(entry) for entry in roots}
    for entry in entries:
        if id(entry) not in reached and entry.parent in folders:
            yield f"{_label(entry)}: not reachable from the root"


def _counts(volume):
    mdb, entries = volume.mdb, volume.catalog.entries
    folders = {entry.cnid for entry in entries if entry.is_folder}
    words = struct.unpack(">8I", mdb.drFndrInfo)
    for index in (0, 1, 2, 3, 5):
        if words[index] and words[index] not in folders:
            yield f"MDB: drFndrInfo[{index}] names folder {words[index]}, which is not there"
    facts = {
        "drFilCnt": sum(not entry.is_folder for entry in entries),
        "drDirCnt": sum(entry.is_folder and entry.cnid != ROOT for entry in entries),
        "drNmFls": sum(not entry.is_folder and entry.parent == ROOT for entry in entries),
        "drNmRtDirs": sum(entry.is_folder and entry.parent == ROOT for entry in entries),
    }
    for field, fact in facts.items():
        if getattr(mdb, field) != fact:
            yield f"MDB: {field} is {getattr(mdb, field)}, the catalog has {fact}"
    highest = max((entry.cnid for entry in entries), default=0)
    if mdb.drNxtCNID <= highest or mdb.drNxtCNID < FIRST_USER_ID:
        yield f"MDB: drNxtCNID is {mdb.drNxtCNID}, the highest number in use {highest}"


def _forks(volume):
    for entry in volume.catalog.entries:
        for name, fork in (("data fork", entry.data), ("resource fork", entry.rsrc)):
            if fork is not None:
                check_fork(fork, volume.block_size, f"{_label(entry)}, {name}", found := [])
                yield from found
    # Joining the extents of the forks has found what is wrong with their descriptors.
    yield from volume.tree_problems
    for cnid, fork in volume.overflow.unused():
        if cnid != BAD_BLOCK_FILE:
            yield f"extents overflow: records for fork {fork:#x} of file {cnid}, which has none"


def claim_blocks(volume):
    """The bitmap with the claims of the system's files and all forks."""
    blocks = BlockMap(volume.blocks.bits, volume.blocks.total)
    system = [(volume.extents_fork.extents, "extents overflow file"),
              (volume.catalog_fork.extents, "catalog file")]
    for _, extents in volume.overflow.records.get((BAD_BLOCK_FILE, DATA_FORK), []):
        system.append((extents, "bad block file"))
    for entry in volume.catalog.entries:
        for name, fork in (("data fork", entry.data), ("resource fork", entry.rsrc)):
            if fork is not None:
                system.append((fork.extents, f"{_label(entry)}, {name}"))
    for extents, owner in system:
        for start, count in extents:
            blocks.claim(start, count, owner)
    return blocks


def _blocks(volume):
    blocks = claim_blocks(volume)
    yield from blocks.problems()
    # Checkers take an extent that ends with the volume for damage.
    for start, count, owner in blocks.claims:
        if start + count == blocks.total:
            yield f"{owner}: blocks {start}+{count} end with the last block of the volume"
    if volume.embedded() is None:
        return
    # The bad block file keeps the space of an embedded volume (TN1150, "Bad Block File").
    start, count = volume.mdb.drEmbedStart, volume.mdb.drEmbedCount
    kept = [extent for _, extents in
            volume.overflow.records.get((BAD_BLOCK_FILE, DATA_FORK), []) for extent in extents]
    if (start, count) not in kept:
        yield f"MDB: the embedded volume of blocks {start}+{count} is not in the bad block file"
