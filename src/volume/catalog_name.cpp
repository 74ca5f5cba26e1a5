#include "volume/catalog_name.hpp"

#include <algorithm>

#include "containers/names.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

// Host order of a name, in which a slash is one; the other sign stands for it where it is shown.
std::optional<CatalogName> NameFromWide(bool isHfsPlus, const std::u16string& wide) {
    CatalogName name;
    if (wide.find(u'\0') != std::u16string::npos)
        return std::nullopt;
    if (isHfsPlus) {
        name.hfsPlus = WideToHfsPlusName(wide);
        const bool fits = !name.hfsPlus.empty() &&
                          Decompose(wide, CanonicalForm::HfsPlus).size() <= kHfsPlusNameMax;
        return fits ? std::optional(name) : std::nullopt;
    }
    name.hfs = WideToMacRomanExact(wide).value_or("");
    const bool fits = !name.hfs.empty() && name.hfs.size() <= kHfsNameLimit;
    return fits ? std::optional(name) : std::nullopt;
}

std::u16string WideOfShown(std::string_view shown) {
    std::u16string wide = Utf8ToWide(shown);
    std::replace(wide.begin(), wide.end(), u':', u'/');
    return wide;
}

}  // namespace

std::optional<CatalogName> NameFromShown(const VolumeContext& volume, std::string_view shown) {
    return NameFromWide(volume.isHfsPlus, WideOfShown(shown));
}

std::optional<CatalogName> LabelFromShown(bool isHfsPlus, std::string_view shown) {
    std::optional<CatalogName> name = NameFromWide(isHfsPlus, WideOfShown(shown));
    return name && name->hfs.size() <= kHfsVolumeNameLimit ? name : std::nullopt;
}

std::optional<CatalogName> NameFromMacRoman(const VolumeContext& volume, std::string_view macName) {
    if (macName.find(':') != std::string_view::npos)
        return std::nullopt;
    return NameFromWide(volume.isHfsPlus, MacNameToWide(macName));
}

std::string ShownHfsName(std::string_view macName) {
    std::u16string wide = MacNameToWide(macName);
    std::replace(wide.begin(), wide.end(), u'/', u':');
    return WideToUtf8(wide);
}

std::string ShownHfsPlusName(std::u16string_view name) {
    std::u16string wide = HfsPlusNameToWide(HfsPlusName(name));
    std::replace(wide.begin(), wide.end(), u'/', u':');
    return WideToUtf8(wide);
}

std::string ShownName(const VolumeContext& volume, const CatalogName& name) {
    return volume.isHfsPlus ? ShownHfsPlusName(name.hfsPlus) : ShownHfsName(name.hfs);
}

TreeKey ItemKey(const VolumeContext& volume, std::uint32_t parentId, const CatalogName& name) {
    return volume.isHfsPlus ? HfsPlusCatalogKey(parentId, name.hfsPlus)
                            : HfsCatalogKey(parentId, name.hfs);
}

TreeKey ThreadKey(const VolumeContext& volume, std::uint32_t id) {
    return ItemKey(volume, id, {});
}

CatalogName NameOfKey(const VolumeContext& volume, ConstByteSpan key) {
    CatalogName name;
    if (volume.isHfsPlus)
        name.hfsPlus = HfsPlusKeyName(key);
    else
        name.hfs = HfsKeyName(key);
    return name;
}

}  // namespace vellmark
