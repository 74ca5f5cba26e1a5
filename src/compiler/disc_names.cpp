#include "compiler/disc_names.hpp"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "containers/name_order.hpp"
#include "containers/names.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "volume/catalog_keys.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kIsoBaseLimit = 8;
constexpr std::size_t kIsoExtensionLimit = 3;
constexpr std::size_t kKeptExtension = 5;  // an extension with its point that survives a cut
constexpr std::size_t kMadeFolderLetters = 5;

// Where the extension of a name begins, point included; the end when it has none worth keeping.
template <typename Name>
std::size_t ExtensionStart(const Name& name) {
    const std::size_t dot = name.find_last_of(typename Name::value_type('.'));
    return dot == Name::npos || dot == 0 || name.size() - dot > kKeptExtension ? name.size() : dot;
}

// Keeps a cut from parting a letter from its marks or a pair from its half.
void DropLooseEnd(std::string&) {}
void DropLooseEnd(std::u16string& name) {
    while (!name.empty() && IsLoneSurrogate(name, name.size() - 1))
        name.pop_back();
}

// The name with `tail` before its extension, as much of the rest as `limit` leaves room for.
template <typename Name>
Name WithTail(const Name& name, const Name& tail, std::size_t limit) {
    const std::size_t dot = ExtensionStart(name);
    const Name extension = name.substr(dot);
    Name base = name.substr(0, std::min(dot, limit - tail.size() - extension.size()));
    DropLooseEnd(base);
    return base + tail + extension;
}

template <typename Name>
Name CutTo(const Name& name, std::size_t limit) {
    return name.size() <= limit ? name : WithTail(name, Name{}, limit);
}

// `-` and four digits; the digits come from the whole name, so that the same file gets the same
// ones in every build, and count on when they are taken.
template <typename Name>
Name FallbackTail(std::string_view wholeName, unsigned attempt) {
    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    unsigned value = (NameCrc16(wholeName) + attempt) & 0xFFFF;
    Name tail{typename Name::value_type('-')};
    for (int i = 0; i < 4; ++i, value >>= 4)
        tail += static_cast<typename Name::value_type>(kDigits[value & 15]);
    return tail;
}

// Takes `name` into the set of names used, in its fallback form if need be.
template <typename Name, typename Set>
Name TakeUnique(Set& used, Name name, std::string_view wholeName, std::size_t limit) {
    Name candidate = name;
    for (unsigned attempt = 0; !used.insert(candidate).second; ++attempt)
        candidate = WithTail(name, FallbackTail<Name>(wholeName, attempt), limit);
    return candidate;
}

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

std::u16string JolietNameOf(const DiscItem& item, const std::u16string& diskName) {
    const ProjectRecord& record = *item.record;
    const bool fromDisk = record.shortNameFlag() && !record.isoNameLocked();
    std::u16string name = fromDisk ? diskName : AnsiToJolietUnits(record.isoName());
    if (record.isFolder() && !record.isoNameLocked())
        name = diskName;
    return CutTo(WithoutForbidden(std::move(name), u"*/:;?\\"), kJolietNameLimit);
}

// A file whose forks a server keeps has its real name on the disk, whatever the record says.
bool IsNamedByDisk(const ProjectRecord& record) {
    const bool byServer = record.coding() == ForkCoding::NamedStreams || record.unicodeOnDisk();
    return (record.shortNameFlag() || byServer) && !record.hfsNameLocked();
}

std::string HfsNameOf(const ProjectRecord& record, const std::u16string& diskName) {
    std::string name(record.hfsName().substr(0, kHfsNameLimit));
    if (record.coding() == ForkCoding::NamedStreams && IsNamedByDisk(record))
        name = CutTo(WideToMacName(diskName), kHfsNameLimit);
    std::replace(name.begin(), name.end(), ':', '_');
    return name.empty() ? "_" : name;
}

std::u16string HfsPlusNameOf(const ProjectRecord& record, const std::u16string& diskName) {
    std::u16string name =
        IsNamedByDisk(record)
            ? WideToHfsPlusName(WithoutForbidden(diskName, u":"))
            : AnsiToHfsPlusName(ReplaceChars(record.hfsName(), kMacForbiddenChars));
    return name.empty() ? u"_" : name;
}

}  // namespace

void AssignNames(std::vector<DiscItem>& items, const std::vector<std::u16string>& diskNames,
                 CompileMode mode) {
    IsoNames isoNames;
    std::set<std::u16string> jolietNames;
    std::set<std::string, HfsLess> hfsNames;
    std::set<std::u16string, HfsPlusLess> hfsPlusNames;
    for (std::size_t i = 0; i < items.size(); ++i) {
        DiscItem& item = items[i];
        const std::string wholeName = WideToUtf8(diskNames[i]);
        if (item.inIso) {
            item.isoName = isoNames.take(IsoPartsOf(item, diskNames[i]));
            item.jolietName = TakeUnique(jolietNames, JolietNameOf(item, diskNames[i]), wholeName,
                                         kJolietNameLimit);
        }
        if (item.inHfs && IsHfsPlusMode(mode))
            item.hfsPlusName = TakeUnique(hfsPlusNames, HfsPlusNameOf(*item.record, diskNames[i]),
                                          wholeName, kHfsPlusNameMax);
        else if (item.inHfs)
            item.hfsName = TakeUnique(hfsNames, HfsNameOf(*item.record, diskNames[i]), wholeName,
                                      kHfsNameLimit);
    }
}

}  // namespace vellmark
