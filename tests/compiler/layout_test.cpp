// Where things go in an image: the reserves of the ISO side and the sizes of the volumes; and the
// names of items in each tree.
#include "compiler/compiler_bench.hpp"

#include <array>
#include <random>
#include <ranges>

#include "compiler/disc_names.hpp"
#include "compiler/hfs_layout.hpp"
#include "compiler/iso_layout.hpp"
#include "compiler/iso_tables.hpp"
#include "project/project_bench.hpp"
#include "support/pc_folder.hpp"
#include "volume/catalog_name.hpp"

namespace vellmark::test {
namespace {

// A plan with one folder of so many files of one size.
DiscPlan PlanOf(std::size_t files, std::uint32_t sizeBytes, bool appleExtension = false) {
    DiscPlan plan;
    plan.appleExtension = plan.strictIso = appleExtension;
    plan.folders.emplace_back().number = kRootFolder;
    for (std::size_t i = 0; i < files; ++i) {
        DiscItem item;
        item.inIso = item.inHfs = true;
        item.run(RunKind::File).sizeBytes = sizeBytes;
        item.isoName = "F" + std::to_string(i);
        item.jolietName = u"file number " + std::u16string(i % 40, u'n');
        item.hfsName = std::string(10 + i % 20, 'n');
        item.hfsPlusName = item.jolietName;
        plan.folders[0].items.push_back(item);
    }
    plan.largestFork = files ? sizeBytes : 0;
    return plan;
}

TEST(IsoLayout, ADirectoryIsMeasuredAsItIsWritten) {
    // Records of 34 + n bytes fill sectors unevenly: measure and writer must agree on each.
    const TemporaryFolder folder;
    for (const std::size_t i : std::views::iota(0u, 16u)) {
        const std::size_t files = std::array{0, 1, 40, 41, 42, 43, 500, 1999}[i / 2];
        DiscPlan plan = PlanOf(files, 10, i % 2 == 1);
        std::vector<ProjectRecord> records(files);
        for (std::size_t item = 0; item < files; ++item) {
            plan.folders[0].items[item].record = &records[item];
            plan.folders[0].items[item].run(RunKind::Resource).sizeBytes = item % 3 == 0;
        }
        const IsoLayout layout = ComputeLayout(plan, 2048);
        TempTableSet tables(folder.path());
        ASSERT_TRUE(WriteTables(plan, layout, {}, FixedClock(0), tables));
        EXPECT_EQ(tables.file(2).size(), layout.iso.directorySectors * 2048u) << files;
        EXPECT_EQ(tables.file(5).size(), layout.joliet.directorySectors * 2048u) << files;
        EXPECT_EQ(tables.file(0).size(), layout.iso.pathTableBytes);
        EXPECT_EQ(tables.file(4).size(), layout.joliet.pathTableBytes);
    }
}

// Tables at their sectors, little-endian ones first, then the directories of both trees with their
// reserves, then files from a whole block on: first the ISO side, then Joliet.
TEST(IsoLayout, TablesFollowOneAnotherWithRoomBehindThem) {
    const struct {
        std::size_t files;
        bool isStrict;
        std::uint32_t blockSize;
        std::string_view expected;
    } rows[] = {{0, false, 2048, "19 20 21+1, 24 25 26+1, 31"},
                {0, true, 2048, "19 20 21+1, 23 24 25+1, 29"},  // in the least room that is left
                {0, true, 6144, "19 20 21+1, 23 24 25+1, 30"},
                {2000, false, 2048, "19 20 21+40, 65 66 67+101, 178"},  // a tenth behind each
                {100, true, 2048, "19 20 21+3, 26 27 28+6, 38"}};
    for (const auto& row : rows) {
        const IsoLayout layout = ComputeLayout(PlanOf(row.files, 10, row.isStrict), row.blockSize);
        std::string places;
        for (const IsoTreeLayout* tree : {&layout.iso, &layout.joliet})
            places +=
                fmt::format("{} {} {}+{}, ", tree->pathTableL.number(), tree->pathTableM.number(),
                            tree->rootDirectory.number(), tree->directorySectors);
        EXPECT_EQ(places + std::to_string(layout.fileArea.number()), row.expected);
    }
}

// What every layout must keep, whatever it was computed from.
TEST(VolumeLayouts, HoldTheirRulesOverManySizes) {
    std::mt19937 random(20201);
    for (int i = 0; i < 1600; ++i) {
        const std::uint32_t size = 2048 * (1 + i % 31);
        const std::uint32_t b = size / 512;
        const Sector512 start(std::uint64_t{1 + random() % 500} * b);
        const auto leaves = static_cast<std::uint32_t>(random() % 3000);
        const std::uint64_t blocks = random() % 60000;
        const std::uint64_t free = i % 2 * (random() % 5000) * 1000;
        SCOPED_TRACE(fmt::format("block {}, start {}, blocks {}", size, start.number(), blocks));
        const HfsLayout hfs = ComputeHfsLayout(start, {leaves, blocks, free}, size);
        EXPECT_EQ(hfs.fileAreaStart.number() % b, 0u);
        EXPECT_EQ(hfs.imageEnd.number() % 4, 0u);
        EXPECT_EQ(hfs.totalBlocks, hfs.systemBlocks + blocks + BlocksFor(free, size) + 1)
            << "no file has the last block";
        EXPECT_GE(hfs.bitmapSectors * 4096u, hfs.totalBlocks);
        // The last block ends before the second header, 2048 bytes before the end of the image.
        EXPECT_LE(hfs.sectorOf(BlockNumber{hfs.totalBlocks}), hfs.imageEnd - 4);
        EXPECT_GE(hfs.partitionSectors, 1600u);

        const HfsLayout plus = ComputeHfsPlusLayout(start, {leaves, 50 * blocks, 2048 * free});
        EXPECT_GE(std::uint64_t{plus.bitmapSectors} * 4096, plus.totalBlocks);
        EXPECT_EQ(plus.usedBlocks, plus.systemBlocks + 50 * blocks + 1);
        EXPECT_EQ(plus.totalBlocks, plus.usedBlocks + free);
        EXPECT_EQ(plus.imageEnd, plus.partitionStart + std::uint64_t{plus.totalBlocks} * 4);
    }
}

TEST(HfsBlockSize, IsTheSmallestThatKeepsEverythingWithin65535Blocks) {
    const struct {
        std::size_t files;
        std::uint32_t sizeBytes;
        bool isHybrid;
        std::uint64_t free;
        std::uint32_t expected;  // 0: HFS+ is needed
    } rows[] = {
        {1, 2048u * 32767, true, 0, 4096},
        {10000, 100'000, true, 0, 18432},  // six blocks a file; with 16384 there would be seven
        {1, 3'000'000'000u, true, 0, 0},   // 47,252 of the largest blocks are too many for a fork
        {1, 1, true, 2048u * 65535, 4096},
        {1, 2048u * 60000, true, 0, 4096},
        {1, 2048u * 60000, false, 0, 2048},  // alone, HFS has no limit on its largest fork
    };
    for (const auto& row : rows) {
        const DiscPlan plan = PlanOf(row.files, row.sizeBytes);
        const std::uint32_t leaves = CountCatalogLeaves(plan, false);
        const auto chosen = ChooseHfsBlockSize(plan, leaves, row.isHybrid, row.free);
        EXPECT_EQ(chosen.value_or(0), row.expected) << row.files << " files of " << row.sizeBytes;
    }
}

using enum CompileMode;

// The items of a folder of the PC, by their names in UTF-8; a `/` ends those of folders. What the
// record does not hold has an 8.3 name there.
class NamedFolder {
  public:
    NamedFolder(const std::vector<std::string>& names, CompileMode mode) {
        records_.resize(names.size());
        for (std::size_t i = 0; i < names.size(); ++i) {
            const bool isFolder = names[i].ends_with('/');
            const std::string name = names[i].substr(0, names[i].size() - isFolder);
            const std::string narrow = Utf8ToNarrow(name);
            ProjectRecord& record = records_[i];
            const auto number = static_cast<std::int32_t>(i) + 18;
            const bool odd = NarrowToUtf8(narrow) != name;
            const std::string shortName =
                IsShortName(narrow) ? narrow : "SH" + std::to_string(1000 + i);
            record = Item(1, isFolder ? number : -number, odd ? shortName : narrow);
            record.setShortNameFlag(odd);
            record.setShortName(shortName);
            record.setIsoName(std::string(record.sourceName()).substr(0, 62));
            record.setHfsName(std::string(record.sourceName()).substr(0, 31));
            DiscItem& item = items.emplace_back();
            item.record = &record;
            item.inIso = item.inHfs = true;
            item.folder = isFolder ? 1 : kNoFolder;
            diskNames_.push_back(Utf8ToWide(name));
        }
        AssignNames(items, diskNames_, mode, told);
    }
    std::vector<DiscItem> items;
    ScriptedMessages told;

  private:
    std::vector<ProjectRecord> records_;
    std::vector<std::u16string> diskNames_;
};

TEST(DiscNames, EachTreeHasTheNameThatItCanHold) {
    const std::string f58(58, 'f');
    // On the PC, in ISO 9660 (- for one that is not looked at), Joliet, HFS and HFS+.
    const std::array<std::string, 5> rows[] = {
        {"readme.txt", "README.TXT", "readme.txt", "readme.txt", "readme.txt"},
        {"longer than 8", "SH1000", "longer than 8", "longer than 8", "longer than 8"},
        {"a.b/", "AB", "a.b", "a.b", "a.b"},
        {"cafe\u0301.a", "-", "café.a", "café.a", "cafe\u0301.a"},
        {"日本:語?.txt", "-", "日本_語_.txt", "__:_?.txt", "日本/語?.txt"},
        {"😀.txt", "-", "😀.txt", "__.txt", "😀.txt"},
        // The longest of Joliet: 62 units of a file, 64 of a folder.
        {f58 + "666666/", "-", f58 + "666666", "-", "-"},
        {"日" + f58 + "666666.txt", "-", "日" + f58.substr(1) + ".txt", "-", "-"}};
    for (const auto& names : rows) {
        const NamedFolder hfs({names[0]}, HybridHfs);
        const NamedFolder plus({names[0]}, HybridHfsPlus);
        const DiscItem& item = hfs.items[0];
        const std::string found[] = {item.isoName, WideToUtf8(item.jolietName),
                                     ShownHfsName(item.hfsName),
                                     WideToUtf8(plus.items[0].hfsPlusName)};
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_TRUE(names[i + 1] == "-" || names[i + 1] == found[i]) << names[0] << found[i];
    }
    // Names that only differ in case collide, in Joliet too. What an item could not keep is told.
    EXPECT_EQ(NamedFolder({"readme.txt", "README.txt", "\u65E5.txt"}, HybridHfs).told.renamed,
              (std::vector<std::string>{
                  "/pc/README.txt: Joliet \"README-9658.txt\", HFS \"README-9658.txt\"",
                  "/pc/\u65E5.txt: HFS \"_.txt\""}));
    EXPECT_EQ(NamedFolder({"bad\xE9.txt"}, HybridHfsPlus).items[0].hfsPlusName, u"bad_.txt");
}

TEST(DiscNames, IsoNamesThatAreTakenGetLettersWithinTheirEight) {
    std::vector<std::string> names = {"a.b/", "ab/", "AB", "x.txt", "X.TXT"};
    names.insert(names.end(), 30, "abcdefgh.txt");
    const NamedFolder folder(names, PureIso);
    const std::pair<std::size_t, const char*> expected[] = {
        {0, "AB"},           {1, "AB_A"},          {2, "AB_B"},
        {3, "X.TXT"},        {4, "X_A.TXT"},       {5, "ABCDEFGH.TXT"},
        {6, "ABCDEF_A.TXT"}, {31, "ABCDEF_Z.TXT"}, {32, "ABCDE_AA.TXT"}};
    for (const auto& [place, name] : expected)
        EXPECT_EQ(folder.items[place].isoName, name);
}

// A file of a server is named by the disk unless its name is locked; one in a container is named by
// that, where the field of the record only has a copy.
TEST(DiscNames, WhoNamesAFileIsToldByItsRecord) {
    const struct {
        bool isBox, isLocked, isCopy;
        std::string hfs;
        std::u16string hfsPlus;
    } rows[] = {{false, false, false, "r\x8E of more than 31 units, 1.txt",
                 u"re\u0301 of more than 31 units, 1234567.txt"},
                {false, true, false, "kept", u"kept"},
                {true, false, false, "kept", u"kept"},
                {true, false, true, "\xB6 1", u"\u2202 1"}};
    for (const auto& row : rows) {
        ProjectRecord record = Item(1, -1, "NOTES~1.TXT");
        record.setShortNameFlag(true);
        record.setHfsName("kept");
        record.setCoding(row.isBox ? ForkCoding::MacBinary : ForkCoding::NamedStreams);
        record.setMacBinary(row.isBox);
        record.setHfsNameLocked(row.isLocked);
        record.setUnicodeOnDisk(row.isCopy);
        std::vector<DiscItem> items(1);
        items[0].record = &record;
        items[0].inHfs = true;
        items[0].containerName = row.isBox ? "\xB6 1" : "";
        ScriptedMessages told;
        for (const CompileMode mode : {HybridHfsPlus, HybridHfs})
            AssignNames(items, {u"r\u00E9 of more than 31 units, 1234567.txt"}, mode, told);
        EXPECT_EQ(items[0].hfsPlusName, row.hfsPlus);
        EXPECT_EQ(items[0].hfsName, row.hfs);
    }
}

}  // namespace
}  // namespace vellmark::test
