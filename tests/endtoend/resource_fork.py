"""Resource forks, built as Inside Macintosh: More Macintosh Toolbox tells them."""

import struct

HEADER = 256
MAP_HEAD = 28  # bytes of a map before its types


def resource_fork(resources):
    """The bytes of a fork of {type: {id: contents}}."""
    data, types, references = b"", b"", b""
    first = 2 + 8 * len(resources)  # the lists begin behind the types
    for letters, by_id in resources.items():
        types += struct.pack(">4sHH", letters.encode("mac_roman"), len(by_id) - 1,
                             first + len(references))
        for number, contents in by_id.items():
            references += struct.pack(">HHII", number, 0xFFFF, len(data), 0)
            data += struct.pack(">I", len(contents)) + contents
    types = struct.pack(">H", len(resources) - 1) + types
    size = MAP_HEAD + len(types) + len(references)
    header = struct.pack(">4I", HEADER, HEADER + len(data), len(data), size)
    head = header + bytes(8) + struct.pack(">HH", MAP_HEAD, size)
    return header.ljust(HEADER, b"\0") + data + head + types + references
