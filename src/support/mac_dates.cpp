#include "support/mac_dates.hpp"

#include <algorithm>
#include <chrono>

namespace vellmark {

namespace {

constexpr UnixSeconds kDaySeconds = 86400;

MacSeconds Clamp(std::int64_t seconds) {
    return static_cast<MacSeconds>(std::clamp<std::int64_t>(seconds, 1, 0xFFFFFFFF));
}

}  // namespace

MacSeconds ToMacGmt(UnixSeconds at) {
    return Clamp(at + kMacEpochOffset);
}

MacSeconds ToMacLocal(UnixSeconds at, const Clock& clock) {
    return Clamp(at + clock.zoneOffset(at) + kMacEpochOffset);
}

UnixSeconds FromMacGmt(MacSeconds seconds) {
    return static_cast<UnixSeconds>(seconds) - kMacEpochOffset;
}

UnixSeconds FromMacLocal(MacSeconds seconds, const Clock& clock) {
    const UnixSeconds local = FromMacGmt(seconds);
    // The offset belongs to the instant that is sought, so a first guess is corrected once.
    const UnixSeconds guess = local - clock.zoneOffset(local);
    return local - clock.zoneOffset(guess);
}

std::optional<UnixSeconds> GivenDate(UnixSeconds date) {
    return date <= -kMacEpochOffset + kDaySeconds ? std::nullopt : std::optional(date);
}

MacSeconds MacDateNow(const Clock& clock, bool isHfsPlus) {
    return isHfsPlus ? ToMacGmt(clock.now()) : ToMacLocal(clock.now(), clock);
}

CivilTime ToCivil(UnixSeconds seconds) {
    using namespace std::chrono;
    const sys_seconds instant{std::chrono::seconds{seconds}};
    const sys_days day = floor<days>(instant);
    const year_month_day date{day};
    const hh_mm_ss time{instant - day};
    return {static_cast<int>(date.year()),
            static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day())),
            static_cast<int>(time.hours().count()),
            static_cast<int>(time.minutes().count()),
            static_cast<int>(time.seconds().count())};
}

}  // namespace vellmark
