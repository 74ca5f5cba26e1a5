// The editor of the layout of a project's root.
#pragma once

#include <QDialog>
#include <array>
#include <optional>

#include "layout/project_layout.hpp"
#include "workbench/layout/background_picture.hpp"

class QBoxLayout;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSlider;
class QSpinBox;
class QTreeView;

namespace vellmark {

class IconRows;
class ItemPane;
class LayoutPreview;
class TVellmark;

/// What is edited, with the picture behind the icons as far as it could be read.
struct EditedLayout {
    ProjectLayout project;
    std::optional<BackgroundPicture> picture;
    Reason pictureProblem;  ///< why there is none although there is a path
};

class TDS_Store final : public QDialog {
  public:
    /// Changes `edited` as the person does.
    TDS_Store(TVellmark& window, EditedLayout& edited);

    void accept() override;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    enum Edge { Left, Top, Right, Bottom, Width, Height, Edges };

    [[nodiscard]] DsStoreLayout& layout() { return edited_.project.layout; }
    [[nodiscard]] QGroupBox* newGroup(int caption);
    [[nodiscard]] QPushButton* newButton(const char* name, int caption, void (TDS_Store::*run)());
    [[nodiscard]] QGroupBox* newWindowGroup();
    [[nodiscard]] QGroupBox* newPictureGroup();
    [[nodiscard]] QGroupBox* newIconGroup();
    [[nodiscard]] QBoxLayout* newSizes();
    [[nodiscard]] QBoxLayout* newIconButtons();
    [[nodiscard]] QComboBox* newSizeList(const char* name, int caption, std::span<const int> sizes,
                                         std::size_t DsStoreLayout::*index);
    void makeIconList();
    void addOkAndCancel(QBoxLayout& column);

    void setEdge(Edge edge, int value);
    void setWindow(const QRect& window);
    void placeAnew();
    void showLayout();
    void showPicture();
    void browse();
    void editItem();
    void moveUp() { move(-1); }
    void moveDown() { move(1); }
    void move(int way);
    void updateButtons();
    [[nodiscard]] std::optional<std::size_t> currentRow() const;

    TVellmark& window_;
    EditedLayout& edited_;
    std::array<QSpinBox*, Edges> edges_{};
    LayoutPreview* preview_ = nullptr;
    QLineEdit* path_ = nullptr;
    QLabel* pixels_ = nullptr;
    IconRows* rows_ = nullptr;
    QTreeView* list_ = nullptr;
    ItemPane* pane_ = nullptr;
    QPushButton* up_ = nullptr;
    QPushButton* down_ = nullptr;
    QPushButton* edit_ = nullptr;
};

}  // namespace vellmark
