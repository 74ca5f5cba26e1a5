// Case folding, ISO names, device names and the checksum of a name.
#include <algorithm>
#include <array>

#include "containers/crc16.hpp"
#include "containers/names.hpp"
#include "containers/short_name.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

struct BytePair {
    std::uint8_t capital;
    std::uint8_t small;
};

// Accented capitals and ligatures of MacRoman.
constexpr std::array<BytePair, 29> kMacRomanCapitals = {{
    {0x80, 0x8A}, {0x81, 0x8C}, {0x82, 0x8D}, {0x83, 0x8E}, {0x84, 0x96}, {0x85, 0x9A},
    {0x86, 0x9F}, {0xAE, 0xBE}, {0xAF, 0xBF}, {0xCB, 0x88}, {0xCC, 0x8B}, {0xCD, 0x9B},
    {0xCE, 0xCF}, {0xD9, 0xD8}, {0xE5, 0x89}, {0xE6, 0x90}, {0xE7, 0x87}, {0xE8, 0x91},
    {0xE9, 0x8F}, {0xEA, 0x92}, {0xEB, 0x94}, {0xEC, 0x95}, {0xED, 0x93}, {0xEE, 0x97},
    {0xEF, 0x99}, {0xF1, 0x98}, {0xF2, 0x9C}, {0xF3, 0x9E}, {0xF4, 0x9D},
}};

constexpr std::array<std::uint8_t, 256> MakeLowerTable() {
    std::array<std::uint8_t, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<std::uint8_t>(i >= 'A' && i <= 'Z' ? i + 0x20 : i);
    for (const BytePair& pair : kMacRomanCapitals)
        table[pair.capital] = pair.small;
    return table;
}

constexpr std::array<std::uint8_t, 256> kMacRomanLower = MakeLowerTable();

// Windows-1252 bytes C0 to FF without accents; `-` marks a byte that stays or becomes two.
constexpr std::string_view kIsoHigh =
    "AAAAAA-CEEEEIIIIDNOOOOO-OUUUUY--"
    "AAAAAA-CEEEEIIIIDNOOOOO-OUUUUY-Y";
static_assert(kIsoHigh.size() == 64);

constexpr std::array<std::string_view, 11> kDevices = {
    "CON", "PRN", "AUX", "NUL", "COM1", "COM2", "COM3", "COM4", "LPT1", "LPT2", "LPT3"};

}  // namespace

std::string FoldMacRomanLower(std::string_view mac) {
    std::string lower(mac);
    for (char& c : lower)
        c = static_cast<char>(kMacRomanLower[static_cast<std::uint8_t>(c)]);
    return lower;
}

std::string IsoUpperFold(std::string_view ansi) {
    std::string upper;
    for (char c : ansi) {
        const auto byte = static_cast<std::uint8_t>(c);
        if (byte == 0x8C || byte == 0x9C)
            upper += "OE";
        else if (byte == 0xC6 || byte == 0xE6)
            upper += "AE";
        else if (byte == 0xDF)
            // One S and the letter itself, not SS: kept on purpose, `IsoNormalizeName` makes S_.
            upper += "S\xDF";
        else if (byte >= 0xC0 && kIsoHigh[byte - 0xC0] != '-')
            upper += kIsoHigh[byte - 0xC0];
        else
            upper += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return upper;
}

std::string IsoNormalizeName(std::string_view ansi) {
    constexpr std::string_view kBlanks = " \xA0";
    ansi.remove_prefix(std::min(ansi.find_first_not_of(kBlanks), ansi.size()));
    // Nothing but blanks is left empty above: npos + 1 is 0.
    ansi = ansi.substr(0, ansi.find_last_not_of(kBlanks) + 1);
    std::string name = IsoUpperFold(ansi);
    for (char& c : name)
        if (!(c >= 'A' && c <= 'Z') && !(c >= '0' && c <= '9'))
            c = '_';
    return name;
}

std::string GuardDeviceName(std::string_view name) {
    // A test of the beginning on purpose: CONFIG becomes CONFIG_ as well.
    const std::string upper = AsciiUpper(name);
    const bool device = std::any_of(kDevices.begin(), kDevices.end(),
                                    [&](std::string_view d) { return upper.starts_with(d); });
    return std::string(name) + (device || name.empty() ? "_" : "");
}

std::uint16_t NameCrc16(std::string_view bytes) {
    return Crc16({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

std::string NameCrcDigits(std::string_view name) {
    return DigitsTail(NameCrc16(name)).substr(1);
}

}  // namespace vellmark
