#include "compiler/item_forks.hpp"

#include "containers/apple_single.hpp"
#include "containers/pc_name.hpp"
#include "project/source_coding.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "transfer/import_source.hpp"
#include "volume/hfs_structures.hpp"

namespace vellmark {

namespace {

/// What containers agree on; the low byte has the colour and what the Finder keeps for itself.
constexpr std::uint16_t kKeptFinderFlags = 0xFF00;

/// What decoded files may take between planning and copying: two open files each, and room where
/// temporary files lie, which can be memory.
constexpr std::size_t kMostKept = 128;
constexpr std::uint64_t kMostKeptBytes = std::uint64_t{64} << 20;

Reason ProblemOfCompanion(const std::string& path) {
    const std::string companion = CompanionPath(path);
    if (PcFactsOf(companion).kind == PcKind::File)
        return {};
    return Reason(Sentence::kCompanionGone, Printable(companion.substr(companion.rfind('/') + 1)));
}

std::uint16_t FlagsOfRecord(const ProjectRecord& record) {
    std::uint16_t flags = record.hiddenInHfs() ? kFinderInvisible : std::uint16_t{0};
    if (record.coding() == ForkCoding::AppleFiles && record.customIcon())
        flags |= kFinderCustomIcon;
    return flags;
}

}  // namespace

ForkPlanner::Result ForkPlanner::measure(DiscItem& item, const std::string& path,
                                         std::uint32_t fileSize) {
    item.source = ImportClassOf(*item.record);
    item.finderFlags = FlagsOfRecord(*item.record);
    item.run(RunKind::File).sizeBytes = fileSize;
    if (item.source == ImportClass::Plain || !(item.inHfs || plan_.appleExtension))
        return Result::Planned;
    if (plan_.appleExtension && item.source == ImportClass::NamedStreams) {
        leaveOut(path, Sentence::kStreamsInIsoPlus);
        return Result::LeftOut;
    }
    if (item.source == ImportClass::AppleDouble)
        if (const Reason problem = ProblemOfCompanion(path))
            return withoutForks(item, path, problem, false);
    if (item.source == ImportClass::BinHex)
        context_.progress.text(context_.messages.text(kTextDecodingBinHex));
    PcFile file(path, PcFile::Mode::Read);
    if (!file.isOpen()) {
        context_.messages.showMessage(
            Reason(Sentence::kSourceUnreadable, Printable(path), SystemError{file.error()}));
        return Result::Refused;
    }
    const auto opened = std::make_shared<ImportSource>();
    ImportSource& forks = *opened;
    const Reason problem =
        forks.open(std::move(file), item.source, false, temporary_, context_.progress);
    if (forks.stopped())
        return Result::Stopped;
    if (problem || forks.damage())
        return withoutForks(item, path, problem ? problem : forks.damage(), forks.isContainer());
    if (item.source == ImportClass::NamedStreams && item.record->resourceSize > 0 &&
        forks.resource().size() == 0)
        leaveOut(path, Sentence::kStreamGone);
    if (item.source == ImportClass::MacBinary || item.source == ImportClass::BinHex)
        item.containerName = ContainerMacName(forks.info().name);
    item.finderFlags |= static_cast<std::uint16_t>(forks.info().finder.flags & kKeptFinderFlags);
    // A project keeps no creation date behind the modification date; a volume does. Of the
    // containers MacBinary alone brings dates.
    if (item.source == ImportClass::MacBinary && item.record->created == item.record->modified &&
        forks.info().created > item.record->created)
        item.created = forks.info().created;
    item.run(RunKind::Resource).sizeBytes = static_cast<std::uint32_t>(forks.resource().size());
    if (!HoldsBothForks(item.source))
        return Result::Planned;
    const auto dataSize = static_cast<std::uint32_t>(forks.data().size());
    item.dataIsFile = plan_.appleExtension;
    if (!item.dataIsFile && !item.inIso)
        item.run(RunKind::File).sizeBytes = 0;
    item.run(item.dataIsFile ? RunKind::File : RunKind::Data).sizeBytes = dataSize;
    if (item.source == ImportClass::BinHex)
        keep(item, opened);
    return Result::Planned;
}

void ForkPlanner::keep(DiscItem& item, std::shared_ptr<ImportSource> forks) {
    if (kept_ == kMostKept || keptBytes_ + forks->sizeBytes() > kMostKeptBytes)
        return;
    ++kept_;
    keptBytes_ += forks->sizeBytes();
    item.decoded = std::move(forks);
}

ForkPlanner::Result ForkPlanner::withoutForks(DiscItem& item, const std::string& path,
                                              const Reason& problem, bool isContainer) {
    const bool isOnPcAlone = isContainer && item.inIso && !plan_.appleExtension;
    leaveOut(path, Reason(isOnPcAlone                    ? Sentence::kInIsoViewAlone
                          : !HoldsBothForks(item.source) ? Sentence::kWithoutResourceFork
                                                         : Sentence::kInImageAsPlain,
                          problem));
    item.source = ImportClass::Plain;
    item.inHfs = item.inHfs && !isOnPcAlone;
    return Result::Planned;
}

void ForkPlanner::leaveOut(const std::string& path, const Reason& reason) {
    plan_.leftOut.emplace_back(Printable(path), reason);
}

}  // namespace vellmark
