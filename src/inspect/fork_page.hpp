// One sector of 512 bytes as lines of text, of whatever can be read: a fork, a whole image, a
// resource.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "IO/sector_io.hpp"
#include "inspect/character_tables.hpp"
#include "inspect/page_numbers.hpp"
#include "support/byte_source.hpp"

namespace vellmark {

struct PageStyle {
    unsigned base = kDecimal;  ///< of offsets and sector numbers
    CharTable table = CharTable::Macintosh;
};

inline constexpr std::size_t kLineBytes = 16;
/// An empty line stands behind so many.
inline constexpr std::size_t kLinesOfGroup = 16;
/// Characters of a line whose offset has no more than eight digits.
inline constexpr std::size_t kLineColumns = 76;

/// Where the parts of a line begin. An offset of more than nine digits moves them to the right, as
/// none is shown wrong.
struct LineColumns {
    std::size_t hex = 10;
    std::size_t characters = 60;

    /// Column of a byte's two digits, and of its character.
    [[nodiscard]] std::size_t hexOf(std::size_t byte) const {
        return hex + 3 * byte + (byte < kLineBytes / 2 ? 0 : 1);
    }
    [[nodiscard]] std::size_t characterOf(std::size_t byte) const { return characters + byte; }
};
[[nodiscard]] LineColumns ColumnsAt(std::uint64_t offset, unsigned base);

/// Offset, up to sixteen bytes in hexadecimal and as characters: UTF-8, each character a column.
[[nodiscard]] std::string DumpLine(std::uint64_t offset, std::span<const std::uint8_t> bytes,
                                   PageStyle style);

/// Lines for bytes that begin at that offset, with the empty lines between groups.
[[nodiscard]] std::vector<std::string> DumpLines(std::uint64_t offset,
                                                 std::span<const std::uint8_t> bytes,
                                                 PageStyle style);

/// The line of a byte among those of `DumpLines`.
[[nodiscard]] constexpr std::size_t LineOfByte(std::size_t byte) {
    const std::size_t line = byte / kLineBytes;
    return line + line / kLinesOfGroup;
}

struct ForkPage {
    std::uint64_t sector = 0;
    std::size_t count = 0;  ///< bytes that were read; the rest of the sector is zero
    std::array<std::uint8_t, kSectorBytes> bytes{};
    std::vector<std::string> lines;  ///< none when nothing could be read

    [[nodiscard]] std::uint64_t offset() const { return sector * kSectorBytes; }
};

/// Number of the last sector; 0 for bytes that fit one, or are none.
[[nodiscard]] std::uint64_t LastSector(const ByteSource& source);

[[nodiscard]] ForkPage ReadPage(ByteSource& source, std::uint64_t sector, PageStyle style);

}  // namespace vellmark
