#include "workbench/layout/layout_preview.hpp"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "workbench/layout/icon_rows.hpp"

namespace vellmark {

namespace {

constexpr int kScale = 4;
// A large screen of the time, which has room for all edges.
constexpr QSize kScreen(1152, 864);
// As near to an edge the pointer takes hold of it.
constexpr int kGripPixels = 7;
constexpr int kTitlePixels = 5;
// Smaller letters cannot be read.
constexpr int kLeastText = 7;
// From the middle of an icon to its name, beside half of its size.
constexpr int kNameGap = 1;

enum Grip : unsigned { kLeft = 1, kRight = 2, kTop = 4, kBottom = 8, kWhole = 16 };

struct Side {
    int at;
    unsigned grip;
};
// Of two edges the nearer one.
unsigned EdgeAt(int at, const Side& low, const Side& high) {
    const int toLow = std::abs(at - low.at);
    const int toHigh = std::abs(at - high.at);
    if (std::min(toLow, toHigh) > kGripPixels)
        return 0;
    return toHigh < toLow ? high.grip : low.grip;
}

unsigned GripAt(const QPoint& at, const QRect& window) {
    // The right and lower edges of the toolkit's rectangles are a pixel behind their last ones.
    const QRect reach =
        window.normalized().adjusted(-kGripPixels, -kGripPixels, kGripPixels + 1, kGripPixels + 1);
    if (!reach.contains(at))
        return 0;
    const unsigned edges =
        EdgeAt(at.x(), {window.x(), kLeft}, {window.x() + window.width(), kRight}) |
        EdgeAt(at.y(), {window.y(), kTop}, {window.y() + window.height(), kBottom});
    return edges != 0 ? edges : kWhole;
}

Qt::CursorShape ShapeOf(unsigned grip) {
    switch (grip) {
        case 0:
            return Qt::ArrowCursor;
        case kWhole:
            return Qt::SizeAllCursor;
        case kLeft:
        case kRight:
            return Qt::SizeHorCursor;
        case kTop:
        case kBottom:
            return Qt::SizeVerCursor;
        case kLeft | kTop:
        case kRight | kBottom:
            return Qt::SizeFDiagCursor;
        default:
            return Qt::SizeBDiagCursor;
    }
}

// The window when what is held has gone so far, within what its edges can be.
QRect Dragged(const QRect& window, unsigned grip, const QPoint& way) {
    constexpr int kMost = kMostEdge / kScale;
    const auto within = [](int value, int least, int most) {
        return std::max(least, std::min(value, most));
    };
    if (grip == kWhole)
        return {within(window.x() + way.x(), 0, kMost - window.width()),
                within(window.y() + way.y(), 0, kMost - window.height()), window.width(),
                window.height()};
    int left = window.x();
    int top = window.y();
    int right = left + window.width();
    int bottom = top + window.height();
    if ((grip & kLeft) != 0)
        left = within(left + way.x(), 0, std::max(0, right - 1));
    if ((grip & kRight) != 0)
        right = within(right + way.x(), left + 1, kMost);
    if ((grip & kTop) != 0)
        top = within(top + way.y(), 0, std::max(0, bottom - 1));
    if ((grip & kBottom) != 0)
        bottom = within(bottom + way.y(), top + 1, kMost);
    return {left, top, right - left, bottom - top};
}

}  // namespace

LayoutPreview::LayoutPreview(const DsStoreLayout& layout, QWidget* owner)
    : QWidget(owner), layout_(layout) {
    setObjectName(QStringLiteral("Apercu"));
    setFixedSize(sizeHint());
    setMouseTracking(true);
}

QSize LayoutPreview::sizeHint() const {
    return kScreen / kScale;
}

void LayoutPreview::setPicture(std::optional<BackgroundPicture> picture) {
    picture_ = std::move(picture);
    drawn_ = QPixmap();
    update();
}

QRect LayoutPreview::window() const {
    return grip_ != 0 ? held_
                      : QRect(layout_.left / kScale, layout_.top / kScale, layout_.width() / kScale,
                              layout_.height() / kScale);
}

void LayoutPreview::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Mid));
    paintWindow(painter, window());
    painter.setPen(palette().color(QPalette::Dark));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

// A window is white there, whatever colours are used here.
void LayoutPreview::paintWindow(QPainter& painter, const QRect& window) {
    const QRect shown = window.normalized();
    const QRect title(shown.x(), shown.y() - kTitlePixels, shown.width(), kTitlePixels);
    painter.fillRect(title, QColor(0xC8, 0xC8, 0xC8));
    painter.fillRect(shown, Qt::white);
    painter.save();
    painter.setClipRect(shown);
    if (window.isValid()) {
        paintPicture(painter, window.topLeft());
        paintIcons(painter, window);
    }
    painter.restore();
    painter.setPen(QColor(0x60, 0x60, 0x60));
    painter.drawRect(shown.adjusted(-1, -kTitlePixels - 1, 0, 0));
}

// In its own size from the corner on; nothing of it is seen outside of the screen.
void LayoutPreview::paintPicture(QPainter& painter, const QPoint& corner) {
    if (!picture_ || picture_->size.isEmpty())
        return;
    const double pixels = devicePixelRatioF();
    if (drawn_.isNull() || drawn_.devicePixelRatio() != pixels) {
        const QSize seen = picture_->size.boundedTo(kScreen);
        const auto part = [](int all, int of, int whole) {
            return std::max(1, static_cast<int>(std::int64_t{all} * of / whole));
        };
        const QImage& image = picture_->image;
        const QSize cut(part(image.width(), seen.width(), picture_->size.width()),
                        part(image.height(), seen.height(), picture_->size.height()));
        const QSize size = (QSizeF(seen) * pixels / kScale).toSize().expandedTo(QSize(1, 1));
        drawn_ =
            QPixmap::fromImage(image.copy(QRect(QPoint(), cut))
                                   .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        drawn_.setDevicePixelRatio(pixels);
    }
    painter.drawPixmap(corner, drawn_);
}

void LayoutPreview::paintIcons(QPainter& painter, const QRect& window) const {
    const int size = kIconSizes[layout_.iconSize] / kScale;
    const int width = GridOf(layout_.textSize, layout_.iconSize, layout_.spacing).stepX / kScale;
    QFont letters = font();
    letters.setPixelSize(std::max(kLeastText, kTextSizes[layout_.textSize] / kScale));
    const QFontMetrics metrics(letters);
    painter.setFont(letters);
    painter.setPen(Qt::black);
    for (const PlacedItem& item : layout_.items) {
        const QPoint middle = window.topLeft() + QPoint(item.x, item.y) / kScale;
        QRect icon(0, 0, size, size);
        icon.moveCenter(middle);
        const QRect name(middle.x() - width / 2, icon.bottom() + kNameGap, width, metrics.height());
        // Of thousands of icons few are in the window.
        if (!icon.united(name).intersects(window))
            continue;
        const ItemPicture picture{item.isFolder ? Picture::Folder : Picture::File};
        icons_.icon(picture).paint(&painter, icon);
        painter.drawText(name, Qt::AlignHCenter | Qt::AlignTop,
                         metrics.elidedText(ShownName(item), Qt::ElideRight, width));
    }
}

void LayoutPreview::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    const QPoint at = event->position().toPoint();
    before_ = held_ = window();
    from_ = at;
    grip_ = GripAt(at, before_);
}

void LayoutPreview::mouseMoveEvent(QMouseEvent* event) {
    const QPoint at = event->position().toPoint();
    if (grip_ == 0) {
        setCursor(ShapeOf(GripAt(at, window())));
        return;
    }
    held_ = Dragged(before_, grip_, at - from_);
    update();
}

// A click alone changes nothing: a quarter of the edges is less than they are.
void LayoutPreview::mouseReleaseEvent(QMouseEvent* event) {
    if (grip_ == 0 || event->button() != Qt::LeftButton)
        return;
    const unsigned grip = std::exchange(grip_, 0);
    const QRect placed = Dragged(before_, grip, event->position().toPoint() - from_);
    if (placed != before_ && placed_)
        placed_({placed.topLeft() * kScale, placed.size() * kScale});
    update();
}

}  // namespace vellmark
