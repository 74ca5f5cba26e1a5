#include "containers/alias_record.hpp"

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "containers/names.hpp"
#include "containers/resource_fork.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {
namespace {

constexpr std::string_view kAliasType = "alis";

std::string MacText(std::string_view mac) {
    return WideToUtf8(MacNameToWide(mac));
}

// What is between the names of a path here is a character like others in a Macintosh name.
std::string ShownAliasName(std::string name) {
    std::replace(name.begin(), name.end(), '/', ':');
    return name;
}

// A name with its length in front, cut at the end of its place.
template <std::size_t Size>
std::string NameOf(std::uint8_t length, const std::array<char, Size>& name, bool& lies) {
    lies = lies || length > name.size();
    return ShownAliasName(MacText({name.data(), std::min<std::size_t>(length, name.size())}));
}

std::string UnicodeName(std::span<const std::uint8_t> bytes) {
    std::u16string wide;
    for (std::size_t i = 3; i < bytes.size(); i += 2)
        wide += static_cast<char16_t>(bytes[i - 1] << 8 | bytes[i]);
    // The count is within the entry, which may have more.
    if (bytes.size() >= 2)
        wide.resize(std::min<std::size_t>(wide.size(), bytes[0] << 8U | bytes[1]));
    // The Macintosh keeps it in letters and marks.
    return ShownAliasName(WideToUtf8(ComposeName(wide)));
}

void TakeEntry(AliasRecord& alias, AliasTag tag, const std::vector<std::uint8_t>& bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const auto takeUnicode = [&](std::string& name) {
        // Whole where the other one is cut and has characters replaced.
        if (std::string whole = UnicodeName(bytes); !whole.empty())
            name = std::move(whole);
    };
    switch (tag) {
        case AliasTag::ParentName:
            alias.parentName = ShownAliasName(MacText(text));
            break;
        case AliasTag::MacPath:
            alias.macPath = MacText(text);
            break;
        case AliasTag::UnicodeTarget:
            takeUnicode(alias.targetName);
            break;
        case AliasTag::UnicodeVolume:
            takeUnicode(alias.volumeName);
            break;
        case AliasTag::ParentNumbers:
        case AliasTag::PosixPath:
        case AliasTag::MountPoint:
        case AliasTag::End:
            break;
    }
}

// False when an entry goes beyond the record. One without a last entry ends where it ends.
bool ReadEntries(AliasRecord& alias, ByteSource& record) {
    std::uint64_t at = sizeof(AliasHead);
    for (AliasEntry entry; record.readRecord(at, entry);) {
        const auto tag = static_cast<AliasTag>(std::uint16_t{entry.tag});
        if (tag == AliasTag::End)
            return true;
        std::vector<std::uint8_t> bytes(entry.length);
        if (!record.readExactly(at + sizeof entry, bytes))
            return false;
        TakeEntry(alias, tag, bytes);
        at += sizeof entry + bytes.size();
        at += at % 2;
    }
    return true;
}

}  // namespace

Result<AliasRecord> ReadAliasRecord(ByteSource& record) {
    AliasHead head;
    if (!record.readRecord(0, head))
        return Failed(Sentence::kAliasCut, record.size());
    if (head.version > kAliasVersion)
        return Failed(Sentence::kAliasOtherVersion, std::uint16_t{head.version});
    bool lies = false;
    AliasRecord alias;
    alias.isFolder = head.kind == kAliasOfFolder;
    alias.volumeName = NameOf(head.volumeNameLength, head.volumeName, lies);
    alias.volumeCreated = head.volumeCreated;
    alias.targetName = NameOf(head.targetNameLength, head.targetName, lies);
    alias.parentId = head.parentId;
    alias.targetId = head.targetId;
    if (!ReadEntries(alias, record) || lies)
        alias.problem = Sentence::kAliasLengthsLie;
    return alias;
}

Result<AliasRecord> LoadAliasRecord(ByteSource& fork) {
    const ResourceTree tree = WalkResourceMap(fork, 0);
    const Resource* found = nullptr;
    for (const ResourceType& type : tree.types)
        if (std::string_view(type.letters.data(), type.letters.size()) == kAliasType &&
            !type.resources.empty())
            found = &type.resources.front();
    if (found == nullptr)
        return tree.problem ? Failed(tree.problem) : Failed(Sentence::kNoAlias);
    if (found->length > kMostAliasBytes)
        return Failed(Sentence::kAliasTooLong, found->length, kMostAliasBytes);
    SliceSource record = found->contents(fork);
    Result<AliasRecord> alias = ReadAliasRecord(record);
    if (alias && !found->isWhole)
        alias->problem = Sentence::kAliasLengthsLie;
    return alias;
}

}  // namespace vellmark
