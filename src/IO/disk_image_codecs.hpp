// How the blocks of a disk image are stored, and what they expand to.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "IO/disk_image_format.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// The stored bytes of a block, piece by piece.
class StoredPieces {
  public:
    virtual ~StoredPieces() = default;
    /// The next piece, which is valid until the one after it is asked for; empty at the end.
    [[nodiscard]] virtual std::span<const std::uint8_t> next() = 0;
};

/// The place that a block expands to.
class PlainPieces {
  public:
    virtual ~PlainPieces() = default;
    /// Where bytes may be put next; empty once the block is full.
    [[nodiscard]] virtual std::span<std::uint8_t> room() = 0;
    /// So many bytes were put there. False when they cannot be taken.
    [[nodiscard]] virtual bool put(std::size_t count) = 0;
};

/// How a block went.
enum class BlockEnd {
    Done,     ///< maybe with fewer bytes than there is room for
    Damaged,  ///< the stored bytes are no such stream
    Cut,      ///< the stored bytes end before the stream does
    TooLong,  ///< there is more than the block says
    Stopped,  ///< a piece was not taken
    NoMemory  ///< the stream wants more memory than is given
};

/// How messages put it, as a part of a sentence; `kNone` for `Done` and `Stopped`.
[[nodiscard]] Sentence BlockEndSentence(BlockEnd end);

/// Whether a block of that type is expanded by `ExpandStream`.
[[nodiscard]] constexpr bool IsStreamType(BlockType type) {
    return type == BlockType::Zlib || type == BlockType::Bzip2 || type == BlockType::Lzma;
}
[[nodiscard]] BlockEnd ExpandStream(BlockType type, StoredPieces& stored, PlainPieces& plain);

/// What an overlapping match of Apple Data Compression stands for: the one byte at its distance
/// again and again, or the pattern that begins there. They differ for a distance above 1 that is
/// shorter than the match.
enum class AdcMatch { Fill, Pattern };

struct AdcResult {
    BlockEnd end = BlockEnd::Done;
    std::size_t length = 0;    ///< bytes put
    bool isAmbiguous = false;  ///< there was a match of which the two readings differ
};
[[nodiscard]] AdcResult ExpandAdc(std::span<const std::uint8_t> stored,
                                  std::span<std::uint8_t> plain, AdcMatch match);

}  // namespace vellmark
