// Macintosh dates: unsigned seconds since 1904-01-01 00:00:00, local time in HFS, GMT in HFS+
// (Inside Macintosh: Files; Apple Technical Note TN1150).
#pragma once

#include <cstdint>
#include <optional>

#include "support/clock.hpp"

namespace vellmark {

/// Seconds since 1904-01-01, as a volume keeps them.
using MacSeconds = std::uint32_t;

/// Seconds from 1904-01-01 to 1970-01-01.
inline constexpr std::int64_t kMacEpochOffset = 2'082'844'800;

/// GMT, for HFS+. An instant outside 1904 to 2040 becomes the nearest one that the field holds,
/// which is 1 at the lower end: 0 stands for no date.
[[nodiscard]] MacSeconds ToMacGmt(UnixSeconds at);
/// Local time, for HFS and for project records, with the same limits.
[[nodiscard]] MacSeconds ToMacLocal(UnixSeconds at, const Clock& clock);
/// The instant of a GMT value.
[[nodiscard]] UnixSeconds FromMacGmt(MacSeconds seconds);
/// The instant of a local value; of the hour that a zone repeats, one of the two.
[[nodiscard]] UnixSeconds FromMacLocal(MacSeconds seconds, const Clock& clock);
/// The instant of a date field, nothing for the one that a field of 0 gives in any zone.
[[nodiscard]] std::optional<UnixSeconds> GivenDate(UnixSeconds date);
/// Now, in the form of the volume.
[[nodiscard]] MacSeconds MacDateNow(const Clock& clock, bool isHfsPlus);

/// A date of the calendar, without a zone.
struct CivilTime {
    int year = 1970;
    int month = 1;  ///< 1 to 12
    int day = 1;    ///< 1 to 31
    int hour = 0;
    int minute = 0;
    int second = 0;
};

/// The calendar's view of seconds since 1970, taken as they are.
[[nodiscard]] CivilTime ToCivil(UnixSeconds seconds);

}  // namespace vellmark
