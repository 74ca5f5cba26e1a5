#include "compiler/disc_names.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "containers/name_order.hpp"
#include "project/project_bench.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {
namespace {

// A file or folder of the PC as a record holds it.
struct Source {
    std::string name;  // UTF-8
    bool isFolder = false;
};

class NamedFolder {
  public:
    NamedFolder(const std::vector<Source>& sources, CompileMode mode) {
        records_.resize(sources.size());
        for (std::size_t i = 0; i < sources.size(); ++i) {
            const std::string narrow = Utf8ToNarrow(sources[i].name);
            ProjectRecord& record = records_[i];
            record.number = sources[i].isFolder ? static_cast<std::int32_t>(i + 18)
                                                : -static_cast<std::int32_t>(i + 1);
            record.setAccessPath("/pc/");
            const bool odd = NarrowToUtf8(narrow) != sources[i].name;
            record.setShortNameFlag(odd);
            record.setShortName(IsShortName(narrow) ? narrow : "SH" + std::to_string(1000 + i));
            record.setSourceName(odd ? record.shortName() : std::string_view(narrow));
            record.setIsoName(std::string(record.sourceName()).substr(0, 62));
            record.setHfsName(std::string(record.sourceName()).substr(0, 31));
            DiscItem item;
            item.record = &record;
            item.inIso = true;
            item.inHfs = true;
            item.folder = sources[i].isFolder ? 1 : kNoFolder;
            items.push_back(item);
            diskNames_.push_back(Utf8ToWide(sources[i].name));
        }
        AssignNames(items, diskNames_, mode, told);
    }
    std::vector<DiscItem> items;
    test::ScriptedMessages told;

  private:
    std::vector<ProjectRecord> records_;
    std::vector<std::u16string> diskNames_;
};

DiscItem NameOne(const Source& source, CompileMode mode = CompileMode::HybridHfsPlus) {
    return NamedFolder({source}, mode).items.front();
}

TEST(DiscNames, IsoNamesAreTheShortNamesInCapitals) {
    struct Row {
        Source source;
        std::string iso;
    };
    const std::vector<Row> rows = {
        {{"readme.txt"}, "README.TXT"},        {{"README"}, "README"}, {{"a-b.t~t"}, "A_B.T_T"},
        {{"longer than eight.txt"}, "SH1000"}, {{"sub", true}, "SUB"}, {{"a.b", true}, "AB"},
        {{"abcdefgh.ijk", true}, "ABCDEFGH"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(NameOne(row.source).isoName, row.iso) << row.source.name;
}

TEST(DiscNames, IsoNamesThatAreTakenGetLettersWithinTheirEight) {
    const NamedFolder folder({{"a.b", true}, {"ab", true}, {"AB"}, {"x.txt"}, {"X.TXT"}},
                             CompileMode::HybridHfs);
    std::vector<std::string> names;
    for (const DiscItem& item : folder.items)
        names.push_back(item.isoName);
    EXPECT_EQ(names, (std::vector<std::string>{"AB", "AB_A", "AB_B", "X.TXT", "X_A.TXT"}));
    // All ways to write eight letters in capitals and small ones.
    std::vector<Source> twins;
    for (int i = 0; i < 30; ++i) {
        twins.push_back({"abcdefgh.txt"});
        for (std::size_t letter = 0; letter < 5; ++letter)
            if ((i >> letter & 1) != 0)
                twins.back().name[letter] = static_cast<char>('A' + letter);
    }
    const NamedFolder many(twins, CompileMode::PureIso);
    EXPECT_EQ(many.items[0].isoName, "ABCDEFGH.TXT");
    EXPECT_EQ(many.items[1].isoName, "ABCDEF_A.TXT");
    EXPECT_EQ(many.items[26].isoName, "ABCDEF_Z.TXT");
    EXPECT_EQ(many.items[27].isoName, "ABCDE_AA.TXT");
    EXPECT_EQ(many.items[29].isoName, "ABCDE_AC.TXT");
}

TEST(DiscNames, JolietKeepsWhatUcs2CanSayAndReplacesWhatItForbids) {
    EXPECT_EQ(NameOne({"café.txt"}).jolietName, u"café.txt");
    EXPECT_EQ(NameOne({"日本語.txt"}).jolietName, u"日本語.txt");
    EXPECT_EQ(NameOne({"a:b*c?.txt"}).jolietName, u"a_b_c_.txt");
    EXPECT_EQ(NameOne({"bad\xE9.txt"}).jolietName, u"bad_.txt");
    EXPECT_EQ(NameOne({"cafe\u0301", true}).jolietName, u"caf\u00E9") << "joined";
    const std::string letters64(64, 'f');
    EXPECT_EQ(NameOne({letters64, true}).jolietName, Utf8ToWide(letters64));
    const NamedFolder folders({{letters64 + "a", true}, {letters64 + "b", true}},
                              CompileMode::PureIso);
    EXPECT_EQ(folders.items[0].jolietName, Utf8ToWide(letters64));
    EXPECT_TRUE(folders.items[1].jolietName.starts_with(std::u16string(59, u'f') + u"-"));
    const std::string letters62 = std::string(58, 'n') + ".txt";
    EXPECT_EQ(NameOne({letters62}).jolietName, Utf8ToWide(letters62));
    const std::u16string cut = NameOne({"日" + std::string(70, 'n') + ".txt"}).jolietName;
    EXPECT_EQ(cut.size(), 62u);
    EXPECT_TRUE(cut.ends_with(u".txt"));
}

// Readers of Joliet do not tell capitals from small letters either. What an item could not keep is
// told.
TEST(DiscNames, NamesThatOnlyDifferInCaseCollide) {
    for (const CompileMode mode : {CompileMode::HybridHfs, CompileMode::HybridHfsPlus}) {
        const NamedFolder folder({{"readme.txt"}, {"README.txt"}}, mode);
        const DiscItem& a = folder.items[0];
        const DiscItem& b = folder.items[1];
        EXPECT_EQ(a.jolietName, u"readme.txt");
        EXPECT_EQ(b.jolietName, u"README-9658.txt");
        const std::string tree = mode == CompileMode::HybridHfs ? "HFS" : "HFS+";
        EXPECT_EQ(folder.told.renamed, std::vector{"/pc/README.txt: Joliet \"README-9658.txt\", " +
                                                   tree + " \"README-9658.txt\""});
        if (mode == CompileMode::HybridHfs) {
            EXPECT_NE(CompareHfsKeyNames(a.hfsName, b.hfsName), 0);
            EXPECT_EQ(b.hfsName.size(), std::string("README-0000.txt").size()) << b.hfsName;
        } else {
            EXPECT_NE(CompareHfsPlusNames(std::u16string_view(a.hfsPlusName),
                                          std::u16string_view(b.hfsPlusName)),
                      0);
        }
    }
}

// The record of an older project has the 8.3 name, which is all that Windows-1252 held.
TEST(DiscNames, HfsTakesTheTrueNameWhereTheRecordHasTheShortOne) {
    const NamedFolder folder({{"\u222B \u03C0.txt"}, {"cafe\u0301"}, {"\u65E5.txt"}},
                             CompileMode::HybridHfs);
    EXPECT_EQ(folder.items[0].hfsName, "\xBA \xB9.txt");
    EXPECT_EQ(folder.items[1].hfsName, "caf\x8E");
    EXPECT_EQ(folder.items[2].hfsName, "_.txt");
    EXPECT_EQ(folder.told.renamed, std::vector<std::string>{"/pc/\u65E5.txt: HFS \"_.txt\""});
    EXPECT_EQ(NameOne({"cafe\u0301.a"}).jolietName, u"caf\u00E9.a");
}

TEST(DiscNames, HfsPlusTakesTheTrueNameDecomposed) {
    EXPECT_EQ(NameOne({"část.txt"}).hfsPlusName, u"c\u030Ca\u0301st.txt");
    EXPECT_EQ(NameOne({"\u65E5:b?.txt"}).hfsPlusName, u"\u65E5/b?.txt");
    EXPECT_EQ(NameOne({"bad\xE9.txt"}).hfsPlusName, u"bad_.txt");
    EXPECT_EQ(NameOne({"😀.txt"}).hfsPlusName, u"😀.txt");
}

TEST(DiscNames, AFileOfAServerHasItsNameOnTheDiskUnlessItIsLocked) {
    for (const bool locked : {false, true}) {
        ProjectRecord record;
        record.number = -1;
        record.setAccessPath("/pc/");
        record.setSourceName("NOTES~1.TXT");
        record.setShortNameFlag(true);
        record.setHfsName("old name");
        record.setCoding(ForkCoding::NamedStreams);
        record.setHfsNameLocked(locked);
        DiscItem item;
        item.record = &record;
        item.inHfs = true;
        std::vector<DiscItem> items = {item};
        test::ScriptedMessages told;
        AssignNames(items, {u"r\u00E9sum\u00E9 \u2014 a name of more than 31 units.txt"},
                    CompileMode::HybridHfs, told);
        EXPECT_EQ(items[0].hfsName,
                  locked ? "old name" : "r\x8Esum\x8E \xD1 a name of more tha.txt");
        AssignNames(items, {u"r\u00E9sum\u00E9"}, CompileMode::HybridHfsPlus, told);
        EXPECT_EQ(items[0].hfsPlusName, locked ? u"old name" : u"re\u0301sume\u0301");
    }
}

// What Windows-1252 cannot say of a name in a container comes from the container.
TEST(DiscNames, AContainerNamesItsFileWhateverItIsCalledOnTheDisk) {
    ProjectRecord record;
    record.number = -1;
    record.setMacBinary(true);
    record.setShortNameFlag(true);
    record.setHfsName("_ 1");
    DiscItem item;
    item.record = &record;
    item.inHfs = true;
    item.containerName = "\xB6 1";
    test::ScriptedMessages told;
    for (const bool isCopy : {false, true}) {
        record.setUnicodeOnDisk(isCopy);
        std::vector<DiscItem> items = {item};
        AssignNames(items, {u"\u65E5.bin"}, CompileMode::HybridHfsPlus, told);
        EXPECT_EQ(items[0].hfsPlusName, isCopy ? u"\u2202 1" : u"_ 1");
    }
    EXPECT_TRUE(told.renamed.empty());
}

TEST(DiscNames, ThousandsOfNamesThatShareTheirBeginningAllStayApart) {
    // The names agree in all that HFS and Joliet can hold of them.
    std::vector<Source> sources;
    for (int i = 0; i < 3000; ++i)
        sources.push_back({std::string(70, 'x') + std::to_string(i) + ".txt"});
    const NamedFolder folder(sources, CompileMode::HybridHfs);
    std::set<std::string> hfs;
    std::set<std::u16string> joliet;
    for (const DiscItem& item : folder.items) {
        EXPECT_TRUE(hfs.insert(item.hfsName).second) << item.hfsName;
        EXPECT_LE(item.hfsName.size(), 31u);
        EXPECT_TRUE(joliet.insert(item.jolietName).second);
        EXPECT_LE(item.jolietName.size(), 62u);
    }
}

}  // namespace
}  // namespace vellmark
