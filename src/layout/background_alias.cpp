#include "layout/background_alias.hpp"

#include <algorithm>

#include "containers/hfs_plus_name.hpp"
#include "containers/names.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kVolumeNameBytes = 27;
constexpr std::size_t kFileNameBytes = 63;
constexpr std::size_t kFileNamePlace = 50;
constexpr std::size_t kSizePlace = 4;
constexpr int kVersion = 2;
constexpr int kEjectable = 5;
constexpr std::uint32_t kVolumeAttributes = 0x902;

enum AliasTag : int {
    kFolderName = 0,
    kFolderNumbers = 1,
    kCarbonPath = 2,
    kWideFileName = 14,
    kWideVolumeName = 15,
    kPosixPath = 18,
    kMountPoint = 19,
    kEnd = 0xFFFF
};

class AliasWriting {
  public:
    void number16(int value) {
        bytes_.push_back(static_cast<std::uint8_t>(value >> 8));
        bytes_.push_back(static_cast<std::uint8_t>(value));
    }
    void number32(std::uint32_t value) {
        number16(static_cast<int>(value >> 16));
        number16(static_cast<int>(value & 0xFFFF));
    }
    void text(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }
    void zeros(std::size_t count) { bytes_.resize(bytes_.size() + count); }
    /// A length, the name, and zeros up to the size of the field.
    void name(std::string_view name, std::size_t most) {
        name = name.substr(0, most);
        bytes_.push_back(static_cast<std::uint8_t>(name.size()));
        text(name);
        zeros(most - name.size());
    }
    void tagged(int tag, std::string_view data) {
        number16(tag);
        number16(static_cast<int>(data.size()));
        text(data);
        zeros(data.size() % 2);
    }
    [[nodiscard]] std::vector<std::uint8_t> finished() {
        const auto size = static_cast<int>(bytes_.size());
        bytes_[kSizePlace] = static_cast<std::uint8_t>(size >> 8);
        bytes_[kSizePlace + 1] = static_cast<std::uint8_t>(size);
        return std::move(bytes_);
    }

  private:
    std::vector<std::uint8_t> bytes_;
};

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
    AliasWriting out;
    out.number32(0);
    out.number16(0);  // the size, filled in at the end
    out.number16(kVersion);
    out.number16(0);  // a file
    out.name(volume, kVolumeNameBytes);
    out.number32(file.now);
    out.text(file.isHfsPlus ? "H+" : "BD");
    out.number16(kEjectable);
    out.number32(file.folderNumber);
    out.name(name, kFileNameBytes);
    out.number32(0);
    out.number32(file.created);
    out.text({file.signature.data(), file.signature.size()});
    out.number16(-1);
    out.number16(-1);
    out.number32(kVolumeAttributes);
    out.zeros(12);
    out.tagged(kFolderName, file.folder);
    out.tagged(kFolderNumbers, BigEndianNumber(file.folderNumber));
    out.tagged(kCarbonPath, volume + ":" + file.folder + ":" + name);
    out.tagged(kWideFileName, WideName(file.name));
    out.tagged(kWideVolumeName, WideName(file.volume));
    out.tagged(kPosixPath, "/" + file.folder + "/" + file.name);
    out.tagged(kMountPoint, "/Volumes/" + file.volume);
    out.tagged(kEnd, {});
    return out.finished();
}

std::string FileOfAlias(std::span<const std::uint8_t> alias) {
    if (alias.size() <= kFileNamePlace)
        return {};
    const auto name = alias.subspan(kFileNamePlace + 1);
    const std::size_t length =
        std::min<std::size_t>({alias[kFileNamePlace], name.size(), kFileNameBytes});
    return WideToUtf8(MacNameToWide({reinterpret_cast<const char*>(name.data()), length}));
}

}  // namespace vellmark
