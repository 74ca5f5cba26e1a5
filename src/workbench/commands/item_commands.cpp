// What is done with the items that are selected, or with those of the folder that is shown.
#include <QTreeView>

#include "workbench/commands/handlers.hpp"
#include "workbench/commands/item_changes.hpp"
#include "workbench/commands/project_changes.hpp"
#include "workbench/commands/volume_changes.hpp"
#include "workbench/dialogs/name_dialogs.hpp"
#include "workbench/dialogs/search_dialog.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/properties/item_properties.hpp"

namespace vellmark {

namespace {

std::vector<std::int32_t> SelectedNumbers(const TVellmark& window) {
    const Selection selected = window.selection();
    if (!selected.isInList)
        return {selected.folder};
    std::vector<std::int32_t> numbers;
    for (const std::size_t row : selected.rows)
        numbers.push_back(window.factsOf(row).number);
    return numbers;
}

}  // namespace

void DeleteSelected(TVellmark& window) {
    if (window.documents().projectOfMode())
        DeleteFromProject(window, SelectedNumbers(window));
    else
        DeleteFromVolume(window, SelectedVolumePaths(window));
}

void RenameSelected(TVellmark& window) {
    window.editName();
}

void ShowItemProperties(TVellmark& window) {
    if (window.documents().projectOfMode()) {
        for (const std::int32_t number : SelectedNumbers(window)) {
            const DialogEnd end = ShowProjectItem(window, number);
            if (end == DialogEnd::Written)
                KeepProject(window);
            if (end == DialogEnd::Closed)
                break;
        }
        return;
    }
    for (const CatalogItem& item : SelectedVolumeItems(window)) {
        const DialogEnd end = ShowVolumeItem(window, item);
        if (end == DialogEnd::Written)
            KeepVolume(window);
        if (end == DialogEnd::Closed)
            break;
    }
}

void MakeNewFolder(TVellmark& window) {
    const std::optional<std::string> name =
        AskFolderName(window.documents().isHfsPlus, window.language(), &window);
    if (!name)
        return;
    if (window.documents().projectOfMode())
        MakeProjectFolder(window, *name);
    else
        MakeVolumeFolder(window, *name);
}

void Paste(TVellmark& window) {
    AddPaths(window, ClipboardPaths());
}

void SelectAll(TVellmark& window) {
    window.list().selectAll();
    window.list().setFocus();
}

void InvertSelection(TVellmark& window) {
    QTreeView& list = window.list();
    if (list.model()->rowCount() == 0)
        return;
    const QItemSelection all(list.model()->index(0, 0),
                             list.model()->index(list.model()->rowCount() - 1, 0));
    list.selectionModel()->select(all, QItemSelectionModel::Toggle | QItemSelectionModel::Rows);
}

void SearchItems(TVellmark& window) {
    if (const std::optional<FoundItem> found = AskForItem(window))
        window.showItem(found->folder, found->number);
}

}  // namespace vellmark
