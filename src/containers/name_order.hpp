// Orders of names: of catalog keys, by which a volume is searched, and of searches with a wildcard.
// Each comparison gives -1, 0 or 1 for a first name that is smaller, equal or greater.
#pragma once

#include <span>
#include <string_view>

#include "support/endian.hpp"

namespace vellmark {

/// Order of the keys of an HFS catalog: the first difference in rank decides, then the shorter is
/// smaller. MacRoman bytes, nothing stripped; no regard to case.
[[nodiscard]] int CompareHfsKeyNames(std::string_view a, std::string_view b);

/// Order of the keys of an HFS+ catalog without regard to case (`FastUnicodeCompare` of Apple
/// Technical Note TN1150). Ignorable units count for nothing; a NUL ranks last.
[[nodiscard]] int CompareHfsPlusNames(std::u16string_view a, std::u16string_view b);
/// The same with a key as it lies on the disk.
[[nodiscard]] int CompareHfsPlusNames(std::u16string_view a, std::span<const be16> b);
[[nodiscard]] int CompareHfsPlusNames(std::span<const be16> a, std::span<const be16> b);

/// Order of searches and sorted lists of MacRoman names. Spaces and A0 bytes at the end of the
/// candidate do not count. The search `*` equals everything; a search with a `*` equals a candidate
/// without one that holds the part before the `*` or the part behind it. Those parts are sought in
/// the candidate's lower case: the search must come in lower case.
[[nodiscard]] int CompareName(std::string_view search, std::string_view candidate);

/// The same wildcard for HFS+ names, its parts sought with regard to case; else the order of keys.
[[nodiscard]] int CompareHfsPlusSearch(std::u16string_view search, std::u16string_view candidate);

}  // namespace vellmark
