// What the plan of a disc takes of the files of the PC: forks, sizes, marks, and what is left out.
#include "compiler/item_forks.hpp"

#include <set>

#include "compiler/compiler_bench.hpp"

namespace vellmark::test {
namespace {

// Files with forks of 300 and 200 bytes.
const std::string kBox = MacBinaryFile("m", "TYPEcrea", 300, 200, 0x90000002, 0x90000001, '\x24');
const std::string kSingle =
    AppleFile(true, {{1, std::string(300, 'd')}, {2, std::string(200, 'r')}});
const std::string kCompanion =
    AppleFile(false, {{1, std::string(300, 'd')}, {2, std::string(200, 'r')}});

// Without so many bytes of its end.
std::string BinHexText(std::size_t cut = 0) {
    const std::string text = TextOf(
        testing::BinHexOf({.data = testing::Pattern(300), .resource = testing::Pattern(200, 1)}));
    return text.substr(0, text.size() - cut);
}

class ItemForks : public CompilerTest {
  protected:
    // A project of one file of the tree.
    [[nodiscard]] ProjectFile projectOf(ForkCoding coding, const std::string& name = "file") {
        ProjectFile made = EmptyProject();
        ProjectRecord record = Item(kRootFolder, made.giveFileNumber(), name, 1, 1, tree() + "/");
        record.setCoding(coding);
        record.setAppleSingle(name == "single");
        record.resourceSize = 200;
        made.insert(record);
        return made;
    }
    // The one item of a plan, and the only folder's count of children in the HFS tree.
    static const DiscItem& onlyItem(const DiscPlan& plan) {
        EXPECT_EQ(plan.folders[0].items.size(), 1u);
        return plan.folders[0].items[0];
    }
};

TEST_F(ItemForks, SizesAreThoseOfTheDiskAndWhatIsDamagedIsNamed) {
    using enum ForkCoding;
    const struct {
        const char* name;
        ForkCoding coding;
        std::string file;
        std::string companion;  // "": there is none
        bool hfs;               // is in the tree, when it is to be in both
        std::uint32_t data;     // bytes of the forks
        std::uint32_t resource;
        const char* leftOut;  // in the reason; "": nothing is left out
    } rows[] = {
        {"file", None, "plain", "", true, 5, 0, ""},
        {"file", MacBinary, kBox, "", true, 300, 200, ""},
        {"file", MacBinary, kBox.substr(0, 600), "", true, 600, 0, "resource fork"},
        {"file", MacBinary, kBox.substr(0, 200), "", true, 200, 0, "data fork"},
        {"single", AppleFiles, kSingle, "", true, 300, 200, ""},
        {"single", AppleFiles, kSingle.substr(0, 500), "", false, 0, 0, "resource fork"},
        {"file", AppleFiles, "data", kCompanion, true, 4, 200, ""},
        {"file", AppleFiles, "data", kCompanion.substr(0, 360), true, 4, 0, "companion ._file"},
        {"file", AppleFiles, "data", "", true, 4, 0, "._file is not there"},
        // An editor drops the streams of a file that it writes anew.
        {"file", NamedStreams, "data", "", true, 4, 0, "AFP_Resource is not there any more"},
        {"file", BinHex, BinHexText(), "", true, 300, 200, ""},
        {"file", BinHex, BinHexText(100), "", false, 0, 0, "resource fork"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(fmt::format("row {}", &row - rows));
        write(row.name, row.file);
        std::filesystem::remove(tree() + "/._" + row.name);
        if (!row.companion.empty())
            write(std::string("._") + row.name, row.companion);
        ProjectFile made = projectOf(row.coding, row.name);
        const DiscPlan plan = planOf(made, CompileMode::HybridHfs);
        const DiscItem& item = onlyItem(plan);
        EXPECT_TRUE(item.inIso);
        EXPECT_EQ(item.inHfs, row.hfs);
        EXPECT_EQ(plan.folders[0].hfsChildren, row.hfs ? 1u : 0u);
        if (row.file == kBox) {  // dates and flags are the container's own
            EXPECT_EQ(item.created, 0x90000002u);
            EXPECT_EQ(item.finderFlags, 0x2400);
        }
        EXPECT_EQ(item.run(RunKind::File).sizeBytes, row.file.size());
        EXPECT_EQ(row.hfs ? item.dataFork().sizeBytes : 0, row.data);
        EXPECT_EQ(row.hfs ? item.run(RunKind::Resource).sizeBytes : 0, row.resource);
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

        made.changeRuns([](std::span<ProjectRecord> run) { run[0].setIsoInclusion(0); });
        const DiscPlan mac = planOf(made, CompileMode::PureHfs);
        const DiscItem& alone = onlyItem(mac);
        EXPECT_EQ(alone.run(RunKind::File).sizeBytes + alone.run(RunKind::Data).sizeBytes,
                  row.hfs ? row.data : row.file.size())
            << "nowhere else to be";
    }
}

// Each is decoded when the image is planned, and copied from what that made.
TEST_F(ItemForks, BinHexIsDecodedOnce) {
    std::vector<std::string> forks;
    for (const unsigned kind : {1u, 2u, 3u}) {
        const testing::Bytes fork = testing::Pattern(5000, kind);
        forks.emplace_back(fork.begin(), fork.end());
        const testing::Bytes text = testing::BinHexOf({.data = fork, .resource = {}});
        write(std::to_string(kind) + ".hqx", std::string(text.begin(), text.end()));
    }
    messages_.remembered = {Answer::YesToAll};
    ProjectFile made = project();
    progress_.texts.clear();
    EXPECT_EQ(build(made).result, CompileResult::Done);
    EXPECT_EQ(std::count(progress_.texts.begin(), progress_.texts.end(),
                         Text(kTextDecodingBinHex, Language::English)),
              3);
    const std::string image = Bytes(out() + "/disc.iso");
    for (const std::string& fork : forks)
        EXPECT_NE(image.find(fork), std::string::npos);
}

TEST_F(ItemForks, AContainerThatShrinksOrAStopWhileItIsReadEndsTheBuild) {
    write("file", BinHexText());
    ProjectFile text = projectOf(ForkCoding::BinHex);
    progress_.stop = true;
    expectFailure(text, CompileResult::Aborted, "aborted");
    progress_.stop = false;
    write("file", kBox);
    ProjectFile made = projectOf(ForkCoding::MacBinary);
    progress_.onFile = [&](auto) { std::filesystem::resize_file(tree() + "/file", 300); };
    expectFailure(made, CompileResult::CopyFailed, "/file");
}

TEST_F(ItemForks, RecordsThatNoWayLeadsToAreNamed) {
    ProjectFile made = EmptyProject();
    made.insert(Item(99, -50, "orphan"));
    made.insert(Item(31, 30, "circle", 1, 1, kProjectOnlyPath));
    made.insert(Item(30, 31, "circle", 1, 1, kProjectOnlyPath));
    made.insert(Item(kRootFolder, 40, "folder", 1, 1, kProjectOnlyPath));
    made.insert(Item(40, kRootFolder, "root again", 1, 1, kProjectOnlyPath));
    std::multiset<std::string> names;
    for (const auto& [name, reason] : planOf(made, CompileMode::HybridHfs).leftOut)
        names.insert(name.substr(name.find_last_of('/') + 1));
    EXPECT_EQ(names, (std::multiset<std::string>{"circle", "circle", "orphan", "root again"}));
}

}  // namespace
}  // namespace vellmark::test
