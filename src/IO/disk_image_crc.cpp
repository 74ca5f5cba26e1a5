#include "IO/disk_image_crc.hpp"

#include <zlib.h>

namespace vellmark {

namespace {

std::uint32_t Joined(std::uint32_t first, std::uint32_t second, std::uint64_t secondLength) {
    return static_cast<std::uint32_t>(
        crc32_combine(first, second, static_cast<z_off_t>(secondLength)));
}

}  // namespace

void RunningCrc::add(std::span<const std::uint8_t> bytes) {
    // Where there are none their address may be null, which stands for a new beginning.
    if (!bytes.empty())
        value_ = static_cast<std::uint32_t>(crc32_z(value_, bytes.data(), bytes.size()));
}

void RunningCrc::addZeros(std::uint64_t count) {
    // The CRC of 1, 2, 4, ... zeros; each is made of two of those before it.
    constexpr std::uint8_t kZero = 0;
    auto piece = static_cast<std::uint32_t>(crc32_z(0, &kZero, 1));
    for (std::uint64_t length = 1; count > 0; length *= 2, count /= 2) {
        if (count % 2 != 0)
            addPiece(piece, length);
        piece = Joined(piece, piece, length);
    }
}

void RunningCrc::addPiece(std::uint32_t crc, std::uint64_t length) {
    value_ = Joined(value_, crc, length);
}

}  // namespace vellmark
