// Items taken out of an image: what comes out equals what went in, and a stop leaves nothing half.
#include "reading/take_out.hpp"

#include "reading/reading_bench.hpp"

// Behind the others, where its namespace hides nothing.
#include "IO/io_bench.hpp"

namespace vellmark {
namespace {

class TakeOutTest : public test::ReadingTest {
  protected:
    TakeOutOutcome take(TreeKind kind, int stopAt) {
        std::istringstream input;
        std::ostringstream unread;
        CommandContext context{input, unread, unread, clock_};
        Terminal terminal(context, {});
        testing::RecordedProgress progress(stopAt);
        const ReadingPorts ports{
            .messages = terminal.messages, .progress = progress, .clock = clock_};
        const auto image = PlainImage::Choose("disc.iso", Access::Read, ports);
        const auto view = ImageView::Open(*image, std::nullopt, clock_, terminal.messages);
        TreeView* chosen = view->tree(kind);
        return TakeOut(*view, std::span(&chosen, 1),
                       {.paths = {"Sub Folder", "Read Me.txt"},
                        .target = "out",
                        .intoFolder = true,
                        .copy = {}},
                       {}, ports, nullptr);
    }
};

// Whenever a person stops it, nothing more is taken, and nothing half is left.
TEST_F(TakeOutTest, AStoppedRunTakesNothingMore) {
    make("disc.iso");
    for (const TreeKind kind : {TreeKind::Joliet, TreeKind::Hfs}) {
        std::size_t last = 0;
        int stops = 0;
        int whole = 0;
        for (bool isStopped = true; isStopped && stops < 40;) {
            std::filesystem::remove_all("out");
            std::filesystem::create_directories("out");
            const auto outcome = take(kind, stops + 1);
            std::size_t files = 0;
            for (const auto& [path, contents] : disk("out"))
                if (!path.ends_with('/')) {
                    ++files;
                    EXPECT_TRUE(contents == test::Bytes("in/" + path)) << stops << path;
                    EXPECT_EQ(test::DateOf("out/" + path), test::kFileDate) << stops << path;
                }
            EXPECT_GE(files, last) << stops;
            last = files;
            isStopped = outcome.isStopped;
            EXPECT_EQ(outcome.hasFailed, isStopped);
            stops += isStopped ? 1 : 0;
            whole += isStopped && files == 3 ? 1 : 0;
        }
        EXPECT_EQ(last, 3u);
        EXPECT_GT(stops, 2);
        EXPECT_LE(whole, 1) << "only the end of the last file comes too late";
    }
}

}  // namespace
}  // namespace vellmark
