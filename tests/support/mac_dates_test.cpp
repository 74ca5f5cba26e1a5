#include "support/mac_dates.hpp"

#include <gtest/gtest.h>

namespace vellmark {
namespace {

constexpr UnixSeconds kFirst = -2'082'844'800;         // 1904-01-01 00:00:00
constexpr UnixSeconds kLast = kFirst + 4'294'967'295;  // 2040-02-06 06:28:15

// Winter time `offset`, an hour more before the instant at which summer ends.
class SummerClock final : public Clock {
  public:
    explicit SummerClock(std::int32_t offset) : offset_(offset) {}
    [[nodiscard]] UnixSeconds now() const override { return kEnd; }
    [[nodiscard]] std::int32_t zoneOffset(UnixSeconds at) const override {
        return offset_ + (at < kEnd ? 3600 : 0);
    }
    static constexpr UnixSeconds kEnd = 1'000'000'000;

  private:
    std::int32_t offset_;
};

TEST(MacDates, KeepToTheirFieldInEveryZone) {
    EXPECT_EQ(ToMacGmt(0), 2'082'844'800u);
    EXPECT_EQ(ToMacGmt(kFirst + 1), 1u);
    EXPECT_EQ(ToMacGmt(kFirst), 1u) << "0 is no date";
    EXPECT_EQ(ToMacGmt(kFirst - 10'000'000'000), 1u);
    EXPECT_EQ(ToMacGmt(kLast + 1), 0xFFFFFFFFu);
    EXPECT_EQ(FromMacGmt(0xFFFFFFFF), kLast);
    const FixedClock east(1'000'000'000, 7200);
    const FixedClock west(1'000'000'000, -18000);
    EXPECT_EQ(ToMacLocal(0, east), 2'082'844'800u + 7200u);
    EXPECT_EQ(FromMacLocal(2'082'844'800u + 7200u, east), 0);
    EXPECT_EQ(ToMacLocal(kFirst, west), 1u);          // below 1904 in that zone
    EXPECT_EQ(ToMacLocal(kLast, east), 0xFFFFFFFFu);  // behind 2040 in that zone
    EXPECT_EQ(MacDateNow(east, true), 3'082'844'800u);
    EXPECT_EQ(MacDateNow(east, false), 3'082'844'800u + 7200u);
}

TEST(MacDates, LocalTimeFollowsTheSeason) {
    constexpr UnixSeconds kEnd = SummerClock::kEnd;
    for (const std::int32_t offset : {3600, -18000, 0}) {
        const SummerClock clock(offset);
        for (const UnixSeconds at : {kEnd - 40000, kEnd - 3601, kEnd + 3600, kEnd + 40000})
            EXPECT_EQ(FromMacLocal(ToMacLocal(at, clock), clock), at) << offset << ' ' << at;
        // In the hour that comes twice either instant shows the same local time.
        for (const UnixSeconds at : {kEnd - 3600, kEnd - 1, kEnd, kEnd + 3599}) {
            const MacSeconds local = ToMacLocal(at, clock);
            EXPECT_EQ(ToMacLocal(FromMacLocal(local, clock), clock), local) << offset;
        }
    }
}

TEST(MacDates, Calendar) {
    const std::pair<UnixSeconds, std::array<int, 6>> cases[] = {
        {-1, {1969, 12, 31, 23, 59, 59}},
        {kFirst, {1904, 1, 1, 0, 0, 0}},
        {kLast, {2040, 2, 6, 6, 28, 15}},
        {951'782'400, {2000, 2, 29, 0, 0, 0}},
        {1'000'000'000, {2001, 9, 9, 1, 46, 40}}};
    for (const auto& [at, expected] : cases) {
        const CivilTime c = ToCivil(at);
        EXPECT_EQ((std::array{c.year, c.month, c.day, c.hour, c.minute, c.second}), expected) << at;
    }
}

}  // namespace
}  // namespace vellmark
