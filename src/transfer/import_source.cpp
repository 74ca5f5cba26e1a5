#include "transfer/import_source.hpp"

#include <fmt/core.h>

#include "containers/apple_single.hpp"
#include "containers/bin_hex.hpp"
#include "containers/bundle_bit.hpp"
#include "containers/mac_binary.hpp"
#include "containers/named_streams.hpp"
#include "support/encoding.hpp"
#include "support/watched_source.hpp"

namespace vellmark {

std::string FaultSentence(ContainerFault fault) {
    switch (fault) {
        case ContainerFault::None:
            return {};
        case ContainerFault::NotThisFormat:
            return "The container is not what its beginning says.";
        case ContainerFault::HeaderCut:
            return "The header of the container is cut short.";
        case ContainerFault::HeaderInvalid:
            return "The header of the container has no usable name.";
        case ContainerFault::HeaderChecksum:
            return "The header of the container has a wrong checksum.";
        case ContainerFault::EntryOverlapsHeader:
            return "An entry of the container begins within its header.";
        case ContainerFault::FinderInfoCut:
            return "The Finder's information in the container is cut short.";
        case ContainerFault::DataForkCut:
            return "The data fork in the container is cut short.";
        case ContainerFault::ResourceForkCut:
            return "The resource fork in the container is cut short.";
        case ContainerFault::DataChecksum:
            return "The data fork in the container has a wrong checksum.";
        case ContainerFault::ResourceChecksum:
            return "The resource fork in the container has a wrong checksum.";
        case ContainerFault::ForkTooLong:
            return "A fork in the container is too long.";
        case ContainerFault::SourceFailed:
            return "The container cannot be read whole.";
        case ContainerFault::TargetFailed:
            return "The container cannot be decoded to a temporary file.";
    }
    return {};
}

std::string UnreadableSentence(int error) {
    return fmt::format("It cannot be read: {}.", SystemErrorText(error));
}

std::string ImportSource::open(const std::string& path, ImportClass importClass,
                               bool plainIsResource, std::optional<TemporaryFolder>& temporary,
                               Progress& progress) {
    return open(PcFile(path, PcFile::Mode::Read), importClass, plainIsResource, temporary,
                progress);
}

std::string ImportSource::open(PcFile file, ImportClass importClass, bool plainIsResource,
                               std::optional<TemporaryFolder>& temporary, Progress& progress) {
    file_ = std::move(file);
    class_ = importClass;
    if (!file_.isOpen())
        return UnreadableSentence(file_.error());
    std::string problem =
        openForks(file_.path(), importClass, plainIsResource, temporary, progress);
    if (problem.empty() && HasBundleResource(*resource_))
        container_.info.finder.flags =
            static_cast<std::uint16_t>(container_.info.finder.flags | kFinderHasBundle);
    return problem;
}

std::string ImportSource::openForks(const std::string& path, ImportClass importClass,
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
    }
    return {};
}

void ImportSource::becomePlain(bool plainIsResource) {
    class_ = ImportClass::Plain;
    fault_ = ContainerFault::None;
    damage_.clear();
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
            break;
    }
    return false;
}

// Type and creator alone are taken: the other flags of a server's file are its own.
std::string ImportSource::openStreams(const std::string& path) {
    data_ = &file_;
    resource_ = &stream_;
    if (const std::optional<FinderInfo> finder = ReadAfpInfo(path))
        container_.info.finder.signature = finder->signature;
    const int error = ReadResourceStream(path, stream_);
    return error == 0
               ? std::string{}
               : fmt::format("Its stream AFP_Resource cannot be read: {}.", SystemErrorText(error));
}

std::string ImportSource::openDouble(const std::string& path) {
    const std::string sidecar = SidecarPath(path);
    beside_ = PcFile(sidecar, PcFile::Mode::Read);
    std::string problem =
        beside_.isOpen() ? take(ReadDoubleResource(beside_)) : UnreadableSentence(beside_.error());
    data_ = &file_;
    const std::string name = Printable(sidecar.substr(sidecar.rfind('/') + 1));
    for (std::string* sentence : {&problem, &damage_})
        if (!sentence->empty())
            *sentence = fmt::format("In its companion {}: {}", name, *sentence);
    return problem;
}

std::string ImportSource::openBinHex(std::optional<TemporaryFolder>& temporary,
                                     Progress& progress) {
    if (!temporary)
        temporary.emplace();
    beside_ = PcFile(temporary->path() + "/decoded", PcFile::Mode::CreateTruncate);
    if (!beside_.isOpen())
        return fmt::format("It cannot be decoded to a temporary file: {}.", beside_.errorText());
    WatchedSource text(file_, progress);
    const BinHexOutcome outcome = DecodeBinHex(text, beside_);
    stopped_ = text.stopped();
    fault_ = outcome.fault;
    if (!outcome.usable || outcome.fault == ContainerFault::TargetFailed)
        return FaultSentence(outcome.fault);
    std::string problem = take(ReadMacBinary(beside_));
    container_.info.name = outcome.info.name;
    // What is wrong with the text tells more than what is missing of its result.
    fault_ = outcome.fault;
    if (outcome.fault != ContainerFault::None)
        damage_ = FaultSentence(outcome.fault);
    return problem;
}

std::string ImportSource::take(const MacContainer& container) {
    container_ = container;
    fault_ = container.fault;
    std::string sentence = FaultSentence(container.fault);
    if (!container.usable)
        return sentence;
    damage_ = std::move(sentence);
    return {};
}

}  // namespace vellmark
