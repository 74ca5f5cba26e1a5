// Folders of a catalog: what is refused and changes nothing, where a format ends, and what reaches
// the image. What many changes come to is told by volume_model_test.
#include <gtest/gtest.h>

#include <random>

#include "volume/catalog_changes.hpp"
#include "volume/catalog_insert.hpp"
#include "volume/path_changes.hpp"
#include "volume/volume_bench.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using testing::kClock;

class Catalog : public ::testing::TestWithParam<bool> {
  protected:
    const bool isHfsPlus_ = GetParam();

    void SetUp() override {
        path_ = testing::FormatSmall(folder_, isHfsPlus_);
        ASSERT_TRUE(volume_.open(path_));
    }
    TreeResult tryCreate(const std::string& name, std::uint32_t parent) {
        return CreateFolder(volume_, name, parent, kClock, id_);
    }
    std::uint32_t create(const std::string& name, std::uint32_t parent) {
        EXPECT_EQ(tryCreate(name, parent), TreeResult::Done) << name;
        return id_;
    }
    std::optional<CatalogItem> find(std::string_view path) {
        std::optional<CatalogItem> item;
        EXPECT_EQ(FindPath(volume_, path, kClock, item), TreeResult::Done) << path;
        return item;
    }
    // The image, and what of the catalog and the header lies in memory.
    std::vector<Bytes> state() {
        PcFile file(path_, PcFile::Mode::Read);
        const auto mdb = AsBytes(volume_->mdb);
        const auto vhb = AsBytes(volume_->vhb);
        return {testing::BytesAt(path_, 0, file.size()),
                volume_->catalog.headerNode,
                volume_->catalog.nodeBitmap,
                {mdb.begin(), mdb.end()},
                {vhb.begin(), vhb.end()}};
    }

    TemporaryFolder folder_;
    std::string path_;
    testing::TestVolume volume_;
    std::uint32_t id_ = 0;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, Catalog, ::testing::Bool(), [](const auto& test) {
    return std::string(test.param ? "HfsPlus" : "Hfs");
});

TEST_P(Catalog, ItemsAreFoundByAnyFormOfTheirPath) {
    const std::uint32_t outer = create("Ünder Ångström", 2);
    const std::uint32_t inner = create("iN:er", outer);
    for (const std::string_view path : {"ünder ångström/IN:ER", "/Ünder Ångström//iN:er/",
                                        "U\u0308nder A\u030Angstro\u0308m/in:er"}) {
        const auto item = find(path);
        ASSERT_TRUE(item) << path;
        EXPECT_EQ(item->id, inner);
        EXPECT_EQ(item->name, "iN:er");
    }
    EXPECT_EQ(find("Ünder Ångström/in:er/more"), std::nullopt);
    EXPECT_EQ(find("Under Angstrom"), std::nullopt);
    EXPECT_EQ(find("")->name, "Small");
}

TEST_P(Catalog, NamesAndParentsThatCannotBeAreRefused) {
    const std::uint32_t folder = create("Déjà vu", 2);
    const auto before = state();
    struct Case {
        const char* what;
        std::string name;
        std::uint32_t parent;
        bool possibleInHfs, possibleInHfsPlus;
    };
    std::string long85;  // each three units when decomposed
    for (int i = 0; i < 85; ++i)
        long85 += "\uD55C";
    const Case cases[] = {
        {"empty", "", 2, false, false},
        {"32 letters", std::string(32, 'x'), 2, false, true},
        {"31 letters", std::string(31, 'x'), 2, true, true},
        {"255 letters", std::string(255, 'y'), 2, false, true},
        {"256 letters", std::string(256, 'z'), 2, false, false},
        {"255 units decomposed", long85, 2, false, true},
        {"258 units decomposed", long85 + "\uD55C", 2, false, false},
        {"not in MacRoman", "日本", 2, false, true},
        {"nothing is left of it", "\u0081", 2, false, false},
        {"no such parent", "name", folder + 1, false, false},
        {"parent of the root", "name", 1, false, false},
    };
    for (const Case& c : cases)
        if (!(isHfsPlus_ ? c.possibleInHfsPlus : c.possibleInHfs)) {
            EXPECT_EQ(tryCreate(c.name, c.parent), TreeResult::Damaged) << c.what;
            EXPECT_TRUE(state() == before) << c.what;
        }
    EXPECT_EQ(tryCreate("de\u0301ja\u0300 VU", 2), TreeResult::Exists);
    EXPECT_TRUE(state() == before);
    for (const Case& c : cases)
        if (isHfsPlus_ ? c.possibleInHfsPlus : c.possibleInHfs) {
            create(c.name, c.parent);
            EXPECT_TRUE(find(c.name)) << c.what;
        }
    ASSERT_EQ(volume_.flush(), TreeResult::Done);
    testing::ExpectReadersFindNoFault(path_);
}

// The thread of an HFS+ file leads to a record that has no number of items.
TEST_P(Catalog, AFileIsNoParent) {
    FileFacts facts;
    facts.id = NextCatalogId(volume_);
    ASSERT_EQ(isHfsPlus_ ? InsertFile(volume_->catalog, 2, u"file", facts)
                         : InsertFile(volume_->catalog, 2, "file", facts, 512),
              TreeResult::Done);
    const auto before = state();
    EXPECT_EQ(tryCreate("below", facts.id), TreeResult::Damaged);
    EXPECT_EQ(AddToValence(volume_, 1, facts.id), TreeResult::Damaged);
    EXPECT_EQ(find("file/below"), std::nullopt);
    EXPECT_TRUE(state() == before);
}

// Ids that are in use already, as a damaged header would hand out, take nothing along.
TEST_P(Catalog, AnIdThatIsInUseIsRefused) {
    const std::uint32_t id = create("one", 2);
    for (const std::uint32_t next : {id, 2u, 0u, 0xFFFFFFFFu}) {
        (isHfsPlus_ ? volume_->vhb.nextCatalogId : volume_->mdb.nextCatalogId) = next;
        const auto before = state();
        EXPECT_EQ(tryCreate("two", 2), TreeResult::Damaged) << next;
        EXPECT_TRUE(state() == before) << next;
    }
}

TEST_P(Catalog, ValencesEndWhereTheFormatEnds) {
    const std::uint32_t folder = create("full", 2);
    ASSERT_EQ(AddToValence(volume_, 65535, folder), TreeResult::Done);
    EXPECT_EQ(ReadValence(volume_, folder), 65535u);
    EXPECT_EQ(tryCreate("one more", folder),
              isHfsPlus_ ? TreeResult::Done : TreeResult::FolderFull);
    ASSERT_EQ(AddToValence(volume_, -65535, folder), TreeResult::Done);
    EXPECT_EQ(ReadValence(volume_, folder), isHfsPlus_ ? 1u : 0u);
}

// When the catalog is full a folder is either there with its thread or not at all.
TEST_P(Catalog, AFullCatalogHoldsWholeFoldersOnly) {
    std::mt19937 random(11);
    std::uint32_t made = 0;
    std::vector<std::uint32_t> parents = {2};
    for (int refused = 0; refused < 20;) {
        std::string name(1 + random() % (isHfsPlus_ ? 250 : 31), 'n');
        for (char& letter : name)
            letter = static_cast<char>('a' + random() % 26);
        const std::uint32_t parent = parents[random() % parents.size()];
        const auto before = refused > 0 ? state() : std::vector<Bytes>{};
        const TreeResult result = tryCreate(name, parent);
        if (result == TreeResult::Done) {
            ++made;
            parents.push_back(id_);
        } else if (result == TreeResult::Full) {
            EXPECT_TRUE(refused == 0 || state() == before);
            ++refused;
        } else {
            ASSERT_EQ(result, TreeResult::Exists);
        }
    }
    EXPECT_GT(made, 200u);
    ASSERT_EQ(volume_.flush(), TreeResult::Done);
    ASSERT_TRUE(volume_.open(path_));
    std::uint32_t walked = 0;
    EXPECT_EQ(testing::WalkVolume(volume_, 10'000, [&](const auto&, const auto&) { ++walked; }),
              TreeResult::Done);
    EXPECT_EQ(walked, made);
    testing::ExpectReadersFindNoFault(path_);
}

// Header and copy, count of writes and date after one change.
TEST_P(Catalog, AFlushWritesBothHeaders) {
    const std::uint64_t header = (isHfsPlus_ ? 64 : 96) * 512 + 1024;
    const std::uint64_t copy = PcFile(path_, PcFile::Mode::Read).size() - 1024;
    const int writeCount = isHfsPlus_ ? 68 : 70;
    const int modified = isHfsPlus_ ? 20 : 6;
    const std::uint64_t before = testing::Big(path_, header + writeCount, 4);
    create("name", 2);
    WritableVolume& volume = volume_;
    ASSERT_EQ(volume.flush(FixedClock(testing::kNow + 1000, 3600)), TreeResult::Done);
    EXPECT_EQ(testing::Big(path_, header + writeCount, 4), before + 1);
    // HFS keeps local time.
    EXPECT_EQ(testing::Big(path_, header + modified, 4),
              testing::kNow + 1000 + 2082844800 + (isHfsPlus_ ? 0 : 3600));
    EXPECT_EQ(testing::BytesAt(path_, copy, 512), testing::BytesAt(path_, header, 512));
    testing::ExpectReadersFindNoFault(path_);
}

}  // namespace
}  // namespace vellmark
