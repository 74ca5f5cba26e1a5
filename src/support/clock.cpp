#include "support/clock.hpp"

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace vellmark {

SystemClock::SystemClock() {
    if (const char* text = std::getenv("SOURCE_DATE_EPOCH")) {
        const char* end = text + std::strlen(text);
        const auto [stop, error] = std::from_chars(text, end, instant_);
        fixed_ = error == std::errc{} && stop == end && stop != text;
    }
    utc_ = fixed_ && std::getenv("TZ") == nullptr;
    tzset();
}

UnixSeconds SystemClock::now() const {
    return fixed_ ? instant_ : static_cast<UnixSeconds>(std::time(nullptr));
}

std::int64_t SystemClock::nowHundredths() const {
    using Hundredths = std::chrono::duration<std::int64_t, std::centi>;
    return fixed_
               ? instant_ * 100
               : std::chrono::floor<Hundredths>(std::chrono::system_clock::now().time_since_epoch())
                     .count();
}

std::int32_t SystemClock::zoneOffset(UnixSeconds at) const {
    if (utc_)
        return 0;
    const auto seconds = static_cast<std::time_t>(at);
    std::tm local{};
    return localtime_r(&seconds, &local) ? static_cast<std::int32_t>(local.tm_gmtoff) : 0;
}

}  // namespace vellmark
