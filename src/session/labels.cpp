#include "session/labels.hpp"

#include <fmt/core.h>

#include <algorithm>

#include "containers/names.hpp"
#include "project/view_names.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kHfsPlusLabelLimit = 61;
/// The volume identifier of a primary volume descriptor (ECMA-119, 8.4.7).
constexpr std::size_t kIsoLabelLimit = 32;

/// What a label is for, and how many letters it may have.
struct LabelRule {
    std::string_view system;
    std::size_t limit;
};
constexpr LabelRule kHfsRule = {"HFS", kHfsLabelLimit};
constexpr LabelRule kHfsPlusRule = {"HFS+", kHfsPlusLabelLimit};
constexpr LabelRule kIsoRule = {"ISO 9660", kIsoLabelLimit};

bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

std::optional<std::string> CheckedBy(const LabelRule& rule, const std::string& label,
                                     Messages& messages) {
    std::string narrow = Utf8ToNarrow(label);
    if (NarrowToUtf8(narrow) != label || std::any_of(narrow.begin(), narrow.end(), IsControl)) {
        messages.showMessage(
            fmt::format("The label \"{}\" has a character outside Western European letters.",
                        Printable(label)));
        return std::nullopt;
    }
    if (narrow.empty() || narrow.size() > rule.limit) {
        messages.showMessage(fmt::format("The label \"{}\" has {} letters; {} takes 1 to {}.",
                                         label, narrow.size(), rule.system, rule.limit));
        return std::nullopt;
    }
    return narrow;
}

}  // namespace

std::optional<std::string> CheckedLabel(const std::string& label, bool isHfsPlus,
                                        Messages& messages) {
    return CheckedBy(isHfsPlus ? kHfsPlusRule : kHfsRule, label, messages);
}

bool SetLabels(ProjectFile& project, const std::string& label, LabelSide side, Messages& messages) {
    const bool plus = project.header().isHfsPlus();
    const bool isoPlus = project.mode() == ProjectMode::IsoPlus;
    const LabelRule& rule = isoPlus || side == LabelSide::Iso ? kIsoRule
                            : plus                            ? kHfsPlusRule
                                                              : kHfsRule;
    const std::optional<std::string> narrow = CheckedBy(rule, label, messages);
    if (!narrow)
        return false;
    if (isoPlus || side != LabelSide::Hfs)
        project.header().setIsoLabel(*narrow);
    if (!isoPlus && side != LabelSide::Iso)
        project.header().setHfsLabel(plus ? *narrow : AnsiToMacName(*narrow));
    return true;
}

}  // namespace vellmark
