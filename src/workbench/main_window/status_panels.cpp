#include "workbench/main_window/status_panels.hpp"

#include <QLabel>
#include <QPainter>
#include <algorithm>

namespace vellmark {

namespace {

// Their widths, in pixels of a font of which a character is as wide as told; the last one takes
// what is left, as the longest texts stand there.
constexpr int kWidths[StatusPanels::kPanels] = {90, 75, 75, 75, 50};
constexpr int kCharacterWidth = 6;

// A text that does not fit ends in dots; the whole is its tool tip.
class Panel final : public QLabel {
  public:
    explicit Panel(QWidget* owner) : QLabel(owner) {
        setTextFormat(Qt::PlainText);
        setIndent(fontMetrics().averageCharWidth());
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const QRect place = contentsRect().adjusted(indent(), 0, 0, 0);
        painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         fontMetrics().elidedText(text(), Qt::ElideRight, place.width()));
    }
};

}  // namespace

StatusPanels::StatusPanels(QWidget* owner) : QStatusBar(owner) {
    setObjectName(QStringLiteral("Barre"));
    for (int i = 0; i < kPanels; ++i) {
        auto* const label = new Panel(this);
        label->setObjectName(QStringLiteral("Panel%1").arg(i));
        const bool isLast = i + 1 == kPanels;
        label->setMinimumWidth(kWidths[i] *
                               std::max(fontMetrics().averageCharWidth(), kCharacterWidth) /
                               kCharacterWidth);
        if (isLast)
            label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        addWidget(label, isLast ? 1 : 0);
        panels_[static_cast<std::size_t>(i)] = label;
    }
}

void StatusPanels::setPanel(int panel, const QString& text) {
    QLabel& label = *panels_[static_cast<std::size_t>(panel)];
    label.setText(text);
    label.setToolTip(text);
}

QString StatusPanels::panel(int panel) const {
    return panels_[static_cast<std::size_t>(panel)]->text();
}

}  // namespace vellmark
