#include "session/labels.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "containers/names.hpp"
#include "project/view_names.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kHfsPlusLabelLimit = 61;

bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

}  // namespace

std::optional<std::string> CheckedLabel(const std::string& label, bool isHfsPlus,
                                        Messages& messages) {
    std::string narrow = Utf8ToNarrow(label);
    const std::size_t limit = isHfsPlus ? kHfsPlusLabelLimit : kHfsLabelLimit;
    if (NarrowToUtf8(narrow) != label || std::any_of(narrow.begin(), narrow.end(), IsControl)) {
        messages.showMessage(
            fmt::format("The label \"{}\" has a character outside Western European letters.",
                        Printable(label)));
        return std::nullopt;
    }
    if (narrow.empty() || narrow.size() > limit) {
        messages.showMessage(fmt::format("The label \"{}\" has {} letters; {} takes 1 to {}.",
                                         label, narrow.size(), isHfsPlus ? "HFS+" : "HFS", limit));
        return std::nullopt;
    }
    return narrow;
}

bool SetLabels(ProjectFile& project, const std::string& label, LabelSide side, Messages& messages) {
    const bool plus = project.header().isHfsPlus();
    const std::optional<std::string> narrow = CheckedLabel(label, plus, messages);
    if (!narrow)
        return false;
    const bool isoPlus = project.mode() == ProjectMode::IsoPlus;
    if (isoPlus || side != LabelSide::Hfs)
        project.header().setIsoLabel(*narrow);
    if (!isoPlus && side != LabelSide::Iso)
        project.header().setHfsLabel(plus ? *narrow : AnsiToMacName(*narrow));
    return true;
}

}  // namespace vellmark
