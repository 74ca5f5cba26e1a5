#include "project/labels.hpp"

#include <algorithm>
#include <string_view>

#include "project/view_names.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"
#include "support/result.hpp"
#include "support/sentences.hpp"
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

Reason LengthRefusal(const LabelRule& rule, const std::string& label) {
    const std::size_t letters = LettersOf(label).size();
    if (letters > 0 && letters <= rule.limit)
        return {};
    return Reason(Sentence::kLabelLength, Printable(label), letters, rule.system, rule.limit);
}

// In Windows-1252, `_` for what that lacks.
std::string NarrowWithGaps(std::u16string letters) {
    for (char16_t& letter : letters)
        letter = IsNarrow({&letter, 1}) ? letter : u'_';
    return WideToNarrow(letters);
}

// In Windows-1252, as an ISO side and an HFS+ project keep it.
Result<std::string> NarrowLabel(const LabelRule& rule, const std::string& label) {
    const std::u16string letters = LettersOf(label);
    if (!IsNarrow(letters) || HasControl(label))
        return Failed(Sentence::kLabelNotNarrow, Printable(label));
    if (Reason refusal = LengthRefusal(rule, label))
        return Failed(std::move(refusal));
    return WideToNarrow(letters);
}

}  // namespace

Reason CheckLabel(const std::string& label, bool isHfsPlus) {
    if (HasControl(label))
        return Reason(Sentence::kLabelControl, Printable(label));
    if (Reason refusal = LengthRefusal(isHfsPlus ? kHfsPlusRule : kHfsRule, label))
        return refusal;
    if (!LabelFromShown(isHfsPlus, label))
        return Reason(Sentence::kLabelNotMacRoman, Printable(label));
    return {};
}

Reason SetLabels(ProjectFile& project, const std::string& label, LabelSide side) {
    ProjectHeader& header = project.header();
    if (project.mode() == ProjectMode::IsoPlus || side == LabelSide::Iso) {
        const Result<std::string> narrow = NarrowLabel(kIsoRule, label);
        if (!narrow)
            return narrow.error();
        header.setIsoLabel(*narrow);
        return {};
    }
    if (Reason refusal = CheckLabel(label, header.isHfsPlus()))
        return refusal;
    std::string macLabel;
    if (header.isHfsPlus()) {
        const Result<std::string> narrow = NarrowLabel(kHfsPlusRule, label);
        if (!narrow)
            return narrow.error();
        macLabel = *narrow;
        std::replace(macLabel.begin(), macLabel.end(), ':', '/');
    } else {
        macLabel = LabelFromShown(false, label).value_or(CatalogName{}).hfs;
    }
    header.setHfsLabel(macLabel);
    if (side == LabelSide::Both)
        header.setIsoLabel(NarrowWithGaps(LettersOf(label)));
    return {};
}

}  // namespace vellmark
