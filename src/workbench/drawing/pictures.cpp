#include "workbench/drawing/pictures.hpp"

#include <QFile>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

// Of a library that is linked in whole nothing calls by itself; it stands outside of all
// namespaces.
static void LoadDrawings() {
    Q_INIT_RESOURCE(icons);
}

namespace vellmark {

namespace {

constexpr int kSizes[] = {16, 24, 32, 48, 64};

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

// The drawings one over the other, in all sizes.
QIcon Rendered(std::initializer_list<QByteArray> drawings) {
    QIcon icon;
    for (const int size : kSizes) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        for (const QByteArray& drawing : drawings)
            if (!drawing.isEmpty())
                QSvgRenderer(drawing).render(&painter);
        painter.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

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
    const Colours colours = ColoursOf(set_, isDark_);
    const char* const mark = picture.state == PictureState::Plain ? kSetMarks[set] : kMarks[state];
    const QByteArray over = *mark == '\0' ? QByteArray() : Drawing(ItemPath(mark), colours);
    return icons_.emplace(key, Rendered({Drawing(ItemPath(kShapes[shape]), colours), over}))
        .first->second;
}

QIcon ToolIcon(const QString& name, bool isDark) {
    return Rendered(
        {Drawing(QStringLiteral(":/tools/%1.svg").arg(name), ColoursOf(PictureSet::Iso, isDark))});
}

QIcon ProgramIcon() {
    return Rendered(
        {Drawing(QStringLiteral(":/tools/vellmark.svg"), ColoursOf(PictureSet::Iso, false))});
}

}  // namespace vellmark
