#include "workbench/inspect/resource_look.hpp"

#include <QImage>
#include <QPainter>
#include <QPlainTextEdit>
#include <algorithm>
#include <cmath>

#include "support/sentences.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

/// Shows small pictures with large pixels, and large ones as a whole.
class PictureView final : public QWidget {
  public:
    using QWidget::QWidget;

    void show(const ResourcePicture& picture, const QString& caption) {
        image_ = QImage(reinterpret_cast<const uchar*>(picture.pixels.data()),
                        static_cast<int>(picture.width), static_cast<int>(picture.height),
                        QImage::Format_RGBA8888)
                     .copy();
        caption_ = caption;
        setAccessibleDescription(caption);
        update();
    }

  protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.fillRect(rect(), palette().brush(QPalette::Base));
        const int line = fontMetrics().lineSpacing() + 2 * kMargin;
        const QRect room = rect().adjusted(kMargin, kMargin, -kMargin, -line);
        const QRectF place = placeIn(room);
        if (!place.isEmpty()) {
            drawGround(painter, place);
            painter.setRenderHint(QPainter::SmoothPixmapTransform, place.width() < image_.width());
            painter.drawImage(place, image_);
        }
        painter.setPen(palette().color(QPalette::Text));
        painter.drawText(QRect(0, height() - line, width(), line), Qt::AlignCenter, caption_);
    }

  private:
    static constexpr int kMargin = 6;
    static constexpr int kMostTimes = 8;
    static constexpr int kTile = 8;

    // A whole number of times larger, so that all pixels stay alike, or smaller.
    [[nodiscard]] QRectF placeIn(const QRect& room) const {
        const QSizeF size(image_.size());
        const double fits = std::min(room.width() / size.width(), room.height() / size.height());
        if (!(fits > 0))
            return {};
        const double times = fits < 1 ? fits : std::min<double>(std::floor(fits), kMostTimes);
        const QSizeF shown = size * times;
        return {QPointF(room.x() + std::floor((room.width() - shown.width()) / 2),
                        room.y() + std::floor((room.height() - shown.height()) / 2)),
                shown};
    }

    // Tiles, which show where the picture covers nothing: in no palette they are its colours.
    static void drawGround(QPainter& painter, const QRectF& place) {
        painter.save();
        painter.setClipRect(place);
        painter.fillRect(place, QColor(0xC8, 0xC8, 0xC8));
        for (int y = 0; y * kTile < place.height(); ++y)
            for (int x = y % 2; x * kTile < place.width(); x += 2)
                painter.fillRect(QRectF(place.x() + x * kTile, place.y() + y * kTile, kTile, kTile),
                                 QColor(0xE4, 0xE4, 0xE4));
        painter.restore();
    }

    QImage image_;
    QString caption_;
};

ResourceLook::ResourceLook(Language language, QWidget* owner)
    : QStackedWidget(owner),
      language_(language),
      picture_(new PictureView(this)),
      texts_(new QPlainTextEdit(this)) {
    setObjectName(QStringLiteral("Apercu"));
    const QString name = Words(Sentence::kPictureOrText, language);
    picture_->setObjectName(QStringLiteral("ImageRessource"));
    picture_->setAccessibleName(name);
    texts_->setObjectName(QStringLiteral("TexteRessource"));
    texts_->setAccessibleName(name);
    texts_->setReadOnly(true);
    texts_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    texts_->setTabChangesFocus(true);
    addWidget(texts_);
    addWidget(picture_);
}

void ResourceLook::clear() {
    texts_->clear();
    texts_->setPlaceholderText(QString());
    setCurrentWidget(texts_);
}

void ResourceLook::show(const ShownResource& resource) {
    clear();
    if (resource.picture) {
        picture_->show(*resource.picture,
                       Words(Reason(Sentence::kPictureOfPixels, resource.picture->width,
                                    resource.picture->height),
                             language_));
        setCurrentWidget(picture_);
        return;
    }
    if (resource.texts.empty())
        texts_->setPlaceholderText(Words(Sentence::kBytesAlone, language_));
    QStringList lines;
    for (const std::string& text : resource.texts)
        lines << (resource.texts.size() == 1
                      ? ToQString(text)
                      : QStringLiteral("%1: %2").arg(lines.size() + 1).arg(ToQString(text)));
    texts_->setPlainText(lines.join(u'\n'));
}

}  // namespace vellmark
