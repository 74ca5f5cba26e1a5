// What files of the open volume hold.
#include "workbench/commands/handlers.hpp"
#include "workbench/commands/volume_changes.hpp"
#include "workbench/inspect/fork_viewer.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextNullLength = 1409;

}  // namespace

// One selected item after the other: folders are opened as a double click does it. With nothing
// selected, or the volume itself, the image.
void ShowContents(TVellmark& window) {
    if (!window.selection().hasItem())
        return ViewImage(window);
    for (const CatalogItem& item : SelectedVolumeItems(window)) {
        if (item.isFolder)
            window.showFolder(static_cast<std::int32_t>(item.id));
        else if (item.data.sizeBytes == 0 && item.resource.sizeBytes == 0)
            window.messages().showTimedMessage(Reason::Told(kTextNullLength));
        else if (ViewForks(window, item) == TMacDump::kNoMore)
            break;
    }
}

}  // namespace vellmark
