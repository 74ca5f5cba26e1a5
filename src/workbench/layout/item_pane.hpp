// The pane of the layout editor in which the place of one icon is changed.
#pragma once

#include <QGroupBox>
#include <functional>
#include <optional>

#include "layout/finder_layout.hpp"
#include "support/texts.hpp"

class QLabel;
class QLineEdit;
class QSpinBox;

namespace vellmark {

/// Shows a number in a field that takes 0 to `most` in steps of 5; one outside of that too.
void ShowNumber(QSpinBox& field, int number, int most);
/// Such a field.
[[nodiscard]] QSpinBox* NewNumberField(const char* name, const QString& caption, QWidget* owner);

class ItemPane final : public QGroupBox {
  public:
    ItemPane(DsStoreLayout& layout, Language language, QWidget* owner);

    /// Called when a place was stored.
    void setStored(std::function<void()> stored) { stored_ = std::move(stored); }
    /// Opens it with the values of a row.
    void edit(std::size_t row);
    /// The row that it shows, nothing while it is closed.
    [[nodiscard]] std::optional<std::size_t> row() const { return row_; }
    void setRow(std::size_t row) { row_ = row; }
    /// Shows what the layout says now.
    void showRow();
    /// Puts what it shows into the row.
    void store();

  private:
    void save();
    void hidePane();
    void note(int text);

    DsStoreLayout& layout_;
    Language language_;
    std::function<void()> stored_;
    std::optional<std::size_t> row_;
    QLineEdit* name_;
    QSpinBox* vertical_;
    QSpinBox* horizontal_;
    QLabel* note_;
};

}  // namespace vellmark
