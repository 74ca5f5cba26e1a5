#include "transfer/import_name.hpp"

#include "containers/pc_name.hpp"
#include "containers/short_name.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr int kTextExistsAs = 1154;

// A name of the PC in the form of the volume, as long as it may be.
struct WholeName {
    CatalogName name;
    bool isExact = true;
};

WholeName WholeNameOf(const VolumeContext& volume, std::u16string_view pcName) {
    WholeName whole;
    if (volume.isHfsPlus) {
        MacUnicodeName name = PcToHfsPlusName(pcName);
        whole = {{{}, std::move(name.units)}, name.isExact};
    } else {
        MacName name = PcToMacName(pcName);
        whole = {{std::move(name.bytes), {}}, name.isExact};
    }
    return whole;
}

bool IsTooLong(const VolumeContext& volume, const WholeName& whole, std::u16string_view pcName) {
    if (!volume.isHfsPlus)
        return whole.name.hfs.size() > kHfsNameLimit;
    return !whole.isExact && Decompose(pcName, CanonicalForm::HfsPlus).size() > kHfsPlusNameMax;
}

void CutToVolume(const VolumeContext& volume, CatalogName& name) {
    // The conversion has cut the name of HFS+.
    if (!volume.isHfsPlus)
        name.hfs = CutName(name.hfs, kHfsNameLimit);
}

// The name with digits that come from the whole name on the PC.
CatalogName WithDigits(const VolumeContext& volume, CatalogName name, std::u16string_view pcName) {
    if (volume.isHfsPlus)
        name.hfsPlus = WithTail(name.hfsPlus, DigitsTail(PcNameCrc(pcName)), kHfsPlusNameMax);
    else
        name.hfs = WithTail(name.hfs, DigitsTail(MacNameCrc(pcName)), kHfsNameLimit);
    return name;
}

/// One name on its way into a folder.
class Naming {
  public:
    Naming(VolumeContext& volume, std::string_view pcName, std::uint32_t folderId,
           ImportTruncation& truncation, Messages& messages, const Clock& clock)
        : volume_(volume),
          pcName_(pcName),
          wide_(Utf8ToWide(pcName)),
          folderId_(folderId),
          truncation_(truncation),
          messages_(messages),
          clock_(clock) {}

    [[nodiscard]] std::optional<ImportedName> ofPc();
    [[nodiscard]] ImportedName ofContainer(std::string_view macName);

  private:
    [[nodiscard]] CatalogName apart(const CatalogName& name, bool isExact);
    [[nodiscard]] std::optional<CatalogName> ask(const CatalogName& proposal);
    [[nodiscard]] std::optional<CatalogName> settle(CatalogName shortName);
    [[nodiscard]] std::optional<CatalogName> replaced(const CatalogName& shortName);
    [[nodiscard]] std::optional<CatalogName> askOther(CatalogName name);
    [[nodiscard]] CatalogName typedName(const std::string& typed,
                                        const CatalogName& otherwise) const;
    [[nodiscard]] std::optional<CatalogItem> itemOf(const CatalogName& name) const {
        std::optional<CatalogItem> there;
        (void)FindNamed(volume_, folderId_, name, clock_, there);  // storing finds damage too
        return there;
    }
    [[nodiscard]] bool isTaken(const CatalogName& name) const { return itemOf(name).has_value(); }

    VolumeContext& volume_;
    std::string_view pcName_;
    std::u16string wide_;
    std::uint32_t folderId_;
    ImportTruncation& truncation_;
    Messages& messages_;
    const Clock& clock_;
};

std::optional<ImportedName> Naming::ofPc() {
    WholeName whole = WholeNameOf(volume_, wide_);
    if (IsEmptyName(volume_, whole.name))
        return ImportedName{std::move(whole.name), false};
    if (!IsTooLong(volume_, whole, wide_)) {
        CatalogName name = apart(whole.name, whole.isExact);
        const bool isChanged = !whole.isExact || name != whole.name;
        return ImportedName{std::move(name), isChanged};
    }
    CutToVolume(volume_, whole.name);
    std::optional<CatalogName> name = truncation_.automatic ? settle(whole.name) : ask(whole.name);
    return name ? std::optional(ImportedName{std::move(*name), true}) : std::nullopt;
}

ImportedName Naming::ofContainer(std::string_view macName) {
    CatalogName whole;
    if (volume_.isHfsPlus)
        whole.hfsPlus = MacRomanToHfsPlusName(macName);
    else
        whole.hfs = macName;
    CatalogName name = whole;
    CutToVolume(volume_, name);
    // Another container may hold the same name.
    name = apart(name, false);
    const bool isChanged = name != whole;
    return {std::move(name), isChanged};
}

// A name that needs no shortening, apart from those of other items of the batch. Digits keep it
// apart from one that differs in case, or in characters that the volume lacks.
CatalogName Naming::apart(const CatalogName& name, bool isExact) {
    const std::optional<CatalogItem> there = itemOf(name);
    if (!there)
        return name;
    if (!isExact && truncation_.replaces)
        return replaced(name).value_or(WithDigits(volume_, name, wide_));
    const bool isTwin =
        there->id >= truncation_.firstNewId && (!isExact || there->catalogName != name);
    return isTwin ? WithDigits(volume_, name, wide_) : name;
}

std::optional<CatalogName> Naming::ask(const CatalogName& proposal) {
    const TruncationAnswer answer = messages_.askTruncation(
        volume_.isHfsPlus ? TruncatedName::HfsPlus : TruncatedName::Imported, Printable(pcName_),
        ShownName(volume_, proposal));
    if (!answer.accepted)
        return std::nullopt;
    truncation_.automatic = answer.automatic;
    truncation_.addsCrc = truncation_.addsCrc || answer.addsCrc;
    if (answer.automatic)
        return settle(proposal);
    return typedName(answer.name, proposal);
}

CatalogName Naming::typedName(const std::string& typed, const CatalogName& otherwise) const {
    CatalogName name = NameFromPc(volume_, typed);
    CutToVolume(volume_, name);
    return IsEmptyName(volume_, name) ? otherwise : name;
}

std::optional<CatalogName> Naming::settle(CatalogName shortName) {
    if (!isTaken(shortName))
        return shortName;
    if (truncation_.replaces)
        if (std::optional<CatalogName> old = replaced(shortName))
            return old;
    if (truncation_.addsCrc) {
        shortName = WithDigits(volume_, shortName, wide_);
        if (!isTaken(shortName))
            return shortName;
    }
    return truncation_.asks ? askOther(std::move(shortName)) : std::optional(std::move(shortName));
}

// The name of an older item that this one takes the place of; nothing when there is none.
std::optional<CatalogName> Naming::replaced(const CatalogName& shortName) {
    CatalogName withDigits = WithDigits(volume_, shortName, wide_);
    if (isTaken(withDigits))
        return withDigits;
    const std::optional<CatalogItem> there = itemOf(shortName);
    return there && there->id < truncation_.firstNewId && truncation_.given.insert(there->id).second
               ? std::optional(shortName)
               : std::nullopt;
}

// A name that a person types in place of one that is taken, or that one after all.
std::optional<CatalogName> Naming::askOther(CatalogName name) {
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

CatalogName NameFromPc(const VolumeContext& volume, std::string_view pcName) {
    return WholeNameOf(volume, Utf8ToWide(pcName)).name;
}

bool IsHeldAsItIs(const VolumeContext& volume, std::string_view pcName) {
    const std::u16string wide = Utf8ToWide(pcName);
    const WholeName whole = WholeNameOf(volume, wide);
    return whole.isExact && !IsTooLong(volume, whole, wide);
}

bool IsEmptyName(const VolumeContext& volume, const CatalogName& name) {
    return volume.isHfsPlus ? name.hfsPlus.empty() : name.hfs.empty();
}

std::optional<ImportedName> ImportName(VolumeContext& volume, std::string_view pcName,
                                       std::uint32_t folderId, ImportTruncation& truncation,
                                       Messages& messages, const Clock& clock) {
    return Naming(volume, pcName, folderId, truncation, messages, clock).ofPc();
}

std::optional<ImportedName> ImportContainerName(VolumeContext& volume, std::string_view stored,
                                                std::string_view pcName, std::uint32_t folderId,
                                                ImportTruncation& truncation, Messages& messages,
                                                const Clock& clock) {
    Naming naming(volume, pcName, folderId, truncation, messages, clock);
    const std::string macName = ContainerMacName(stored);
    return macName.empty() ? naming.ofPc() : naming.ofContainer(macName);
}

}  // namespace vellmark
