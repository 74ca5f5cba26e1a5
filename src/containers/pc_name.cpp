#include "containers/pc_name.hpp"

#include <algorithm>

#include "containers/name_tables.hpp"
#include "containers/names.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

std::u16string WithSlashes(std::u16string_view pcName) {
    std::u16string wide(pcName.substr(0, pcName.find(u'\0')));
    std::replace(wide.begin(), wide.end(), u':', u'/');
    return wide;
}

// One character that is no plain letter.
void Append(MacName& name, char16_t unit) {
    if (const auto exact = WideToMacRomanExact({&unit, 1})) {
        name.bytes += *exact;
        return;
    }
    const bool isPrivate = unit > kPrivateCodes && unit <= kPrivateLogo;
    const std::string replaced = WideToMacName({&unit, 1});
    name.bytes += replaced.empty() ? "_" : replaced;
    name.isExact = name.isExact && isPrivate;
}

}  // namespace

MacName PcToMacName(std::u16string_view pcName) {
    MacName name;
    name.bytes.reserve(pcName.size());
    for (const char16_t unit : ComposeName(WithSlashes(pcName))) {
        if (unit < 0x80)
            name.bytes += static_cast<char>(unit);
        else
            Append(name, unit);
    }
    return name;
}

MacUnicodeName PcToHfsPlusName(std::u16string_view pcName) {
    const std::u16string wide = WithSlashes(pcName);
    MacUnicodeName name;
    name.units = WideToHfsPlusName(wide);
    for (std::size_t i = 0; i < wide.size() && name.isExact; ++i)
        name.isExact = !IsLoneSurrogate(wide, i) && (wide[i] < 0x80 || wide[i] > 0x9F);
    // No form of a unit is longer than four.
    if (wide.size() > kHfsPlusNameMax / 4)
        name.isExact =
            name.isExact && Decompose(wide, CanonicalForm::HfsPlus).size() <= kHfsPlusNameMax;
    return name;
}

std::string ContainerMacName(std::string_view told) {
    std::string name(told.substr(0, told.find('\0')));
    std::replace(name.begin(), name.end(), ':', '_');
    return name;
}

HfsPlusName MacRomanToHfsPlusName(std::string_view macName) {
    return PcToHfsPlusName(MacNameToWide(macName.substr(0, macName.find('\0')))).units;
}

std::uint16_t MacNameCrc(std::u16string_view pcName) {
    const MacName name = PcToMacName(pcName);
    return name.isExact ? NameCrc16(name.bytes) : PcNameCrc(pcName);
}

std::uint16_t PcNameCrc(std::u16string_view pcName) {
    return NameCrc16(WideToUtf8(pcName));
}

}  // namespace vellmark
