// The status bar: panels, or one text in their place.
#pragma once

#include <QStatusBar>
#include <array>

class QLabel;

namespace vellmark {

class StatusPanels final : public QStatusBar {
  public:
    explicit StatusPanels(QWidget* owner);
    void setPanel(int panel, const QString& text);
    [[nodiscard]] QString panel(int panel) const;

    static constexpr int kPanels = 5;

  private:
    std::array<QLabel*, kPanels> panels_{};
};

}  // namespace vellmark
