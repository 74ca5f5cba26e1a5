#include "containers/crc16.hpp"

#include <array>

namespace vellmark {
namespace {

constexpr std::array<std::uint16_t, 256> kTable = [] {
    std::array<std::uint16_t, 256> table{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        unsigned crc = byte << 8;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc << 1) ^ ((crc & 0x8000u) != 0 ? 0x1021u : 0u);
        table[byte] = static_cast<std::uint16_t>(crc);
    }
    return table;
}();

}  // namespace

std::uint16_t Crc16(std::span<const std::uint8_t> bytes, std::uint16_t before) {
    std::uint16_t crc = before;
    for (std::uint8_t byte : bytes)
        crc = static_cast<std::uint16_t>(kTable[(crc >> 8) ^ byte] ^ (crc << 8));
    return crc;
}

}  // namespace vellmark
