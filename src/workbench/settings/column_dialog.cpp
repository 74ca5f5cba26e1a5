#include "workbench/settings/column_dialog.hpp"

#include <QCheckBox>
#include <QGridLayout>
#include <QPushButton>
#include <QSpinBox>

#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextFirstColumn = 1003;
constexpr int kTextTitle = 1306;
constexpr int kTextDefault = 1307;
constexpr int kTextTree = 1308;

constexpr int kMostPixels = 2000;

class ColumnDialog final : public FormDialog {
  public:
    ColumnDialog(TVellmark& window, const PaneWidths& now, const PaneWidths& usual)
        : FormDialog("columns", window.text(kTextTitle), window.language(), &window),
          usual_(usual),
          grid_(new QGridLayout) {
        auto* const rows = new QWidget(this);
        rows->setLayout(grid_);
        for (std::size_t i = 0; i < now.columns.size(); ++i)
            columns_[i] = addWidth(static_cast<int>(i), QStringLiteral("Col%1").arg(i + 1),
                                   kTextFirstColumn + static_cast<int>(i));
        tree_ = addWidth(static_cast<int>(now.columns.size()), QStringLiteral("Arbre"), kTextTree);
        addWide(rows);
        show(now);
        auto* const reset = new QPushButton(words(kTextDefault), this);
        reset->setObjectName(QStringLiteral("Defaut"));
        reset->setAutoDefault(false);
        connect(reset, &QPushButton::clicked, this, [this] { show(usual_); });
        addWide(reset);
        addOkAndCancel();
    }

    [[nodiscard]] PaneWidths widths() const {
        PaneWidths widths;
        for (std::size_t i = 0; i < columns_.size(); ++i)
            widths.columns[i] = columns_[i].width(usual_.columns[i]);
        widths.tree = tree_.width(usual_.tree);
        return widths;
    }

  private:
    struct Row {
        QCheckBox* box = nullptr;
        QSpinBox* field = nullptr;

        void show(int width, int usual) const {
            box->setChecked(width > 0);
            field->setValue(width > 0 ? width : usual);
            field->setEnabled(width > 0);
        }
        [[nodiscard]] int width(int usual) const {
            if (!box->isChecked())
                return 0;
            return field->value() > 0 ? field->value() : usual;
        }
    };

    Row addWidth(int row, const QString& name, int caption) {
        Row made{new QCheckBox(words(caption), this), new QSpinBox(this)};
        made.box->setObjectName(name);
        made.field->setObjectName(QStringLiteral("Larg") + name);
        made.field->setRange(0, kMostPixels);
        made.field->setAccessibleName(words(caption));
        connect(made.box, &QCheckBox::toggled, made.field, &QWidget::setEnabled);
        grid_->addWidget(made.box, row, 0);
        grid_->addWidget(made.field, row, 1);
        return made;
    }

    void show(const PaneWidths& widths) {
        for (std::size_t i = 0; i < columns_.size(); ++i)
            columns_[i].show(widths.columns[i], usual_.columns[i]);
        tree_.show(widths.tree, usual_.tree);
    }

    const PaneWidths usual_;
    QGridLayout* grid_;
    std::array<Row, std::tuple_size_v<ColumnWidths>> columns_;
    Row tree_;
};

}  // namespace

std::optional<PaneWidths> AskColumns(TVellmark& window, const PaneWidths& now,
                                     const PaneWidths& usual) {
    ColumnDialog dialog(window, now, usual);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.widths();
}

}  // namespace vellmark
