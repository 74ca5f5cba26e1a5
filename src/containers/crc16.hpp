// The checksum of BinHex 4.0 (RFC 1741) and of MacBinary II headers: polynomial 1021, initial value
// 0, most significant bit first, neither reflected nor inverted. RFC 1741 runs two zero bytes
// through a shift register at the end of each section; the table form needs none.
#pragma once

#include <cstdint>
#include <span>

namespace vellmark {

/// The checksum of `bytes` behind others whose checksum is `before`.
[[nodiscard]] std::uint16_t Crc16(std::span<const std::uint8_t> bytes, std::uint16_t before = 0);

}  // namespace vellmark
