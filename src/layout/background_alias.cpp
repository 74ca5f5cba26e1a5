#include "layout/background_alias.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "containers/alias_record.hpp"
#include "containers/hfs_plus_name.hpp"
#include "containers/names.hpp"
#include "support/byte_source.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::uint16_t kEjectable = 5;
constexpr std::uint32_t kVolumeAttributes = 0x902;

// Cut at the end of its place.
template <std::size_t Size>
void PutName(std::string_view name, std::uint8_t& length, std::array<char, Size>& place) {
    name = name.substr(0, place.size());
    length = static_cast<std::uint8_t>(name.size());
    std::copy(name.begin(), name.end(), place.begin());
}

void AppendEntry(std::vector<std::uint8_t>& bytes, AliasTag tag, std::string_view data) {
    AliasEntry entry;
    entry.tag = static_cast<std::uint16_t>(tag);
    entry.length = static_cast<std::uint16_t>(data.size());
    const std::size_t at = bytes.size();
    bytes.resize(at + sizeof entry + data.size() + data.size() % 2);
    std::memcpy(bytes.data() + at, &entry, sizeof entry);
    std::copy(data.begin(), data.end(), bytes.data() + at + sizeof entry);
}

std::string BigEndianNumber(std::uint32_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(value >> shift);
    return bytes;
}

// A count of units, then the units, all big-endian.
std::string WideName(std::string_view utf8) {
    const HfsPlusName name = WideToHfsPlusName(Utf8ToWide(utf8));
    std::string bytes;
    const auto put = [&](std::size_t unit) {
        bytes += static_cast<char>(unit >> 8);
        bytes += static_cast<char>(unit);
    };
    put(name.size());
    for (const char16_t unit : name)
        put(unit);
    return bytes;
}

}  // namespace

std::vector<std::uint8_t> BackgroundAlias(const BackgroundFile& file) {
    const std::string volume = WideToMacName(Utf8ToWide(file.volume));
    const std::string name = WideToMacName(Utf8ToWide(file.name));
    AliasHead head;
    std::vector<std::uint8_t> alias(sizeof head);
    const auto put = [&](AliasTag tag, std::string_view data) { AppendEntry(alias, tag, data); };
    put(AliasTag::ParentName, file.folder);
    put(AliasTag::ParentNumbers, BigEndianNumber(file.folderNumber));
    put(AliasTag::MacPath, volume + ":" + file.folder + ":" + name);
    put(AliasTag::UnicodeTarget, WideName(file.name));
    put(AliasTag::UnicodeVolume, WideName(file.volume));
    put(AliasTag::PosixPath, "/" + file.folder + "/" + file.name);
    put(AliasTag::MountPoint, "/Volumes/" + file.volume);
    put(AliasTag::End, {});
    head.recordSize = static_cast<std::uint16_t>(alias.size());
    head.version = kAliasVersion;
    PutName(volume, head.volumeNameLength, head.volumeName);
    head.volumeCreated = file.now;
    head.volumeSignature = file.isHfsPlus ? std::array{'H', '+'} : std::array{'B', 'D'};
    head.driveType = kEjectable;
    head.parentId = file.folderNumber;
    PutName(name, head.targetNameLength, head.targetName);
    head.targetCreated = file.created;
    std::copy_n(file.signature.begin(), head.type.size(), head.type.begin());
    std::copy_n(file.signature.begin() + head.type.size(), head.creator.size(),
                head.creator.begin());
    head.levelsFrom = kAliasLevelsUnknown;
    head.levelsTo = kAliasLevelsUnknown;
    head.volumeAttributes = kVolumeAttributes;
    std::memcpy(alias.data(), &head, sizeof head);
    return alias;
}

std::string FileOfAlias(std::span<const std::uint8_t> alias) {
    MemoryBytes bytes({alias.begin(), alias.end()});
    const auto record = ReadAliasRecord(bytes);
    return record ? record->targetName : std::string();
}

}  // namespace vellmark
