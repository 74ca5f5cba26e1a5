// The disk image of a session.
#include "session/session.hpp"

namespace vellmark {

bool Session::openPartition(const std::string& path) {
    // Whoever works in a window can be asked.
    documents_.partition = PartitionDocument::Open(
        path, {ports_.messages, ports_.progress, ports_.clock, ports_.guard, true});
    documents_.partitionFolder = kRootFolderId;
    if (documents_.partition)
        documents_.isHfsPlus = documents_.partition->volume().isHfsPlus;
    return documents_.partition != nullptr;
}

void Session::closePartition() {
    if (documents_.partition)
        (void)documents_.partition->save(ports_.clock, ports_.messages);
    documents_.partition.reset();
    documents_.partitionFolder = kRootFolderId;
    documents_.isHfsPlus = state_.settings.has(kVlStartHfsPlus);
}

}  // namespace vellmark
