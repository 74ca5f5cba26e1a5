// Canonical decomposition and composition of UTF-16 within the limits of HFS+ names. Units beyond
// the basic plane, and halves of pairs, pass unchanged.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vellmark {

/// Which characters have two forms. U+F900 to U+FAFF never have: their decomposition is another
/// character of the same look.
enum class CanonicalForm {
    HfsPlus,      ///< not U+2000 to U+2FFF either (Apple Technical Note TN1150)
    WithSymbols,  ///< these as well, e.g. U+2126 as U+03A9, U+2260 as = and U+0338
};

/// Each unit decomposed fully, Hangul included; marks stay in the order in which they come.
[[nodiscard]] std::u16string Decompose(std::u16string_view units, CanonicalForm form);

/// Letters and marks joined where the joined letter has a decomposition in that form, so that
/// decomposing gives the units back.
[[nodiscard]] std::u16string Compose(std::u16string_view units, CanonicalForm form);

/// A name with each letter and its marks joined, as a keyboard gives it: names of files that were
/// on a Macintosh come in letters and marks. What is one character stays that character.
[[nodiscard]] std::u16string ComposeName(std::u16string_view name);

/// A name without regard to case, for readers that take capitals and small letters for the same:
/// each unit as its capital.
[[nodiscard]] std::u16string FoldCase(std::u16string_view name);

/// Puts the marks behind each letter in canonical order.
void OrderMarks(std::u16string& units);

/// Cuts to `most` units, earlier rather than between a letter and its marks or within a pair.
void CutAtLetter(std::u16string& units, std::size_t most);

}  // namespace vellmark
