#include "volume/catalog_changes.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "volume/catalog_insert.hpp"
#include "volume/catalog_keys.hpp"
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
        open();
    }
    void open() {
        ASSERT_TRUE(testing::Open(volume_, path_));
        ASSERT_EQ(LoadAllocationState(volume_), TreeResult::Done);
    }
    void flushAndReopen() {
        ASSERT_EQ(FlushVolume(volume_, kClock), TreeResult::Done);
        open();
    }
    std::uint32_t create(const std::string& name, std::uint32_t parent) {
        std::uint32_t id = 0;
        EXPECT_EQ(CreateFolder(volume_, name, parent, kClock, id), TreeResult::Done) << name;
        return id;
    }
    TreeResult tryCreate(const std::string& name, std::uint32_t parent) {
        std::uint32_t id = 0;
        return CreateFolder(volume_, name, parent, kClock, id);
    }
    std::vector<std::string> names(std::uint32_t folder) {
        std::vector<CatalogItem> items;
        EXPECT_EQ(ListFolder(volume_, folder, kClock, items), TreeResult::Done);
        std::vector<std::string> names;
        names.reserve(items.size());
        for (const CatalogItem& item : items)
            names.push_back(item.name);
        return names;
    }
    std::optional<CatalogItem> find(std::string_view path) {
        std::optional<CatalogItem> item;
        EXPECT_EQ(FindPath(volume_, path, kClock, item), TreeResult::Done) << path;
        return item;
    }
    // Folders and next id, as the header in memory tells them.
    std::pair<std::uint32_t, std::uint32_t> counts() const {
        return isHfsPlus_ ? std::pair<std::uint32_t, std::uint32_t>{volume_.vhb.folderCount,
                                                                    volume_.vhb.nextCatalogId}
                          : std::pair<std::uint32_t, std::uint32_t>{volume_.mdb.folderCount,
                                                                    volume_.mdb.nextCatalogId};
    }
    std::vector<Bytes> image() const {
        PcFile file(path_, PcFile::Mode::Read);
        return {testing::BytesAt(path_, 0, file.size()), volume_.catalog.headerNode,
                volume_.catalog.nodeBitmap};
    }

    TemporaryFolder folder_;
    std::string path_;
    VolumeContext volume_;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, Catalog, ::testing::Bool(), [](const auto& test) {
    return std::string(test.param ? "HfsPlus" : "Hfs");
});

TEST_P(Catalog, ANewVolumeHasItsRootAlone) {
    EXPECT_EQ(VolumeName(volume_), "Small");
    EXPECT_EQ(names(kRootFolderId), std::vector<std::string>{});
    const auto root = find("");
    ASSERT_TRUE(root);
    EXPECT_EQ(root->id, 2u);
    EXPECT_EQ(root->parentId, 1u);
    EXPECT_EQ(root->name, "Small");
    EXPECT_EQ(root->created, testing::kNow);
    EXPECT_EQ(ParentOf(volume_, 2), 1u);
    EXPECT_EQ(ReadValence(volume_, 2), 0u);
    EXPECT_EQ(ReadValence(volume_, 99), std::nullopt);
    EXPECT_EQ(find("nothing"), std::nullopt);
}

// Hundreds of folders, some deep, some many in one; found again after the volume was put away.
TEST_P(Catalog, FoldersAreFoundAgainAfterTheVolumeWasPutAway) {
    const auto [foldersBefore, idBefore] = counts();
    std::map<std::string, std::uint32_t> made;  // by path
    const std::uint32_t wide = made["Wide"] = create("Wide", 2);
    std::uint32_t deep = made["Deep"] = create("Deep", 2);
    std::string deepPath = "Deep";
    std::mt19937 random(7);
    for (int i = 0; i < 120; ++i) {
        const auto number = static_cast<unsigned>(random() % 100'000);
        const std::string name = (i % 3 ? "Été :" : "plain ") + std::to_string(number);
        made["Wide/" + name] = create(name, wide);
        if (i % 6 == 0) {
            deepPath += "/niveau " + std::to_string(i);
            deep = made[deepPath] = create("niveau " + std::to_string(i), deep);
        }
    }
    const auto count = static_cast<std::uint32_t>(made.size());
    EXPECT_EQ(counts(), std::pair(foldersBefore + count, idBefore + count));
    flushAndReopen();
    EXPECT_EQ(counts(), std::pair(foldersBefore + count, idBefore + count));
    for (const auto& [path, id] : made) {
        const auto item = find(path);
        ASSERT_TRUE(item) << path;
        EXPECT_EQ(item->id, id) << path;
        EXPECT_TRUE(item->isFolder);
        EXPECT_EQ(item->created, testing::kNow);
        EXPECT_EQ(item->modified, testing::kNow);
        EXPECT_EQ(item->name, path.substr(path.rfind('/') + 1));
        const std::size_t slash = path.rfind('/');
        const std::uint32_t parent = slash == std::string::npos ? 2 : made[path.substr(0, slash)];
        EXPECT_EQ(ParentOf(volume_, id), parent) << path;
        EXPECT_EQ(FolderIdByName(volume_, item->name, parent), id);
        const std::string inside = path + "/";
        const auto children = static_cast<std::uint32_t>(
            std::count_if(made.begin(), made.end(), [&inside](const auto& other) {
                return other.first.substr(0, other.first.rfind('/') + 1) == inside;
            }));
        EXPECT_EQ(ReadValence(volume_, id), children) << path;
        EXPECT_EQ(item->valence, children) << path;
        EXPECT_EQ(names(id).size(), children);
    }
    EXPECT_EQ(ReadValence(volume_, 2), 2u);
    std::size_t walked = 0;
    EXPECT_EQ(testing::WalkVolume(volume_, 10'000,
                                  [&](const std::string& path, const CatalogItem& item) {
                                      ++walked;
                                      EXPECT_EQ(made[path], item.id) << path;
                                  }),
              TreeResult::Done);
    EXPECT_EQ(walked, made.size());
    testing::ExpectReadersFindNoFault(path_);
}

// The order of HFS puts an accented letter right behind its plain one; that of HFS+ puts the mark
// behind all plain letters (decomposed, U+0301).
TEST_P(Catalog, FoldersAreListedInTheOrderOfTheFormat) {
    for (const std::string_view name : {"b", "éa", "A", "_", "ez", "Ea", "É", "a:b", "z"})
        create(std::string(name), 2);
    const std::vector<std::string> hfs = {"A", "a:b", "b", "Ea", "ez", "É", "éa", "z", "_"};
    const std::vector<std::string> hfsPlus = {"_", "A", "a:b", "b", "Ea", "ez", "É", "éa", "z"};
    EXPECT_EQ(names(2), isHfsPlus_ ? hfsPlus : hfs);
    // The colon that is shown is a slash on the disk.
    const auto item = find("A:B");
    ASSERT_TRUE(item);
    EXPECT_EQ(isHfsPlus_ ? item->catalogName.hfsPlus == u"a/b" : item->catalogName.hfs == "a/b",
              true);
}

TEST_P(Catalog, ItemsAreFoundWithoutRegardToCase) {
    const std::uint32_t outer = create("Ünder Ångström", 2);
    const std::uint32_t inner = create("iNNer", outer);
    for (const std::string_view path :
         {"ünder ångström/INNER", "ÜNDER ÅNGSTRÖM/inner", "/Ünder Ångström//iNNer/",
          "U\u0308nder A\u030Angstro\u0308m/inner"}) {
        const auto item = find(path);
        ASSERT_TRUE(item) << path;
        EXPECT_EQ(item->id, inner);
    }
    EXPECT_EQ(find("Ünder Ångström/inner/more"), std::nullopt);
    EXPECT_EQ(find("Under Angstrom"), std::nullopt);
    EXPECT_EQ(FolderIdByName(volume_, "INNER", outer), inner);
    EXPECT_EQ(FolderIdByName(volume_, "INNER", 2), 0u);
    EXPECT_EQ(ParentOf(volume_, 12345), 0u);
}

TEST_P(Catalog, ANameThatIsThereChangesNothing) {
    const std::uint32_t id = create("Déjà vu", 2);
    const auto before = image();
    const auto countsBefore = counts();
    for (const std::string_view name : {"Déjà vu", "déjà VU", "de\u0301ja\u0300 vu"})
        EXPECT_EQ(tryCreate(std::string(name), 2), TreeResult::Exists) << name;
    EXPECT_TRUE(image() == before);
    EXPECT_EQ(counts(), countsBefore);
    EXPECT_EQ(find("DÉJÀ VU")->id, id);
}

TEST_P(Catalog, NamesAndParentsThatCannotBeAreRefused) {
    const std::uint32_t folder = create("folder", 2);
    const auto before = image();
    const auto countsBefore = counts();
    struct Case {
        const char* what;
        std::string name;
        std::uint32_t parent;
        bool possibleInHfs, possibleInHfsPlus;
    };
    const std::string korean = "\uD55C";  // three units when decomposed
    std::string long85, long86;
    for (int i = 0; i < 86; ++i)
        (i < 85 ? long85 : long86) += korean;
    const Case cases[] = {
        {"empty", "", 2, false, false},
        {"32 letters", std::string(32, 'x'), 2, false, true},
        {"31 letters", std::string(31, 'x'), 2, true, true},
        {"255 letters", std::string(255, 'y'), 2, false, true},
        {"256 letters", std::string(256, 'z'), 2, false, false},
        {"255 units decomposed", long85, 2, false, true},
        {"258 units decomposed", long85 + long86, 2, false, false},
        {"not in MacRoman", "日本", 2, false, true},
        {"nothing is left of it", "\u0081", 2, false, false},
        {"no such parent", "name", folder + 1, false, false},
        {"parent of the root", "name", 1, false, false},
    };
    for (const Case& c : cases) {
        const bool possible = isHfsPlus_ ? c.possibleInHfsPlus : c.possibleInHfs;
        if (!possible) {
            EXPECT_EQ(tryCreate(c.name, c.parent), TreeResult::Damaged) << c.what;
            EXPECT_TRUE(image() == before) << c.what;
            EXPECT_EQ(counts(), countsBefore) << c.what;
        }
    }
    for (const Case& c : cases)
        if (isHfsPlus_ ? c.possibleInHfsPlus : c.possibleInHfs) {
            create(c.name, c.parent);
            EXPECT_TRUE(find(c.name)) << c.what;
        }
    ASSERT_EQ(FlushVolume(volume_, kClock), TreeResult::Done);
    testing::ExpectReadersFindNoFault(path_);
}

// The thread of an HFS+ file leads to a record that has no number of items.
TEST_P(Catalog, AFileIsNoParent) {
    FileFacts facts;
    facts.id = NextCatalogId(volume_);
    ASSERT_EQ(isHfsPlus_ ? InsertFile(volume_.catalog, 2, u"file", facts)
                         : InsertFile(volume_.catalog, 2, "file", facts, 512),
              TreeResult::Done);
    const auto before = image();
    EXPECT_EQ(tryCreate("below", facts.id), TreeResult::Damaged);
    EXPECT_EQ(ReadValence(volume_, facts.id), std::nullopt);
    EXPECT_EQ(AddToValence(volume_, 1, facts.id), TreeResult::Damaged);
    EXPECT_EQ(find("file/below"), std::nullopt);
    EXPECT_TRUE(image() == before);
}

// Ids that are in use already, as a damaged header would hand out, take nothing along.
TEST_P(Catalog, AnIdThatIsInUseIsRefused) {
    const std::uint32_t id = create("one", 2);
    for (const std::uint32_t next : {id, 2u, 0u, 0xFFFFFFFFu}) {
        (isHfsPlus_ ? volume_.vhb.nextCatalogId : volume_.mdb.nextCatalogId) = next;
        const auto before = image();
        EXPECT_EQ(tryCreate("two", 2), TreeResult::Damaged) << next;
        EXPECT_TRUE(image() == before) << next;
    }
    EXPECT_EQ(names(2).size(), 1u);
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
    TreeResult result = TreeResult::Done;
    int refused = 0;
    while (refused < 40) {
        std::string name(1 + random() % (isHfsPlus_ ? 250 : 31), 'n');
        for (char& letter : name)
            letter = static_cast<char>('a' + random() % 26);
        const std::uint32_t parent = parents[random() % parents.size()];
        const auto before = refused > 0 ? image() : std::vector<Bytes>{};
        std::uint32_t id = 0;
        result = CreateFolder(volume_, name, parent, kClock, id);
        if (result == TreeResult::Done) {
            ++made;
            parents.push_back(id);
        } else if (result == TreeResult::Full) {
            EXPECT_TRUE(refused == 0 || image() == before);
            ++refused;
        } else {
            ASSERT_EQ(result, TreeResult::Exists);
        }
    }
    EXPECT_GT(made, 200u);
    EXPECT_EQ(counts().first, made);
    flushAndReopen();
    std::uint32_t walked = 0;
    EXPECT_EQ(testing::WalkVolume(volume_, 10'000, [&](const auto&, const auto&) { ++walked; }),
              TreeResult::Done);
    EXPECT_EQ(walked, made);
    testing::ExpectReadersFindNoFault(path_);
}

// Outside the bracket of loading and flushing nothing may change.
TEST_P(Catalog, ChangesNeedTheLoadedBitmap) {
    ReleaseAllocationState(volume_);
    const auto before = image();
    EXPECT_EQ(tryCreate("name", 2), TreeResult::Failed);
    EXPECT_TRUE(image() == before);
    EXPECT_EQ(FlushVolume(volume_, kClock), TreeResult::Done);
    EXPECT_TRUE(image() == before) << "without a loaded bitmap nothing is written";
}

// Header and copy, count of writes, date and bitmap after one change.
TEST_P(Catalog, AFlushWritesBothHeaders) {
    const std::uint64_t volumeAt = isHfsPlus_ ? 64 * 512 : 96 * 512;
    const std::uint64_t header = volumeAt + 1024;
    const std::uint64_t copy = PcFile(path_, PcFile::Mode::Read).size() - 1024;
    const int writeCount = isHfsPlus_ ? 68 : 70;
    const int modified = isHfsPlus_ ? 20 : 6;
    const std::uint64_t before = testing::Big(path_, header + writeCount, 4);
    create("name", 2);
    const FixedClock later(testing::kNow + 1000, 3600);
    ASSERT_EQ(FlushVolume(volume_, later), TreeResult::Done);
    EXPECT_EQ(testing::Big(path_, header + writeCount, 4), before + 1);
    // HFS keeps local time.
    EXPECT_EQ(testing::Big(path_, header + modified, 4),
              testing::kNow + 1000 + 2082844800 + (isHfsPlus_ ? 0 : 3600));
    EXPECT_EQ(testing::BytesAt(path_, copy, 512), testing::BytesAt(path_, header, 512));
    testing::ExpectReadersFindNoFault(path_);
}

TEST_P(Catalog, AFailedTransferIsToldByCreationAndFlush) {
    for (int sweep = 1; sweep < 60; ++sweep) {
        SCOPED_TRACE(sweep);
        SetUp();
        int left = sweep;
        bool failed = false;
        const TransferSlot failing = [&](const SectorRequest& request) {
            if (request.command == kCommandWrite && --left <= 0) {
                failed = true;
                return 1;
            }
            return TransferSectors(volume_, request);
        };
        volume_.transferSlot = failing;
        TreeResult result = TreeResult::Done;
        for (int i = 0; i < 12 && result == TreeResult::Done; ++i)
            result = tryCreate("folder " + std::to_string(i), 2);
        if (result == TreeResult::Done)
            result = FlushVolume(volume_, kClock);
        ASSERT_EQ(result, failed ? TreeResult::Failed : TreeResult::Done);
        std::vector<CatalogItem> items;
        (void)ListFolder(volume_, 2, kClock, items);
    }
}

}  // namespace
}  // namespace vellmark
