// Texts of the program as the toolkit wants them.
#pragma once

#include <QFile>
#include <QString>
#include <string_view>

#include "support/reason.hpp"
#include "support/texts.hpp"

namespace vellmark {

[[nodiscard]] inline QString ToQString(std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

/// The numbered text in a language.
[[nodiscard]] inline QString Words(int number, Language language) {
    return ToQString(Text(number, language));
}
[[nodiscard]] inline QString Words(const Reason& reason, Language language) {
    return ToQString(reason.words(language));
}
/// A numbered text with its operands.
template <typename... Operands>
[[nodiscard]] QString WordsWith(int number, Language language, const Operands&... operands) {
    return ToQString(FormatText(number, language, operands...));
}

/// The path of a dialog or a drop as the system has it.
[[nodiscard]] inline std::string ToPath(const QString& path) {
    const QByteArray bytes = QFile::encodeName(path);
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

}  // namespace vellmark
