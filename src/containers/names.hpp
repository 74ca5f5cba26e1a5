// Names of files in the forms they travel in, as pure conversions that cannot fail.
//
// - Wide PC name: UTF-16 in host order. It may hold the private codes of
// containers/name_tables.hpp,
//   so that a Macintosh name with `/` or `?` lives on a PC and comes back unchanged.
// - ANSI name: Windows-1252.
// - Macintosh name: MacRoman. The limit of 31 bytes of an HFS catalog is the callers'.
// - `HfsPlusName`: containers/hfs_plus_name.hpp.
// - Joliet units: UTF-16, precomposed; most significant byte first on the disc (ECMA-119).
//
// A 0 in the source ends a name here unless the function says otherwise.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "containers/hfs_plus_name.hpp"

namespace vellmark {

/// Wide PC name to MacRoman by the fixed table (containers/pc_name.hpp has the names of files).
/// Units up to U+00FE go through `kPcToMacTable`, where a character without an equivalent ends the
/// name; U+2014 gives `-` and U+20AC the currency sign DB; a private code gives its byte; units
/// above U+F02A vanish; all others give `_`.
[[nodiscard]] std::string WideToMacName(std::u16string_view wide);

/// MacRoman to UTF-16, precomposed, by Apple's published mapping: to show names of HFS volumes.
/// F0 gives U+F8FF, DB gives U+20AC. A 0 gives U+0000.
[[nodiscard]] std::u16string MacNameToWide(std::string_view mac);

/// The way back, for a name that a user typed, precomposed or decomposed; nothing when a character
/// has no MacRoman byte.
[[nodiscard]] std::optional<std::string> WideToMacRomanExact(std::u16string_view wide);

/// The units of a Joliet name, in host order.
[[nodiscard]] std::u16string AnsiToJolietUnits(std::string_view ansi);

/// By `kPcToMacTable`, with `_` for a character without an equivalent: a name is not cut short.
[[nodiscard]] std::string AnsiToMacName(std::string_view ansi);
/// By `kMacToPcTable`, where an entry 0 ends the name.
[[nodiscard]] std::string MacToAnsiName(std::string_view mac);

/// What a Macintosh file name cannot hold.
inline constexpr std::string_view kMacForbiddenChars = ":";

/// The name without its leading spaces and A0 bytes, with `_` for each character of the set. A 0
/// stays.
[[nodiscard]] std::string ReplaceChars(std::string_view name, std::string_view set);

/// MacRoman in lower case, for wildcard searches. A 0 stays.
[[nodiscard]] std::string FoldMacRomanLower(std::string_view mac);

/// ANSI name in capitals without accents, `AE` and `OE` for the ligatures; a 0 stays, and so does
/// every byte that is no letter.
[[nodiscard]] std::string IsoUpperFold(std::string_view ansi);
/// A name of A to Z, 0 to 9 and `_` (the d-characters of ECMA-119, 7.4.1): blanks trimmed at both
/// ends, folded, `_` for all else. The full stop is such a character: split off the extension
/// first.
[[nodiscard]] std::string IsoNormalizeName(std::string_view ansi);

/// The name with `_` appended when it starts with a device name of the PC (CON, PRN, AUX, NUL, COM1
/// to COM4, LPT1 to LPT3) in any case; `_` for the empty name.
[[nodiscard]] std::string GuardDeviceName(std::string_view name);

/// CRC of polynomial 1021, initial value 0, neither reflected nor inverted. A 0 counts.
[[nodiscard]] std::uint16_t NameCrc16(std::string_view bytes);
/// The CRC in four upper-case hexadecimal digits, low digit first.
[[nodiscard]] std::string NameCrcDigits(std::string_view name);

}  // namespace vellmark
