// The icons of a layout as rows of a list.
#pragma once

#include <QAbstractTableModel>
#include <QStringList>

#include "layout/finder_layout.hpp"

namespace vellmark {

/// The name of an item as it is read here.
[[nodiscard]] QString ShownName(const PlacedItem& item);

class IconRows final : public QAbstractTableModel {
  public:
    IconRows(const DsStoreLayout& layout, QStringList heads, QObject* owner)
        : QAbstractTableModel(owner), layout_(layout), heads_(std::move(heads)) {}

    /// The layout has other values.
    void tellChanged();

    [[nodiscard]] int rowCount(const QModelIndex& parent) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation side, int role) const override;

  private:
    const DsStoreLayout& layout_;
    QStringList heads_;
};

}  // namespace vellmark
