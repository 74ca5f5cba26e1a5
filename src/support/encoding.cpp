#include "support/encoding.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <optional>

namespace vellmark {

namespace {

// Windows-1252 bytes 80 to 9F; 0 stands for the five bytes without a character.
constexpr std::array<char16_t, 32> kCp1252High = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

constexpr char16_t kByteEscape = 0xDC00;

// Length of the valid UTF-8 sequence at the start of `text`, its scalar in `scalar`; 0 if none.
std::size_t DecodeOne(std::string_view text, char32_t& scalar) {
    const auto lead = static_cast<std::uint8_t>(text[0]);
    if (lead < 0x80) {
        scalar = lead;
        return 1;
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length)
        return 0;
    scalar = lead & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<std::uint8_t>(text[i]);
        if ((next & 0xC0) != 0x80)
            return 0;
        scalar = (scalar << 6) | (next & 0x3F);
    }
    constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = scalar >= 0xD800 && scalar <= 0xDFFF;
    return scalar < kSmallest[length] || surrogate || scalar > 0x10FFFF ? 0 : length;
}

void AppendUtf8(std::string& out, char32_t scalar) {
    if (scalar < 0x80) {
        out += static_cast<char>(scalar);
    } else if (scalar < 0x800) {
        out += static_cast<char>(0xC0 | (scalar >> 6));
        out += static_cast<char>(0x80 | (scalar & 0x3F));
    } else if (scalar < 0x10000) {
        out += static_cast<char>(0xE0 | (scalar >> 12));
        out += static_cast<char>(0x80 | ((scalar >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (scalar & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (scalar >> 18));
        out += static_cast<char>(0x80 | ((scalar >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((scalar >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (scalar & 0x3F));
    }
}

struct ScalarRange {
    char32_t first;
    char32_t last;
};

// Controls, marks that turn the direction of writing, and what takes no room (Unicode 15, among
// them its default ignorable code points), in order. Joiners and variation selectors are judged by
// what they stand behind.
constexpr std::array<ScalarRange, 18> kNotShown = {{{0x0000, 0x001F},
                                                    {0x007F, 0x009F},
                                                    {0x00AD, 0x00AD},
                                                    {0x034F, 0x034F},
                                                    {0x061C, 0x061C},
                                                    {0x115F, 0x1160},
                                                    {0x17B4, 0x17B5},
                                                    {0x180B, 0x180F},
                                                    {0x200B, 0x200F},
                                                    {0x2028, 0x202E},
                                                    {0x2060, 0x206F},
                                                    {0x3164, 0x3164},
                                                    {0xFEFF, 0xFEFF},
                                                    {0xFFA0, 0xFFA0},
                                                    {0xFFF0, 0xFFFB},
                                                    {0x1BCA0, 0x1BCA3},
                                                    {0x1D173, 0x1D17A},
                                                    {0xE0000, 0xE0FFF}}};

constexpr char32_t kZeroWidthNonJoiner = 0x200C;
constexpr char32_t kZeroWidthJoiner = 0x200D;
constexpr char32_t kFirstVariation = 0xFE00;
constexpr char32_t kLastVariation = 0xFE0F;

// Arabic to the scripts of India and South-east Asia, which joiners are part of the spelling of.
bool IsOfJoiningScript(char32_t scalar) {
    return scalar >= 0x0620 && scalar <= 0x1CFF;
}
// Symbols and pictures, which joiners and selectors make others of.
bool IsPictograph(char32_t scalar) {
    return (scalar >= 0x203C && scalar <= 0x33FF && scalar != 0x3164) ||
           (scalar >= kFirstVariation && scalar <= kLastVariation) ||
           (scalar >= 0x1F000 && scalar <= 0x1FAFF);
}

bool IsHigh(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLow(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

std::optional<char> NarrowOf(char16_t unit) {
    if (unit < 0x80 || (unit >= 0xA0 && unit <= 0xFF))
        return static_cast<char>(unit);
    const auto found = std::find(kCp1252High.begin(), kCp1252High.end(), unit);
    return found == kCp1252High.end()
               ? std::nullopt
               : std::optional(static_cast<char>(0x80 + (found - kCp1252High.begin())));
}

}  // namespace

std::u16string Utf8ToWide(std::string_view utf8) {
    std::u16string wide;
    wide.reserve(utf8.size());
    while (!utf8.empty()) {
        char32_t scalar = 0;
        const std::size_t length = DecodeOne(utf8, scalar);
        if (length == 0) {
            wide += static_cast<char16_t>(kByteEscape + static_cast<std::uint8_t>(utf8[0]));
        } else if (scalar >= 0x10000) {
            wide += static_cast<char16_t>(0xD800 + ((scalar - 0x10000) >> 10));
            wide += static_cast<char16_t>(0xDC00 + ((scalar - 0x10000) & 0x3FF));
        } else {
            wide += static_cast<char16_t>(scalar);
        }
        utf8.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return wide;
}

std::string WideToUtf8(std::u16string_view wide) {
    std::string utf8;
    utf8.reserve(wide.size());
    for (std::size_t i = 0; i < wide.size(); ++i) {
        const char16_t unit = wide[i];
        if (IsHigh(unit) && i + 1 < wide.size() && IsLow(wide[i + 1])) {
            const char32_t high = static_cast<char32_t>(unit - 0xD800) << 10;
            AppendUtf8(utf8, 0x10000 + high + static_cast<char32_t>(wide[++i] - 0xDC00));
        } else if (unit >= kByteEscape + 0x80 && unit <= kByteEscape + 0xFF) {
            utf8 += static_cast<char>(unit - kByteEscape);
        } else {
            AppendUtf8(utf8, unit);
        }
    }
    return utf8;
}

bool IsLoneSurrogate(std::u16string_view wide, std::size_t at) {
    if (IsHigh(wide[at]))
        return at + 1 >= wide.size() || !IsLow(wide[at + 1]);
    return IsLow(wide[at]) && (at == 0 || !IsHigh(wide[at - 1]));
}

std::string WideToNarrow(std::u16string_view wide) {
    std::string narrow;
    narrow.reserve(wide.size());
    for (std::size_t i = 0; i < wide.size(); ++i) {
        const bool pair = IsHigh(wide[i]) && i + 1 < wide.size() && IsLow(wide[i + 1]);
        narrow += NarrowOf(wide[i]).value_or('?');
        i += pair ? 1 : 0;
    }
    return narrow;
}

bool IsNarrow(std::u16string_view wide) {
    return std::all_of(wide.begin(), wide.end(),
                       [](char16_t unit) { return NarrowOf(unit).has_value(); });
}

std::u16string NarrowToWide(std::string_view narrow) {
    std::u16string wide;
    wide.reserve(narrow.size());
    for (char c : narrow) {
        const auto byte = static_cast<std::uint8_t>(c);
        const char16_t mapped =
            byte >= 0x80 && byte < 0xA0 ? kCp1252High[byte - 0x80] : char16_t{0};
        wide += mapped ? mapped : static_cast<char16_t>(byte);
    }
    return wide;
}

std::string NarrowToUtf8(std::string_view narrow) {
    return WideToUtf8(NarrowToWide(narrow));
}

std::string Utf8ToNarrow(std::string_view utf8) {
    return WideToNarrow(Utf8ToWide(utf8));
}

bool IsShown(char32_t scalar, char32_t before) {
    if (scalar == kZeroWidthNonJoiner)
        return IsOfJoiningScript(before);
    if (scalar == kZeroWidthJoiner)
        return IsOfJoiningScript(before) || IsPictograph(before);
    if (scalar >= kFirstVariation && scalar <= kLastVariation)
        return IsPictograph(before);
    if (scalar >= 0xD800 && scalar <= 0xDFFF)
        return false;
    const auto* range = std::upper_bound(
        kNotShown.begin(), kNotShown.end(), scalar,
        [](char32_t value, const ScalarRange& each) { return value < each.first; });
    return range == kNotShown.begin() || scalar > std::prev(range)->last;
}

std::string ReplaceNotShown(std::string_view utf8, ReplaceScalar replacement) {
    const std::u16string wide = Utf8ToWide(utf8);
    std::string result;
    result.reserve(utf8.size());
    char32_t before = 0;
    std::size_t kept = 0;  // units that go over as they are
    for (std::size_t at = 0; at < wide.size();) {
        const bool isPair = IsHigh(wide[at]) && at + 1 < wide.size() && IsLow(wide[at + 1]);
        const char32_t scalar = isPair
                                    ? 0x10000 + (static_cast<char32_t>(wide[at] - 0xD800) << 10) +
                                          static_cast<char32_t>(wide[at + 1] - 0xDC00)
                                    : wide[at];
        const std::size_t next = at + (isPair ? 2 : 1);
        if (!IsShown(scalar, before)) {
            result += WideToUtf8(std::u16string_view(wide).substr(kept, at - kept));
            result += replacement(scalar);
            kept = next;
        }
        before = scalar;
        at = next;
    }
    return result + WideToUtf8(std::u16string_view(wide).substr(kept));
}

std::string Printable(std::string_view utf8) {
    return ReplaceNotShown(utf8, [](char32_t) { return std::string("\uFFFD"); });
}

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string AsciiUpper(std::string_view text) {
    std::string upper(text);
    for (char& c : upper)
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return upper;
}

}  // namespace vellmark
