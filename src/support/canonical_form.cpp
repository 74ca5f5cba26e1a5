#include "support/canonical_form.hpp"

#include <utf8proc.h>

#include <algorithm>
#include <array>

namespace vellmark {

namespace {

constexpr auto kDecompose = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE);
constexpr auto kCompose = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE);

// No character below has a second half that joins a letter.
constexpr char16_t kFirstMark = 0x0300;

bool IsSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

bool HasOneForm(char16_t unit, CanonicalForm form) {
    return IsSurrogate(unit) || (unit >= 0xF900 && unit <= 0xFAFF) ||
           (form == CanonicalForm::HfsPlus && unit >= 0x2000 && unit <= 0x2FFF);
}

int CombiningClass(char16_t unit) {
    return IsSurrogate(unit) ? 0 : utf8proc_get_property(unit)->combining_class;
}

// The joined letter, 0 when there is none.
char16_t Join(char16_t letter, char16_t mark, CanonicalForm form) {
    if (mark < kFirstMark || IsSurrogate(letter) || IsSurrogate(mark))
        return 0;
    std::array<utf8proc_int32_t, 2> both = {letter, mark};
    if (utf8proc_normalize_utf32(both.data(), 2, kCompose) != 1)
        return 0;
    const auto joined = static_cast<char16_t>(both[0]);
    return HasOneForm(joined, form) ? char16_t{0} : joined;
}

// True for a unit that belongs to the one before it: a mark, also one of class 0 as vowel signs
// have, the second half of a pair, and the vowel and final consonant of a Hangul syllable.
bool Continues(char16_t unit) {
    if (IsSurrogate(unit))
        return unit >= 0xDC00;
    if (unit >= 0x1160 && unit <= 0x11FF)
        return true;
    const auto category = utf8proc_category(unit);
    return category == UTF8PROC_CATEGORY_MN || category == UTF8PROC_CATEGORY_MC ||
           category == UTF8PROC_CATEGORY_ME;
}

}  // namespace

std::u16string Decompose(std::u16string_view units, CanonicalForm form) {
    std::u16string result;
    for (char16_t unit : units) {
        std::array<utf8proc_int32_t, 8> parts{};
        utf8proc_ssize_t count = 0;
        if (!HasOneForm(unit, form))
            count = utf8proc_decompose_char(unit, parts.data(), parts.size(), kDecompose, nullptr);
        if (count <= 0)
            result += unit;
        for (utf8proc_ssize_t i = 0; i < count; ++i)
            result += static_cast<char16_t>(parts[static_cast<std::size_t>(i)]);
    }
    return result;
}

std::u16string Compose(std::u16string_view units, CanonicalForm form) {
    std::u16string result;
    std::size_t letter = std::u16string::npos;
    int lastClass = 0;
    for (char16_t unit : units) {
        const int combining = CombiningClass(unit);
        // A mark of the same class between the two keeps them apart.
        const bool reaches = letter != std::u16string::npos &&
                             (letter + 1 == result.size() || lastClass < combining);
        const char16_t joined = reaches ? Join(result[letter], unit, form) : char16_t{0};
        if (joined != 0) {
            result[letter] = joined;
            continue;
        }
        if (combining == 0)
            letter = result.size();
        lastClass = combining;
        result += unit;
    }
    return result;
}

std::u16string ComposeName(std::u16string_view name) {
    std::u16string units(name);
    if (std::all_of(units.begin(), units.end(), [](char16_t unit) { return unit < kFirstMark; }))
        return units;
    OrderMarks(units);
    return Compose(units, CanonicalForm::WithSymbols);
}

std::u16string FoldCase(std::u16string_view name) {
    std::u16string folded(name);
    for (char16_t& unit : folded) {
        if (unit < 0x80)
            unit = unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
        else if (!IsSurrogate(unit))
            unit = static_cast<char16_t>(utf8proc_toupper(unit));
    }
    return folded;
}

void OrderMarks(std::u16string& units) {
    auto from = units.begin();
    while (from != units.end()) {
        const auto isMark = [](char16_t unit) { return CombiningClass(unit) != 0; };
        from = std::find_if(from, units.end(), isMark);
        const auto to = std::find_if_not(from, units.end(), isMark);
        std::stable_sort(
            from, to, [](char16_t a, char16_t b) { return CombiningClass(a) < CombiningClass(b); });
        from = to;
    }
}

void CutAtLetter(std::u16string& units, std::size_t most) {
    if (units.size() <= most)
        return;
    std::size_t end = most;
    while (end > 0 && Continues(units[end]))
        --end;
    // A letter that fills the whole name with its marks is cut behind a mark, not to nothing.
    units.resize(end > 0 ? end : most);
}

}  // namespace vellmark
