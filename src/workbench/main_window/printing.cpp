#include "workbench/main_window/printing.hpp"

#include <QPainter>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QTreeView>

#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr PrintedColumn kFolderColumns[] = {{.26}, {.17}, {.10, true}, {.10, true},
                                            {.13}, {.13}, {.11}};
static_assert(std::size(kFolderColumns) == kColumnCount);

// Below the heading.
constexpr int kLinesOfHead = 3;

class Pages {
  public:
    Pages(QPrinter& printer, const QAbstractItemModel& rows, std::span<const PrintedColumn> columns)
        : printer_(printer), rows_(rows), columns_(columns), painter_(&printer) {
        QFont font = painter_.font();
        font.setPointSize(8);
        painter_.setFont(font);
        lineHeight_ = painter_.fontMetrics().lineSpacing();
        width_ = painter_.viewport().width();
    }

    void print() {
        const int height = painter_.viewport().height();
        const int linesAPage = std::max(1, height / lineHeight_ - kLinesOfHead - 1);
        const int pages = std::max(1, (rows_.rowCount() + linesAPage - 1) / linesAPage);
        for (int page = 0; page < pages; ++page) {
            if (page > 0)
                (void)printer_.newPage();
            head(page + 1);
            const int end = std::min(rows_.rowCount(), (page + 1) * linesAPage);
            for (int row = page * linesAPage; row < end; ++row)
                line(kLinesOfHead + row - page * linesAPage,
                     [&](int column) { return rows_.index(row, column).data().toString(); });
        }
    }

  private:
    void head(int page) {
        const QRect all(0, 0, width_, lineHeight_);
        painter_.drawText(all, Qt::AlignLeft, printer_.docName());
        painter_.drawText(all, Qt::AlignRight, QStringLiteral("Page %1").arg(page));
        line(kLinesOfHead - 1,
             [&](int column) { return rows_.headerData(column, Qt::Horizontal).toString(); });
    }

    template <typename TextOf>
    void line(int number, TextOf textOf) {
        double left = 0;
        for (int column = 0; column < static_cast<int>(columns_.size()); ++column) {
            const PrintedColumn& each = columns_[static_cast<std::size_t>(column)];
            const double width = each.share * width_;
            const QRectF cell(left, double(number) * lineHeight_, width * 0.95, lineHeight_);
            painter_.drawText(cell, each.isNumber ? Qt::AlignRight : Qt::AlignLeft,
                              painter_.fontMetrics().elidedText(textOf(column), Qt::ElideMiddle,
                                                                static_cast<int>(cell.width())));
            left += width;
        }
    }

    QPrinter& printer_;
    const QAbstractItemModel& rows_;
    std::span<const PrintedColumn> columns_;
    QPainter painter_;
    int lineHeight_ = 1;
    int width_ = 1;
};

}  // namespace

void PrintTable(const QString& heading, const QAbstractItemModel& rows,
                std::span<const PrintedColumn> columns, QWidget* owner) {
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(heading);
    QPrintPreviewDialog preview(&printer, owner);
    QObject::connect(&preview, &QPrintPreviewDialog::paintRequested, &preview,
                     [&](QPrinter* paper) { Pages(*paper, rows, columns).print(); });
    (void)preview.exec();
}

void PrintFolder(TVellmark& window) {
    PrintTable(QStringLiteral("Vellmark (%1)").arg(window.windowTitle()), *window.list().model(),
               kFolderColumns, &window);
}

}  // namespace vellmark
