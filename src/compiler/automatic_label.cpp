#include "compiler/automatic_label.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <optional>
#include <string_view>

#include "containers/names.hpp"
#include "support/encoding.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr int kTextUntitled = 1287;

bool IsUntitled(std::string_view label) {
    return label == UntitledLabel(Language::English) || label == UntitledLabel(Language::French);
}

std::string ImageName(const std::string& path) {
    std::string name = path.substr(path.find_last_of('/') + 1);
    const std::size_t dot = name.find_last_of('.');
    if (dot != std::string::npos && dot > 0)
        name.resize(dot);
    return name;
}

// Nothing for a name that would come out as another one.
std::optional<std::string> LabelOf(const std::string& name) {
    std::string label = Utf8ToNarrow(name);
    const bool hasControls = std::any_of(label.begin(), label.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
    });
    return hasControls || NarrowToUtf8(label) != name ? std::nullopt
                                                      : std::optional(std::move(label));
}

}  // namespace

std::string UntitledLabel(Language language) {
    return Utf8ToNarrow(Text(kTextUntitled, language));
}

bool SettleLabels(ProjectHeader& header, const std::string& targetPath, Messages& messages) {
    const bool namesIso = IsUntitled(header.isoLabel());
    const bool namesHfs = IsUntitled(header.hfsLabel());
    std::optional<std::string> label;
    if (namesIso || namesHfs) {
        label = LabelOf(ImageName(targetPath));
        if (!label)
            messages.showTimedMessage(
                fmt::format("The name of {} has characters that no label can hold: the volume is "
                            "called \"{}\".",
                            Printable(targetPath), messages.text(kTextUntitled)));
    }
    const std::string given = label.value_or(UntitledLabel(messages.language()));
    if (namesIso || header.isoLabel().empty())
        header.setIsoLabel(given);
    if (namesHfs || header.hfsLabel().empty())
        header.setHfsLabel(header.isHfsPlus() ? given : AnsiToMacName(given));
    return label.has_value();
}

}  // namespace vellmark
