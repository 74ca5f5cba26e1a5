#include "containers/names.hpp"

#include <algorithm>

#include "containers/name_tables.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

std::uint8_t ByteOf(char c) {
    return static_cast<std::uint8_t>(c);
}

template <typename Text>
Text UpToNul(Text text) {
    return text.substr(0, text.find(typename Text::value_type{}));
}

// How the two byte forms of a wide name differ.
struct MacForm {
    static constexpr char16_t kLastUnknown = kPrivateCodes - 1;
    static constexpr std::uint8_t kEuro = 0xDB;
    static std::uint8_t LowByte(char16_t unit) { return kPcToMacTable[unit]; }
};

struct AnsiForm {
    // U+F000 gives `_` here and a 0 in the Macintosh form; the difference is kept on purpose.
    static constexpr char16_t kLastUnknown = kPrivateCodes;
    static constexpr std::uint8_t kEuro = 0x80;
    static std::uint8_t LowByte(char16_t unit) { return static_cast<std::uint8_t>(unit); }
};

// U+00FF is unknown to both forms although Windows-1252 and the table have it, and units above the
// private codes vanish: both are kept on purpose, names once converted must be found again.
template <typename Form>
std::string WideToBytes(std::u16string_view wide) {
    std::string name;
    for (char16_t unit : wide) {
        if (unit > kPrivateLogo)
            continue;
        std::uint8_t byte = '_';
        if (unit < 0xFF)
            byte = Form::LowByte(unit);
        else if (unit == 0x2014)
            byte = '-';
        else if (unit == 0x20AC)
            byte = Form::kEuro;
        else if (unit >= kPrivateSigns)
            byte = ByteOf(kPrivateSignBytes[unit - kPrivateSigns]);
        else if (unit > Form::kLastUnknown)
            byte = static_cast<std::uint8_t>(unit & 0xFF);
        // The name is a string that a 0 ends, also one that the table gave.
        if (byte == 0)
            break;
        name += static_cast<char>(byte);
    }
    return name;
}

char16_t WideOfAnsi(char c) {
    const std::uint8_t byte = ByteOf(c);
    if (byte < 0x20)
        return static_cast<char16_t>(kPrivateCodes + byte);
    // A space and a full stop are private codes at the end of a name only.
    const std::size_t sign = kPrivateSignBytes.find(c);
    if (sign == std::string_view::npos || c == ' ' || c == '.')
        return byte;
    return static_cast<char16_t>(kPrivateSigns + sign);
}

}  // namespace

std::string WideToMacName(std::u16string_view wide) {
    return WideToBytes<MacForm>(wide);
}

std::string WideToAnsiName(std::u16string_view wide) {
    return WideToBytes<AnsiForm>(wide);
}

std::u16string AnsiToWideName(std::string_view ansi) {
    std::u16string wide;
    for (char c : UpToNul(ansi))
        wide += WideOfAnsi(c);
    // Only the very last unit counts: of two blanks at the end the first stays a plain one.
    if (!wide.empty() && wide.back() == u' ')
        wide.back() = kPrivateSpace;
    else if (!wide.empty() && wide.back() == u'.')
        wide.back() = kPrivateStop;
    return wide;
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

std::string JolietUnitsToAnsi(std::u16string_view units) {
    return WideToNarrow(Compose(UpToNul(units), CanonicalForm::HfsPlus));
}

std::string TranslateBytes(std::string_view source, const std::array<std::uint8_t, 256>& table) {
    std::string result;
    for (char c : UpToNul(source)) {
        const std::uint8_t byte = table[ByteOf(c)];
        if (byte == 0)
            break;
        result += static_cast<char>(byte);
    }
    return result;
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
    return TranslateBytes(mac, kMacToPcTable);
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
