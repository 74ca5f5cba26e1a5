#include "workbench/inspect/text_printing.hpp"

#include <QPainter>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <algorithm>

namespace vellmark {

namespace {

// The heading and a line below it.
constexpr int kLinesOfHead = 2;
constexpr int kPrintedColumns = 79;

// On paper a page has the font that it always had there.
QFont PrintFont(int points) {
    QFont font(QStringLiteral("Courier New"), points);
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    return font;
}

void Print(QPrinter& printer, const QStringList& lines, int points) {
    QPainter painter(&printer);
    const QRect sheet = painter.viewport();
    // No line is cut at the right.
    for (QFont font = PrintFont(points);; font.setPointSize(font.pointSize() - 1)) {
        painter.setFont(font);
        if (font.pointSize() <= 1 || painter.fontMetrics().horizontalAdvance(
                                         QString(kPrintedColumns, u'0')) <= sheet.width())
            break;
    }
    const int height = painter.fontMetrics().lineSpacing();
    const qsizetype linesASheet = std::max(1, sheet.height() / height - kLinesOfHead);
    for (qsizetype first = 0; first == 0 || first < lines.size(); first += linesASheet) {
        if (first > 0)
            (void)printer.newPage();
        const QRect head(0, 0, sheet.width(), height);
        painter.drawText(head, Qt::AlignLeft, printer.docName());
        painter.drawText(head, Qt::AlignRight, QString::number(first / linesASheet + 1));
        const qsizetype end = std::min(lines.size(), first + linesASheet);
        for (qsizetype line = first; line < end; ++line)
            painter.drawText(QRect(0, static_cast<int>(line - first + kLinesOfHead) * height,
                                   sheet.width(), height),
                             Qt::AlignLeft | Qt::TextSingleLine, lines[line]);
    }
}

}  // namespace

void PrintLines(const QString& heading, const QStringList& lines, int points, QWidget* owner) {
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(heading);
    QPrintPreviewDialog preview(&printer, owner);
    QObject::connect(&preview, &QPrintPreviewDialog::paintRequested, &preview,
                     [&](QPrinter* paper) { Print(*paper, lines, points); });
    (void)preview.exec();
}

}  // namespace vellmark
