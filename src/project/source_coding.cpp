#include "project/source_coding.hpp"

#include <algorithm>

#include "containers/apple_single.hpp"
#include "containers/bin_hex.hpp"
#include "containers/mac_binary.hpp"
#include "containers/named_streams.hpp"
#include "containers/pc_name.hpp"
#include "containers/short_name.hpp"
#include "project/sibling_names.hpp"
#include "project/view_names.hpp"
#include "support/encoding.hpp"
#include "support/mac_dates.hpp"
#include "support/pc_file.hpp"
#include "support/sentences.hpp"
#include "support/watched_source.hpp"
#include "transfer/import_name.hpp"
#include "transfer/import_source.hpp"

namespace vellmark {

namespace {

/// Where the marks of all formats stand.
constexpr std::size_t kHeadBytes = 128;

/// A file whose first bytes are read once, however many formats are looked for.
class HeadSource final : public ByteSource {
  public:
    HeadSource(ByteSource& file, std::uint64_t sizeBytes) : file_(file), size_(sizeBytes) {
        headBytes_ = file_.readAt(0, head_);
    }
    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
        // A short head is the whole file.
        if (headBytes_ == kHeadBytes && offset + out.size() > headBytes_)
            return file_.readAt(offset, out);
        if (offset >= headBytes_)
            return 0;
        const std::size_t count =
            std::min(out.size(), headBytes_ - static_cast<std::size_t>(offset));
        std::copy_n(head_.begin() + static_cast<std::ptrdiff_t>(offset), count, out.begin());
        return count;
    }

  private:
    ByteSource& file_;
    std::uint64_t size_;
    std::array<std::uint8_t, kHeadBytes> head_{};
    std::size_t headBytes_ = 0;
};

/// For a decoding that only looks whether all is there.
class NowhereSink final : public ByteSink {
  public:
    [[nodiscard]] bool writeAt(std::uint64_t, std::span<const std::uint8_t>) override {
        return true;
    }
};

// What is found later takes the place of what was found before, but for the marks of what there is.
void Take(SourceCoding& found, ForkCoding coding, const MacFileInfo& info) {
    found.coding = coding;
    found.dataSize = info.dataLength;
    found.resourceSize = info.resourceLength;
    found.signature = info.finder.signature;
    found.hfsName = info.name;
    found.created = info.created;
    found.modified = info.modified;
    found.isInvisible = (info.finder.flags & kFinderInvisible) != 0;
    found.hasCustomIcon = false;
    found.hidesExtension = false;
    found.damage = {};
}

// The two Apple formats store flags that the other ones leave to whoever opens the file, and may
// keep no type and creator.
void TakeApple(SourceCoding& found, const MacContainer& container) {
    Take(found, ForkCoding::AppleFiles, container.info);
    found.hasCustomIcon = (container.info.finder.flags & kFinderCustomIcon) != 0;
    found.hidesExtension = (container.info.finder.flags & kFinderHidesExtension) != 0;
    if (container.info.finder.signature == std::array<char, 8>{})
        found.signature.reset();
}

// A container whose forks cannot be taken stores nothing that can be believed.
void TakeDamaged(SourceCoding& found, ForkCoding coding, ContainerFault fault,
                 std::uint32_t sizeBytes) {
    if (IsContainerStill(fault)) {
        Take(found, coding, {});
        found.dataSize = sizeBytes;
        found.signature.reset();
    }
    found.damage = FaultProblem(fault);
}

void LookForCompanion(SourceCoding& found, const std::string& path, std::uint32_t dataSize) {
    const std::string companionPath = CompanionPath(path);
    // A companion that is a pipe would be waited for.
    if (PcFactsOf(companionPath).kind != PcKind::File)
        return;
    const std::string shown = Printable(companionPath.substr(companionPath.rfind('/') + 1));
    PcFile companion(companionPath, PcFile::Mode::Read);
    if (!companion.isOpen()) {
        // Its forks would be lost in silence.
        found.isAppleDouble = true;
        found.coding = ForkCoding::AppleFiles;
        found.damage =
            Reason(Sentence::kCompanionUnreadable, shown, SystemError{companion.error()});
        return;
    }
    if (!IsAppleDoubleFile(companion))
        return;
    found.isAppleDouble = true;
    const MacContainer container = ReadDoubleResource(companion);
    TakeApple(found, container);
    found.dataSize = dataSize;
    if (container.fault == ContainerFault::None)
        return;
    found.resourceSize = 0;
    found.damage = Reason(Sentence::kCompanionDamaged, shown, FaultProblem(container.fault));
}

void LookAtAppleSingle(SourceCoding& found, ByteSource& file, std::uint32_t sizeBytes) {
    const MacContainer container = ReadSingleForks(file);
    found.isAppleSingle = IsContainerStill(container.fault);
    if (container.fault == ContainerFault::None)
        TakeApple(found, container);
    else
        TakeDamaged(found, ForkCoding::AppleFiles, container.fault, sizeBytes);
}

void LookAtMacBinary(SourceCoding& found, ByteSource& file) {
    const MacContainer container = ReadMacBinary(file);
    // A header whose lengths go beyond the file makes it a plain one.
    if (container.fault != ContainerFault::None) {
        found.damage = FaultProblem(container.fault);
        return;
    }
    found.isMacBinary = true;
    Take(found, ForkCoding::MacBinary, container.info);
    found.isCustomIconFile = IsCustomIconFile(container.info);
}

void LookAtBinHex(SourceCoding& found, ByteSource& file, std::uint32_t sizeBytes,
                  Progress& progress) {
    WatchedSource text(file, progress);
    NowhereSink nowhere;
    const BinHexOutcome outcome = DecodeBinHex(text, nowhere);
    found.isStopped = text.stopped();
    found.isBinHex = IsContainerStill(outcome.fault);
    if (outcome.fault != ContainerFault::None) {
        TakeDamaged(found, ForkCoding::BinHex, outcome.fault, sizeBytes);
        return;
    }
    found.isCustomIconFile = false;
    Take(found, ForkCoding::BinHex, outcome.info);
}

// What a server wrote for a file that never was on a Macintosh, and has no second fork, is nothing.
void LookForStreams(SourceCoding& found, const std::string& path) {
    if (!HasNamedStreams(path))
        return;
    MemoryBytes resource;
    if (const int error = ReadResourceStream(path, resource); error != 0) {
        found.coding = ForkCoding::NamedStreams;
        found.damage = Reason(Sentence::kStreamUnreadable, SystemError{error});
    }
    const std::optional<FinderInfo> finder = ReadAfpInfo(path);
    const bool hasSignature = finder && finder->signature != std::array<char, 8>{};
    if (resource.size() == 0 && !hasSignature)
        return;
    found.coding = ForkCoding::NamedStreams;
    found.resourceSize = static_cast<std::uint32_t>(resource.size());
    if (hasSignature)
        found.signature = finder->signature;
}

// The name that a file brings, in the form of the project, and whether the disk has more of it than
// the record holds.
void SetBroughtName(ProjectRecord& record, const SourceCoding& source, std::string_view pcName,
                    bool isHfsPlus) {
    const std::size_t limit = isHfsPlus ? kHfsPlusNameLimit : kHfsNameLimit;
    const std::string macName = source.coding == ForkCoding::NamedStreams
                                    ? std::string{}
                                    : ContainerMacName(source.hfsName);
    if (macName.empty()) {
        record.setHfsName(
            CutName(WholeHfsName(Utf8ToWide(pcName), record.sourceName(), isHfsPlus), limit));
        return;
    }
    const NarrowName narrow =
        isHfsPlus ? MacNameInHfsPlusProject(macName) : NarrowName{macName, true};
    record.setUnicodeOnDisk(!narrow.isExact || (isHfsPlus && narrow.bytes.size() > limit));
    record.setHfsName(CutName(narrow.bytes, limit));
}

bool BringsName(ForkCoding coding) {
    return coding == ForkCoding::NamedStreams || coding == ForkCoding::MacBinary ||
           coding == ForkCoding::BinHex;
}

}  // namespace

SourceCoding FindSourceCoding(const std::string& path, std::uint64_t sizeBytes, bool companion,
                              Progress& progress) {
    SourceCoding found;
    PcFile file(path, PcFile::Mode::Read);
    HeadSource head(file, sizeBytes);
    if (file.error() != 0) {
        found.refusal = SystemError{file.error()};
        return found;
    }
    found.dataSize = static_cast<std::uint32_t>(sizeBytes);
    if (companion)
        LookForCompanion(found, path, found.dataSize);
    switch (ContainerOf(head)) {
        case ContainerKind::AppleSingle:
            LookAtAppleSingle(found, head, static_cast<std::uint32_t>(sizeBytes));
            break;
        case ContainerKind::MacBinary:
            LookAtMacBinary(found, head);
            break;
        case ContainerKind::BinHex:
            LookAtBinHex(found, head, static_cast<std::uint32_t>(sizeBytes), progress);
            break;
        default:
            break;
    }
    if (found.coding == ForkCoding::None)
        LookForStreams(found, path);
    return found;
}

void FillFileRecord(ProjectRecord& record, const SourceCoding& source, const PcItem& item,
                    bool isHfsPlus, const SignatureLookup& signatureOf, const Clock& clock) {
    record.setCoding(source.coding);
    record.setAppleDouble(source.isAppleDouble);
    record.setAppleSingle(source.isAppleSingle);
    record.setMacBinary(source.isMacBinary);
    record.setBinHex(source.isBinHex);
    record.dataSize = source.dataSize;
    record.resourceSize = source.resourceSize;
    record.sourceSize = static_cast<std::uint32_t>(item.facts.sizeBytes);
    record.setSignature(source.signature
                            ? std::string(source.signature->data(), source.signature->size())
                        : signatureOf ? signatureOf(record.sourceName())
                                      : std::string(kDefaultSignature));

    const MacSeconds onDisk = ToMacLocal(item.facts.modified, clock);
    record.modified = source.modified != 0 ? source.modified : onDisk;
    record.created =
        std::min<MacSeconds>(source.created != 0 ? source.created : onDisk, record.modified);

    record.setCustomIcon(source.hasCustomIcon);
    if (source.hidesExtension)
        record.setHiddenExtension(true);
    if (source.isInvisible)
        record.setHiddenInHfs(true);
    if (record.hfsNameLocked())
        return;
    record.setUnicodeOnDisk(source.coding == ForkCoding::NamedStreams && isHfsPlus);
    if (BringsName(source.coding))
        SetBroughtName(record, source, item.name, isHfsPlus);
}

std::string ContainerNameIn(const SourceCoding& source, bool isHfsPlus) {
    if (source.coding != ForkCoding::MacBinary && source.coding != ForkCoding::BinHex)
        return {};
    const std::string name = ContainerMacName(source.hfsName);
    return isHfsPlus ? MacNameInHfsPlusProject(name).bytes : name;
}

ImportClass ImportClassOf(const ProjectRecord& record) {
    switch (record.coding()) {
        case ForkCoding::NamedStreams:
            return ImportClass::NamedStreams;
        case ForkCoding::AppleFiles:
            return record.appleSingle() ? ImportClass::AppleSingle : ImportClass::AppleDouble;
        case ForkCoding::MacBinary:
            return ImportClass::MacBinary;
        case ForkCoding::BinHex:
            return ImportClass::BinHex;
        case ForkCoding::None:
            break;
    }
    return ImportClass::Plain;
}

}  // namespace vellmark
