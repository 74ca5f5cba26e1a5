// How much of a disc a project fills.
#pragma once

#include <QWidget>
#include <cstdint>

#include "support/texts.hpp"

namespace vellmark {

class SizeGauge final : public QWidget {
  public:
    explicit SizeGauge(QWidget* owner);
    /// `bytes` of a disc of `referenceMb` times 2^20 bytes.
    void show(std::uint64_t bytes, int referenceMb, Language language);
    void setBackground(const QColor& colour);

    [[nodiscard]] QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    std::uint64_t bytes_ = 0;
    int referenceMb_ = 700;
    QColor background_;
    QString words_;
};

/// The MB at which a disc begins to be nearly full.
[[nodiscard]] constexpr int WarningMark(int referenceMb) {
    return referenceMb / 14 * 13;
}

}  // namespace vellmark
