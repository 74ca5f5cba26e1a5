// The disk image of a session.
#include "session/session.hpp"
#include "support/pc_folder.hpp"
#include "support/targets.hpp"
#include "volume/new_volume.hpp"

namespace vellmark {

namespace {

constexpr int kTextNewPartition = 1356;
constexpr int kTextSavePartition = 1358;

}  // namespace

bool Session::openPartition(const std::string& path) {
    documents_.partition = PartitionDocument::Open(path, readingPorts());
    documents_.partitionFolder = kRootFolderId;
    if (documents_.partition)
        documents_.isHfsPlus = documents_.partition->volume().isHfsPlus;
    return documents_.partition != nullptr;
}

bool Session::makePartition() {
    leave();
    const std::optional<std::string> path = askPath(kTextNewPartition, documentFolder());
    if (!path)
        return false;
    const std::string target = FollowLink(*path);
    if (!mayReplace(target) || !MayMakeFile(target, true, ports_.messages))
        return false;
    const std::optional<FormatInput> volume = ports_.dialogs.askNewVolume();
    if (!volume ||
        !MakeVolumeFile({target, true, ports_.guard}, *volume,
                        {ports_.messages, ports_.progress, ports_.clock}) ||
        !openPartition(target))
        return false;
    noteDocument(*path);
    return true;
}

bool Session::savePartitionAs() {
    PartitionDocument& document = *documents_.partition;
    const std::optional<std::string> path = askNewPath(kTextSavePartition, document.path());
    if (!path)
        return false;
    const std::string target = FollowLink(*path);
    if (AreSameFile(target, document.path()))
        return document.save(ports_.clock, ports_.messages);
    if (!document.copyTo(target, ports_.clock, ports_.messages))
        return false;
    const std::uint32_t folder = documents_.partitionFolder;
    std::unique_ptr<PartitionDocument> copy = PartitionDocument::Open(target, readingPorts());
    if (!copy)
        return false;
    documents_.partition = std::move(copy);
    documents_.partitionFolder = folder;
    noteDocument(*path);
    return true;
}

ReadingPorts Session::readingPorts() const {
    // Whoever works in a window can be asked.
    return {ports_.messages, ports_.progress, ports_.clock, ports_.guard, true};
}

void Session::closePartition() {
    if (documents_.partition)
        (void)documents_.partition->save(ports_.clock, ports_.messages);
    documents_.partition.reset();
    documents_.partitionFolder = kRootFolderId;
    documents_.isHfsPlus = state_.settings.has(kVlStartHfsPlus);
}

}  // namespace vellmark
