#include "containers/fonts/true_type_font.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "support/endian.hpp"

namespace vellmark {
namespace {

// The OpenType specification, "Font file" and "name".
struct FontHeader {
    be32 version;
    be16 tableCount;
    be16 search[3];
};
static_assert(sizeof(FontHeader) == 12);

struct FontTable {
    std::array<char, 4> tag{};
    be32 checksum;
    be32 offset;  ///< from the start of the font
    be32 length;
};
static_assert(sizeof(FontTable) == 16);

struct NameHeader {
    be16 format;
    be16 recordCount;
    be16 textOffset;  ///< from the start of the table
};
static_assert(sizeof(NameHeader) == 6);

struct NameRecord {
    be16 platform;
    be16 encoding;
    be16 language;
    be16 name;
    be16 length;  ///< bytes
    be16 offset;  ///< from the texts
};
static_assert(sizeof(NameRecord) == 12);

constexpr std::string_view kNameTable = "name";
constexpr std::uint16_t kPostScriptName = 6;
constexpr std::uint16_t kMacintosh = 1;
constexpr std::uint16_t kWindows = 3;
constexpr std::uint16_t kLastPlainWindowsEncoding = 1;  ///< symbols are 0, Unicode is 1
constexpr std::uint16_t kAmericanEnglish = 0x0409;
constexpr std::size_t kMostNameBytes = 31;

std::optional<FontTable> FindTable(ByteSource& font, std::string_view tag) {
    FontHeader header;
    if (!font.readRecord(0, header))
        return std::nullopt;
    for (std::uint32_t i = 0; i < header.tableCount; ++i) {
        FontTable table;
        if (!font.readRecord(sizeof header + i * sizeof table, table))
            break;
        if (std::string_view(table.tag.data(), table.tag.size()) == tag)
            return table;
    }
    return std::nullopt;
}

// Of a Windows record every other byte is the letter: PostScript names are ASCII.
std::string TextOf(ByteSource& font, std::uint64_t at, const NameRecord& record) {
    std::vector<std::uint8_t> bytes(record.length);
    bytes.resize(font.readAt(at, bytes));
    const std::size_t step = record.platform == kWindows ? 2 : 1;
    std::string text;
    for (std::size_t i = step - 1; i < bytes.size() && text.size() < kMostNameBytes; i += step) {
        const bool isAscii = bytes[i] > ' ' && bytes[i] < 0x7F && (step == 1 || bytes[i - 1] == 0);
        if (!isAscii)
            return {};
        text += static_cast<char>(bytes[i]);
    }
    return text;
}

bool IsWanted(const NameRecord& record) {
    if (record.name != kPostScriptName)
        return false;
    if (record.platform == kMacintosh)
        return record.encoding == 0 && record.language == 0;
    return record.platform == kWindows && record.encoding <= kLastPlainWindowsEncoding &&
           record.language == kAmericanEnglish;
}

}  // namespace

std::string FontNameOfTrueType(ByteSource& font) {
    const auto table = FindTable(font, kNameTable);
    NameHeader header;
    if (!table || !font.readRecord(table->offset, header))
        return {};
    for (std::uint32_t i = 0; i < header.recordCount; ++i) {
        NameRecord record;
        if (!font.readRecord(table->offset + sizeof header + i * sizeof record, record))
            break;
        if (!IsWanted(record))
            continue;
        const std::uint64_t at = std::uint64_t{table->offset} + header.textOffset + record.offset;
        if (std::string text = TextOf(font, at, record); !text.empty())
            return text;
    }
    return {};
}

}  // namespace vellmark
