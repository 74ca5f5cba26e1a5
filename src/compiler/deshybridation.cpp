#include "compiler/deshybridation.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include "IO/raw_image.hpp"
#include "IO/redo_log.hpp"
#include "compiler/hybrid_map.hpp"
#include "compiler/iso_folders.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

/// Descriptor and map entry, and three blocks more, as longer maps have.
constexpr std::size_t kZeroedBytes = 2560;
constexpr std::uint64_t kZeroedSectors = 2;
static_assert(kZeroedBytes <= kZeroedSectors * kIsoSectorBytes);

/// A boot catalog of El Torito, and where a volume descriptor tells it.
constexpr std::uint8_t kBootDescriptorType = 0;
constexpr std::string_view kBootSystem = "EL TORITO SPECIFICATION";
constexpr std::size_t kBootSystemOffset = 7;
constexpr std::size_t kBootCatalogOffset = 71;
constexpr std::size_t kBootEntryBytes = 32;
constexpr std::size_t kBootImageOffset = 8;
constexpr std::uint8_t kBootable = 0x88;
constexpr std::uint32_t kMostDescriptors = 64;

// Whether anything of the ISO 9660 side lies behind a place of the disc.
class IsoReach {
  public:
    // `limit` in bytes of the disc's data.
    IsoReach(ByteSource& disc, const IsoReader& reader, std::uint64_t limit)
        : disc_(disc), reader_(reader), limit_(limit) {}

    [[nodiscard]] PartitionKept judge() {
        for (const IsoTree tree : {IsoTree::Iso, IsoTree::Joliet})
            if (tree == IsoTree::Iso || reader_.hasJoliet())
                if (const PartitionKept kept = judgeTree(tree); kept != PartitionKept::No)
                    return kept;
        return bootReaches() ? PartitionKept::HoldsIsoFiles : PartitionKept::No;
    }

  private:
    [[nodiscard]] bool reaches(const IsoEntry& entry) const {
        return std::any_of(
            entry.extents.begin(), entry.extents.end(), [this](const IsoExtent& extent) {
                return extent.sizeBytes != 0 && extent.offset + extent.sizeBytes > limit_;
            });
    }

    [[nodiscard]] PartitionKept judgeTree(IsoTree tree) {
        bool isBehind = reaches(reader_.root(tree));
        const auto visit = [&](const IsoEntry&, const std::vector<IsoEntry>& entries) {
            isBehind = isBehind || std::any_of(entries.begin(), entries.end(),
                                               [this](const IsoEntry& e) { return reaches(e); });
            return !isBehind;
        };
        const std::string damage = ForEachIsoFolder(reader_, tree, visit);
        return isBehind          ? PartitionKept::HoldsIsoFiles
               : !damage.empty() ? PartitionKept::IsoDamaged
                                 : PartitionKept::No;
    }

    [[nodiscard]] bool bootReaches() {
        for (std::uint32_t i = 0; i < kMostDescriptors; ++i) {
            std::array<std::uint8_t, kIsoSectorBytes> sector;
            if (!disc_.readExactly(std::uint64_t{kIsoFirstDescriptor + i} * kIsoSectorBytes,
                                   sector) ||
                sector[0] == kIsoDescriptorTerminator)
                return false;
            if (sector[0] != kBootDescriptorType ||
                std::memcmp(sector.data() + kBootSystemOffset, kBootSystem.data(),
                            kBootSystem.size()) != 0)
                continue;
            le32 catalog;
            std::memcpy(&catalog, sector.data() + kBootCatalogOffset, sizeof catalog);
            if (catalogReaches(std::uint64_t{catalog} * kIsoSectorBytes))
                return true;
        }
        return false;
    }

    [[nodiscard]] bool catalogReaches(std::uint64_t offset) {
        std::array<std::uint8_t, kIsoSectorBytes> catalog;
        if (offset >= limit_ || !disc_.readExactly(offset, catalog))
            return true;
        for (std::size_t at = kBootEntryBytes; at < catalog.size(); at += kBootEntryBytes) {
            le32 image;
            std::memcpy(&image, catalog.data() + at + kBootImageOffset, sizeof image);
            if (catalog[at] == kBootable && std::uint64_t{image} * kIsoSectorBytes >= limit_)
                return true;
        }
        return false;
    }

    ByteSource& disc_;
    const IsoReader& reader_;
    std::uint64_t limit_;
};

/// A hybrid image that was looked at.
struct HybridDisc {
    DiscForm form;
    PartitionKept kept = PartitionKept::HoldsIsoFiles;
    std::uint64_t cutAt = 0;  ///< bytes of the file; its length when nothing is cut off
};

// The first bytes of the file, in their form, with zeros in place of the map.
std::vector<std::uint8_t> WithoutMap(const std::vector<std::uint8_t>& head, DiscForm form) {
    std::vector<std::uint8_t> cleared = head;
    for (std::uint64_t i = 0; i < kZeroedSectors; ++i) {
        const auto at = static_cast<std::ptrdiff_t>(i * form.sectorBytes);
        const std::size_t bytes =
            i == 0 ? kIsoSectorBytes : kZeroedBytes - std::size_t{kIsoSectorBytes};
        std::fill_n(cleared.begin() + at + form.dataOffset, bytes, std::uint8_t{0});
        if (form.isRaw())
            SetRawChecks(
                std::span(cleared).subspan(static_cast<std::size_t>(at)).first<kRawSectorBytes>(),
                form.kind());
    }
    return cleared;
}

// Nothing where the image is no hybrid; `why` says what it lacks.
std::optional<HybridDisc> Examine(PcFile& file, std::string& why) {
    const DiscForm form = FindDiscForm(file).value_or(DiscForm{});
    RawDataSource raw(file, form);
    ByteSource& disc = form.isRaw() ? static_cast<ByteSource&>(raw) : file;
    const auto partition = FindHfsPartition(disc);
    if (!partition) {
        why = "has no partition map with a Macintosh partition (Apple_HFS) in it.";
        return std::nullopt;
    }
    if (partition->offset >= disc.size() ||
        partition->sizeBytes > disc.size() - partition->offset) {
        why = "is cut short: its Macintosh partition ends behind the end of the file.";
        return std::nullopt;
    }
    // The volume of a disk without an ISO 9660 side would be lost with its map.
    const auto reader = IsoReader::Open(disc);
    if (!reader) {
        why = "has no ISO 9660 side, and would be nothing without its Macintosh partition.";
        return std::nullopt;
    }
    HybridDisc found{form, PartitionKept::HoldsIsoFiles, file.size()};
    if (partition->offset >= kZeroedSectors * kIsoSectorBytes &&
        (!form.isRaw() || partition->offset % kIsoSectorBytes == 0))
        found.kept = IsoReach(disc, *reader, partition->offset).judge();
    if (found.kept == PartitionKept::No)
        found.cutAt = form.isRaw() ? partition->offset / kIsoSectorBytes * kRawSectorBytes
                                   : partition->offset;
    return found;
}

// First the map goes, then the partition: a power cut in between leaves a plain image with
// something behind it that nothing leads to. The other way round it would leave a map that points
// outside the file.
bool Change(PcFile& file, const HybridDisc& disc) {
    std::vector<std::uint8_t> head(
        static_cast<std::size_t>(kZeroedSectors * disc.form.sectorBytes));
    if (!file.readExactly(0, head))
        return false;
    const bool isCleared = file.writeAt(0, WithoutMap(head, disc.form)) && file.flush();
    if (isCleared && (disc.cutAt == file.size() || (file.setSize(disc.cutAt) && file.flush())))
        return true;
    (void)file.writeAt(0, head);
    return false;
}

}  // namespace

DeshybridationOutcome Deshybridate(const std::string& path, Messages& messages) {
    const auto refuse = [&](DeshybridationResult result, const std::string& sentence) {
        messages.showError(fmt::format("{} {}", Printable(path), sentence));
        return DeshybridationOutcome{result};
    };
    const PcKind kind = PcFactsOf(path).kind;
    if (kind == PcKind::Special)
        return refuse(DeshybridationResult::NotOpened,
                      "is a pipe, a socket or a device, not a disc image.");
    if (kind == PcKind::Folder)
        return refuse(DeshybridationResult::NotOpened, "is a folder, not a disc image.");
    PcFile file(path, PcFile::Mode::ReadWrite);
    if (!file.isOpen()) {
        FileOpenError(messages, path, SystemErrorText(file.error()));
        return {DeshybridationResult::NotOpened};
    }
    if (!file.lock())
        return refuse(DeshybridationResult::NotOpened, "is being changed by another process.");
    std::string why;
    const auto disc = Examine(file, why);
    if (!disc)
        return refuse(DeshybridationResult::NoPartition, why);
    if (!Change(file, *disc))
        return refuse(DeshybridationResult::NotWritten,
                      fmt::format("cannot be changed: {}.",
                                  file.error() != 0 ? file.errorText() : "it is cut short"));
    // What was left of a change of the volume is of no use any more.
    RemoveRedoLog(path);
    return {DeshybridationResult::Done, disc->kept, disc->cutAt};
}

}  // namespace vellmark
