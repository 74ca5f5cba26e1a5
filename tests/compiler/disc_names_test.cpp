// The names of items in each tree of a disc.
#include "compiler/disc_names.hpp"

#include <array>

#include "project/project_bench.hpp"
#include "support/pc_folder.hpp"
#include "volume/catalog_name.hpp"

namespace vellmark {
namespace {

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
            record = test::Item(1, isFolder ? number : -number, odd ? shortName : narrow);
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
    test::ScriptedMessages told;

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
        ProjectRecord record = test::Item(1, -1, "NOTES~1.TXT");
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
        test::ScriptedMessages told;
        for (const CompileMode mode : {HybridHfsPlus, HybridHfs})
            AssignNames(items, {u"r\u00E9 of more than 31 units, 1234567.txt"}, mode, told);
        EXPECT_EQ(items[0].hfsPlusName, row.hfsPlus);
        EXPECT_EQ(items[0].hfsName, row.hfs);
    }
}

}  // namespace
}  // namespace vellmark
