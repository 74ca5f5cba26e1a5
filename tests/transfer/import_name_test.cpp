// Names on their way from the PC to a volume. Expected bytes are MacRoman by Apple's published
// table; digits are the CRC-16 of polynomial 1021, low digit first, worked out apart from here.
#include "transfer/import_name.hpp"

#include <gtest/gtest.h>

#include "transfer/transfer_bench.hpp"
#include "volume/catalog_changes.hpp"

namespace vellmark {
namespace {

using testing::kClock;

class ShortNames : public ::testing::TestWithParam<bool> {
  protected:
    void SetUp() override {
        path_ = testing::FormatSmall(folder_, GetParam());
        ASSERT_TRUE(volume_.open(path_));
    }
    std::string import(const std::string& pc) {
        const auto name = ImportName(volume_, pc, kRootFolderId, truncation_, messages_, kClock);
        isChanged_ = name && name->isChanged;
        return name ? ShownName(volume_, name->name) : "refused";
    }
    void take(const std::string& name) {
        std::uint32_t id = 0;
        ASSERT_EQ(CreateFolder(volume_, name, kRootFolderId, kClock, id), TreeResult::Done);
    }
    [[nodiscard]] std::size_t limit() const { return GetParam() ? 255 : 31; }
    TemporaryFolder folder_;
    std::string path_;
    testing::TestVolume volume_;
    testing::ScriptedMessages messages_;
    ImportTruncation truncation_;
    bool isChanged_ = false;  ///< the name that was imported last
};

TEST_P(ShortNames, AreCutAndMadeUnique) {
    truncation_ = {true, false};
    messages_.confirms = false;
    const std::string stem(limit() - 1, 'x');
    EXPECT_EQ(import(stem + "y"), stem + "y") << "just fits";
    EXPECT_FALSE(isChanged_);
    EXPECT_EQ(import(stem + " tail"), stem) << "blanks at the end go";
    const std::string name = stem + "yz.txt";
    const std::string cut = stem.substr(3) + ".txt";
    EXPECT_EQ(import(name), cut) << "the extension stays";
    EXPECT_TRUE(isChanged_);
    EXPECT_EQ(messages_.texts.size(), 0u);
    take(cut);
    EXPECT_EQ(import(name), cut) << "no keeps it";
    EXPECT_EQ(messages_.texts.size(), 1u) << "which was asked";
    truncation_.addsCrc = true;
    const std::string unique = import(name);
    EXPECT_EQ(unique, std::string(limit() - 9, 'x') + (GetParam() ? "-BD1B.txt" : "-6449.txt"));
    take(unique);
    EXPECT_EQ(import(name), unique);
    EXPECT_EQ(messages_.texts.size(), 2u);
}

TEST_P(ShortNames, MayBeTypedWhereTheyAreTaken) {
    truncation_ = {.automatic = true};
    const std::string name(limit(), 'x');
    take(name);
    take("also there");
    messages_.names = {"also there", "free"};
    EXPECT_EQ(import(name + "y"), "free");
    EXPECT_EQ(messages_.texts.size(), 2u);
    messages_.names = {name};
    EXPECT_EQ(import(name + "y"), name) << "kept, to be replaced";
    truncation_.asks = false;
    EXPECT_EQ(import(name + "y"), name);
    EXPECT_EQ(messages_.texts.size(), 3u) << "nobody is there";
}

// Two names of the PC that one batch brings, and that the catalog takes for one.
TEST_P(ShortNames, OfOneBatchAreToldApart) {
    truncation_.firstNewId =
        volume_->isHfsPlus ? volume_->vhb.nextCatalogId : volume_->mdb.nextCatalogId;
    take("Case.txt");
    EXPECT_EQ(import("Case.txt"), "Case.txt") << "the same name";
    EXPECT_EQ(import("case.txt"), "case-E71D.txt");
    if (!GetParam()) {
        take("_.txt");
        EXPECT_EQ(import("\u65E5.txt"), "_-F289.txt");
        truncation_.firstNewId = 0xFFFFFFFF;
        EXPECT_EQ(import("\u65E5.txt"), "_.txt") << "was there before: to be asked about";
    }
}

TEST_P(ShortNames, FollowTheAnswer) {
    const std::string full(limit() + 1, 'n');
    messages_.truncation = {false, false, ""};
    EXPECT_EQ(import(full), "refused");
    EXPECT_EQ(messages_.proposals.back(), full.substr(1));
    messages_.truncation = {true, false, "typed"};
    EXPECT_EQ(import(full), "typed");
    messages_.truncation = {true, false, full + "more"};
    EXPECT_EQ(import(full), full.substr(1)) << "still too long";
    messages_.truncation = {true, true, ""};
    EXPECT_EQ(import(full), full.substr(1));
    EXPECT_EQ(import(full), full.substr(1));
    EXPECT_EQ(messages_.proposals.size(), 4u) << "not asked any more";
}

INSTANTIATE_TEST_SUITE_P(BothFormats, ShortNames, ::testing::Bool());

}  // namespace
}  // namespace vellmark
