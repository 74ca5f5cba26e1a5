// The items of the folder that is shown. The texts of a row are made when it is painted.
#pragma once

#include <QAbstractTableModel>
#include <functional>
#include <unordered_map>

#include "support/texts.hpp"
#include "workbench/drawing/pictures.hpp"
#include "workbench/models/item_source.hpp"

class QMimeData;

namespace vellmark {

/// Sizes stand at the right of their columns; without a blank the next column would touch them.
inline constexpr QChar kBehindNumbers(0x2002);

class ListModel final : public QAbstractTableModel {
  public:
    using Rename = std::function<void(std::size_t row, const QString& name)>;
    using MakeMimeData = std::function<QMimeData*(const std::vector<std::size_t>& rows)>;

    explicit ListModel(const Pictures& pictures) : pictures_(pictures) {}

    /// Shows the listing of a source anew; null for none.
    void show(ItemSource* source);
    /// While it is frozen nothing is read from the source: what was painted stays to be seen.
    void freeze(bool isFrozen) { isFrozen_ = isFrozen; }
    void setLanguage(Language language);
    void setRename(Rename rename) { rename_ = std::move(rename); }
    void setMimeData(MakeMimeData make) { makeMimeData_ = std::move(make); }
    void setEditable(bool isEditable) { isEditable_ = isEditable; }
    /// A click on the head of a column: ascending, descending, ascending ...
    void sortByClick(int column);
    [[nodiscard]] int sortedColumn() const { return sortedColumn_; }
    [[nodiscard]] bool isDescending() const { return isDescending_; }
    /// As a folder begins: in the order of the document.
    void forgetSorting();

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex&) const override { return kColumnCount; }
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
    [[nodiscard]] QStringList mimeTypes() const override;
    [[nodiscard]] QMimeData* mimeData(const QModelIndexList& indexes) const override;
    [[nodiscard]] Qt::DropActions supportedDragActions() const override {
        return Qt::CopyAction | Qt::MoveAction;
    }

  private:
    [[nodiscard]] const RowFacts& factsOf(std::size_t row) const;
    void follow(const QModelIndexList& before, const std::vector<std::int32_t>& numbers);
    [[nodiscard]] QString textOf(const RowFacts& facts, int column) const;

    const Pictures& pictures_;
    ItemSource* source_ = nullptr;
    std::size_t count_ = 0;
    Language language_ = Language::English;
    Rename rename_;
    MakeMimeData makeMimeData_;
    bool isFrozen_ = false;
    bool isEditable_ = false;
    int sortedColumn_ = -1;
    bool isDescending_ = false;
    mutable std::unordered_map<std::size_t, RowFacts> painted_;
};

}  // namespace vellmark
