#include "containers/hfs_plus_name.hpp"

#include <array>
#include <cstdint>

#include "containers/name_tables.hpp"
#include "containers/short_name.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

// U+0080 to U+009F read as Windows-1252. That 91 gives 201B and that 88 and 98 give bare marks is
// kept on purpose: names once written must be found again.
constexpr std::array<HfsPlusUnits, 32> kC1Band = {{
    {0x20AC, 0}, {0, 0},      {0x201A, 0}, {0x0192, 0},   {0x201E, 0}, {0x2026, 0},   {0x2020, 0},
    {0x2021, 0}, {0x0302, 0}, {0x2030, 0}, {'S', 0x030C}, {0x2039, 0}, {0x0152, 0},   {0, 0},
    {0, 0},      {0, 0},      {0, 0},      {0x201B, 0},   {0x2019, 0}, {0x201C, 0},   {0x201D, 0},
    {0x2022, 0}, {0x2013, 0}, {0x2014, 0}, {0x0303, 0},   {0x2122, 0}, {'s', 0x030C}, {0x203A, 0},
    {0x0153, 0}, {0, 0},      {0, 0},      {'Y', 0x0308},
}};

bool IsPrivate(char16_t unit) {
    return unit > kPrivateCodes && unit <= kPrivateLogo;
}

using UnitPair = std::array<char16_t, 2>;

std::size_t Store(UnitPair& pair, HfsPlusUnits units) {
    if (units.base == 0)
        return 0;
    pair[0] = units.base;
    if (units.mark == 0)
        return 1;
    pair[1] = units.mark;
    return 2;
}

std::size_t StorePrivate(UnitPair& pair, char16_t unit) {
    if (unit == kPrivateLogo)
        return Store(pair, {0xF8FF, 0});
    if (unit < kPrivateSigns)
        return Store(pair, {static_cast<char16_t>(unit - kPrivateCodes), 0});
    const char sign = kPrivateSignBytes[unit - kPrivateSigns];
    Store(pair, {static_cast<char16_t>(sign), 0});
    // The quotation mark is followed by the second unit of the last letter that had two, or by a 0.
    // Kept on purpose: names on existing volumes were written so.
    return sign == '"' ? 2 : 1;
}

// How many units of `pair` the unit gives; for U+0080 to U+00FF and the private codes.
std::size_t DecomposeWideChar(char16_t unit, UnitPair& pair) {
    if (IsPrivate(unit))
        return StorePrivate(pair, unit);
    if (unit < 0xA0)
        return Store(pair, kC1Band[unit - 0x80]);
    const std::u16string units = Decompose({&unit, 1}, CanonicalForm::HfsPlus);
    return Store(pair, {units[0], units.size() > 1 ? units[1] : char16_t{0}});
}

HfsPlusName Finish(HfsPlusName name) {
    OrderMarks(name);
    return name.size() > kHfsPlusNameMax ? CutName(name, kHfsPlusNameMax) : name;
}

}  // namespace

HfsPlusName WideToHfsPlusName(std::u16string_view wide) {
    wide = wide.substr(0, wide.find(u'\0'));
    HfsPlusName name;
    UnitPair pair{};
    for (std::size_t i = 0; i < wide.size(); ++i) {
        const char16_t unit = wide[i];
        if (IsLoneSurrogate(wide, i))
            name += u'_';
        else if (unit < 0x80)
            name += unit;
        else if (unit <= 0xFF || IsPrivate(unit))
            name.append(pair.data(), DecomposeWideChar(unit, pair));
        else
            name += Decompose({&unit, 1}, CanonicalForm::HfsPlus);
    }
    return Finish(std::move(name));
}

HfsPlusName AnsiToHfsPlusName(std::string_view ansi) {
    const std::u16string wide = NarrowToWide(ansi.substr(0, ansi.find('\0')));
    return Finish(Decompose(wide, CanonicalForm::HfsPlus));
}

std::u16string HfsPlusNameToWide(const HfsPlusName& name) {
    return Compose(name, CanonicalForm::HfsPlus);
}

}  // namespace vellmark
