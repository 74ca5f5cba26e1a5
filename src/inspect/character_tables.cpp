#include "inspect/character_tables.hpp"

#include <algorithm>
#include <array>

#include "containers/name_tables.hpp"
#include "containers/names.hpp"
#include "support/encoding.hpp"

namespace vellmark {
namespace {

// clang-format off

/// Code page 437 in Unicode, by the published mapping; 01 to 1F and 7F as the screen draws them.
constexpr std::array<char16_t, 256> kDosTable = {
    0x0020, 0x263A, 0x263B, 0x2665, 0x2666, 0x2663, 0x2660, 0x2022,
    0x25D8, 0x25CB, 0x25D9, 0x2642, 0x2640, 0x266A, 0x266B, 0x263C,
    0x25BA, 0x25C4, 0x2195, 0x203C, 0x00B6, 0x00A7, 0x25AC, 0x21A8,
    0x2191, 0x2193, 0x2192, 0x2190, 0x221F, 0x2194, 0x25B2, 0x25BC,
    0x0020, 0x0021, 0x0022, 0x0023, 0x0024, 0x0025, 0x0026, 0x0027,
    0x0028, 0x0029, 0x002A, 0x002B, 0x002C, 0x002D, 0x002E, 0x002F,
    0x0030, 0x0031, 0x0032, 0x0033, 0x0034, 0x0035, 0x0036, 0x0037,
    0x0038, 0x0039, 0x003A, 0x003B, 0x003C, 0x003D, 0x003E, 0x003F,
    0x0040, 0x0041, 0x0042, 0x0043, 0x0044, 0x0045, 0x0046, 0x0047,
    0x0048, 0x0049, 0x004A, 0x004B, 0x004C, 0x004D, 0x004E, 0x004F,
    0x0050, 0x0051, 0x0052, 0x0053, 0x0054, 0x0055, 0x0056, 0x0057,
    0x0058, 0x0059, 0x005A, 0x005B, 0x005C, 0x005D, 0x005E, 0x005F,
    0x0060, 0x0061, 0x0062, 0x0063, 0x0064, 0x0065, 0x0066, 0x0067,
    0x0068, 0x0069, 0x006A, 0x006B, 0x006C, 0x006D, 0x006E, 0x006F,
    0x0070, 0x0071, 0x0072, 0x0073, 0x0074, 0x0075, 0x0076, 0x0077,
    0x0078, 0x0079, 0x007A, 0x007B, 0x007C, 0x007D, 0x007E, 0x2302,
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7,
    0x00EA, 0x00EB, 0x00E8, 0x00EF, 0x00EE, 0x00EC, 0x00C4, 0x00C5,
    0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9,
    0x00FF, 0x00D6, 0x00DC, 0x00A2, 0x00A3, 0x00A5, 0x20A7, 0x0192,
    0x00E1, 0x00ED, 0x00F3, 0x00FA, 0x00F1, 0x00D1, 0x00AA, 0x00BA,
    0x00BF, 0x2310, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB,
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x2561, 0x2562, 0x2556,
    0x2555, 0x2563, 0x2551, 0x2557, 0x255D, 0x255C, 0x255B, 0x2510,
    0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F,
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x2567,
    0x2568, 0x2564, 0x2565, 0x2559, 0x2558, 0x2552, 0x2553, 0x256B,
    0x256A, 0x2518, 0x250C, 0x2588, 0x2584, 0x258C, 0x2590, 0x2580,
    0x03B1, 0x00DF, 0x0393, 0x03C0, 0x03A3, 0x03C3, 0x00B5, 0x03C4,
    0x03A6, 0x0398, 0x03A9, 0x03B4, 0x221E, 0x03C6, 0x03B5, 0x2229,
    0x2261, 0x00B1, 0x2265, 0x2264, 0x2320, 0x2321, 0x00F7, 0x2248,
    0x00B0, 0x2219, 0x00B7, 0x221A, 0x207F, 0x00B2, 0x25A0, 0x00A0,
};

// clang-format on

constexpr std::uint8_t kFirstPrintable = 0x20;
constexpr std::uint8_t kSoftHyphen = 0xAD;

// A control of Windows-1252 (five bytes have no character) would do something to a terminal, and a
// soft hyphen takes no column in some.
char16_t ShownAnsi(std::uint8_t byte) {
    if (byte == 0)
        return u' ';
    if (byte < kFirstPrintable)
        return u'_';
    if (byte == kSoftHyphen)
        return u'-';
    const char narrow = static_cast<char>(byte);
    const char16_t unit = NarrowToWide({&narrow, 1}).front();
    return unit == 0x7F || (unit >= 0x80 && unit < 0xA0) ? u'_' : unit;
}

char16_t ShownIn(std::uint8_t byte, CharTable table) {
    switch (table) {
        case CharTable::Macintosh:
            return ShownAnsi(kMacToPcTable[byte]);
        case CharTable::Windows:
            return ShownAnsi(byte);
        case CharTable::Dos:
            break;
    }
    return kDosTable[byte];
}

struct Shown {
    char16_t unit = 0;
    std::string text;
};
using ShownTable = std::array<Shown, 256>;

ShownTable MakeTable(CharTable table) {
    ShownTable shown;
    for (unsigned byte = 0; byte < shown.size(); ++byte) {
        shown[byte].unit = ShownIn(static_cast<std::uint8_t>(byte), table);
        shown[byte].text = WideToUtf8({&shown[byte].unit, 1});
    }
    return shown;
}

const Shown& ShownOf(std::uint8_t byte, CharTable table) {
    static const std::array<ShownTable, 3> kTables = {
        MakeTable(CharTable::Macintosh), MakeTable(CharTable::Windows), MakeTable(CharTable::Dos)};
    return kTables[static_cast<std::size_t>(table)][byte];
}

std::optional<std::string> DosBytes(std::u16string_view wide) {
    std::string bytes;
    for (const char16_t unit : wide) {
        const auto* const found = std::find(kDosTable.begin() + 1, kDosTable.end(), unit);
        if (found == kDosTable.end())
            return std::nullopt;
        bytes.push_back(static_cast<char>(found - kDosTable.begin()));
    }
    return bytes;
}

}  // namespace

char16_t ShownCharacter(std::uint8_t byte, CharTable table) {
    return ShownOf(byte, table).unit;
}

std::string_view ShownText(std::uint8_t byte, CharTable table) {
    return ShownOf(byte, table).text;
}

std::optional<std::vector<std::uint8_t>> BytesOfText(std::string_view text, CharTable table) {
    const std::u16string wide = Utf8ToWide(text);
    std::optional<std::string> bytes;
    if (table == CharTable::Macintosh)
        bytes = WideToMacRomanExact(wide);
    else if (table == CharTable::Dos)
        bytes = DosBytes(wide);
    else if (IsNarrow(wide))
        bytes = WideToNarrow(wide);
    if (!bytes)
        return std::nullopt;
    return std::vector<std::uint8_t>(bytes->begin(), bytes->end());
}

}  // namespace vellmark
