"""B*-trees of HFS (Inside Macintosh: Files, "B*-Trees") and HFS Plus (TN1150, "B-Trees")."""

import struct
from dataclasses import dataclass
from typing import Callable

from .blocks import spread_bits
from .window import FormatError

LEAF, INDEX, HEADER, MAP = 0xFF, 0, 1, 2


@dataclass(frozen=True)
class KeyFormat:
    """How the keys of one tree look and compare."""

    big: bool               # the key length has two bytes, not one
    max_length: int         # what the header must say
    variable_index: bool    # index keys have their own length, not max_length
    order: Callable         # key body (after the length) -> value that sorts as the tree does

    def split(self, record):
        """(key body, data) of a record; the data starts at an even offset."""
        width = 2 if self.big else 1
        if len(record) < width:
            raise FormatError("the record is too short for a key")
        length = int.from_bytes(record[:width], "big")
        end = width + length
        data_at = end + (end & 1)
        if data_at > len(record):
            raise FormatError(f"key length {length} is longer than the record")
        return record[width:end], record[data_at:]


@dataclass
class Node:
    """One node: the fields of its descriptor and its records."""

    number: int
    forward: int
    backward: int
    kind: int
    height: int
    reserved: int
    records: list


class BTree:
    """A tree in the bytes of its file. `label` names it in messages."""

    def __init__(self, label, data, keys):
        self.label = label
        self.data = data
        self.keys = keys
        if len(data) < 120:
            raise FormatError(f"{label}: the file of {len(data)} bytes has no header node")
        (self.depth, self.root, self.leaf_records, self.first_leaf, self.last_leaf,
         self.node_size, self.max_key, self.total_nodes, self.free_nodes, self.reserved1,
         self.clump_size, self.tree_type, self.compare_type,
         self.attributes) = struct.unpack_from(">HIIIIHHIIHIBBI", data, 14)
        size = self.node_size
        if size < 512 or size > 32768 or size & (size - 1):
            raise FormatError(f"{label}: node size {size} is not a power of two of 512..32768")
        self._nodes = {}

    def node(self, number):
        """The node of this number; FormatError when it is outside or its offsets are wrong."""
        found = self._nodes.get(number)
        if found is None:
            found = self._nodes[number] = self._read_node(number)
        return found

    def _read_node(self, number):
        size = self.node_size
        at = number * size
        if at + size > len(self.data):
            raise FormatError(f"{self.label}: node {number} is outside the file")
        raw = self.data[at:at + size]
        forward, backward, kind, height, count, reserved = struct.unpack_from(">IIBBHH", raw)
        end = size - 2 * (count + 1)
        offsets = struct.unpack_from(f">{count + 1}H", raw, end)[::-1] if end >= 14 else (0,)
        if offsets[0] != 14 or offsets[-1] > end or any(
                after <= before or after & 1 for before, after in zip(offsets, offsets[1:])):
            raise FormatError(f"{self.label}: node {number} has impossible records, {count} of them")
        records = [raw[a:b] for a, b in zip(offsets, offsets[1:])]
        return Node(number, forward, backward, kind, height, reserved, records)

    def leaves(self):
        """(key body, data) of every leaf record, along the chain of leaf nodes."""
        number, seen = self.first_leaf, set()
        while number:
            if number in seen:
                raise FormatError(f"{self.label}: the chain of leaf nodes returns to {number}")
            seen.add(number)
            node = self.node(number)
            if node.kind != LEAF:
                raise FormatError(f"{self.label}: node {number} in the leaf chain is no leaf")
            for record in node.records:
                yield self.keys.split(record)
            number = node.forward

    def check(self):
        """Every fault of the tree as a list of sentences."""
        return _TreeChecker(self).run()


class _TreeChecker:
    """One run over a tree: header, node map, descent from the root, chains of the levels."""

    def __init__(self, tree):
        self.tree = tree
        self.found = []
        self.levels = {}     # height -> node numbers from left to right
        self.used = set()    # header, map and reachable nodes

    def say(self, text):
        self.found.append(f"{self.tree.label}: {text}")

    def run(self):
        try:
            bits = self._header_and_map()
            self._descend()
            self._chains()
            self._node_map(bits)
        except FormatError as error:
            self.found.append(str(error))
        return self.found

    def _header_and_map(self):
        tree = self.tree
        node = tree.node(0)
        self._descriptor(node, HEADER, 0)
        if [len(record) for record in node.records] != [106, 128, tree.node_size - 256]:
            raise FormatError(f"{tree.label}: the header node has other records")
        if node.backward or tree.max_key != tree.keys.max_length or \
                tree.total_nodes * tree.node_size != len(tree.data):
            self.say(f"a backward link of the header node, greatest key length {tree.max_key}, or "
                     f"{tree.total_nodes} nodes in {len(tree.data)} bytes")
        self.used.add(0)
        packed, previous, number = node.records[2], 0, node.forward
        while number:
            if number in self.used:
                raise FormatError(f"{tree.label}: the chain of map nodes returns to {number}")
            self.used.add(number)
            node = tree.node(number)
            self._descriptor(node, MAP, 0)
            if node.backward not in (0, previous) or len(node.records) != 1:
                self.say(f"map node {number} links back to {node.backward}, not {previous}, or has "
                         f"{len(node.records)} records")
            packed += b"".join(node.records)
            previous, number = number, node.forward
        return spread_bits(packed)

    def _descriptor(self, node, kind, height):
        if (node.kind, node.height, node.reserved) != (kind, height, 0):
            self.say(f"node {node.number} has kind {node.kind} and height {node.height}, not {kind} "
                     f"and {height}, or reserved bytes that are not zero")

    def _descend(self):
        """Visits every node below the root once, left to right."""
        tree = self.tree
        if tree.root == 0 or tree.depth == 0:
            if tree.root or tree.depth or tree.first_leaf or tree.last_leaf or tree.leaf_records:
                self.say("an empty tree has a non-zero root, depth, leaf or record count")
            return
        # Depth-first with the right-most child pushed first, so that levels come in order.
        pending = [(tree.root, tree.depth, None)]
        while pending:
            number, height, first_key = pending.pop()
            if number in self.used:
                self.say(f"node {number} is reached twice")
                continue
            self.used.add(number)
            if number >= tree.total_nodes:
                self.say(f"node {number} is beyond the {tree.total_nodes} nodes of the header")
            try:
                children = self._visit(number, height, first_key)
            except FormatError as error:
                self.found.append(str(error))
                continue
            pending.extend(reversed(children))

    def _visit(self, number, height, parent_key):
        """Checks one node and gives its children as (number, height, key)."""
        tree, keys = self.tree, self.tree.keys
        node = tree.node(number)
        self._descriptor(node, LEAF if height == 1 else INDEX, height)
        self.levels.setdefault(height, []).append(node)
        if not node.records:
            self.say(f"node {number} has no records")
        children, before = [], None
        for index, record in enumerate(node.records):
            body, data = keys.split(record)
            if len(body) > keys.max_length or height > 1 and not keys.variable_index and \
                    len(body) != keys.max_length:
                self.say(f"node {number} record {index}: key length {len(body)}, the longest is "
                         f"{keys.max_length}")
            value = keys.order(body)
            if index == 0 and parent_key is not None and value != parent_key:
                self.say(f"node {number}: its first key differs from the key in its parent")
            if before is not None and not before < value:
                self.say(f"node {number} record {index}: key is not above the one before")
            before = value
            if height > 1:
                if len(data) != 4:
                    raise FormatError(f"{tree.label}: node {number} record {index}: pointer of "
                                      f"{len(data)} bytes")
                children.append((int.from_bytes(data, "big"), height - 1, value))
        return children

    def _chains(self):
        """The nodes of a level link to their neighbours and ascend across node borders."""
        tree = self.tree
        for nodes in self.levels.values():
            numbers = [node.number for node in nodes]
            for node, left, right in zip(nodes, [0] + numbers, numbers[1:] + [0]):
                if node.backward != left:
                    self.say(f"node {node.number} links back to {node.backward}, not {left}")
                if node.forward != right:
                    self.say(f"node {node.number} links forward to {node.forward}, not {right}")
            self._borders(nodes)
        leaves = self.levels.get(1, [])
        if leaves and (tree.first_leaf, tree.last_leaf) != (leaves[0].number, leaves[-1].number):
            self.say(f"first and last leaf {tree.first_leaf} and {tree.last_leaf} in the header, "
                     f"not {leaves[0].number} and {leaves[-1].number}")
        count = sum(len(node.records) for node in leaves)
        if tree.leaf_records != count:
            self.say(f"{tree.leaf_records} leaf records in the header, {count} in the leaves")

    def _borders(self, nodes):
        keys = self.tree.keys
        full = [node for node in nodes if node.records]
        for left, right in zip(full, full[1:]):
            last = keys.order(keys.split(left.records[-1])[0])
            first = keys.order(keys.split(right.records[0])[0])
            if not last < first:
                self.say(f"the first key of node {right.number} is not above the last of node "
                         f"{left.number}")

    def _node_map(self, bits):
        total = self.tree.total_nodes
        if len(bits) < total:
            self.say(f"the node map has {len(bits)} bits for {total} nodes")
        for number in sorted(self.used):
            if number < len(bits) and not bits[number]:
                self.say(f"node {number} is in use but free in the node map")
        for number, bit in enumerate(bits):
            if bit and number not in self.used:
                self.say(f"node {number} is marked in the node map but "
                         + ("not reachable" if number < total else "beyond the tree"))
        free = bits[:total].count(0)
        if self.tree.free_nodes != free:
            self.say(f"{self.tree.free_nodes} free nodes in the header, {free} in the node map")
