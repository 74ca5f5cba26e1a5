#include "workbench/layout/icon_rows.hpp"

#include "containers/hfs_plus_name.hpp"
#include "support/encoding.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

QString ShownName(const PlacedItem& item) {
    return ToQString(Printable(WideToUtf8(HfsPlusNameToWide(item.name))));
}

void IconRows::tellChanged() {
    if (const int rows = rowCount({}); rows > 0)
        emit dataChanged(index(0, 0), index(rows - 1, columnCount({}) - 1));
}

int IconRows::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(layout_.items.size());
}

int IconRows::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(heads_.size());
}

QVariant IconRows::data(const QModelIndex& index, int role) const {
    if (role == Qt::TextAlignmentRole && index.column() > 0)
        return static_cast<int>(Qt::AlignRight | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    const PlacedItem& item = layout_.items[static_cast<std::size_t>(index.row())];
    switch (index.column()) {
        case 0:
            return ShownName(item);
        case 1:
            return item.x;
        default:
            return item.y;
    }
}

QVariant IconRows::headerData(int section, Qt::Orientation side, int role) const {
    if (side == Qt::Horizontal && role == Qt::TextAlignmentRole)
        return static_cast<int>((section == 0 ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignVCenter);
    return side == Qt::Horizontal && role == Qt::DisplayRole ? heads_.value(section) : QVariant();
}

}  // namespace vellmark
