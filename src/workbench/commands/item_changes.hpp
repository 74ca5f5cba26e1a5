// Changes of items that the tree and the list begin by themselves: names edited in place, items
// dragged, files dropped or pasted.
#pragma once

#include <QString>
#include <cstdint>
#include <string>
#include <vector>

class QMimeData;

namespace vellmark {

class TVellmark;

/// Gives the folder of the tree, or the item of a row, another name; why it cannot have it is
/// shown. Both wait until the editor has closed.
void RenameFolderOf(TVellmark& window, std::int32_t folder, const QString& name);
void RenameRow(TVellmark& window, std::size_t row, const QString& name);

/// What is dragged within the window.
struct DraggedItems {
    std::vector<std::int32_t> numbers;  ///< of a project
    std::vector<std::string> paths;     ///< of a volume
};
/// What rows of the list, or a folder of the tree, are while they are dragged: items within the
/// window, and files of the PC elsewhere, which are copied out when another program asks for them.
/// The caller owns it.
[[nodiscard]] QMimeData* DragRows(TVellmark& window, const std::vector<std::size_t>& rows);
[[nodiscard]] QMimeData* DragFolder(TVellmark& window, std::int32_t folder);
[[nodiscard]] DraggedItems DraggedItemsOf(const QMimeData& data);
/// Puts items of the document into the folder that is shown.
void MoveItemsHere(TVellmark& window, const DraggedItems& items);

/// Files of this machine, as paths.
[[nodiscard]] std::vector<std::string> PathsOf(const QMimeData& data);
[[nodiscard]] std::vector<std::string> ClipboardPaths();
/// Takes files and folders of the PC into the folder that is shown: a project refers to them, a
/// volume gets copies. Where a project mode has no project, one is made.
void AddPaths(TVellmark& window, const std::vector<std::string>& paths);

}  // namespace vellmark
