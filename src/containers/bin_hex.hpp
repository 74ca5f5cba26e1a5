// BinHex 4.0 (RFC 1741): a Macintosh file as text. It is only read, and always by way of MacBinary:
// decoding gives a MacBinary file, whose forks are then read from there.
//
// The file is made of a header, the data fork and the resource fork, each with a checksum behind
// it. The checksums choose between the two readings of a run that follows a run (see
// BinHexRunRule): the first is tried, and the second where it turns a wrong checksum into a right
// one.
#pragma once

#include "containers/fork_pair.hpp"

namespace vellmark {

/// What decoding found.
struct BinHexOutcome {
    ContainerFault fault = ContainerFault::None;
    bool usable = false;  ///< the header was read, and `info` is filled
    MacFileInfo info;     ///< name, signature, Finder flags and lengths; no dates
};

/// The text "This file must be converted with BinHex 4.0" stands within the first 128 bytes, with
/// no zero byte before it.
[[nodiscard]] bool IsBinHexFile(ByteSource& text);

/// Writes the file in MacBinary form to `target`, from its byte 0; one without a name as `?`. A
/// file with wrong checksums and one that ends too soon are damaged but usable: what there is of
/// them is written, and the lengths in the header stay as they were. Faults:
/// `NotThisFormat`, `HeaderCut`, `HeaderInvalid` (length of the name; an empty one is taken from a
/// header with a right checksum only), `HeaderChecksum`, `DataForkCut`, `ResourceForkCut`,
/// `DataChecksum`, `ResourceChecksum`, `TargetFailed`. The checksum of an empty resource fork may
/// be missing. Memory stays the same whatever the lengths are.
[[nodiscard]] BinHexOutcome DecodeBinHex(ByteSource& text, ByteSink& target);

}  // namespace vellmark
