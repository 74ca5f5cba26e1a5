// CRC-32 of bytes that are known in pieces.
#pragma once

#include <cstdint>
#include <span>

namespace vellmark {

class RunningCrc {
  public:
    [[nodiscard]] std::uint32_t value() const { return value_; }
    void add(std::span<const std::uint8_t> bytes);
    /// So many zeros, in a time that hardly grows with their number.
    void addZeros(std::uint64_t count);
    /// `length` bytes whose own CRC is known.
    void addPiece(std::uint32_t crc, std::uint64_t length);

  private:
    std::uint32_t value_ = 0;
};

}  // namespace vellmark
