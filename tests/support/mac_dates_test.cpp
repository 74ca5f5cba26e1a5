#include "support/mac_dates.hpp"

#include <gtest/gtest.h>

namespace vellmark {
namespace {

constexpr UnixSeconds kFirst = -2'082'844'800;         // 1904-01-01 00:00:00
constexpr UnixSeconds kLast = kFirst + 4'294'967'295;  // 2040-02-06 06:28:15

// Winter time `offset`, an hour more before the instant at which summer ends.
class SummerClock final : public Clock {
  public:
    SummerClock(UnixSeconds end, std::int32_t offset) : end_(end), offset_(offset) {}
    [[nodiscard]] UnixSeconds now() const override { return end_; }
    [[nodiscard]] std::int32_t zoneOffset(UnixSeconds at) const override {
        return offset_ + (at < end_ ? 3600 : 0);
    }

  private:
    UnixSeconds end_;
    std::int32_t offset_;
};

TEST(MacDates, GmtKeepsToItsField) {
    EXPECT_EQ(ToMacGmt(0), 2'082'844'800u);
    EXPECT_EQ(ToMacGmt(kFirst + 1), 1u);
    EXPECT_EQ(ToMacGmt(kFirst), 1u) << "0 is no date";
    EXPECT_EQ(ToMacGmt(kFirst - 10'000'000'000), 1u);
    EXPECT_EQ(ToMacGmt(kLast), 0xFFFFFFFFu);
    EXPECT_EQ(ToMacGmt(kLast + 1), 0xFFFFFFFFu);
    EXPECT_EQ(FromMacGmt(0), kFirst);
    EXPECT_EQ(FromMacGmt(0xFFFFFFFF), kLast);
}

TEST(MacDates, LocalTimeAddsTheZone) {
    const FixedClock east(1'000'000'000, 7200);
    const FixedClock west(1'000'000'000, -18000);
    EXPECT_EQ(ToMacLocal(0, east), 2'082'844'800u + 7200u);
    EXPECT_EQ(ToMacLocal(0, west), 2'082'844'800u - 18000u);
    EXPECT_EQ(FromMacLocal(2'082'844'800u + 7200u, east), 0);
    EXPECT_EQ(ToMacLocal(kFirst, west), 1u);          // below 1904 in that zone
    EXPECT_EQ(ToMacLocal(kLast, east), 0xFFFFFFFFu);  // behind 2040 in that zone
    EXPECT_EQ(MacDateNow(east, true), 3'082'844'800u);
    EXPECT_EQ(MacDateNow(east, false), 3'082'844'800u + 7200u);
}

TEST(MacDates, LocalTimeFollowsTheSeason) {
    for (const std::int32_t offset : {3600, -18000, 0}) {
        const UnixSeconds end = 1'000'000'000;
        const SummerClock clock(end, offset);
        for (const UnixSeconds at : {end - 40000, end - 3601, end + 3600, end + 40000})
            EXPECT_EQ(FromMacLocal(ToMacLocal(at, clock), clock), at) << offset << ' ' << at;
        // In the hour that comes twice either instant shows the same local time.
        for (const UnixSeconds at : {end - 3600, end - 1, end, end + 3599}) {
            const MacSeconds local = ToMacLocal(at, clock);
            EXPECT_EQ(ToMacLocal(FromMacLocal(local, clock), clock), local) << offset;
        }
    }
}

TEST(MacDates, Calendar) {
    struct Case {
        UnixSeconds at;
        CivilTime expected;
    };
    const Case cases[] = {
        {0, {1970, 1, 1, 0, 0, 0}},
        {-1, {1969, 12, 31, 23, 59, 59}},
        {kFirst, {1904, 1, 1, 0, 0, 0}},
        {kLast, {2040, 2, 6, 6, 28, 15}},
        {951'782'400, {2000, 2, 29, 0, 0, 0}},
        {1'000'000'000, {2001, 9, 9, 1, 46, 40}},
    };
    for (const auto& [at, expected] : cases) {
        const CivilTime civil = ToCivil(at);
        EXPECT_EQ(civil.year, expected.year) << at;
        EXPECT_EQ(civil.month, expected.month) << at;
        EXPECT_EQ(civil.day, expected.day) << at;
        EXPECT_EQ(civil.hour, expected.hour) << at;
        EXPECT_EQ(civil.minute, expected.minute) << at;
        EXPECT_EQ(civil.second, expected.second) << at;
    }
}

}  // namespace
}  // namespace vellmark
