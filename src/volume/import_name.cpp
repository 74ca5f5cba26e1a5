#include "volume/import_name.hpp"

#include <algorithm>

#include "containers/hfs_plus_name_form.hpp"
#include "containers/names.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr int kTextExistsAs = 1154;

/// A short name with digits on HFS: so many bytes of the name, `-`, four digits.
constexpr std::size_t kHfsStemBytes = 26;
constexpr std::size_t kDigitsUnits = 5;

/// Above the private codes nothing is left of a character.
constexpr char16_t kLastPrivate = 0xF02A;

std::u16string WideOfPc(std::string_view pcName) {
    std::u16string wide = Utf8ToWide(pcName);
    std::replace(wide.begin(), wide.end(), u':', u'/');
    return wide;
}

std::string MacNameOf(std::u16string_view wide) {
    std::string name;
    for (const char16_t unit : Compose(wide, CanonicalForm::WithSymbols)) {
        if (const auto exact = WideToMacRomanExact({&unit, 1})) {
            name += *exact;
            continue;
        }
        const std::string mac = WideToMacName({&unit, 1});
        // A character without an equivalent does not end the name here.
        name += mac.empty() && unit <= kLastPrivate ? "_" : mac;
    }
    return name;
}

// Cut at the limit, without blanks at the end: a name may consist of blanks alone.
template <typename Name>
void CutName(Name& name, std::size_t most) {
    if (name.size() <= most)
        return;
    name.resize(most);
    while (name.size() > 1 && name.back() == ' ')
        name.pop_back();
}

void CutToVolume(const VolumeContext& volume, CatalogName& name) {
    if (!volume.isHfsPlus) {
        CutName(name.hfs, kHfsNameLimit);
        return;
    }
    // The conversion has cut it, but for the blanks.
    if (name.hfsPlus.size() == kHfsPlusNameMax)
        while (name.hfsPlus.size() > 1 && name.hfsPlus.back() == u' ')
            name.hfsPlus.pop_back();
}

bool IsTooLong(const VolumeContext& volume, std::string_view pcName) {
    const std::u16string wide = WideOfPc(pcName);
    return volume.isHfsPlus ? Decompose(wide, CanonicalForm::HfsPlus).size() > kHfsPlusNameMax
                            : MacNameOf(wide).size() > kHfsNameLimit;
}

// The name with digits that come from the whole of it.
CatalogName WithDigits(const VolumeContext& volume, CatalogName name, std::string_view pcName) {
    if (volume.isHfsPlus) {
        CutAtLetter(name.hfsPlus, kHfsPlusNameMax - kDigitsUnits);
        name.hfsPlus += u'-' + Utf8ToWide(NameCrcDigits(pcName));
        return name;
    }
    const std::string digits = NameCrcDigits(MacNameOf(WideOfPc(pcName)));
    name.hfs = name.hfs.substr(0, kHfsStemBytes) + "-" + digits;
    return name;
}

/// One name that is too long, on its way into a folder.
class Shortening {
  public:
    Shortening(VolumeContext& volume, std::string_view pcName, std::uint32_t folderId,
               ImportTruncation& truncation, Messages& messages, const Clock& clock)
        : volume_(volume),
          pcName_(pcName),
          folderId_(folderId),
          truncation_(truncation),
          messages_(messages),
          clock_(clock) {}

    [[nodiscard]] std::optional<CatalogName> name() {
        CatalogName shortName = NameFromPc(volume_, pcName_);
        CutToVolume(volume_, shortName);
        return truncation_.automatic ? settle(shortName) : ask(shortName);
    }

  private:
    [[nodiscard]] std::optional<CatalogName> ask(const CatalogName& proposal);
    [[nodiscard]] std::optional<CatalogName> settle(CatalogName shortName);
    [[nodiscard]] std::optional<CatalogName> replaced(const CatalogName& shortName);
    [[nodiscard]] std::optional<CatalogName> askOther(CatalogName name);
    [[nodiscard]] CatalogName typedName(const std::string& typed,
                                        const CatalogName& otherwise) const;
    [[nodiscard]] std::optional<CatalogItem> itemOf(const CatalogName& name) const {
        std::optional<CatalogItem> there;
        (void)FindNamed(volume_, folderId_, name, clock_, there);  // storing tells of damage
        return there;
    }
    [[nodiscard]] bool isTaken(const CatalogName& name) const { return itemOf(name).has_value(); }

    VolumeContext& volume_;
    std::string_view pcName_;
    std::uint32_t folderId_;
    ImportTruncation& truncation_;
    Messages& messages_;
    const Clock& clock_;
};

std::optional<CatalogName> Shortening::ask(const CatalogName& proposal) {
    const TruncationAnswer answer =
        messages_.askTruncation(volume_.isHfsPlus ? TruncatedName::HfsPlus : TruncatedName::Hfs,
                                Printable(pcName_), ShownName(volume_, proposal));
    if (!answer.accepted)
        return std::nullopt;
    truncation_.automatic = answer.automatic;
    if (answer.automatic)
        return settle(proposal);
    return typedName(answer.name, proposal);
}

CatalogName Shortening::typedName(const std::string& typed, const CatalogName& otherwise) const {
    CatalogName name = NameFromPc(volume_, typed);
    CutToVolume(volume_, name);
    return IsEmptyName(volume_, name) ? otherwise : name;
}

std::optional<CatalogName> Shortening::settle(CatalogName shortName) {
    if (!isTaken(shortName))
        return shortName;
    if (truncation_.replaces)
        if (std::optional<CatalogName> old = replaced(shortName))
            return old;
    if (truncation_.addsCrc) {
        shortName = WithDigits(volume_, shortName, pcName_);
        if (!isTaken(shortName))
            return shortName;
    }
    return truncation_.asks ? askOther(std::move(shortName)) : std::optional(std::move(shortName));
}

// The name of an older item that this one takes the place of; nothing when there is none.
std::optional<CatalogName> Shortening::replaced(const CatalogName& shortName) {
    CatalogName withDigits = WithDigits(volume_, shortName, pcName_);
    if (isTaken(withDigits))
        return withDigits;
    const std::optional<CatalogItem> there = itemOf(shortName);
    return there && there->id < truncation_.firstNewId && truncation_.given.insert(there->id).second
               ? std::optional(shortName)
               : std::nullopt;
}

// A name that a person types in place of one that is taken, or that one after all.
std::optional<CatalogName> Shortening::askOther(CatalogName name) {
    while (isTaken(name) &&
           messages_.askYesNo(FormatText(kTextExistsAs, messages_.language(), Printable(pcName_),
                                         Printable(ShownName(volume_, name))))) {
        const std::string kept = ShownName(volume_, name);
        const std::optional<std::string> typed = messages_.askFileName(kept);
        if (!typed)
            return std::nullopt;
        if (*typed == kept)
            break;
        name = typedName(*typed, name);
    }
    return name;
}

}  // namespace

std::string HfsNameFromPc(std::string_view pcName) {
    return MacNameOf(WideOfPc(pcName));
}

CatalogName NameFromPc(const VolumeContext& volume, std::string_view pcName) {
    const std::u16string wide = WideOfPc(pcName);
    CatalogName name;
    if (volume.isHfsPlus)
        name.hfsPlus = WideToHfsPlusName(wide);
    else
        name.hfs = MacNameOf(wide);
    return name;
}

CatalogName NameFromContainer(const VolumeContext& volume, std::string_view macName) {
    macName = macName.substr(0, macName.find('\0'));
    std::string name(macName);
    std::replace(name.begin(), name.end(), ':', '_');
    if (!volume.isHfsPlus)
        CutName(name, kHfsNameLimit);
    return NameFromMacRoman(volume, name).value_or(CatalogName{});
}

bool IsEmptyName(const VolumeContext& volume, const CatalogName& name) {
    return volume.isHfsPlus ? name.hfsPlus.empty() : name.hfs.empty();
}

std::optional<CatalogName> ImportName(VolumeContext& volume, std::string_view pcName,
                                      std::uint32_t folderId, ImportTruncation& truncation,
                                      Messages& messages, const Clock& clock) {
    if (IsTooLong(volume, pcName))
        return Shortening(volume, pcName, folderId, truncation, messages, clock).name();
    return NameFromPc(volume, pcName);
}

}  // namespace vellmark
