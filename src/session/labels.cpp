#include "session/labels.hpp"

#include <fmt/core.h>

#include <algorithm>

#include "project/view_names.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"
#include "volume/catalog_name.hpp"

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

bool HasControl(const std::string& label) {
    return std::any_of(label.begin(), label.end(), IsControl);
}

// The letters of a label, a mark with its letter.
std::u16string LettersOf(const std::string& label) {
    return ComposeName(Utf8ToWide(label));
}

bool HasRightLength(const LabelRule& rule, const std::string& label, Messages& messages) {
    const std::size_t letters = LettersOf(label).size();
    if (letters > 0 && letters <= rule.limit)
        return true;
    messages.showMessage(fmt::format("The label \"{}\" has {} letters; {} takes 1 to {}.",
                                     Printable(label), letters, rule.system, rule.limit));
    return false;
}

// In Windows-1252, `_` for what that lacks.
std::string NarrowWithGaps(std::u16string letters) {
    for (char16_t& letter : letters)
        letter = IsNarrow({&letter, 1}) ? letter : u'_';
    return WideToNarrow(letters);
}

void Refuse(const std::string& label, std::string_view reason, Messages& messages) {
    messages.showMessage(fmt::format("The label \"{}\" has {}.", Printable(label), reason));
}

// In Windows-1252, as an ISO side and an HFS+ project keep it.
std::optional<std::string> NarrowLabel(const LabelRule& rule, const std::string& label,
                                       Messages& messages) {
    const std::u16string letters = LettersOf(label);
    if (!IsNarrow(letters) || HasControl(label)) {
        Refuse(label, "a character outside Western European letters", messages);
        return std::nullopt;
    }
    return HasRightLength(rule, label, messages) ? std::optional(WideToNarrow(letters))
                                                 : std::nullopt;
}

}  // namespace

bool CheckLabel(const std::string& label, bool isHfsPlus, Messages& messages) {
    if (HasControl(label)) {
        Refuse(label, "a control character", messages);
        return false;
    }
    if (!HasRightLength(isHfsPlus ? kHfsPlusRule : kHfsRule, label, messages))
        return false;
    if (!LabelFromShown(isHfsPlus, label)) {
        Refuse(label, "a character that is not in the character set of HFS, MacRoman", messages);
        return false;
    }
    return true;
}

bool SetLabels(ProjectFile& project, const std::string& label, LabelSide side, Messages& messages) {
    ProjectHeader& header = project.header();
    if (project.mode() == ProjectMode::IsoPlus || side == LabelSide::Iso) {
        const auto narrow = NarrowLabel(kIsoRule, label, messages);
        if (narrow)
            header.setIsoLabel(*narrow);
        return narrow.has_value();
    }
    if (!CheckLabel(label, header.isHfsPlus(), messages))
        return false;
    std::string macLabel;
    if (header.isHfsPlus()) {
        const auto narrow = NarrowLabel(kHfsPlusRule, label, messages);
        if (!narrow)
            return false;
        macLabel = *narrow;
        std::replace(macLabel.begin(), macLabel.end(), ':', '/');
    } else {
        macLabel = LabelFromShown(false, label).value_or(CatalogName{}).hfs;
    }
    header.setHfsLabel(macLabel);
    if (side == LabelSide::Both)
        header.setIsoLabel(NarrowWithGaps(LettersOf(label)));
    return true;
}

}  // namespace vellmark
