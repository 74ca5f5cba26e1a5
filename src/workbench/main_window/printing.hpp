// Tables on paper.
#pragma once

#include <QString>
#include <span>
#include <vector>

class QAbstractItemModel;
class QWidget;

namespace vellmark {

class TVellmark;

/// A column of a printed table.
struct PrintedColumn {
    double share;           ///< of the page's width
    bool isNumber = false;  ///< to the right
};

/// Shows the rows of a model as a table with a heading, page by page, and prints it on the printer
/// that the person chooses there.
void PrintTable(const QString& heading, const QAbstractItemModel& rows,
                std::span<const PrintedColumn> columns, QWidget* owner);

/// The same with the folder that is shown.
void PrintFolder(TVellmark& window);

}  // namespace vellmark
