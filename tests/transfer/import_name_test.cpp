// Names on their way from the PC to a volume. Expected bytes are MacRoman by Apple's published
// table; digits are the CRC-16 of polynomial 1021, low digit first, worked out apart from here.
#include "transfer/import_name.hpp"

#include <gtest/gtest.h>

#include "transfer/transfer_bench.hpp"
#include "volume/catalog_changes.hpp"

namespace vellmark::testing {
namespace {

class ShortNames : public TransferTest {
  protected:
    std::string import(const std::string& pc) {
        const auto name = ImportName(volume_, pc, kRootFolderId, truncation_, messages_, kClock);
        return name ? ShownName(volume_, name->name) : "refused";
    }
    void take(const std::string& name) {
        std::uint32_t id = 0;
        ASSERT_EQ(CreateFolder(volume_, name, kRootFolderId, kClock, id), TreeResult::Done);
    }
    [[nodiscard]] std::size_t limit() const { return isHfsPlus_ ? 255 : 31; }
    ImportTruncation truncation_;
};

TEST_P(ShortNames, AreCutAndMadeUnique) {
    truncation_ = {true, false};
    messages_.confirms = false;
    const std::string stem(limit() - 1, 'x');
    EXPECT_EQ(import(stem + "y"), stem + "y") << "just fits";
    const std::string name = stem + "yz.txt";
    const std::string cut = stem.substr(3) + ".txt";
    EXPECT_EQ(import(name), cut) << "the extension stays";
    take(cut);
    EXPECT_EQ(import(name), cut) << "no keeps it";
    EXPECT_EQ(messages_.texts.size(), 1u) << "which was asked";
    truncation_.addsCrc = true;
    const std::string digits =
        std::string(limit() - 9, 'x') + (isHfsPlus_ ? "-BD1B.txt" : "-6449.txt");
    EXPECT_EQ(import(name), digits);
    take(digits);
    EXPECT_EQ(import(name), digits);
    EXPECT_EQ(messages_.texts.size(), 2u) << "asked again, as it is taken too";
    // Or a person types another one.
    truncation_ = {.automatic = true};
    messages_.confirms = true;
    messages_.names = {cut.substr(1), "free"};
    take(cut.substr(1));
    EXPECT_EQ(import(name), "free");
    messages_.names.push_back(cut);
    EXPECT_EQ(import(name), cut) << "kept, to be replaced";
    truncation_.asks = false;
    EXPECT_EQ(import(name), cut);
    EXPECT_EQ(messages_.texts.size(), 5u) << "nobody is there";
}

// Two names of the PC that one batch brings, and that the catalog takes for one.
TEST_P(ShortNames, OfOneBatchAreToldApart) {
    truncation_.firstNewId = isHfsPlus_ ? volume_->vhb.nextCatalogId : volume_->mdb.nextCatalogId;
    take("Case.txt");
    EXPECT_EQ(import("Case.txt"), "Case.txt") << "the same name";
    EXPECT_EQ(import("case.txt"), "case-E71D.txt");
    take("_.txt");
    EXPECT_EQ(import("\u65E5.txt"), isHfsPlus_ ? "\u65E5.txt" : "_-F289.txt");
    truncation_.firstNewId = 0xFFFFFFFF;
    EXPECT_EQ(import("CASE.txt"), "CASE.txt") << "was there before: to be asked about";
}

TEST_P(ShortNames, FollowTheAnswer) {
    const std::string full(limit() + 1, 'n');
    messages_.truncation = {false, false, ""};
    EXPECT_EQ(import(full), "refused");
    EXPECT_EQ(messages_.proposals.back(), full.substr(1));
    messages_.truncation = {true, false, "typed"};
    EXPECT_EQ(import(full), "typed");
    messages_.truncation = {true, true, ""};
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(import(full), full.substr(1));
    EXPECT_EQ(messages_.proposals.size(), 3u) << "not asked any more";
    truncation_.automatic = false;
    messages_.truncation.addsCrc = true;
    take(full.substr(1));
    EXPECT_EQ(import(full).size(), limit()) << "digits take the place of letters";
    EXPECT_NE(import(full), full.substr(1));
}

INSTANTIATE_TEST_SUITE_P(BothFormats, ShortNames, ::testing::Bool());

}  // namespace
}  // namespace vellmark::testing
