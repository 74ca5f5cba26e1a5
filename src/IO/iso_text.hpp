// Texts, names and dates of an ISO 9660 or Joliet tree in the forms that the rest of the program
// uses.
#pragma once

#include <string>
#include <string_view>

#include "IO/iso_structures.hpp"
#include "support/clock.hpp"

namespace vellmark {

/// The two trees of a disc.
enum class IsoTree { Iso, Joliet };

/// The bytes of a name or text field in UTF-8: big-endian UCS-2 in a Joliet tree, else Windows-1252
/// (which agrees with the characters that ISO 9660 allows).
[[nodiscard]] std::string IsoTextToUtf8(std::string_view bytes, IsoTree tree);
/// A text field without what fills it up: blanks and zeros at its end.
[[nodiscard]] std::string IsoFieldText(std::string_view field, IsoTree tree);

/// A file's name without its version (`;1`) and, in an ISO tree, without the full stop that the
/// format asks for when there is no extension.
[[nodiscard]] std::string WithoutIsoVersion(std::string_view name, IsoTree tree);
/// A name that stays inside the folder it is written to: `/` and NUL become `_`, and so do the full
/// stops of `.` and `..`.
[[nodiscard]] std::string SafeIsoName(std::string name);

/// The instant of a directory record's date, 0 when the date cannot be one.
[[nodiscard]] UnixSeconds IsoDateToUnix(const IsoShortDate& date);
/// The instant of a descriptor's date, 0 when it is not given or cannot be one.
[[nodiscard]] UnixSeconds IsoLongDateToUnix(const IsoLongDate& date);
/// A descriptor's date as `2024-03-01 12:30:00.00 +01:00`, "" when it is not given.
[[nodiscard]] std::string IsoDateText(const IsoLongDate& date);

}  // namespace vellmark
