#include "containers/names.hpp"

#include <algorithm>

#include "containers/name_tables.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::uint8_t kMacRomanEuro = 0xDB;

std::uint8_t ByteOf(char c) {
    return static_cast<std::uint8_t>(c);
}

template <typename Text>
Text UpToNul(Text text) {
    return text.substr(0, text.find(typename Text::value_type{}));
}

}  // namespace

// U+00FF is unknown although the table has it, and units above the private codes vanish: both are
// kept on purpose, names once converted must be found again.
std::string WideToMacName(std::u16string_view wide) {
    std::string name;
    for (char16_t unit : wide) {
        if (unit > kPrivateLogo)
            continue;
        std::uint8_t byte = '_';
        if (unit < 0xFF)
            byte = kPcToMacTable[unit];
        else if (unit == 0x2014)
            byte = '-';
        else if (unit == 0x20AC)
            byte = kMacRomanEuro;
        else if (unit >= kPrivateSigns)
            byte = ByteOf(kPrivateSignBytes[unit - kPrivateSigns]);
        else if (unit >= kPrivateCodes)
            byte = static_cast<std::uint8_t>(unit & 0xFF);
        // The name is a string that a 0 ends, also one that the table gave.
        if (byte == 0)
            break;
        name += static_cast<char>(byte);
    }
    return name;
}

std::u16string MacNameToWide(std::string_view mac) {
    std::u16string wide;
    for (char c : mac) {
        const std::uint8_t byte = ByteOf(c);
        wide += byte < 0x80 ? static_cast<char16_t>(byte) : kMacRomanHigh[byte - 0x80];
    }
    return wide;
}

std::optional<std::string> WideToMacRomanExact(std::u16string_view wide) {
    std::string mac;
    const auto form = CanonicalForm::WithSymbols;
    for (char16_t unit : Compose(Decompose(wide, form), form)) {
        if (unit < 0x80) {
            mac += static_cast<char>(unit);
            continue;
        }
        const auto found = std::find(kMacRomanHigh.begin(), kMacRomanHigh.end(), unit);
        if (found == kMacRomanHigh.end())
            return std::nullopt;
        mac += static_cast<char>(0x80 + (found - kMacRomanHigh.begin()));
    }
    return mac;
}

std::u16string AnsiToJolietUnits(std::string_view ansi) {
    return NarrowToWide(UpToNul(ansi));
}

std::string AnsiToMacName(std::string_view ansi) {
    std::string mac;
    for (char c : UpToNul(ansi)) {
        const std::uint8_t byte = kPcToMacTable[ByteOf(c)];
        mac += byte == 0 ? '_' : static_cast<char>(byte);
    }
    return mac;
}

std::string MacToAnsiName(std::string_view mac) {
    std::string ansi;
    for (char c : UpToNul(mac)) {
        const std::uint8_t byte = kMacToPcTable[ByteOf(c)];
        if (byte == 0)
            break;
        ansi += static_cast<char>(byte);
    }
    return ansi;
}

std::string ReplaceChars(std::string_view name, std::string_view set) {
    name.remove_prefix(std::min(name.find_first_not_of(" \xA0"), name.size()));
    std::string result(name);
    for (char& c : result)
        if (set.find(c) != std::string_view::npos)
            c = '_';
    return result;
}

}  // namespace vellmark
