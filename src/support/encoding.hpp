// The character sets of PC names: UTF-8 on disk, UTF-16 as the wide form, Windows-1252 as the
// narrow one.
#pragma once

#include <string>
#include <string_view>

namespace vellmark {

/// UTF-8 to UTF-16. A byte that is no valid UTF-8 becomes the lone unit DC80 to DCFF that
/// `WideToUtf8` turns back into the same byte, so that any name of a file system survives.
[[nodiscard]] std::u16string Utf8ToWide(std::string_view utf8);

/// The way back. A lone surrogate other than DC80 to DCFF is written as its three bytes.
[[nodiscard]] std::string WideToUtf8(std::u16string_view wide);

/// True for a unit that stands for a byte outside UTF-8, or for any half of a pair standing alone.
[[nodiscard]] bool IsLoneSurrogate(std::u16string_view wide, std::size_t at);

/// UTF-16 to Windows-1252; `?` where there is no such character.
[[nodiscard]] std::string WideToNarrow(std::u16string_view wide);

/// Whether Windows-1252 has every character of it.
[[nodiscard]] bool IsNarrow(std::u16string_view wide);

/// Windows-1252 to UTF-16; the five unused bytes give the control of the same value.
[[nodiscard]] std::u16string NarrowToWide(std::string_view narrow);

/// Windows-1252 to UTF-8, for paths handed to the system and texts shown to a person.
[[nodiscard]] std::string NarrowToUtf8(std::string_view narrow);

/// UTF-8 to Windows-1252; `?` where there is no such character.
[[nodiscard]] std::string Utf8ToNarrow(std::string_view utf8);

/// Whether a character behind `before` (0 for none) can be seen and leaves what stands around it
/// alone. Not controls and bytes outside UTF-8, marks that turn the direction of writing, and what
/// takes no room; a joiner or selector counts as seen where it is part of a spelling or a picture.
[[nodiscard]] bool IsShown(char32_t scalar, char32_t before);

/// What stands for a character (or half of a pair, DC80 to DCFF for a byte outside UTF-8).
using ReplaceScalar = std::string (*)(char32_t scalar);
/// The text with a replacement for each character that is not `IsShown`.
[[nodiscard]] std::string ReplaceNotShown(std::string_view utf8, ReplaceScalar replacement);

/// A name as it can be printed, with U+FFFD for what is not `IsShown`.
[[nodiscard]] std::string Printable(std::string_view utf8);

[[nodiscard]] bool IsAscii(std::string_view text);

/// ASCII letters only; other bytes stay.
[[nodiscard]] std::string AsciiUpper(std::string_view text);

}  // namespace vellmark
