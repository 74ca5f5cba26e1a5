// Folders of a catalog: what is refused and changes nothing, and where a format ends. What many
// changes come to is told by volume_model_test.
#include <gtest/gtest.h>

#include "volume/catalog_changes.hpp"
#include "volume/volume_maker.hpp"

namespace vellmark {
namespace {

class Catalog : public ::testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(BothFormats, Catalog, ::testing::Bool(), testing::FormatName);

TEST_P(Catalog, NamesAndParentsThatCannotBeAreRefused) {
    const bool isHfsPlus = GetParam();
    const TemporaryFolder folder;
    testing::TestVolume volume;
    ASSERT_TRUE(volume.open(testing::FormatSmall(folder, isHfsPlus)));
    std::uint32_t id = 0;  // of the folder that was made last
    const auto create = [&](const std::string& name, std::uint32_t parent) {
        return CreateFolder(volume, name, parent, testing::kClock, id);
    };
    ASSERT_EQ(create("Déjà vu", 2), TreeResult::Done);
    ASSERT_EQ(volume.put("file", {}, {}), StoreResult::Done);
    const std::uint32_t file = volume.find("file")->id;
    std::string long85;  // each three units when decomposed
    for (int i = 0; i < 85; ++i)
        long85 += "\uD55C";
    constexpr TreeResult kDone = TreeResult::Done;
    constexpr TreeResult kBad = TreeResult::Damaged;
    const struct {
        const char* what;
        std::string name;
        std::uint32_t parent;
        TreeResult hfs, hfsPlus;
    } cases[] = {{"empty", "", 2, kBad, kBad},
                 {"32 letters", std::string(32, 'x'), 2, kBad, kDone},
                 {"255 units decomposed", long85, 2, kBad, kDone},
                 {"258 units decomposed", long85 + "\uD55C", 2, kBad, kBad},
                 {"not in MacRoman", "日本", 2, kBad, kDone},
                 {"nothing is left of it", "\u0081", 2, kBad, kBad},
                 {"there", "de\u0301ja\u0300 VU", 2, TreeResult::Exists, TreeResult::Exists},
                 {"no such parent", "name", file + 9, kBad, kBad},
                 // The thread of an HFS+ file leads to a record that has no number of items.
                 {"a file as parent", "name", file, kBad, kBad}};
    for (const auto& c : cases) {
        const auto before = StateOf(volume);
        const TreeResult expected = isHfsPlus ? c.hfsPlus : c.hfs;
        EXPECT_EQ(create(c.name, c.parent), expected) << c.what;
        EXPECT_EQ(StateOf(volume) == before, expected != kDone) << c.what;
        EXPECT_EQ(c.parent == 2 && !c.name.empty() && volume.find(c.name), expected != kBad)
            << c.what;
    }
    // Ids that are in use already, as a damaged header would hand out, take nothing along.
    for (const std::uint32_t next : {id, 2u, 0u, 0xFFFFFFFFu}) {
        (isHfsPlus ? volume->vhb.nextCatalogId : volume->mdb.nextCatalogId) = next;
        const auto before = StateOf(volume);
        EXPECT_EQ(create("two", 2), kBad) << next;
        EXPECT_TRUE(StateOf(volume) == before) << next;
    }
}

}  // namespace
}  // namespace vellmark
