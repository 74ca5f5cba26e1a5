#include "workbench/browser/pc_files.hpp"

#include <QDateTime>
#include <QLocale>

#include "support/sentences.hpp"
#include "workbench/messages/words.hpp"
#include "workbench/models/item_source.hpp"

namespace vellmark {

namespace {

constexpr int kTextName = 6001;  // the other columns have the numbers behind it
constexpr int kTextNone = 6011;

}  // namespace

PcFiles::PcFiles(Language language, bool showsHidden, QObject* owner)
    : QFileSystemModel(owner), language_(language) {
    setReadOnly(true);
    setIconProvider(&icons_);
    setFilter(QDir::AllEntries | QDir::NoDotAndDotDot |
              (showsHidden ? QDir::Hidden : QDir::Filters()));
}

int PcFiles::columnCount(const QModelIndex& parent) const {
    return parent.column() > 0 ? 0 : int{kPcColumns};
}

QVariant PcFiles::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role == Qt::DecorationRole)
        return {};
    return role == Qt::DisplayRole ? Words(kTextName + section, language_)
                                   : QFileSystemModel::headerData(section, orientation, role);
}

QVariant PcFiles::data(const QModelIndex& index, int role) const {
    if (index.column() == kPcName)
        return QFileSystemModel::data(index, role);
    if (role == Qt::DisplayRole)
        return textOf(index);
    if (role == Qt::TextAlignmentRole && index.column() == kPcSize)
        return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}

QString PcFiles::textOf(const QModelIndex& index) const {
    const bool isFrench = language_ == Language::French;
    switch (index.column()) {
        case kPcSize:
            return isDir(index) ? QString()
                                : SizeWords(static_cast<std::uint64_t>(size(index)), isFrench);
        case kPcType:
            return type(index.siblingAtColumn(kPcName));
        case kPcDate:
            return QLocale(isFrench ? QLocale::French : QLocale::English)
                .toString(lastModified(index), QLocale::ShortFormat);
        default:
            return attributesOf(index);
    }
}

QString PcFiles::attributesOf(const QModelIndex& index) const {
    const QFileInfo facts = fileInfo(index);
    QStringList words;
    const auto add = [&](bool is, Sentence word) {
        if (is)
            words << ToQString(SentenceText(word, language_));
    };
    add(!facts.isWritable(), Sentence::kPcReadOnly);
    add(facts.isHidden(), Sentence::kPcHidden);
    add(facts.isSymLink(), Sentence::kPcLink);
    add(facts.isFile() && facts.isExecutable(), Sentence::kPcProgram);
    return words.isEmpty() ? Words(kTextNone, language_) : words.join(QStringLiteral(", "));
}

PcOrder::PcOrder(PcFiles& files) : QSortFilterProxyModel(&files), files_(files) {
    names_.setNumericMode(true);
    names_.setCaseSensitivity(Qt::CaseInsensitive);
    setSourceModel(&files);
}

bool PcOrder::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    // Folders stay in front when the order is turned round.
    const bool isLeftFolder = files_.isDir(left);
    if (isLeftFolder != files_.isDir(right))
        return isLeftFolder == (sortOrder() == Qt::AscendingOrder);
    int order = 0;
    if (left.column() == kPcSize)
        order =
            files_.size(left) < files_.size(right) ? -1 : files_.size(left) > files_.size(right);
    else if (left.column() == kPcDate)
        order = files_.lastModified(left) < files_.lastModified(right)
                    ? -1
                    : files_.lastModified(left) > files_.lastModified(right);
    else if (left.column() != kPcName)
        order = left.data().toString().localeAwareCompare(right.data().toString());
    if (order == 0)
        order = names_.compare(files_.fileName(left), files_.fileName(right));
    return order < 0;
}

}  // namespace vellmark
