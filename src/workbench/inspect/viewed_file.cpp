#include "workbench/inspect/viewed_file.hpp"

#include <utility>

namespace vellmark {

void ViewedFile::setItem(CatalogItem item) {
    item_ = std::move(item);
    opened_ = {};
    surroundings_.reset();
}

std::uint64_t ViewedFile::length(ViewedFork fork) const {
    switch (fork) {
        case ViewedFork::Data:
            return item_.data.sizeBytes;
        case ViewedFork::Resource:
            return item_.resource.sizeBytes;
        case ViewedFork::Image:
            return volume_.image->size();
        case ViewedFork::None:
            break;
    }
    return 0;
}

ViewedFork ViewedFile::firstFork() const {
    for (const ViewedFork fork : {ViewedFork::Data, ViewedFork::Resource})
        if (length(fork) > 0)
            return fork;
    return ViewedFork::None;
}

const InspectedBytes& ViewedFile::bytes(ViewedFork fork) {
    std::optional<InspectedBytes>& opened = opened_[static_cast<std::size_t>(fork)];
    if (!opened)
        opened = fork == ViewedFork::Image
                     ? InspectWhole(volume_.image)
                     : InspectFork(volume_, item_, fork == ViewedFork::Resource);
    // What cannot be opened is shown as nothing.
    if (!opened->source)
        opened->source = std::make_shared<MemoryBytes>();
    return *opened;
}

const InspectedImage& ViewedFile::surroundings() {
    if (!surroundings_)
        surroundings_.emplace(volume_.image);
    return *surroundings_;
}

}  // namespace vellmark
