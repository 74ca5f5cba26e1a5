#include "transfer/import_source.hpp"

#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "containers/apple_single.hpp"
#include "containers/bin_hex.hpp"
#include "containers/bundle_bit.hpp"
#include "containers/fonts/mac_font_fork.hpp"
#include "containers/fonts/true_type_font.hpp"
#include "containers/fonts/type1_font.hpp"
#include "containers/mac_binary.hpp"
#include "containers/named_streams.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "support/watched_source.hpp"

namespace vellmark {

namespace {

/// Bytes of a name in any volume.
constexpr std::size_t kMostFontFileName = 31;

}  // namespace

Reason FaultProblem(ContainerFault fault) {
    switch (fault) {
        case ContainerFault::None:
            break;
        case ContainerFault::NotThisFormat:
            return Sentence::kContainerNotThisFormat;
        case ContainerFault::HeaderCut:
            return Sentence::kContainerHeaderCut;
        case ContainerFault::HeaderInvalid:
            return Sentence::kContainerHeaderInvalid;
        case ContainerFault::HeaderChecksum:
            return Sentence::kContainerHeaderChecksum;
        case ContainerFault::EntryOverlapsHeader:
            return Sentence::kContainerEntryInHeader;
        case ContainerFault::FinderInfoCut:
            return Sentence::kContainerFinderInfoCut;
        case ContainerFault::DataForkCut:
            return Sentence::kContainerDataForkCut;
        case ContainerFault::ResourceForkCut:
            return Sentence::kContainerResourceForkCut;
        case ContainerFault::DataChecksum:
            return Sentence::kContainerDataChecksum;
        case ContainerFault::ResourceChecksum:
            return Sentence::kContainerResourceChecksum;
        case ContainerFault::ForkTooLong:
            return Sentence::kContainerForkTooLong;
        case ContainerFault::SourceFailed:
            return Sentence::kContainerUnreadable;
        case ContainerFault::TargetFailed:
            return Sentence::kContainerNotDecoded;
    }
    return {};
}

Reason Unreadable(int error) {
    return Reason(Sentence::kUnreadable, SystemError{error});
}

Reason ImportSource::open(const std::string& path, ImportClass importClass, bool plainIsResource,
                          std::optional<TemporaryFolder>& temporary, Progress& progress) {
    return open(PcFile(path, PcFile::Mode::Read), importClass, plainIsResource, temporary,
                progress);
}

Reason ImportSource::open(PcFile file, ImportClass importClass, bool plainIsResource,
                          std::optional<TemporaryFolder>& temporary, Progress& progress) {
    file_ = std::move(file);
    class_ = importClass;
    if (!file_.isOpen())
        return Unreadable(file_.error());
    Reason problem = openForks(file_.path(), importClass, plainIsResource, temporary, progress);
    if (!problem && HasBundleResource(*resource_))
        container_.info.finder.flags =
            static_cast<std::uint16_t>(container_.info.finder.flags | kFinderHasBundle);
    return problem;
}

Reason ImportSource::openForks(const std::string& path, ImportClass importClass,
                               bool plainIsResource, std::optional<TemporaryFolder>& temporary,
                               Progress& progress) {
    switch (importClass) {
        case ImportClass::Plain:
            becomePlain(plainIsResource);
            return {};
        case ImportClass::MacBinary:
            return take(ReadMacBinary(file_));
        case ImportClass::BinHex:
            return openBinHex(temporary, progress);
        case ImportClass::NamedStreams:
            return openStreams(path);
        case ImportClass::AppleSingle:
            return take(ReadSingleForks(file_));
        case ImportClass::AppleDouble:
            return openDouble(path);
        // Those come through `openFont`.
        case ImportClass::PostScriptFont:
        case ImportClass::TrueTypeFont:
            break;
    }
    return {};
}

Reason ImportSource::openFont(PcFile file, ImportClass importClass, std::uint16_t fontId) {
    file_ = std::move(file);
    class_ = importClass;
    const bool isTrueType = importClass == ImportClass::TrueTypeFont;
    const std::string name =
        isTrueType ? FontNameOfTrueType(file_) : FontNameOfType1(ClearTextOfPfb(file_));
    if (name.empty())
        return Sentence::kFontNoName;
    Result<PiecedSource> fork = isTrueType ? SuitcaseOf(file_, name, fontId) : PrinterFontOf(file_);
    if (!fork)
        return fork.error();
    font_ = std::move(*fork);
    resource_ = &font_;
    container_.info.name = name.substr(0, kMostFontFileName);
    const std::string_view signature = isTrueType ? kSuitcaseSignature : kPrinterFontSignature;
    std::copy(signature.begin(), signature.end(), container_.info.finder.signature.begin());
    return {};
}

void ImportSource::becomePlain(bool plainIsResource) {
    class_ = ImportClass::Plain;
    fault_ = ContainerFault::None;
    damage_ = {};
    container_ = {};
    data_ = plainIsResource ? static_cast<ByteSource*>(&container_.data) : &file_;
    resource_ = plainIsResource ? static_cast<ByteSource*>(&file_) : &container_.resource;
}

bool ImportSource::isContainer() const {
    switch (class_) {
        case ImportClass::MacBinary:
            return fault_ == ContainerFault::None;
        case ImportClass::BinHex:
        case ImportClass::AppleSingle:
            return IsContainerStill(fault_);
        case ImportClass::Plain:
        case ImportClass::NamedStreams:
        case ImportClass::AppleDouble:
        case ImportClass::PostScriptFont:
        case ImportClass::TrueTypeFont:
            break;
    }
    return false;
}

// Type and creator alone are taken: the other flags of a server's file are its own.
Reason ImportSource::openStreams(const std::string& path) {
    data_ = &file_;
    resource_ = &stream_;
    if (const std::optional<FinderInfo> finder = ReadAfpInfo(path))
        container_.info.finder.signature = finder->signature;
    const int error = ReadResourceStream(path, stream_);
    return error == 0 ? Reason() : Reason(Sentence::kStreamUnreadable, SystemError{error});
}

Reason ImportSource::openDouble(const std::string& path) {
    const std::string companion = CompanionPath(path);
    beside_ = PcFile(companion, PcFile::Mode::Read);
    Reason problem = beside_.isOpen() ? take(ReadDoubleResource(beside_)) : Reason();
    if (beside_.error() != 0)
        problem = Unreadable(beside_.error());
    data_ = &file_;
    const std::string name = Printable(companion.substr(companion.rfind('/') + 1));
    for (Reason* reason : {&problem, &damage_})
        if (*reason)
            *reason = Reason(Sentence::kInItsCompanion, name, std::move(*reason));
    return problem;
}

Reason ImportSource::openBinHex(std::optional<TemporaryFolder>& temporary, Progress& progress) {
    if (!temporary)
        temporary.emplace();
    const std::string decoded = temporary->path() + "/decoded";
    beside_ = PcFile(decoded, PcFile::Mode::CreateTruncate);
    if (!beside_.isOpen())
        return Reason(Sentence::kNotDecoded, SystemError{beside_.error()});
    // It lives as long as it is open, and the next one is another file.
    ::unlink(decoded.c_str());
    WatchedSource text(file_, progress);
    const BinHexOutcome outcome = DecodeBinHex(text, beside_);
    stopped_ = text.stopped();
    fault_ = outcome.fault;
    if (!outcome.usable || outcome.fault == ContainerFault::TargetFailed)
        return FaultProblem(outcome.fault);
    Reason problem = take(ReadMacBinary(beside_));
    container_.info.name = outcome.info.name;
    // What is wrong with the text says more than what is missing of its result.
    fault_ = outcome.fault;
    if (outcome.fault != ContainerFault::None)
        damage_ = FaultProblem(outcome.fault);
    return problem;
}

Reason ImportSource::take(const MacContainer& container) {
    container_ = container;
    fault_ = container.fault;
    Reason problem = FaultProblem(container.fault);
    if (!container.usable)
        return problem;
    damage_ = std::move(problem);
    return {};
}

}  // namespace vellmark
