#include "workbench/main_window/mode_look.hpp"

#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextFirstView = 1012;
constexpr int kTextPartitionMode = 1113;

}  // namespace

QColor ModeColour(FileMode mode, bool isDark) {
    switch (mode) {
        case FileMode::Partition:
            return isDark ? QColor(0x20, 0x2a, 0x20) : QColor(0xf4, 0xfe, 0xf4);
        case FileMode::IsoPlus:
            return isDark ? QColor(0x1e, 0x28, 0x2c) : QColor(0xf4, 0xfe, 0xff);
        case FileMode::Project:
        case FileMode::Unknown:
            break;
    }
    return isDark ? QColor(0x2c, 0x29, 0x20) : QColor(0xfe, 0xfc, 0xf6);
}

QString ModeWords(const Documents& documents, Language language) {
    if (documents.mode == FileMode::Partition)
        return Words(kTextPartitionMode, language);
    if (documents.mode == FileMode::IsoPlus)
        return QStringLiteral("ISO+");
    return Words(kTextFirstView + static_cast<int>(documents.view), language);
}

}  // namespace vellmark
