#include "compiler/automatic_label.hpp"

#include <algorithm>
#include <optional>
#include <string_view>

#include "containers/pc_name.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr int kTextUntitled = 1287;

std::string ImageName(const std::string& path) {
    std::string name = path.substr(path.find_last_of('/') + 1);
    const std::size_t dot = name.find_last_of('.');
    if (dot != std::string::npos && dot > 0)
        name.resize(dot);
    return name;
}

// Nothing for a name that would come out as another one.
std::optional<std::string> LabelOf(const std::string& name) {
    const std::u16string wide = ComposeName(Utf8ToWide(name));
    const bool hasControls =
        std::any_of(wide.begin(), wide.end(), [](char16_t c) { return c < 0x20 || c == 0x7F; });
    return hasControls || !IsNarrow(wide) ? std::nullopt : std::optional(WideToNarrow(wide));
}

}  // namespace

std::string UntitledLabel(Language language) {
    return Utf8ToNarrow(Text(kTextUntitled, language));
}

bool IsUntitledLabel(std::string_view label) {
    return label == UntitledLabel(Language::English) || label == UntitledLabel(Language::French);
}

bool SettleLabels(ProjectHeader& header, const std::string& targetPath, Messages& messages) {
    const bool namesIso = IsUntitledLabel(header.isoLabel());
    const bool namesHfs = IsUntitledLabel(header.hfsLabel());
    std::optional<std::string> label;
    if (namesIso || namesHfs) {
        label = LabelOf(ImageName(targetPath));
        if (!label)
            messages.showTimedMessage(
                Reason(Sentence::kNameIsNoLabel, Printable(targetPath), ToldText{kTextUntitled}));
    }
    const std::string given = label.value_or(UntitledLabel(messages.language()));
    if (namesIso || header.isoLabel().empty())
        header.setIsoLabel(given);
    if (namesHfs || header.hfsLabel().empty())
        header.setHfsLabel(header.isHfsPlus() ? given : PcToMacName(NarrowToWide(given)).bytes);
    return label.has_value();
}

}  // namespace vellmark
