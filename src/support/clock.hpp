// The port that gives the time, so that a build can be repeated to the byte.
#pragma once

#include <cstdint>

namespace vellmark {

/// Seconds since 1970-01-01 00:00:00 UTC; negative before that.
using UnixSeconds = std::int64_t;

class Clock {
  public:
    virtual ~Clock() = default;
    [[nodiscard]] virtual UnixSeconds now() const = 0;
    /// The same in hundredths of a second; a clock that knows whole seconds alone gives those.
    [[nodiscard]] virtual std::int64_t nowHundredths() const { return now() * 100; }
    /// Seconds to add to UTC to get local time at that instant.
    [[nodiscard]] virtual std::int32_t zoneOffset(UnixSeconds at) const = 0;
};

/// The system's clock and zone; `SOURCE_DATE_EPOCH` fixes the instant, and without `TZ` the zone
/// is then UTC.
class SystemClock final : public Clock {
  public:
    SystemClock();
    [[nodiscard]] UnixSeconds now() const override;
    [[nodiscard]] std::int64_t nowHundredths() const override;
    [[nodiscard]] std::int32_t zoneOffset(UnixSeconds at) const override;

  private:
    bool fixed_ = false;
    bool utc_ = false;
    UnixSeconds instant_ = 0;
};

/// A fixed instant and zone.
class FixedClock final : public Clock {
  public:
    explicit FixedClock(UnixSeconds instant, std::int32_t offset = 0)
        : instant_(instant), offset_(offset) {}
    [[nodiscard]] UnixSeconds now() const override { return instant_; }
    [[nodiscard]] std::int32_t zoneOffset(UnixSeconds) const override { return offset_; }

  private:
    UnixSeconds instant_;
    std::int32_t offset_;
};

}  // namespace vellmark
