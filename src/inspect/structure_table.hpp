// How a structure is described: a table of its fields, which one reader (structure_reader.hpp)
// turns into an `Analysis`.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/analysis.hpp"
#include "inspect/inspected_bytes.hpp"
#include "inspect/inspected_image.hpp"
#include "support/sentences.hpp"
#include "support/texts.hpp"

namespace vellmark {

/// What a structure is read with.
struct SectorScene {
    const InspectedImage& image;
    const InspectedBytes& inspected;
    std::uint64_t sector = 0;       ///< in what is inspected
    std::uint64_t imageSector = 0;  ///< the same in the image
    Language language = Language::English;
    std::vector<std::uint8_t> bytes;  ///< of the structure: a sector, or more where it is longer

    /// A field of the structure; zeros where it goes beyond the bytes.
    template <typename Field>
    [[nodiscard]] Field at(std::size_t offset) const {
        Field field{};
        if (offset <= bytes.size() && sizeof field <= bytes.size() - offset)
            std::memcpy(&field, bytes.data() + offset, sizeof field);
        return field;
    }
    /// So many bytes from the start of the sector, as far as they are there; a sector at least.
    [[nodiscard]] std::vector<std::uint8_t> readOn(std::size_t count) const {
        std::vector<std::uint8_t> read(count);
        read.resize(std::max<std::size_t>(inspected.source->readAt(sector * kSectorBytes, read),
                                          kSectorBytes));
        return read;
    }
    [[nodiscard]] std::string word(int text) const { return std::string(Text(text, language)); }
};

/// How bytes are shown.
enum class FieldKind : std::uint8_t {
    Big,           ///< a number, most significant byte first
    Little,        ///< a number, least significant byte first
    BigHex,        ///< the first behind 0x, in all its digits
    LittleHex,     ///< the second behind 0x
    SignatureHex,  ///< the same in four capital digits
    MacText,       ///< MacRoman up to a 0
    MacString,     ///< MacRoman behind its length
    AnsiText,      ///< Windows-1252 without what fills it up
    DiscText,      ///< the same, or big-endian Unicode in a Joliet descriptor
    Revision,      ///< two halves of a little-endian number
    GuidText,
    UnicodeText,     ///< UTF-16, least significant byte first
    HfsExtents,      ///< pairs of 16 bits: start and number of blocks
    HfsPlusExtents,  ///< pairs of 32 bits
    ExtentsLine,     ///< the same pairs of 32 bits in one line
    Computed         ///< by the row's function
};

/// Where a number leads.
enum class LinkRule : std::uint8_t {
    None,
    Sector,          ///< that sector of the image
    MapBlock,        ///< that block of the partition map, and the volume header behind it
    Block,           ///< that allocation block of the volume whose header this is
    EmbeddedVolume,  ///< the block of a wrapper where a volume begins, and its header
    Node,            ///< that node of this tree
    DiscBlock,       ///< that logical block of the disc
    OwnByte,         ///< that byte of what is inspected
    GptHeader,       ///< that sector, to be shown as a header of a GUID table
    GptArray         ///< that sector, to be shown as entries of a GUID table
};

/// A caption: a numbered text, or a sentence where none is told.
struct Caption {
    constexpr Caption(int number) : text(number) {}
    constexpr Caption(Sentence name) : sentence(name) {}
    [[nodiscard]] Reason reason() const {
        return text != 0 ? Reason(ToldText{text}) : Reason(sentence);
    }
    int text = 0;
    Sentence sentence{};
};

using ComputeValue = std::optional<std::uint64_t> (*)(const SectorScene& scene);

struct FieldRow {
    std::uint8_t page = 0;
    std::string_view key;
    Caption caption = 0;
    FieldKind kind = FieldKind::Big;
    std::uint16_t offset = 0;  ///< bytes from the start of the structure
    std::uint16_t width = 0;   ///< bytes
    LinkRule link = LinkRule::None;
    std::string_view linkName = {};
    ComputeValue compute = nullptr;
};

/// Adds what is no row of fields: a list, links of the whole, or other fields.
using AddMore = void (*)(const SectorScene& scene, Analysis& analysis);

struct StructureTable {
    StructureCode code = StructureCode::Unknown;
    std::string_view form;
    Caption title = 0;
    std::span<const Caption> pages = {};
    std::span<const FieldRow> fields = {};
    /// Bytes that the structure needs, of what begins in the sector; null: one sector.
    std::vector<std::uint8_t> (*readWhole)(const SectorScene& scene) = nullptr;
    AddMore addMore = nullptr;
};

/// The table of a structure that is known.
[[nodiscard]] const StructureTable& TableOf(StructureCode code);

/// The tables by the formats that they belong to.
[[nodiscard]] std::span<const StructureTable> VolumeTables();
[[nodiscard]] std::span<const StructureTable> NodeTables();
[[nodiscard]] std::span<const StructureTable> DiscTables();
[[nodiscard]] std::span<const StructureTable> PcDiskTables();
[[nodiscard]] std::span<const StructureTable> ContainerTables();

}  // namespace vellmark
