// The screen of a Macintosh at a quarter of its size, with the window that a layout makes.
#pragma once

#include <QPixmap>
#include <QRect>
#include <QWidget>
#include <functional>
#include <optional>

#include "layout/finder_layout.hpp"
#include "workbench/drawing/pictures.hpp"
#include "workbench/layout/background_picture.hpp"

class QPainter;

namespace vellmark {

/// Most that an edge is given here, in pixels of the Macintosh.
inline constexpr int kMostEdge = 800;

class LayoutPreview final : public QWidget {
  public:
    /// Shows the layout as it is whenever it is painted.
    LayoutPreview(const DsStoreLayout& layout, QWidget* owner);

    /// The picture behind the icons; nothing for none.
    void setPicture(std::optional<BackgroundPicture> picture);
    /// Called with the window, in pixels of the Macintosh, when a person has moved or resized it.
    void setPlaced(std::function<void(const QRect& window)> placed) { placed_ = std::move(placed); }

    [[nodiscard]] QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

  private:
    [[nodiscard]] QRect window() const;
    void paintWindow(QPainter& painter, const QRect& window);
    void paintPicture(QPainter& painter, const QPoint& corner);
    void paintIcons(QPainter& painter, const QRect& window) const;

    const DsStoreLayout& layout_;
    std::optional<BackgroundPicture> picture_;
    QPixmap drawn_;  // what is seen of the picture
    Pictures icons_;
    std::function<void(const QRect& window)> placed_;

    unsigned grip_ = 0;  // what is held, 0 for nothing
    QPoint from_;        // where it was taken
    QRect before_;       // the window then
    QRect held_;         // and now
};

}  // namespace vellmark
