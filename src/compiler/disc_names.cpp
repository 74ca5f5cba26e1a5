#include "compiler/disc_names.hpp"

#include <algorithm>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "containers/name_order.hpp"
#include "containers/names.hpp"
#include "containers/pc_name.hpp"
#include "containers/short_name.hpp"
#include "containers/unique_name.hpp"
#include "project/view_names.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "volume/catalog_keys.hpp"
#include "volume/catalog_name.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kIsoBaseLimit = 8;
constexpr std::size_t kIsoExtensionLimit = 3;
constexpr std::u16string_view kJolietForbidden = u"*/:;?\\";
constexpr std::size_t kMadeFolderLetters = 5;

// Which names are different in a tree. Joliet readers take capitals for small letters too.
struct HfsLess {
    bool operator()(const std::string& a, const std::string& b) const {
        return CompareHfsKeyNames(a, b) < 0;
    }
};
struct HfsPlusLess {
    bool operator()(const std::u16string& a, const std::u16string& b) const {
        return CompareHfsPlusNames(std::u16string_view(a), std::u16string_view(b)) < 0;
    }
};
bool Insert(std::set<std::string, HfsLess>& used, const std::string& name) {
    return used.insert(name).second;
}
bool Insert(std::set<std::u16string, HfsPlusLess>& used, const std::u16string& name) {
    return used.insert(name).second;
}
bool Insert(std::unordered_set<std::u16string>& folded, const std::u16string& name) {
    return folded.insert(FoldCase(name)).second;
}

// Takes a name into those of its tree, with digits of `crcOf()` if another item has it.
template <typename Set, typename Name, typename CrcOf>
Name TakeUnique(Set& used, const Name& name, std::size_t limit, CrcOf crcOf) {
    return NameWithDigits(
        name, limit, [&used](const Name& taken) { return Insert(used, taken); }, crcOf);
}

struct IsoParts {
    std::string base;
    std::string extension;
    [[nodiscard]] std::string joined() const {
        return extension.empty() ? base : base + "." + extension;
    }
};

// The 8.3 name that the PC gives, in d-characters.
IsoParts IsoPartsOf(const DiscItem& item, const std::u16string& diskName) {
    const ProjectRecord& record = *item.record;
    std::string name = WideToNarrow(diskName);
    if (record.accessPath() == kProjectOnlyPath) {
        // A folder that no disk has: a name of the form that a PC would give.
        name = AsciiUpper(record.isoName());
        if (name.size() > kIsoBaseLimit) {
            name.resize(kMadeFolderLetters);
            std::replace(name.begin(), name.end(), '.', '_');
            name += "__1";
        }
    } else if (!IsShortName(name)) {
        name = record.shortName();
    }
    const std::size_t dot = name.find_last_of('.');
    IsoParts parts{IsoNormalizeName(name.substr(0, dot)), {}};
    if (dot != std::string::npos)
        parts.extension = IsoNormalizeName(name.substr(dot + 1)).substr(0, kIsoExtensionLimit);
    if (item.record->isFolder())
        parts = {parts.base + parts.extension, {}};
    if (parts.base.empty())
        parts.base = "_";
    parts.base.resize(std::min(parts.base.size(), kIsoBaseLimit));
    return parts;
}

// Letters that follow each other: A to Z, then AA, AB and on.
std::string LetterTail(unsigned number) {
    std::string tail;
    for (++number; number > 0; number = (number - 1) / 26)
        tail.insert(tail.begin(), static_cast<char>('A' + (number - 1) % 26));
    return "_" + tail;
}

class IsoNames {
  public:
    std::string take(IsoParts parts) {
        std::string wanted = parts.joined();
        if (used_.insert(wanted).second)
            return wanted;
        const std::string base = parts.base;
        // Where the last search for the same name ended: a thousand twins cost a thousand steps.
        for (unsigned& next = tried_[wanted];;) {
            const std::string tail = LetterTail(next++);
            parts.base = base.substr(0, kIsoBaseLimit - tail.size()) + tail;
            if (used_.insert(parts.joined()).second)
                return parts.joined();
        }
    }

  private:
    std::unordered_set<std::string> used_;
    std::unordered_map<std::string, unsigned> tried_;
};

std::u16string WithoutForbidden(std::u16string name, std::u16string_view forbidden) {
    for (std::size_t i = 0; i < name.size(); ++i)
        if (name[i] < 0x20 || forbidden.find(name[i]) != std::u16string_view::npos ||
            IsLoneSurrogate(name, i))
            name[i] = u'_';
    return name;
}

/// One item while it is named.
struct Naming {
    DiscItem& item;
    const std::u16string& diskName;

    [[nodiscard]] const ProjectRecord& record() const { return *item.record; }
    /// Digits in a name of the record show that it was made for an item whose name was taken.
    template <typename CrcOf>
    [[nodiscard]] bool hasDigits(std::string_view name, CrcOf crcOf) const {
        return name.find('-') != name.npos && name.find(DigitsTail(crcOf())) != name.npos;
    }
    [[nodiscard]] std::uint16_t crc() const { return PcNameCrc(diskName); }
    [[nodiscard]] std::uint16_t macCrc() const { return MacNameCrc(diskName); }
};

/// A name in its tree, and whether it is one that the item had to take.
template <typename Name>
struct TreeName {
    Name name;
    bool isForced = false;
};

using JolietName = TreeName<std::u16string>;
using HfsName = TreeName<std::string>;
using HfsPlusTreeName = TreeName<std::u16string>;

JolietName JolietNameOf(const Naming& naming) {
    const ProjectRecord& record = naming.record();
    const std::size_t limit = record.isFolder() ? kJolietFolderLimit : kJolietNameLimit;
    const std::u16string own = ComposeName(naming.diskName);
    const bool isHeld = own.size() <= limit && WithoutForbidden(own, kJolietForbidden) == own;
    const bool fromDisk = (record.shortNameFlag() || record.isFolder()) && !record.isoNameLocked();
    const std::u16string name = fromDisk ? own : AnsiToJolietUnits(record.isoName());
    return {CutName(WithoutForbidden(name, kJolietForbidden), limit),
            !isHeld || (!fromDisk && naming.hasDigits(record.isoName(), [&] {
                return NameCrc16(record.sourceName());
            }))};
}

HfsName HfsNameOf(const Naming& naming) {
    const ProjectRecord& record = naming.record();
    const bool isContainer = HasNameInContainer(record);
    const MacName own =
        isContainer ? MacName{naming.item.containerName, true} : PcToMacName(naming.diskName);
    const bool isHeld = own.isExact && own.bytes.size() <= kHfsNameLimit;
    const bool fromDisk = IsNamedByDisk(record, false) && !own.bytes.empty();
    std::string name =
        CutName(fromDisk ? std::string_view(own.bytes) : record.hfsName(), kHfsNameLimit);
    std::replace(name.begin(), name.end(), ':', fromDisk ? '/' : '_');
    const bool isForced =
        !isHeld || (!fromDisk && naming.hasDigits(name, [&] { return naming.macCrc(); }));
    return {name.empty() ? "_" : std::move(name), isForced};
}

HfsPlusTreeName HfsPlusNameOf(const Naming& naming) {
    const ProjectRecord& record = naming.record();
    const std::string& container = naming.item.containerName;
    HfsPlusTreeName result;
    if (!IsNamedByDisk(record, true) || (HasNameInContainer(record) && container.empty())) {
        result.name = AnsiToHfsPlusName(ReplaceChars(record.hfsName(), kMacForbiddenChars));
        result.isForced = naming.hasDigits(record.hfsName(), [&] { return naming.crc(); });
    } else if (HasNameInContainer(record)) {
        result.name = MacRomanToHfsPlusName(container);
    } else {
        MacUnicodeName own = PcToHfsPlusName(naming.diskName);
        result = {std::move(own.units), !own.isExact};
    }
    if (result.name.empty())
        result.name = u"_";
    return result;
}

/// The trees of one folder.
class FolderNames {
  public:
    FolderNames(CompileMode mode, Messages& messages) : mode_(mode), messages_(messages) {}

    void name(const Naming& naming);

  private:
    void nameJoliet(const Naming& naming);
    void nameMacintosh(const Naming& naming);
    void tell(std::string_view tree, const std::string& name);

    CompileMode mode_;
    Messages& messages_;
    IsoNames isoNames_;
    std::unordered_set<std::u16string> joliet_;  // in capitals
    std::set<std::string, HfsLess> hfs_;
    std::set<std::u16string, HfsPlusLess> hfsPlus_;
    std::vector<Reason> told_;  // of the item at hand: names that are not its own
};

void FolderNames::name(const Naming& naming) {
    told_.clear();
    if (naming.item.inIso)
        nameJoliet(naming);
    if (naming.item.inHfs)
        nameMacintosh(naming);
    if (told_.empty())
        return;
    const ProjectRecord& record = naming.record();
    const bool isMade = record.accessPath() == kProjectOnlyPath;
    const std::string folder = isMade ? std::string{} : NarrowToUtf8(record.accessPath());
    TellNames(Printable(folder + WideToUtf8(naming.diskName)), std::move(told_), messages_);
}

void FolderNames::nameJoliet(const Naming& naming) {
    DiscItem& item = naming.item;
    item.isoName = isoNames_.take(IsoPartsOf(item, naming.diskName));
    const JolietName wanted = JolietNameOf(naming);
    item.jolietName = TakeUnique(joliet_, wanted.name,
                                 item.record->isFolder() ? kJolietFolderLimit : kJolietNameLimit,
                                 [&] { return naming.crc(); });
    if (wanted.isForced || item.jolietName != wanted.name)
        tell("Joliet", WideToUtf8(item.jolietName));
}

void FolderNames::nameMacintosh(const Naming& naming) {
    DiscItem& item = naming.item;
    if (IsHfsPlusMode(mode_)) {
        const HfsPlusTreeName wanted = HfsPlusNameOf(naming);
        item.hfsPlusName =
            TakeUnique(hfsPlus_, wanted.name, kHfsPlusNameMax, [&] { return naming.crc(); });
        if (wanted.isForced || item.hfsPlusName != wanted.name)
            tell("HFS+", ShownHfsPlusName(item.hfsPlusName));
        return;
    }
    const HfsName wanted = HfsNameOf(naming);
    item.hfsName = TakeUnique(hfs_, wanted.name, kHfsNameLimit, [&] { return naming.macCrc(); });
    if (wanted.isForced || item.hfsName != wanted.name)
        tell("HFS", ShownHfsName(item.hfsName));
}

void FolderNames::tell(std::string_view tree, const std::string& name) {
    told_.push_back(NameInTree(tree, name));
}

}  // namespace

void AssignNames(std::vector<DiscItem>& items, const std::vector<std::u16string>& diskNames,
                 CompileMode mode, Messages& messages) {
    FolderNames names(mode, messages);
    for (std::size_t i = 0; i < items.size(); ++i)
        names.name({items[i], diskNames[i]});
}

}  // namespace vellmark
