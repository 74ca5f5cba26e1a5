#include "workbench/drawing/pictures.hpp"

#include <QApplication>
#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QStyle>
#include <QStyleOption>
#include <QSvgRenderer>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

// Of a library that is linked in whole nothing calls by itself; it stands outside of all
// namespaces.
static void LoadDrawings() {
    Q_INIT_RESOURCE(icons);
}

namespace vellmark {

namespace {

// What the desktop is offered of the program's picture.
constexpr int kDesktopSizes[] = {16, 32, 48, 64, 128};

// In the files the line, the paper and the accent have these colours.
constexpr const char* kLine = "#202020";
constexpr const char* kPaper = "#fefefe";
constexpr const char* kAccent = "#808080";

struct Colours {
    const char* line;
    const char* paper;
    const char* accent;
};

constexpr const char* kShapes[] = {"disc",  "folder", "file",    "text",   "image",
                                   "sound", "film",   "archive", "program"};
static_assert(std::size(kShapes) == static_cast<std::size_t>(Picture::Count));

// A mark in the lower corner; the empty name is none.
constexpr const char* kMarks[] = {"",     "both",         "iso",         "hfs",
                                  "none", "missing-both", "missing-iso", "missing-hfs"};
constexpr const char* kSetMarks[] = {"set-iso", "", "set-hfs"};

Colours ColoursOf(PictureSet set, bool isDark) {
    const char* const accents[2][3] = {{"#7fa8d6", "#9db87f", "#d6a66a"},
                                       {"#5f8fc4", "#86a566", "#c08a48"}};
    const char* const accent = accents[isDark ? 1 : 0][static_cast<std::size_t>(set)];
    return isDark ? Colours{"#d8d8d8", "#3a3a3a", accent} : Colours{"#404448", "#ffffff", accent};
}

QByteArray Drawing(const QString& path, const Colours& colours) {
    static const bool isLoaded = (LoadDrawings(), true);
    (void)isLoaded;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray drawing = file.readAll();
    drawing.replace(kLine, colours.line);
    drawing.replace(kPaper, colours.paper);
    drawing.replace(kAccent, colours.accent);
    return drawing;
}

// Drawings one over the other. They are drawn in the very pixels of the screen, whatever its scale,
// and only when somebody looks at them.
class Drawn final : public QIconEngine {
  public:
    Drawn(std::vector<QString> paths, const Colours& colours)
        : paths_(std::move(paths)), colours_(colours) {}

    void paint(QPainter* painter, const QRect& place, QIcon::Mode mode,
               QIcon::State state) override {
        const double scale = painter->device()->devicePixelRatio();
        QPixmap drawn = pixmap((QSizeF(place.size()) * scale).toSize(), mode, state);
        drawn.setDevicePixelRatio(scale);
        painter->drawPixmap(place, drawn);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override {
        const auto [found, isNew] = drawn_.try_emplace({size.width(), size.height(), mode});
        if (isNew)
            found->second = draw(size, mode);
        return found->second;
    }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        QList<QSize> sizes;
        for (const int size : kDesktopSizes)
            sizes << QSize(size, size);
        return sizes;
    }

    [[nodiscard]] QIconEngine* clone() const override { return new Drawn(*this); }

  private:
    [[nodiscard]] QPixmap draw(const QSize& size, QIcon::Mode mode) const {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        // They are square.
        QRect place(0, 0, std::min(size.width(), size.height()),
                    std::min(size.width(), size.height()));
        place.moveCenter(QRect(QPoint(), size).center());
        for (const QString& path : paths_)
            QSvgRenderer(Drawing(path, colours_)).render(&painter, place);
        painter.end();
        // A tint over a selected picture would hide what it says.
        if (mode != QIcon::Disabled)
            return pixmap;
        QStyleOption option;
        option.palette = QApplication::palette();
        return QApplication::style()->generatedIconPixmap(mode, pixmap, &option);
    }

    std::vector<QString> paths_;
    Colours colours_;
    std::map<std::tuple<int, int, QIcon::Mode>, QPixmap> drawn_;
};

QString ItemPath(const char* name) {
    return QStringLiteral(":/items/%1.svg").arg(QLatin1String(name));
}

}  // namespace

void Pictures::setDark(bool isDark) {
    if (isDark_ != isDark)
        icons_.clear();
    isDark_ = isDark;
}

QIcon Pictures::icon(const ItemPicture& picture) const {
    const auto shape = static_cast<std::size_t>(picture.shape);
    const auto state = static_cast<std::size_t>(picture.state);
    const auto set = static_cast<std::size_t>(set_);
    const int key = static_cast<int>((shape * std::size(kMarks) + state) * 3 + set);
    const auto found = icons_.find(key);
    if (found != icons_.end())
        return found->second;
    std::vector<QString> paths = {ItemPath(kShapes[shape])};
    const char* const mark = picture.state == PictureState::Plain ? kSetMarks[set] : kMarks[state];
    if (*mark != '\0')
        paths.push_back(ItemPath(mark));
    return icons_.emplace(key, QIcon(new Drawn(std::move(paths), ColoursOf(set_, isDark_))))
        .first->second;
}

QIcon ToolIcon(const QString& name, bool isDark) {
    return QIcon(new Drawn({QStringLiteral(":/tools/%1.svg").arg(name)},
                           ColoursOf(PictureSet::Iso, isDark)));
}

std::string DrawnFile(const QString& path) {
    return Drawing(QStringLiteral(":/%1.svg").arg(path), ColoursOf(PictureSet::Iso, false))
        .toStdString();
}

QIcon ProgramIcon() {
    return ToolIcon(QStringLiteral("vellmark"), false);
}

}  // namespace vellmark
