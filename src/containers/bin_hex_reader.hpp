// The inner two layers of BinHex 4.0 (RFC 1741): four characters to three bytes, and bytes out of
// runs, read forwards and with a buffer of fixed size, however long the text is.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "support/byte_source.hpp"

namespace vellmark {

/// What the marker 90 repeats when it stands straight behind another run. Both rules give the same
/// number of bytes.
enum class BinHexRunRule {
    Marker,    ///< the byte 90 itself, which was the last one read
    RunsByte,  ///< the byte of the run, as the format is published
};

/// Reads the bytes behind one text. The source must outlive it.
class BinHexReader {
  public:
    /// Begins behind the first colon at or after `offset` of the text.
    BinHexReader(ByteSource& text, std::uint64_t offset, BinHexRunRule rule);

    /// Reads up to `out.size()` bytes; fewer mean that the text has ended. Line ends, blanks and
    /// further colons are passed over wherever they stand; any other character that is none of the
    /// format's stands for a value of 0, and a checksum is wrong then.
    [[nodiscard]] std::size_t read(std::span<std::uint8_t> out);
    /// Up to here the two rules would have given different bytes.
    [[nodiscard]] bool rulesDiffer() const { return rulesDiffer_; }

  private:
    void skipToColon();
    [[nodiscard]] bool fillText();
    [[nodiscard]] bool fillBytes();
    [[nodiscard]] int nextByte();
    [[nodiscard]] bool startRun();

    ByteSource& text_;
    std::uint64_t offset_;
    BinHexRunRule rule_;
    std::vector<std::uint8_t> piece_;  ///< of the text
    std::size_t pieceAt_ = 0;
    std::vector<std::uint8_t> bytes_;  ///< out of the six-bit layer
    std::size_t bytesAt_ = 0;
    std::uint32_t bits_ = 0;  ///< the last values of six bits; the low `bitCount_` are not used yet
    int bitCount_ = 0;
    std::uint8_t lastRead_ = 0;     ///< before the marker, by the rule `Marker`
    std::uint8_t lastWritten_ = 0;  ///< by the rule `RunsByte`
    std::uint8_t runByte_ = 0;
    int runLeft_ = 0;
    bool rulesDiffer_ = false;
};

}  // namespace vellmark
