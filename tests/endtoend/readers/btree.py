"""B*-trees of HFS (Inside Macintosh: Files, "B*-Trees") and HFS Plus (TN1150, "B-Trees")."""

import struct
from collections import namedtuple
from functools import cache
from itertools import pairwise

from .blocks import spread_bits
from .window import FormatError

LEAF, INDEX, HEADER, MAP = 0xFF, 0, 1, 2

# The fields of a node's descriptor, and its records.
Node = namedtuple("Node", "number forward backward kind height reserved records")


class KeyFormat(namedtuple("KeyFormat", "big max_length variable_index order")):
    """How the keys of one tree look and compare.

    `big`: the key length has two bytes, not one; `max_length`: what the header must say;
    `variable_index`: index keys have their own length, not max_length; `order`: key body (after
    the length) -> value that sorts as the tree does.
    """

    def split(self, record):
        """(key body, data) of a record; the data starts at an even offset."""
        width = 2 if self.big else 1
        end = width + int.from_bytes(record[:width], "big")
        data_at = end + (end & 1)
        if data_at > len(record):
            raise FormatError(f"a key of {end} bytes is longer than its record")
        return record[width:end], record[data_at:]


class BTree:
    """A tree in the bytes of its file. `label` names it in messages."""

    def __init__(self, label, data, keys):
        self.label, self.data, self.keys = label, data, keys
        if len(data) < 120:
            raise FormatError(f"{label}: the file of {len(data)} bytes has no header node")
        (self.depth, self.root, self.leaf_records, self.first_leaf, self.last_leaf,
         self.node_size, self.max_key, self.total_nodes, self.free_nodes, self.reserved1,
         self.clump_size, self.tree_type, self.compare_type,
         self.attributes) = struct.unpack_from(">HIIIIHHIIHIBBI", data, 14)
        size = self.node_size
        if size < 512 or size > 32768 or size & (size - 1):
            raise FormatError(f"{label}: node size {size} is not a power of two of 512..32768")
        self.node = cache(self._read_node)

    def _read_node(self, number):
        """The node of this number; FormatError when it is outside or its offsets are wrong."""
        size = self.node_size
        raw = self.data[number * size:(number + 1) * size]
        if len(raw) < size:
            raise FormatError(f"{self.label}: node {number} is outside the file")
        *head, count, reserved = struct.unpack_from(">IIBBHH", raw)
        end = size - 2 * (count + 1)
        offsets = struct.unpack_from(f">{count + 1}H", raw, end)[::-1] if end >= 14 else (0,)
        if offsets[0] != 14 or offsets[-1] > end or any(
                after <= before or after & 1 for before, after in pairwise(offsets)):
            raise FormatError(f"{self.label}: node {number} has impossible records, {count} of them")
        return Node(number, *head, reserved, [raw[a:b] for a, b in pairwise(offsets)])

    def leaves(self):
        """(key body, data) of every leaf record, along the chain of leaf nodes."""
        number, seen = self.first_leaf, set()
        while number:
            node = self.node(number)
            if number in seen or node.kind != LEAF:
                raise FormatError(f"{self.label}: the chain of leaf nodes returns to {number}, "
                                  "which it had, or which is none")
            seen.add(number)
            yield from map(self.keys.split, node.records)
            number = node.forward

    def check(self):
        """Every fault of the tree as a list of sentences."""
        return _TreeChecker(self).run()


class _TreeChecker:
    """One run over a tree: header, node map, descent from the root, chains of the levels."""

    def __init__(self, tree):
        self.tree = tree
        self.found = []
        self.levels = {}     # height -> nodes from left to right
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
        node, previous = tree.node(0), 0
        self._descriptor(node, HEADER, 0)
        if [len(record) for record in node.records] != [106, 128, tree.node_size - 256]:
            raise FormatError(f"{tree.label}: the header node has other records")
        if node.backward or tree.max_key != tree.keys.max_length or \
                tree.total_nodes * tree.node_size != len(tree.data):
            self.say(f"a backward link of the header node, greatest key length {tree.max_key}, or "
                     f"{tree.total_nodes} nodes in {len(tree.data)} bytes")
        self.used.add(0)
        packed = node.records[2]
        while node.forward:
            previous, node = node.number, tree.node(node.forward)
            if node.number in self.used:
                raise FormatError(f"{tree.label}: the chain of map nodes returns to {node.number}")
            self.used.add(node.number)
            self._descriptor(node, MAP, 0)
            if node.backward not in (0, previous) or len(node.records) != 1:
                self.say(f"map node {node.number} links back to {node.backward}, not {previous}, "
                         f"or has {len(node.records)} records")
            packed += b"".join(node.records)
        return spread_bits(packed)

    def _descriptor(self, node, kind, height):
        if (node.kind, node.height, node.reserved) != (kind, height, 0):
            self.say(f"node {node.number} has kind {node.kind} and height {node.height}, not {kind} "
                     f"and {height}, or reserved bytes that are not zero")

    def _descend(self):
        """Visits every node below the root once, left to right."""
        tree = self.tree
        if tree.root == 0 or tree.depth == 0:
            if any((tree.root, tree.depth, tree.first_leaf, tree.last_leaf, tree.leaf_records)):
                self.say("an empty tree has a non-zero root, depth, leaf or record count")
            return
        # Depth-first with the right-most child pushed first, so that levels come in order.
        pending = [(tree.root, tree.depth, None)]
        while pending:
            number, height, first_key = pending.pop()
            if number in self.used or number >= tree.total_nodes:
                self.say(f"node {number} is reached twice, or beyond the nodes of the header")
                continue
            self.used.add(number)
            try:
                pending.extend(reversed(self._visit(number, height, first_key)))
            except FormatError as error:
                self.found.append(str(error))

    def _visit(self, number, height, parent_key):
        """Checks one node and gives its children as (number, height, key)."""
        keys, node = self.tree.keys, self.tree.node(number)
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
            if index == 0 and parent_key not in (None, value):
                self.say(f"node {number}: its first key differs from the key in its parent")
            if before is not None and not before < value:
                self.say(f"node {number} record {index}: key is not above the one before")
            before = value
            if height > 1:
                if len(data) != 4:
                    raise FormatError(f"{self.tree.label}: node {number} record {index}: pointer "
                                      f"of {len(data)} bytes")
                children.append((int.from_bytes(data, "big"), height - 1, value))
        return children

    def _chains(self):
        """The nodes of a level link to their neighbours and ascend across node borders."""
        tree, keys = self.tree, self.tree.keys
        for nodes in self.levels.values():
            numbers = [node.number for node in nodes]
            for node, left, right in zip(nodes, [0] + numbers, numbers[1:] + [0]):
                if (node.backward, node.forward) != (left, right):
                    self.say(f"node {node.number} links back to {node.backward}, not {left}, or "
                             f"links forward to {node.forward}, not {right}")
            for left, right in pairwise(node for node in nodes if node.records):
                last, first = (keys.order(keys.split(record)[0])
                               for record in (left.records[-1], right.records[0]))
                if not last < first:
                    self.say(f"the first key of node {right.number} is not above the last of node "
                             f"{left.number}")
        leaves = self.levels.get(1, [])
        if leaves and (tree.first_leaf, tree.last_leaf) != (leaves[0].number, leaves[-1].number):
            self.say(f"first and last leaf {tree.first_leaf} and {tree.last_leaf} in the header, "
                     f"not {leaves[0].number} and {leaves[-1].number}")
        count = sum(len(node.records) for node in leaves)
        if tree.leaf_records != count:
            self.say(f"{tree.leaf_records} leaf records in the header, {count} in the leaves")

    def _node_map(self, bits):
        total, free = self.tree.total_nodes, bits[:self.tree.total_nodes].count(0)
        marked = {number for number, bit in enumerate(bits) if bit}
        for number in sorted(self.used - marked):
            self.say(f"node {number} is in use but free in the node map")
        for number in sorted(marked - self.used):
            self.say(f"node {number} is marked in the node map but not reachable")
        if len(bits) < total or self.tree.free_nodes != free:
            self.say(f"{self.tree.free_nodes} free nodes in the header, {free} in the node map of "
                     f"{len(bits)} bits for {total} nodes")
