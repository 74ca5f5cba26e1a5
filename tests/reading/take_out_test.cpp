// Items taken out of an image: what comes out equals what went in, whoever reads it.
#include "reading/take_out.hpp"

#include "reading/reading_bench.hpp"

// Behind the others, where its namespace hides nothing.
#include "IO/io_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;

// Nobody is there to ask, and nobody reads what is said.
class NoMessages final : public Messages {
  public:
    using Messages::askYesNo;
    using Messages::askYesNoRemember;
    using Messages::itemSkipped;
    using Messages::showMessage;
    void showMessage(std::string_view) override {}
    void itemSkipped(std::string_view, std::string_view) override {}
    bool askYesNo(std::string_view) override { return false; }
    Answer askYesNoRemember(std::string_view) override { return Answer::None; }
    TruncationAnswer askTruncation(TruncatedName, std::string_view, std::string_view) override {
        return {};
    }
};

class TakeOutTest : public test::ReadingTest {
  protected:
    TakeOutOutcome take(const std::string& tree, const std::string& target, int stopAt = 0,
                        std::vector<std::string> paths = {"/"}) {
        NoMessages messages;
        testing::RecordedProgress progress(stopAt);
        const ReadingPorts ports{.messages = messages, .progress = progress, .clock = clock_};
        const auto image = PlainImage::Choose("disc.iso", Access::Read, ports);
        const auto view = ImageView::Open(*image, std::nullopt, clock_, messages);
        TreeView* chosen = view->tree(tree == "hfs" ? TreeKind::Hfs : TreeKind::Joliet);
        return TakeOut(*view, std::span(&chosen, 1),
                       {.paths = std::move(paths),
                        .target = target,
                        .intoFolder = fs::is_directory(target),
                        .copy = {}},
                       {}, ports, nullptr);
    }
};

TEST_F(TakeOutTest, EveryTreeGivesTheFolderBack) {
    for (const char* format : {"--hfsplus", "--postgap"}) {
        make("disc.iso", {"--force", format});
        for (const char* tree : {"joliet", "hfs"}) {
            const std::string out = std::string("out") + format + tree;
            const TakeOutOutcome outcome = take(tree, out);
            EXPECT_FALSE(outcome.hasFailed || outcome.hasLeftOut || outcome.isStopped) << out;
            expectSame(out, "in");
            for (const char* file : {"/Sub Folder/large.bin", "/empty"})
                EXPECT_EQ(test::DateOf(out + file), test::kFileDate) << out;
        }
    }
}

// Whenever a person stops it, nothing more is taken, and nothing half is left.
TEST_F(TakeOutTest, AStoppedRunTakesNothingMore) {
    make("disc.iso");
    for (const char* tree : {"joliet", "hfs"}) {
        std::size_t last = 0;
        int stops = 0;
        int whole = 0;
        for (int stopAt = 1; stopAt < 40; ++stopAt) {
            fs::remove_all("out");
            fs::create_directories("out");
            const TakeOutOutcome outcome = take(tree, "out", stopAt, {"Sub Folder", "Read Me.txt"});
            std::size_t files = 0;
            for (const auto& [path, contents] : below("out"))
                if (!path.ends_with('/')) {
                    ++files;
                    EXPECT_TRUE(contents == test::Bytes("in/" + path)) << tree << stopAt << path;
                }
            EXPECT_GE(files, last) << tree << stopAt;
            last = files;
            if (!outcome.isStopped)
                break;
            ++stops;
            EXPECT_TRUE(outcome.hasFailed);
            whole += files == 3 ? 1 : 0;
        }
        EXPECT_EQ(last, 3u) << tree;
        EXPECT_GT(stops, 2) << tree;
        EXPECT_LE(whole, 1) << tree << ": only the end of the last file comes too late";
    }
}

}  // namespace
}  // namespace vellmark
