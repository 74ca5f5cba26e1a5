#include "workbench/main_window/printing.hpp"

#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QTreeView>
#include <array>

#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

// Their shares of the page's width.
constexpr std::array<double, kColumnCount> kShares = {.26, .17, .10, .10, .13, .13, .11};

class Pages {
  public:
    Pages(QPrinter& printer, QAbstractItemModel& rows)
        : printer_(printer), rows_(rows), painter_(&printer) {
        QFont font = painter_.font();
        font.setPointSize(8);
        painter_.setFont(font);
        lineHeight_ = painter_.fontMetrics().lineSpacing();
    }

    void print() {
        const int linesAPage = std::max(1, printer_.height() / lineHeight_ - 4);
        const int pages = std::max(1, (rows_.rowCount() + linesAPage - 1) / linesAPage);
        for (int page = 0; page < pages; ++page) {
            if (page > 0)
                (void)printer_.newPage();
            head(page + 1);
            const int end = std::min(rows_.rowCount(), (page + 1) * linesAPage);
            for (int row = page * linesAPage; row < end; ++row)
                line(3 + row - page * linesAPage,
                     [&](int column) { return rows_.index(row, column).data().toString(); });
        }
    }

  private:
    void head(int page) {
        const QRect all(0, 0, printer_.width(), lineHeight_);
        painter_.drawText(all, Qt::AlignLeft, printer_.docName());
        painter_.drawText(all, Qt::AlignRight, QStringLiteral("Page %1").arg(page));
        line(2, [&](int column) { return rows_.headerData(column, Qt::Horizontal).toString(); });
    }

    template <typename TextOf>
    void line(int number, TextOf textOf) {
        double left = 0;
        for (int column = 0; column < kColumnCount; ++column) {
            const double width = kShares[static_cast<std::size_t>(column)] * printer_.width();
            const bool isNumber = column == kColumnData || column == kColumnResource;
            const QRectF cell(left, double(number) * lineHeight_, width * 0.95, lineHeight_);
            painter_.drawText(cell, isNumber ? Qt::AlignRight : Qt::AlignLeft,
                              painter_.fontMetrics().elidedText(textOf(column), Qt::ElideMiddle,
                                                                static_cast<int>(cell.width())));
            left += width;
        }
    }

    QPrinter& printer_;
    QAbstractItemModel& rows_;
    QPainter painter_;
    int lineHeight_ = 1;
};

}  // namespace

void PrintFolder(TVellmark& window) {
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(QStringLiteral("Vellmark (%1)").arg(window.windowTitle()));
    if (QPrintDialog(&printer, &window).exec() == QDialog::Accepted)
        Pages(printer, *window.list().model()).print();
}

}  // namespace vellmark
