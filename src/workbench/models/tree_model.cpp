#include "workbench/models/tree_model.hpp"

#include <algorithm>

namespace vellmark {

namespace {

// A file that somebody spoiled can have folders that contain each other.
constexpr int kDeepest = 512;

}  // namespace

void TreeModel::show(ItemSource* source) {
    beginResetModel();
    source_ = source;
    root_.reset();
    if (source)
        root_ = std::make_unique<Node>(Node{.folder = source->root()});
    endResetModel();
}

std::int32_t TreeModel::folderAt(const QModelIndex& index) const {
    if (index.isValid())
        return nodeOf(index)->folder.number;
    return root_ ? root_->folder.number : 0;
}

QModelIndex TreeModel::indexOf(std::int32_t folder) {
    if (!root_ || isFrozen_)
        return {};
    std::vector<std::int32_t> way;
    for (std::int32_t each = folder; each != root_->folder.number; each = source_->parentOf(each)) {
        if (way.size() == kDeepest)
            return {};
        way.push_back(each);
    }
    Node* node = root_.get();
    for (auto number = way.rbegin(); number != way.rend(); ++number) {
        fetchMore(indexOf(*node));
        const auto found =
            std::find_if(node->folders.begin(), node->folders.end(),
                         [&](const auto& child) { return child->folder.number == *number; });
        if (found == node->folders.end())
            return {};
        node = found->get();
    }
    return indexOf(*node);
}

QModelIndex TreeModel::index(int row, int column, const QModelIndex& parent) const {
    if (column != 0 || row < 0 || row >= rowCount(parent))
        return {};
    return indexOf(parent.isValid() ? *nodeOf(parent)->folders[static_cast<std::size_t>(row)]
                                    : *root_);
}

QModelIndex TreeModel::parent(const QModelIndex& index) const {
    Node* const above = index.isValid() ? nodeOf(index)->parent : nullptr;
    return above ? indexOf(*above) : QModelIndex();
}

int TreeModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid())
        return root_ ? 1 : 0;
    return static_cast<int>(nodeOf(parent)->folders.size());
}

bool TreeModel::hasChildren(const QModelIndex& parent) const {
    if (!parent.isValid())
        return root_ != nullptr;
    const Node& node = *nodeOf(parent);
    return node.isRead ? !node.folders.empty() : node.folder.hasFolders;
}

bool TreeModel::canFetchMore(const QModelIndex& parent) const {
    return parent.isValid() && !isFrozen_ && !nodeOf(parent)->isRead;
}

void TreeModel::fetchMore(const QModelIndex& parent) {
    if (!canFetchMore(parent))
        return;
    Node& node = *nodeOf(parent);
    node.isRead = true;
    std::vector<TreeFolder> folders = source_->folders(node.folder.number);
    // A folder that stands below itself would go on without an end.
    std::erase_if(folders, [&](const TreeFolder& folder) { return isAbove(node, folder.number); });
    if (folders.empty())
        return;
    beginInsertRows(parent, 0, static_cast<int>(folders.size()) - 1);
    for (TreeFolder& folder : folders) {
        const int row = static_cast<int>(node.folders.size());
        node.folders.push_back(std::make_unique<Node>(Node{std::move(folder), &node, row}));
    }
    endInsertRows();
}

bool TreeModel::isAbove(const Node& node, std::int32_t folder) const {
    for (const Node* each = &node; each != nullptr; each = each->parent)
        if (each->folder.number == folder)
            return true;
    return false;
}

QVariant TreeModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    const TreeFolder& folder = nodeOf(index)->folder;
    if (role == Qt::DisplayRole || role == Qt::EditRole)
        return folder.name;
    if (role == Qt::DecorationRole)
        return pictures_.icon(folder.picture);
    return {};
}

bool TreeModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    const QString name = value.toString();
    if (role != Qt::EditRole || !index.isValid() || isFrozen_ ||
        name == nodeOf(index)->folder.name || !rename_)
        return false;
    rename_(nodeOf(index)->folder.number, name);
    return true;
}

Qt::ItemFlags TreeModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDropEnabled;
    // The root has a label, which is changed elsewhere.
    if (!index.isValid() || !nodeOf(index)->parent)
        return flags;
    if (isEditable_ && !isFrozen_)
        flags |= Qt::ItemIsEditable;
    return flags | Qt::ItemIsDragEnabled;
}

QStringList TreeModel::mimeTypes() const {
    return {QLatin1String(kItemsMimeType)};
}

QMimeData* TreeModel::mimeData(const QModelIndexList& indexes) const {
    return makeMimeData_ && !isFrozen_ && !indexes.isEmpty()
               ? makeMimeData_(folderAt(indexes.first()))
               : nullptr;
}

}  // namespace vellmark
