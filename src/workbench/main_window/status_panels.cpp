#include "workbench/main_window/status_panels.hpp"

#include <QLabel>

namespace vellmark {

namespace {

// Their widths as shares of the whole.
constexpr int kShares[StatusPanels::kPanels] = {90, 75, 75, 75, 50};

}  // namespace

StatusPanels::StatusPanels(QWidget* owner) : QStatusBar(owner) {
    setObjectName(QStringLiteral("Barre"));
    for (int i = 0; i < kPanels; ++i) {
        auto* const label = new QLabel(this);
        label->setObjectName(QStringLiteral("Panel%1").arg(i));
        label->setTextFormat(Qt::PlainText);
        label->setMinimumWidth(1);
        addWidget(label, kShares[i]);
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
