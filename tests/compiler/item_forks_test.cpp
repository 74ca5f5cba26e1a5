#include "compiler/item_forks.hpp"

#include <gtest/gtest.h>

#include "compiler/compiler_bench.hpp"
#include "containers/codec_bench.hpp"

namespace vellmark::test {
namespace {

using testing::Append;
using testing::Be;
using testing::Bytes;

std::string TextOf(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

// A MacBinary file with 300 and 200 bytes in its forks, of which so many are there.
std::string MacBinary(std::size_t bytes = 128 + 384 + 200) {
    Bytes file = {0, 1, 'm'};
    file.resize(65);
    Append(file, testing::BytesOf("TYPEcrea"));
    Append(file, {0x24, 0x02});
    file.resize(83);
    Append(file, Be(300, 4));
    Append(file, Be(200, 4));
    file.resize(bytes, 'f');
    return TextOf(file);
}

// An AppleSingle or AppleDouble file with both forks, of which so many bytes are there.
std::string AppleFile(std::uint32_t magic, std::size_t bytes = 50 + 300 + 200) {
    Bytes file = Be(magic, 4);
    Append(file, Be(0x20000, 4));
    file.resize(24);
    Append(file, Be(2, 2));
    for (const std::uint64_t value : {1u, 50u, 300u, 2u, 350u, 200u})
        Append(file, Be(value, 4));
    file.resize(bytes, 'f');
    return TextOf(file);
}

std::string BinHex(std::size_t cut = 0) {
    testing::MacFile file;
    file.data = testing::Pattern(300);
    file.resource = testing::Pattern(200, 1);
    std::string text = TextOf(testing::BinHexOf(file));
    return text.substr(0, text.size() - cut);
}

struct Row {
    const char* name;
    ForkCoding coding;
    std::string file;
    std::string companion;  // "": there is none
    bool iso;               // is in the tree, when it is to be in both
    bool hfs;
    std::uint32_t data;  // bytes of the forks
    std::uint32_t resource;
    const char* leftOut;  // in the reason; "": nothing is left out
};

class ItemForks : public CompilerTest {
  protected:
    // A project of one file of the tree.
    [[nodiscard]] ProjectFile projectOf(ForkCoding coding, const std::string& name = "file",
                                        ProjectMode mode = ProjectMode::Hybrid) {
        ProjectFile made = ProjectFile::Create(folder_.path() + "/test.vlpr", mode, {});
        ProjectRecord record = Item(kRootFolder, made.giveFileNumber(), name);
        record.setAccessPath(tree() + "/");
        record.setCoding(coding);
        record.setAppleSingle(name == "single");
        record.setSignature("TYPEcrea");
        made.insert(record);
        return made;
    }

    // The files of a row in the tree, and no other companion.
    void lay(const Row& row) {
        write(row.name, row.file);
        std::filesystem::remove(tree() + "/._" + row.name);
        if (!row.companion.empty())
            write(std::string("._") + row.name, row.companion);
    }

    [[nodiscard]] std::vector<Row> rows() const {
        const ForkCoding apple = ForkCoding::AppleFiles;
        const std::string single = AppleFile(kAppleSingle);
        const std::string companion = AppleFile(kAppleDouble);
        return {
            {"file", ForkCoding::None, "plain", "", true, true, 5, 0, ""},
            {"file", ForkCoding::MacBinary, MacBinary(), "", true, true, 300, 200, ""},
            {"file", ForkCoding::MacBinary, MacBinary(600), "", true, true, 600, 0,
             "resource fork"},
            {"file", ForkCoding::MacBinary, MacBinary(200), "", true, true, 200, 0, "data fork"},
            {"file", ForkCoding::MacBinary, "short", "", true, true, 5, 0, "cut short"},
            {"single", apple, single, "", true, true, 300, 200, ""},
            {"single", apple, single.substr(0, 500), "", true, false, 0, 0, "resource fork"},
            {"single", apple, "no container", "", true, true, 12, 0, "not what"},
            {"file", apple, "data", companion, true, true, 4, 200, ""},
            {"file", apple, "data", companion.substr(0, 360), true, true, 4, 0, "companion ._file"},
            {"file", apple, "data", "", true, true, 4, 0, "._file is not there"},
            {"file", ForkCoding::BinHex, BinHex(), "", true, true, 300, 200, ""},
            {"file", ForkCoding::BinHex, BinHex(100), "", true, false, 0, 0, "resource fork"},
            {"file", ForkCoding::BinHex, "no text", "", true, true, 7, 0, "not what"},
        };
    }

    static constexpr std::uint32_t kAppleSingle = 0x00051600;
    static constexpr std::uint32_t kAppleDouble = 0x00051607;
};

TEST_F(ItemForks, DatesAndFlagsComeFromRecordAndContainer) {
    std::string file = MacBinary();
    file.replace(91, 8, std::string("\x90\0\0\2\x90\0\0\1", 8));  // created, modified
    write("file", file);
    // A creation date behind the modification date is the container's own.
    for (const std::uint32_t kept : {0x90000001u, 0x90000000u}) {
        ProjectFile made = projectOf(ForkCoding::MacBinary);
        made.changeRuns([&](std::span<ProjectRecord> run) {
            run[0].modified = 0x90000001u;
            run[0].created = kept;
            run[0].setHiddenInHfs(kept == 0x90000000u);
        });
        const DiscItem item = planOf(made, CompileMode::HybridHfs).folders[0].items[0];
        EXPECT_EQ(item.created, kept == 0x90000001u ? 0x90000002u : 0u);
        EXPECT_EQ(item.finderFlags, kept == 0x90000001u ? 0x2400 : 0x6400);
    }
}

TEST_F(ItemForks, SizesAreThoseOfTheDiskAndWhatIsDamagedIsNamed) {
    for (const Row& row : rows()) {
        SCOPED_TRACE(::testing::Message()
                     << static_cast<int>(row.coding) << ", " << row.file.size() << " bytes");
        lay(row);
        ProjectFile made = projectOf(row.coding, row.name);
        const DiscPlan plan = planOf(made, CompileMode::HybridHfs);
        ASSERT_EQ(plan.folders[0].items.size(), 1u);
        const DiscItem& item = plan.folders[0].items[0];
        EXPECT_EQ(item.inIso, row.iso);
        EXPECT_EQ(item.inHfs, row.hfs);
        EXPECT_EQ(plan.folders[0].hfsChildren, row.hfs ? 1u : 0u);
        EXPECT_EQ(item.run(RunKind::File).sizeBytes, row.file.size());
        if (row.hfs) {
            EXPECT_EQ(item.dataFork().sizeBytes, row.data);
            EXPECT_EQ(item.run(RunKind::Resource).sizeBytes, row.resource);
        }
        ASSERT_EQ(plan.leftOut.size(), *row.leftOut ? 1u : 0u);
        if (*row.leftOut) {
            EXPECT_EQ(plan.leftOut[0].first, tree() + "/" + row.name);
            const std::string words = plan.leftOut[0].second.words(Language::English);
            EXPECT_NE(words.find(row.leftOut), std::string::npos) << words;
        }
        // Without a Macintosh side the forks are nobody's, and nothing is opened.
        const DiscPlan pure = planOf(made, CompileMode::PureIso);
        EXPECT_TRUE(pure.leftOut.empty());
        EXPECT_EQ(pure.sourceBytes, row.file.size());
    }
}

TEST_F(ItemForks, WithTheAppleExtensionForksStandForTheContainer) {
    for (const Row& row : rows()) {
        SCOPED_TRACE(::testing::Message()
                     << static_cast<int>(row.coding) << ", " << row.file.size() << " bytes");
        lay(row);
        ProjectFile made = projectOf(row.coding, row.name, ProjectMode::IsoPlus);
        DiscPlan plan = planOf(made, CompileMode::IsoPlus);
        ASSERT_EQ(plan.folders[0].items.size(), 1u);
        EXPECT_EQ(plan.leftOut.size(), *row.leftOut ? 1u : 0u);
        made.changeRuns([](std::span<ProjectRecord> run) { run[0].setIsoInclusion(0); });
        EXPECT_EQ(planOf(made, CompileMode::PureHfs).folders[0].items.size(), 1u)
            << "nowhere else to be";
        if (!row.hfs)
            continue;
        EXPECT_EQ(PlaceFiles(plan, 2048), row.resource ? 2u : 1u);
        const DiscItem& item = plan.folders[0].items[0];
        EXPECT_EQ(item.run(RunKind::File).sizeBytes, row.data);
        EXPECT_EQ(item.run(RunKind::File).startBlock, row.resource ? 1u : 0u);
        EXPECT_EQ(item.run(RunKind::Resource).sizeBytes, row.resource);
    }
    write("file", "data");
    ProjectFile made = projectOf(ForkCoding::NamedStreams, "file", ProjectMode::IsoPlus);
    ASSERT_EQ(build(made).result, CompileResult::Done);
    ASSERT_EQ(messages_.skipped.size(), 1u);
    EXPECT_EQ(messages_.skipped[0].first, tree() + "/file");
}

// Catches a resource fork that is lost without a word when an editor drops the streams of a file.
TEST_F(ItemForks, AStreamThatIsGoneIsNamed) {
    write("file", "data");
    ProjectFile made = projectOf(ForkCoding::NamedStreams);
    for (const std::uint32_t kept : {0u, 7u}) {
        made.changeRuns([&](std::span<ProjectRecord> run) { run[0].resourceSize = kept; });
        const DiscPlan plan = planOf(made, CompileMode::HybridHfs);
        ASSERT_EQ(plan.leftOut.size(), kept == 0 ? 0u : 1u);
        EXPECT_EQ(plan.folders[0].items[0].dataFork().sizeBytes, 4u) << "the data fork stays";
    }
}

TEST_F(ItemForks, AContainerThatShrinksOrAStopWhileItIsReadEndsTheBuild) {
    write("file", BinHex());
    ProjectFile text = projectOf(ForkCoding::BinHex);
    progress_.stop = true;
    EXPECT_EQ(build(text).result, CompileResult::Aborted);
    progress_.stop = false;
    write("file", MacBinary());
    ProjectFile made = projectOf(ForkCoding::MacBinary);
    progress_.onFile = [&](std::string_view) {
        std::filesystem::resize_file(tree() + "/file", 300);
    };
    EXPECT_EQ(build(made).result, CompileResult::CopyFailed);
    EXPECT_NE(messages_.shown.back().find("/file"), std::string::npos) << messages_.shown.back();
    EXPECT_TRUE(filesIn(out()).empty());
}

TEST_F(ItemForks, RecordsThatNoWayLeadsToAreNamed) {
    write("file", "data");
    ProjectFile made = projectOf(ForkCoding::None);
    made.insert(Item(99, -50, "orphan"));
    made.insert(Item(99, -51, "orphan in no view", 0, 0));
    made.insert(Item(31, 30, "circle a"));
    made.insert(Item(30, 31, "circle b"));
    made.insert(Item(kRootFolder, 40, "folder"));
    made.insert(Item(40, kRootFolder, "root again"));
    write("folder/x", "");
    made.changeRuns([&](std::span<ProjectRecord> run) {
        for (ProjectRecord& record : run)
            record.setAccessPath(record.isFolder() ? kProjectOnlyPath : tree() + "/");
    });
    const DiscPlan plan = planOf(made, CompileMode::HybridHfs);
    std::vector<std::string> names;
    for (const auto& [name, reason] : plan.leftOut)
        names.push_back(name.substr(name.find_last_of('/') + 1));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"circle a", "circle b", "orphan", "root again"}));
}

}  // namespace
}  // namespace vellmark::test
