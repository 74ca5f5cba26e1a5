#include "workbench/models/list_model.hpp"

#include <QMimeData>
#include <set>

#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextFirstColumn = 1003;
constexpr int kTextFolder = 1011;

// Rows whose facts are kept, some screens full.
constexpr std::size_t kMostPainted = 512;

bool IsOfNumbers(int column) {
    return column == kColumnData || column == kColumnResource;
}

int AlignmentOf(int column) {
    return int((IsOfNumbers(column) ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
}

}  // namespace

void ListModel::show(ItemSource* source) {
    beginResetModel();
    source_ = source;
    count_ = source ? source->count() : 0;
    painted_.clear();
    endResetModel();
}

void ListModel::setLanguage(Language language) {
    language_ = language;
    painted_.clear();
    emit headerDataChanged(Qt::Horizontal, 0, kColumnCount - 1);
}

void ListModel::sortByClick(int column) {
    if (!source_ || isFrozen_)
        return;
    isDescending_ = column == sortedColumn_ && !isDescending_;
    sortedColumn_ = column;
    emit layoutAboutToBeChanged();
    const QModelIndexList before = persistentIndexList();
    std::vector<std::int32_t> numbers;
    for (const QModelIndex& index : before)
        numbers.push_back(source_->numberAt(static_cast<std::size_t>(index.row())));
    source_->sort(static_cast<Column>(column), isDescending_);
    painted_.clear();
    follow(before, numbers);
    emit layoutChanged();
}

// What is selected stays what it is, wherever its row went.
void ListModel::follow(const QModelIndexList& before, const std::vector<std::int32_t>& numbers) {
    if (before.isEmpty())
        return;
    std::unordered_map<std::int32_t, int> rows;
    for (std::size_t row = 0; row < count_; ++row)
        rows.emplace(source_->numberAt(row), static_cast<int>(row));
    QModelIndexList after;
    for (std::size_t i = 0; i < numbers.size(); ++i)
        after << index(rows.at(numbers[i]), before[static_cast<qsizetype>(i)].column());
    changePersistentIndexList(before, after);
}

void ListModel::forgetSorting() {
    sortedColumn_ = -1;
    isDescending_ = false;
}

int ListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(count_);
}

const RowFacts& ListModel::factsOf(std::size_t row) const {
    static const RowFacts nothing;
    const auto found = painted_.find(row);
    if (found != painted_.end())
        return found->second;
    if (isFrozen_ || !source_ || row >= source_->count())
        return nothing;
    if (painted_.size() >= kMostPainted)
        painted_.clear();
    return painted_.emplace(row, source_->facts(row)).first->second;
}

QString ListModel::textOf(const RowFacts& facts, int column) const {
    const bool isFrench = language_ == Language::French;
    switch (column) {
        case kColumnName:
            return facts.name;
        case kColumnType:
            return facts.isFolder ? Words(kTextFolder, language_) : facts.type;
        case kColumnData:
            return facts.isFolder ? QStringLiteral("[%1]").arg(facts.items)
                                  : SizeWords(facts.dataBytes, isFrench);
        case kColumnResource:
            return facts.isFolder ? QString() : SizeWords(facts.resourceBytes, isFrench);
        case kColumnCreated:
            return DateWords(facts.created);
        case kColumnModified:
            return DateWords(facts.modified);
        case kColumnSignature:
            return facts.signature;
        default:
            return {};
    }
}

QVariant ListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || static_cast<std::size_t>(index.row()) >= count_)
        return {};
    const RowFacts& facts = factsOf(static_cast<std::size_t>(index.row()));
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            return textOf(facts, index.column());
        case Qt::DecorationRole:
            return index.column() == kColumnName ? QVariant(pictures_.icon(facts.picture))
                                                 : QVariant();
        case Qt::TextAlignmentRole:
            return AlignmentOf(index.column());
        default:
            return {};
    }
}

bool ListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || !rename_ || isFrozen_ ||
        value.toString() == data(index, Qt::EditRole).toString())
        return false;
    rename_(static_cast<std::size_t>(index.row()), value.toString());
    return true;
}

QVariant ListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || section >= kColumnCount)
        return {};
    if (role == Qt::DisplayRole)
        return Words(kTextFirstColumn + section, language_) +
               (IsOfNumbers(section) ? QString(kBehindNumbers) : QString());
    if (role == Qt::TextAlignmentRole)
        return AlignmentOf(section);
    return {};
}

Qt::ItemFlags ListModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
    if (index.column() == kColumnName && isEditable_ && !isFrozen_)
        flags |= Qt::ItemIsEditable;
    return flags;
}

QStringList ListModel::mimeTypes() const {
    return {QLatin1String(kItemsMimeType)};
}

QMimeData* ListModel::mimeData(const QModelIndexList& indexes) const {
    std::set<std::size_t> rows;
    for (const QModelIndex& index : indexes)
        rows.insert(static_cast<std::size_t>(index.row()));
    return makeMimeData_ && !isFrozen_ ? makeMimeData_({rows.begin(), rows.end()}) : nullptr;
}

}  // namespace vellmark
