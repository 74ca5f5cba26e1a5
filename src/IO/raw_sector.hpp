// Sectors of a disc as a drive reads them: synchronisation, header, user data, error detection and
// error correction, 2,352 bytes in all (ECMA-130, clauses 14 to 16 and annexes A and B; form 1 and
// form 2 of mode 2 are those of CD-ROM XA).
//
// mode 1:         12 sync, 4 header, 2048 data, 4 EDC, 8 zeros, 276 ECC
// mode 2 form 1:  12 sync, 4 header, 8 subheader, 2048 data, 4 EDC, 276 ECC
// mode 2 form 2:  12 sync, 4 header, 8 subheader, 2324 data, 4 EDC
#pragma once

#include <cstdint>
#include <span>

namespace vellmark {

inline constexpr std::uint32_t kRawSectorBytes = 2352;
inline constexpr std::uint32_t kRawMode1DataOffset = 16;
inline constexpr std::uint32_t kRawMode2DataOffset = 24;
/// Where the subheader of mode 2 begins, four bytes that stand there twice; the third is the
/// submode.
inline constexpr std::uint32_t kRawSubheaderOffset = 16;
inline constexpr std::uint32_t kRawSubmodeOffset = 18;
inline constexpr std::uint32_t kRawSubheaderBytes = 4;

inline constexpr std::uint8_t kSubmodeData = 0x08;
inline constexpr std::uint8_t kSubmodeForm2 = 0x20;
inline constexpr std::uint8_t kSubmodeEndOfFile = 0x80;

/// The address of sector 0: two seconds lie in front of it.
inline constexpr std::uint32_t kRawLeadFrames = 150;
inline constexpr std::uint32_t kFramesPerSecond = 75;
inline constexpr std::uint32_t kFramesPerMinute = 60 * kFramesPerSecond;
/// Sectors whose addresses fit into the header: up to 99:59:74.
inline constexpr std::uint32_t kMostRawSectors = 100 * kFramesPerMinute - kRawLeadFrames;

using RawSector = std::span<std::uint8_t, kRawSectorBytes>;
using ConstRawSector = std::span<const std::uint8_t, kRawSectorBytes>;

enum class RawKind { Mode1, Mode2Form1, Mode2Form2 };

/// Whether the sector begins with the synchronisation field of a data sector.
[[nodiscard]] bool HasRawSync(ConstRawSector sector);
/// Mode byte of a data sector's header.
[[nodiscard]] std::uint8_t RawModeOf(ConstRawSector sector);

/// Writes synchronisation and header. `number` counts from the start of the disc's data, below
/// `kMostRawSectors`.
void SetRawHeader(RawSector sector, std::uint32_t number, RawKind kind);
/// Writes EDC and ECC over the header, subheader and data that stand there. The header does not
/// count in mode 2, so that such a sector can be moved by its header alone.
void SetRawChecks(RawSector sector, RawKind kind);

/// A byte of two decimal digits; 0 to 99.
[[nodiscard]] constexpr std::uint8_t ToBcd(std::uint32_t value) {
    return static_cast<std::uint8_t>(value / 10 << 4 | value % 10);
}
/// The number that a byte of two decimal digits stands for; -1 when a digit is none.
[[nodiscard]] constexpr int FromBcd(std::uint8_t byte) {
    return byte >> 4 < 10 && (byte & 15) < 10 ? (byte >> 4) * 10 + (byte & 15) : -1;
}

}  // namespace vellmark
