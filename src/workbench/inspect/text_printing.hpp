// Lines of a page on paper.
#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace vellmark {

/// Shows lines in the font of pages, sheet by sheet with a heading, and prints them on the printer
/// that the person chooses there.
void PrintLines(const QString& heading, const QStringList& lines, int points, QWidget* owner);

}  // namespace vellmark
