#include "workbench/main_window/size_gauge.hpp"

#include <QPainter>

#include "workbench/models/item_source.hpp"

namespace vellmark {

namespace {

constexpr double kMegabyteBytes = 1 << 20;

const QColor kNormal(120, 170, 120);
const QColor kWarning(232, 170, 60);
const QColor kTooMuch(170, 8, 43);

}  // namespace

SizeGauge::SizeGauge(QWidget* owner) : QWidget(owner) {
    setObjectName(QStringLiteral("PB"));
}

void SizeGauge::show(std::uint64_t bytes, int referenceMb, Language language) {
    bytes_ = bytes;
    referenceMb_ = std::max(referenceMb, 1);
    const bool isFrench = language == Language::French;
    words_ = SizeWords(bytes, isFrench);
    const QString whole = QStringLiteral("%1 / %2").arg(
        words_, SizeWords(std::uint64_t(referenceMb_) << 20, isFrench));
    setAccessibleName(whole);
    setToolTip(whole);
    update();
}

void SizeGauge::setBackground(const QColor& colour) {
    background_ = colour;
    update();
}

QSize SizeGauge::sizeHint() const {
    return {fontMetrics().averageCharWidth() * 20, fontMetrics().height() * 3 / 2};
}

void SizeGauge::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), background_.isValid() ? background_ : palette().base().color());
    const double scale = width() / double(referenceMb_);
    const double megabytes = static_cast<double>(bytes_) / kMegabyteBytes;
    const int mark = WarningMark(referenceMb_);
    const auto fill = [&](double from, double to, const QColor& colour) {
        painter.fillRect(QRectF(from * scale, 0, (to - from) * scale, height()), colour);
    };
    if (megabytes > referenceMb_) {
        fill(0, referenceMb_, kTooMuch);
    } else {
        fill(0, std::min<double>(megabytes, mark), kNormal);
        if (megabytes > mark)
            fill(mark, megabytes, kWarning);
    }
    painter.setPen(palette().mid().color());
    painter.drawLine(QPointF(mark * scale, 0), QPointF(mark * scale, height()));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    // Black on the strip's own colours, and behind the strip's end what is read on the pane.
    const int end = static_cast<int>(std::min<double>(megabytes, referenceMb_) * scale);
    const auto write = [&](const QRect& part, const QColor& colour) {
        painter.setClipRect(part);
        painter.setPen(colour);
        painter.drawText(rect(), Qt::AlignCenter, words_);
    };
    write({0, 0, end, height()}, megabytes > referenceMb_ ? Qt::white : Qt::black);
    write({end, 0, width() - end, height()}, palette().text().color());
}

}  // namespace vellmark
