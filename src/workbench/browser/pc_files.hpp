// The files of a folder of the PC, as the browser shows them.
#pragma once

#include <QCollator>
#include <QFileIconProvider>
#include <QFileSystemModel>
#include <QSortFilterProxyModel>

#include "support/texts.hpp"

namespace vellmark {

enum PcColumn : int { kPcName, kPcSize, kPcType, kPcDate, kPcAttributes, kPcColumns };

/// The toolkit's model, which reads a folder in a thread of its own, with the columns and words of
/// this program.
class PcFiles final : public QFileSystemModel {
  public:
    PcFiles(Language language, bool showsHidden, QObject* owner);

    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;

  private:
    [[nodiscard]] QString textOf(const QModelIndex& index) const;
    [[nodiscard]] QString attributesOf(const QModelIndex& index) const;

    Language language_;
    QFileIconProvider icons_;  // has pictures on a desktop without a theme too
};

/// The same in the order of a column, folders before files.
class PcOrder final : public QSortFilterProxyModel {
  public:
    explicit PcOrder(PcFiles& files);

  protected:
    [[nodiscard]] bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

  private:
    PcFiles& files_;
    QCollator names_;
};

}  // namespace vellmark
