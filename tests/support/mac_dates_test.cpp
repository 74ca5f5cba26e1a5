#include "support/mac_dates.hpp"

#include <gtest/gtest.h>

namespace vellmark {
namespace {

constexpr UnixSeconds kFirst = -2'082'844'800;         // 1904-01-01 00:00:00
constexpr UnixSeconds kLast = kFirst + 4'294'967'295;  // 2040-02-06 06:28:15
constexpr UnixSeconds kEndOfSummer = 1'000'000'000;

// Winter time five hours behind, an hour less before the instant at which summer ends.
class SummerClock final : public Clock {
  public:
    [[nodiscard]] UnixSeconds now() const override { return kEndOfSummer; }
    [[nodiscard]] std::int32_t zoneOffset(UnixSeconds at) const override {
        return at < kEndOfSummer ? -14400 : -18000;
    }
};

TEST(MacDates, KeepToTheirFieldInEveryZone) {
    EXPECT_EQ(ToMacGmt(kFirst), 1u) << "0 is no date";
    EXPECT_EQ(ToMacGmt(kLast + 1), 0xFFFFFFFFu);
    EXPECT_EQ(GivenDate(kFirst + 86'400), std::nullopt) << "none, whatever zone it went through";
    EXPECT_EQ(GivenDate(kFirst + 86'401), kFirst + 86'401);
    EXPECT_EQ(FromMacGmt(0xFFFFFFFF), kLast);
    const FixedClock east(1'000'000'000, 7200);
    EXPECT_EQ(FromMacLocal(2'082'844'800u + 7200u, east), 0);
    EXPECT_EQ(ToMacLocal(kFirst, FixedClock(0, -18000)), 1u);  // below 1904 in that zone
    EXPECT_EQ(ToMacLocal(kLast, east), 0xFFFFFFFFu);           // behind 2040 in that zone
    EXPECT_EQ(MacDateNow(east, false), 3'082'844'800u + 7200u);
}

TEST(MacDates, LocalTimeFollowsTheSeason) {
    const SummerClock clock;
    for (const int at : {-40000, -3601, -3600, -1, 0, 3599, 3600, 40000}) {
        const MacSeconds local = ToMacLocal(kEndOfSummer + at, clock);
        const UnixSeconds back = FromMacLocal(local, clock);
        EXPECT_EQ(ToMacLocal(back, clock), local) << at;
        // In the hour that comes twice either instant shows the same local time.
        EXPECT_TRUE(back == kEndOfSummer + at || (at >= -3600 && at < 3600)) << at;
    }
}

}  // namespace
}  // namespace vellmark
