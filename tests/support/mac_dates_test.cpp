#include "support/mac_dates.hpp"

#include <gtest/gtest.h>

namespace vellmark {
namespace {

constexpr UnixSeconds kFirst = -2'082'844'800;         // 1904-01-01 00:00:00
constexpr UnixSeconds kLast = kFirst + 4'294'967'295;  // 2040-02-06 06:28:15
constexpr UnixSeconds kEndOfSummer = 1'000'000'000;

// Winter time `offset`, an hour more before the instant at which summer ends.
class SummerClock final : public Clock {
  public:
    explicit SummerClock(std::int32_t offset) : offset_(offset) {}
    [[nodiscard]] UnixSeconds now() const override { return kEndOfSummer; }
    [[nodiscard]] std::int32_t zoneOffset(UnixSeconds at) const override {
        return offset_ + (at < kEndOfSummer ? 3600 : 0);
    }

  private:
    std::int32_t offset_;
};

TEST(MacDates, KeepToTheirFieldInEveryZone) {
    EXPECT_EQ(ToMacGmt(kFirst + 2), 2u);
    EXPECT_EQ(ToMacGmt(kFirst), 1u) << "0 is no date";
    EXPECT_EQ(ToMacGmt(kLast + 1), 0xFFFFFFFFu);
    EXPECT_EQ(FromMacGmt(0xFFFFFFFF), kLast);
    const FixedClock east(1'000'000'000, 7200);
    EXPECT_EQ(FromMacLocal(2'082'844'800u + 7200u, east), 0);
    EXPECT_EQ(ToMacLocal(kFirst, FixedClock(0, -18000)), 1u);  // below 1904 in that zone
    EXPECT_EQ(ToMacLocal(kLast, east), 0xFFFFFFFFu);           // behind 2040 in that zone
    EXPECT_EQ(MacDateNow(east, true), 3'082'844'800u);
    EXPECT_EQ(MacDateNow(east, false), 3'082'844'800u + 7200u);
}

TEST(MacDates, LocalTimeFollowsTheSeason) {
    for (const std::int32_t offset : {3600, -18000, 0}) {
        const SummerClock clock(offset);
        for (const int at : {-40000, -3601, -3600, -1, 0, 3599, 3600, 40000}) {
            const MacSeconds local = ToMacLocal(kEndOfSummer + at, clock);
            const UnixSeconds back = FromMacLocal(local, clock);
            EXPECT_EQ(ToMacLocal(back, clock), local) << offset << ' ' << at;
            // In the hour that comes twice either instant shows the same local time.
            EXPECT_TRUE(back == kEndOfSummer + at || (at >= -3600 && at < 3600)) << at;
        }
    }
}

TEST(MacDates, CalendarBefore1970AndInALeapYear) {
    const CivilTime before = ToCivil(-1);
    EXPECT_TRUE(before.year == 1969 && before.month == 12 && before.day == 31);
    EXPECT_TRUE(before.hour == 23 && before.minute == 59 && before.second == 59);
    const CivilTime leap = ToCivil(951'782'400);
    EXPECT_TRUE(leap.year == 2000 && leap.month == 2 && leap.day == 29);
}

}  // namespace
}  // namespace vellmark
