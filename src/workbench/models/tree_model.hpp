// The folders of the open document. A level is read when it is opened for the first time.
#pragma once

#include <QAbstractItemModel>
#include <functional>
#include <memory>
#include <vector>

#include "workbench/drawing/pictures.hpp"
#include "workbench/models/item_source.hpp"

class QMimeData;

namespace vellmark {

class TreeModel final : public QAbstractItemModel {
  public:
    /// Gives a folder another name; whoever does it shows the document again.
    using Rename = std::function<void(std::int32_t folder, const QString& name)>;

    explicit TreeModel(const Pictures& pictures) : pictures_(pictures) {}

    /// Begins anew with another document, or the same one changed; null for none. The source
    /// outlives what the model shows of it.
    void show(ItemSource* source);
    /// While it is frozen nothing is read from the source.
    void freeze(bool isFrozen) { isFrozen_ = isFrozen; }
    void setRename(Rename rename) { rename_ = std::move(rename); }
    using MakeMimeData = std::function<QMimeData*(std::int32_t folder)>;
    void setMimeData(MakeMimeData make) { makeMimeData_ = std::move(make); }
    void setEditable(bool isEditable) { isEditable_ = isEditable; }

    /// The folder at an index; the root for none.
    [[nodiscard]] std::int32_t folderAt(const QModelIndex& index) const;
    /// Where a folder stands, the levels above it read where they were not yet; none when it is not
    /// there.
    [[nodiscard]] QModelIndex indexOf(std::int32_t folder);

    [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex& parent) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex& index) const override;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex&) const override { return 1; }
    [[nodiscard]] bool hasChildren(const QModelIndex& parent) const override;
    [[nodiscard]] bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
    [[nodiscard]] QStringList mimeTypes() const override;
    [[nodiscard]] QMimeData* mimeData(const QModelIndexList& indexes) const override;
    [[nodiscard]] Qt::DropActions supportedDragActions() const override {
        return Qt::CopyAction | Qt::MoveAction;
    }

  private:
    struct Node {
        TreeFolder folder;
        Node* parent = nullptr;
        int row = 0;
        bool isRead = false;
        std::vector<std::unique_ptr<Node>> folders = {};
    };

    [[nodiscard]] static Node* nodeOf(const QModelIndex& index) {
        return static_cast<Node*>(index.internalPointer());
    }
    [[nodiscard]] QModelIndex indexOf(Node& node) const { return createIndex(node.row, 0, &node); }
    [[nodiscard]] bool isAbove(const Node& node, std::int32_t folder) const;

    const Pictures& pictures_;
    ItemSource* source_ = nullptr;
    std::unique_ptr<Node> root_;
    Rename rename_;
    MakeMimeData makeMimeData_;
    bool isFrozen_ = false;
    bool isEditable_ = false;
};

}  // namespace vellmark
