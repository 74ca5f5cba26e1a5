// The records of a project file: 756 bytes each, little-endian, no padding. Record 0 is the header,
// which also stands for the root folder (number 1); every other record is one file or folder.
//
// Strings are Windows-1252, zero-terminated and zero-filled; HFS names and the HFS label are
// MacRoman in an HFS project. Getters never read beyond their field, whatever a file holds; setters
// cut at what the field takes, so whoever sets a name checks its length first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "support/endian.hpp"
#include "support/mac_dates.hpp"

namespace vellmark {

inline constexpr std::size_t kProjectRecordBytes = 756;

/// Number of the root folder.
inline constexpr std::int32_t kRootFolder = 1;
/// The folder `.!Background` has this number; 2 to 16 are never given.
inline constexpr std::int32_t kBackgroundFolder = 17;
inline constexpr std::string_view kBackgroundFolderName = ".!Background";

/// Access path of a folder that exists in the project only.
inline constexpr std::string_view kProjectOnlyPath = "..";
/// Stands for a name whose truncation was refused.
inline constexpr std::string_view kRefusedName = "~";

/// Longest texts of the fields, in bytes.
inline constexpr std::size_t kAccessPathLimit = 255;
inline constexpr std::size_t kSourceNameLimit = 243;

/// The three views of a project; Hybrid is what is in either of the other two.
enum class ProjectView : int { Iso = 0, Hybrid = 1, Hfs = 2 };

/// How the two forks of a file lie on the PC.
enum class ForkCoding : int {
    None = 0,
    NamedStreams = 1,
    AppleFiles = 2,
    MacBinary = 3,
    BinHex = 4
};

/// The text of a fixed field, up to its terminator or its end.
template <std::size_t N>
[[nodiscard]] std::string_view FieldText(const char (&field)[N]) {
    return {field, ::strnlen(field, N)};
}

/// Fills a fixed field; at least `reserve` bytes at its end stay zero.
template <std::size_t N>
void SetFieldText(char (&field)[N], std::string_view text, std::size_t reserve = 1) {
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), text.size() < N - reserve ? text.size() : N - reserve);
}

/// One file or folder.
struct ProjectRecord {
    sle32 parent;             ///< number of the folder that holds it; 1 is root
    sle32 number;             ///< folders positive, files negative
    le32 zero8;               ///< 0
    std::uint8_t flags[4]{};  ///< see the accessors
    le32 dataSize;            ///< data fork, bytes; in a folder, folders directly in it
    le32 resourceSize;        ///< resource fork, bytes; in a folder, files directly in it
    le32 sourceSize;          ///< the PC file with its container, bytes; 0 in a folder
    std::uint8_t zero28[36]{};
    le32 created;   ///< seconds since 1904, local time; never later than `modified`
    le32 modified;  ///< seconds since 1904, local time
    std::uint8_t zero72[30]{};
    char signature_[8]{};  ///< file type, then creator, MacRoman; zeros in a folder
    std::uint8_t zero110[2]{};
    char accessPath_[256]{};  ///< folder on the PC, `/` at its end, or `..`
    char sourceName_[244]{};  ///< name on the PC, or its 8.3 name (see shortNameFlag)
    char shortName_[12]{};    ///< 8.3 name; no terminator when 12 long
    char isoName_[68]{};      ///< name in the ISO and Joliet views; `~` when refused
    char hfsName_[64]{};      ///< name in the HFS view; `~` when refused

    [[nodiscard]] bool isFolder() const { return number > 0; }

    /// 0 not in the view, 1 included, -1 included and marked missing.
    [[nodiscard]] int isoInclusion() const { return inclusionOf(flags[0]); }
    [[nodiscard]] int hfsInclusion() const { return inclusionOf(flags[1]); }
    void setIsoInclusion(int value) { setBits(0, 0, 2, value); }
    void setHfsInclusion(int value) { setBits(1, 0, 2, value); }
    [[nodiscard]] bool isIn(ProjectView view) const;

    /// The HFS name is a working copy: the real one is the UTF-16 name on the disk.
    [[nodiscard]] bool unicodeOnDisk() const { return bits(1, 2, 1) != 0; }
    void setUnicodeOnDisk(bool on) { setBits(1, 2, 1, on); }
    [[nodiscard]] bool appleDouble() const { return bits(1, 3, 1) != 0; }
    void setAppleDouble(bool on) { setBits(1, 3, 1, on); }
    [[nodiscard]] bool appleSingle() const { return bits(1, 4, 1) != 0; }
    void setAppleSingle(bool on) { setBits(1, 4, 1, on); }
    [[nodiscard]] bool hiddenExtension() const { return bits(1, 5, 1) != 0; }
    void setHiddenExtension(bool on) { setBits(1, 5, 1, on); }
    [[nodiscard]] bool macBinary() const { return bits(2, 0, 1) != 0; }
    void setMacBinary(bool on) { setBits(2, 0, 1, on); }
    [[nodiscard]] bool hiddenInIso() const { return bits(2, 1, 2) != 0; }
    void setHiddenInIso(bool on) { setBits(2, 1, 2, on); }
    [[nodiscard]] bool hiddenInHfs() const { return bits(2, 3, 2) != 0; }
    void setHiddenInHfs(bool on) { setBits(2, 3, 2, on); }
    /// On a folder of the PC: look at it again in refreshes.
    [[nodiscard]] bool refresh() const { return bits(2, 5, 1) != 0; }
    void setRefresh(bool on) { setBits(2, 5, 1, on); }
    [[nodiscard]] bool isoNameLocked() const { return bits(2, 6, 1) != 0; }
    void setIsoNameLocked(bool on) { setBits(2, 6, 1, on); }
    [[nodiscard]] bool hfsNameLocked() const { return bits(2, 7, 1) != 0; }
    void setHfsNameLocked(bool on) { setBits(2, 7, 1, on); }
    [[nodiscard]] bool binHex() const { return bits(3, 0, 1) != 0; }
    void setBinHex(bool on) { setBits(3, 0, 1, on); }
    [[nodiscard]] bool customIcon() const { return bits(3, 2, 1) != 0; }
    void setCustomIcon(bool on) { setBits(3, 2, 1, on); }
    /// The source name is the 8.3 name, as Windows-1252 lacks a character of the real one.
    [[nodiscard]] bool shortNameFlag() const { return bits(3, 3, 1) != 0; }
    void setShortNameFlag(bool on) { setBits(3, 3, 1, on); }
    [[nodiscard]] ForkCoding coding() const { return static_cast<ForkCoding>(bits(3, 4, 4)); }
    void setCoding(ForkCoding coding) { setBits(3, 4, 4, static_cast<int>(coding)); }

    [[nodiscard]] std::string_view signature() const { return FieldText(signature_); }
    [[nodiscard]] std::string_view accessPath() const { return FieldText(accessPath_); }
    [[nodiscard]] std::string_view sourceName() const { return FieldText(sourceName_); }
    [[nodiscard]] std::string_view shortName() const { return FieldText(shortName_); }
    [[nodiscard]] std::string_view isoName() const { return FieldText(isoName_); }
    [[nodiscard]] std::string_view hfsName() const { return FieldText(hfsName_); }
    void setSignature(std::string_view text) { SetFieldText(signature_, text, 0); }
    void setAccessPath(std::string_view text) { SetFieldText(accessPath_, text); }
    void setSourceName(std::string_view text) { SetFieldText(sourceName_, text); }
    void setShortName(std::string_view text) { SetFieldText(shortName_, text, 0); }
    void setIsoName(std::string_view text) { SetFieldText(isoName_, text); }
    void setHfsName(std::string_view text) { SetFieldText(hfsName_, text); }

  private:
    // Two bits, signed: 3 is -1. The value 2 is never written and reads as missing too.
    [[nodiscard]] static int inclusionOf(std::uint8_t byte) {
        return (byte & 3) > 1 ? -1 : byte & 3;
    }
    [[nodiscard]] int bits(int byte, int shift, int width) const {
        return (flags[byte] >> shift) & ((1 << width) - 1);
    }
    void setBits(int byte, int shift, int width, int value) {
        const int mask = ((1 << width) - 1) << shift;
        flags[byte] = static_cast<std::uint8_t>((flags[byte] & ~mask) | ((value << shift) & mask));
    }
};

/// The project as a whole. The eight texts of the ISO descriptor are empty until they are filled
/// in; an empty System identifier means that none of the others is used either.
struct ProjectHeader {
    char magic[3]{};   ///< "VLK"
    char version = 0;  ///< 'Z'
    sle32 rootNumber;  ///< 1
    sle32 lastFolder;  ///< last folder number given; 17 in a new project
    std::uint8_t flags[4]{};
    le32 rootFolders;  ///< folders directly in root
    le32 rootFiles;    ///< files directly in root
    le32 hfsRecords;   ///< records in the HFS view, as of the last save; 0 in ISO+ projects
    le32 isoRecords;   ///< records in the ISO view, as of the last save; 0 in ISO+ projects
    char system[32]{};
    char volumeSet[128]{};
    char publisher[128]{};
    char dataPreparer[128]{};
    char application[128]{};
    char copyrightFile[12]{};
    char abstractFile[12]{};
    char bibliographicFile[12]{};
    sle32 lastFile;     ///< last file number given, as a positive count
    le32 totalSectors;  ///< size of the project in sectors of 2048 bytes, low half
    le32 zero620;       ///< high half, always 0
    char isoLabel_[68]{};
    char hfsLabel_[64]{};

    [[nodiscard]] bool isHfsPlus() const { return (flags[1] & 3) != 0; }
    void setHfsPlus(bool on) { setBit(1, 3, 1, on); }
    /// Open the window of the root folder when the volume is mounted.
    [[nodiscard]] bool openRoot() const { return (flags[2] & 0x01) != 0; }
    void setOpenRoot(bool on) { setBit(2, 0x01, 0x01, on); }
    [[nodiscard]] bool rebuildBeforeCompile() const { return (flags[2] & 0x20) != 0; }
    void setRebuildBeforeCompile(bool on) { setBit(2, 0x20, 0x20, on); }
    /// The volume has an icon of its own.
    [[nodiscard]] bool customIcon() const { return (flags[3] & 0x04) != 0; }
    void setCustomIcon(bool on) { setBit(3, 0x04, 0x04, on); }

    [[nodiscard]] std::string_view isoLabel() const { return FieldText(isoLabel_); }
    [[nodiscard]] std::string_view hfsLabel() const { return FieldText(hfsLabel_); }
    void setIsoLabel(std::string_view text) { SetFieldText(isoLabel_, text); }
    void setHfsLabel(std::string_view text) { SetFieldText(hfsLabel_, text); }

  private:
    void setBit(int byte, int mask, int bit, bool on) {
        flags[byte] = static_cast<std::uint8_t>((flags[byte] & ~mask) | (on ? bit : 0));
    }
};

static_assert(sizeof(ProjectRecord) == kProjectRecordBytes && alignof(ProjectRecord) == 1);
static_assert(offsetof(ProjectRecord, flags) == 12);
static_assert(offsetof(ProjectRecord, dataSize) == 16);
static_assert(offsetof(ProjectRecord, created) == 64);
static_assert(offsetof(ProjectRecord, signature_) == 102);
static_assert(offsetof(ProjectRecord, accessPath_) == 112);
static_assert(offsetof(ProjectRecord, sourceName_) == 368);
static_assert(offsetof(ProjectRecord, shortName_) == 612);
static_assert(offsetof(ProjectRecord, isoName_) == 624);
static_assert(offsetof(ProjectRecord, hfsName_) == 692);

static_assert(sizeof(ProjectHeader) == kProjectRecordBytes && alignof(ProjectHeader) == 1);
static_assert(offsetof(ProjectHeader, lastFolder) == 8);
static_assert(offsetof(ProjectHeader, hfsRecords) == 24);
static_assert(offsetof(ProjectHeader, system) == 32);
static_assert(offsetof(ProjectHeader, volumeSet) == 64);
static_assert(offsetof(ProjectHeader, application) == 448);
static_assert(offsetof(ProjectHeader, copyrightFile) == 576);
static_assert(offsetof(ProjectHeader, lastFile) == 612);
static_assert(offsetof(ProjectHeader, totalSectors) == 616);
static_assert(offsetof(ProjectHeader, isoLabel_) == 624);
static_assert(offsetof(ProjectHeader, hfsLabel_) == 692);

}  // namespace vellmark
