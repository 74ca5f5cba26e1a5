// Pictures of QuickDraw: what is drawn of them, and which are left to their bytes.
#include <gtest/gtest.h>

#include "containers/codec_bench.hpp"
#include "inspect/quickdraw_picture.hpp"

namespace vellmark::testing {
namespace {

using Pixels = std::vector<std::uint32_t>;

constexpr std::uint32_t kBlack = 0xFF000000;
constexpr std::uint32_t kWhite = 0xFFFFFFFF;
constexpr std::uint32_t kRed = 0xFF0000FF;
constexpr std::uint32_t kGreen = 0xFF00FF00;

Bytes Box(int top, int left, int bottom, int right) {
    Bytes box;
    for (const int side : {top, left, bottom, right})
        box = box + Be(static_cast<std::uint16_t>(side), 2);
    return box;
}

Bytes Wide(const Bytes& operations) {
    return Be(0, 2) + Box(0, 0, 2, 4) + Be(0x001102FF, 4) + Be(0x0C00, 2) + Bytes(24) + operations +
           Be(0xFF, 2);
}

Bytes Map(unsigned rowBytes, const Bytes& bounds, unsigned pack, unsigned depth, unsigned parts) {
    return Be(0x8000 | rowBytes, 2) + bounds + Be(0, 2) + Be(pack, 2) + Bytes(14) + Be(depth, 2) +
           Be(parts, 2) + Bytes(14);
}

// A plain bitmap of two rows of four pixels, of which the second row has black at its ends.
Bytes Plain(const Bytes& to, unsigned mode = 0) {
    return Be(0x90, 2) + Be(2, 2) + Box(0, 0, 2, 4) + Box(0, 0, 2, 4) + to + Be(mode, 2) +
           Bytes{0, 0, 0x90, 0};
}

Bytes Direct(unsigned rowBytes, unsigned pack, unsigned depth, unsigned parts, const Bytes& rows) {
    const Bytes box = Box(0, 0, 2, 4);
    return Wide(Be(0x9A, 2) + Bytes(4) + Map(rowBytes, box, pack, depth, parts) + box + box +
                Be(64, 2) + rows + Bytes(rows.size() % 2));
}

TEST(QuickDrawTest, DrawsBitmapsWhereTheyBelong) {
    const Pixels ends = {kWhite, kWhite, kWhite, kWhite, kBlack, kWhite, kWhite, kBlack};
    const Pixels redAndGreen = {kRed, kRed, kRed, kGreen, kGreen, kGreen, kGreen, kGreen};
    const Bytes red = {255, 0, 0};
    const Bytes green = {0, 255, 0};
    const struct {
        const char* what;
        Bytes picture;
        Pixels pixels;
    } kCases[] = {
        {"the first version",
         Be(0, 2) + Box(5, 7, 7, 11) + Be(0x1101, 2) + Bytes{0x90} + Be(2, 2) + Box(0, 0, 2, 4) +
             Box(0, 0, 2, 4) + Box(5, 7, 7, 11) + Be(0, 2) + Bytes{0, 0, 0x90, 0} + Bytes{0xFF},
         ends},
        {"a plain bitmap, moved by one row",
         Wide(Plain(Box(-1, 0, 1, 4))),
         {kBlack, kWhite, kWhite, kBlack, 0, 0, 0, 0}},
        {"half as wide, within a clipping",
         Wide(Be(1, 2) + Be(10, 2) + Box(1, 0, 9, 4) + Plain(Box(0, 2, 2, 4))),
         {0, 0, 0, 0, 0, 0, kBlack, kWhite}},
        {"parts of pixels apart",
         Direct(
             16, 4, 32, 3,
             Bytes{8, 0xFE, 255, 0xFD, 0, 0, 255, 0xFD, 0} + Bytes{6, 0xFD, 0, 0xFD, 255, 0xFD, 0}),
         redAndGreen},
        {"without the pad",
         Direct(16, 2, 32, 3, red + red + red + green + green + green + green + green),
         redAndGreen},
        {"words",
         Direct(8, 3, 16, 3, Bytes{6, 0xFE, 0x7C, 0, 0, 0x03, 0xE0} + Bytes{3, 0xFD, 0x03, 0xE0}),
         redAndGreen},
    };
    for (const auto& each : kCases) {
        const auto drawn = DecodeQuickDrawPicture(each.picture);
        ASSERT_TRUE(drawn) << each.what;
        EXPECT_EQ(drawn->width, 4U);
        EXPECT_EQ(drawn->pixels, each.pixels) << each.what;
        for (std::size_t size = 0; size < each.picture.size(); ++size)
            EXPECT_FALSE(DecodeQuickDrawPicture(std::span(each.picture).first(size)))
                << each.what << ", cut to " << size;
        // Whatever a byte of it is, it is drawn within the picture or not at all.
        for (std::size_t at = 0; at < each.picture.size(); ++at)
            for (const std::uint8_t value : Bytes{0x00, 0x7F, 0x80, 0xFF}) {
                Bytes broken = each.picture;
                broken[at] = value;
                (void)DecodeQuickDrawPicture(broken);
            }
    }
}

TEST(QuickDrawTest, LeavesWhatItCannotDrawAsItWasMeant) {
    const Bytes plain = Plain(Box(0, 0, 2, 4));
    EXPECT_TRUE(DecodeQuickDrawPicture(Wide(Be(0x0E, 2) + Be(33, 4) + plain)));
    const std::pair<const char*, Bytes> kCases[] = {
        {"a line", Be(0x20, 2) + Bytes(8) + plain},
        {"another mode", Plain(Box(0, 0, 2, 4), 1)},
        {"red ink", Be(0x0E, 2) + Be(205, 4) + plain},
        {"grey paper", Be(0x1B, 2) + Bytes{1, 1, 1, 1, 1, 1} + plain},
        {"a clipping that is no rectangle",
         Be(1, 2) + Be(12, 2) + Box(0, 0, 2, 4) + Be(0, 2) + plain},
        {"another place for all", Be(0x0C, 2) + Bytes(4) + plain},
        {"nothing", {}},
    };
    for (const auto& [what, operations] : kCases)
        EXPECT_FALSE(DecodeQuickDrawPicture(Wide(operations))) << what;
    // Each of them would fill the largest picture that there is.
    Bytes endless = Be(0, 2) + Box(0, 0, 4096, 4096) + Be(0x001102FF, 4);
    for (int i = 0; i < 1000; ++i)
        endless = endless + Plain(Box(0, 0, 4096, 4096));
    EXPECT_FALSE(DecodeQuickDrawPicture(endless + Be(0xFF, 2)));
}

}  // namespace
}  // namespace vellmark::testing
