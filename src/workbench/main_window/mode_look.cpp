#include "workbench/main_window/mode_look.hpp"

#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextFirstView = 1012;
constexpr int kTextPartitionMode = 1113;

constexpr int kHalfLight = 128;

struct Tint {
    QRgb light;
    int red, green, blue;  ///< added to a dark colour
};
// By mode.
constexpr Tint kTints[] = {{0xfffefcf6, 9, 6, 1}, {0xfff4fef4, 1, 9, 3}, {0xfff4feff, 1, 7, 10}};

}  // namespace

QColor ModeColour(FileMode mode, const QColor& base) {
    const auto tint = kTints[mode == FileMode::Unknown ? 0 : static_cast<std::size_t>(mode)];
    if (base.lightness() >= kHalfLight)
        return QColor(tint.light);
    // Dark palettes differ much: a breath of the same colour over theirs.
    return {base.red() + tint.red, base.green() + tint.green, base.blue() + tint.blue};
}

QString ModeWords(const Documents& documents, Language language) {
    if (documents.mode == FileMode::Partition)
        return Words(kTextPartitionMode, language);
    if (documents.mode == FileMode::IsoPlus)
        return QStringLiteral("ISO+");
    return Words(kTextFirstView + static_cast<int>(documents.view), language);
}

}  // namespace vellmark
