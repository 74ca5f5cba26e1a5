// What the first argument decides, and the exit status of each kind of command line.
#include "session/program.hpp"

#include <cerrno>
#include <map>
#include <new>
#include <stdexcept>

#include "session/file_modes.hpp"
#include "session/session_bench.hpp"
#include "support/backup_path.hpp"

namespace vellmark {
namespace {

using test::SessionTest;
using test::Write;

TEST(FileModes, TheExtensionSettlesTheMode) {
    const struct {
        const char* path;
        FileMode mode;
    } cases[] = {{"a.vlpr", FileMode::Project},
                 {"a.CaT", FileMode::Project},
                 {"a.iso", FileMode::Partition},
                 {"a.DMG", FileMode::Partition},
                 {"a.vlso", FileMode::IsoPlus},
                 // Compared over the length of the table's text only.
                 {"a.isofoo", FileMode::Partition},
                 {"a.vlp", FileMode::Unknown},
                 {"a.iso.txt", FileMode::Unknown},
                 {"", FileMode::Unknown},
                 // A point in the name of a folder is no extension of the file.
                 {"x.iso/a", FileMode::Unknown},
                 {"x.iso\\a", FileMode::Unknown},
                 {"x.txt\\a.vlso", FileMode::IsoPlus}};
    for (const auto& c : cases)
        EXPECT_EQ(FileModeOf(c.path), c.mode) << c.path;
}

TEST(FileModes, TheExtensionIsReplacedInTheNameAlone) {
    const struct {
        const char* path;
        const char* result;
    } cases[] = {{"a.vlpr", "a.iso"},
                 {"a", "a.iso"},
                 {"d.x/a", "d.x/a.iso"},
                 {"d.x/a.b.c", "d.x/a.b.iso"},
                 {"d/.hidden", "d/.hidden.iso"}};
    for (const auto& c : cases)
        EXPECT_EQ(WithExtension(c.path, "iso"), c.result) << c.path;
}

// Memory is refused in the middle of a command: a clock that throws stands for the library.
TEST_F(SessionTest, AnExceptionEndsACommandWithASentence) {
    class ThrowingClock final : public Clock {
      public:
        explicit ThrowingClock(bool isMemory) : isMemory_(isMemory) {}
        [[nodiscard]] UnixSeconds now() const override {
            if (isMemory_)
                throw std::bad_alloc();
            throw std::length_error("too\x1Blong");
        }
        [[nodiscard]] std::int32_t zoneOffset(UnixSeconds) const override { return 0; }

      private:
        bool isMemory_;
    };
    Write("in/a.txt", "a");
    ASSERT_EQ(run({"new", "p.vlpr"}) + run({"add", "p.vlpr", "in"}), 0) << err_;
    for (const bool isMemory : {true, false})
        for (const std::vector<std::string>& line :
             {std::vector<std::string>{"make", "in", "-o", "a.iso"},
              {"format", "a.img", "--size", "1M", "--label", "A"},
              {"/C", "p.vlpr"}}) {
            const Disk before = disk();
            std::istringstream input;
            std::ostringstream output;
            std::ostringstream errors;
            const ThrowingClock clock(isMemory);
            CommandContext context{input, output, errors, clock};
            context.lockFolder = (root() / "lock").string();
            EXPECT_EQ(RunProgram(line, context), 1) << line[0];
            EXPECT_NE(errors.str().find(isMemory ? "does not give the memory" : "too\uFFFDlong"),
                      std::string::npos)
                << line[0] << errors.str();
            EXPECT_TRUE(disk() == before) << line[0];
        }
}

TEST_F(SessionTest, TheFirstArgumentDecidesAndTheStatusTells) {
    Write("full/a.txt", "a");
    Write("there.iso", "old");
    const struct {
        std::vector<std::string> arguments;
        int status;
        const char* inOutput;
        const char* inErrors;
    } cases[] = {
        {{}, 1, "", "no window"},
        {{"--help"}, 0, "make", ""},
        {{"-h"}, 0, "make", ""},
        {{"--version"}, 0, "vellmark ", ""},
        {{"help"}, 0, "make", ""},
        {{"help", "add"}, 0, "Example:", ""},
        // Wrong usage says where help is found.
        {{"--nonsense"}, 2, "", "--nonsense is no verb"},
        {{"--lang", "en"}, 2, "", "A verb is missing."},
        {{"--lang", "en", "mkae"}, 2, "", "mkae is no verb"},
        {{"make", "full", "--", "--lang", "fr"}, 2, "", "--output is required"},
        {{"make", "full", "--lang", "fr"}, 2, "", "--output est obligatoire\nEssayez : "},
        {{"--lang", "fr", "help", "add"}, 0, "Exemple :", ""},
        {{"--lang", "de", "info", "x"}, 2, "", "--lang: de not in"},
        {{"--log", ".", "info", "there.iso"}, 1, "", "Error opening file .. Is a directory."},
        {{"-nonsense"}, 2, "", "Try: vellmark --help"},
        {{"make"}, 2, "", "Try: vellmark make --help"},
        {{"make", "full"}, 2, "", "--output is required"},
        {{"make", "full", "-o", "x.iso", "--kind", "tape"}, 2, "", "tape not in"},
        {{"make", "full", "there.iso", "-o", "x.iso"}, 2, "", "there.iso"},
        {{"add", "p.vlpr"}, 2, "", "PATH is required"},
        {{"add", "p.vlso", "full", "--view", "hfs"}, 2, "", "no HFS view"},
        {{"new", "p.vlso", "--hfsplus"}, 2, "", "no HFS+ side"},
        {{"build", "p.vlso", "--kind", "hfs"}, 2, "", "one kind of image"},
        {{"make", "full", "-o", "x", "--kind", "hfs", "--strict-iso"}, 2, "", "for the PC side"},
        {{"make", "full", "-o", "x", "--kind", "iso", "--free", "1M"},
         2,
         "",
         "room in a Macintosh"},
        {{"build", "p.vlso", "--free", "1M"}, 2, "", "room in a Macintosh"},
        {{"make", "full", "-o", "x", "--free", "3T"}, 2, "", "3T is no size up to 2T"},
        // A batch command that is not known: the message names the option itself.
        {{"/Z", "p.vlpr"}, 1, "", "The file /Z is not managed by Vellmark."},
        {{"-X"}, 1, "", "The file -X is not managed"},
        // Paths: what a window would show, and what it would not.
        {{"there.iso"}, 1, "", "no window to open there.iso"},
        {{"new.vlpr"}, 1, "", "no window to open new.vlpr"},
        {{"mkae", "full"}, 1, "", "The file mkae is not managed"},
        {{"/tmp"}, 1, "", "The file /tmp is not managed"},
    };
    const Disk before = disk();
    for (const auto& c : cases) {
        const int status = run(c.arguments);
        const std::string line = testing::PrintToString(c.arguments);
        EXPECT_EQ(status, c.status) << line;
        EXPECT_NE(out_.find(c.inOutput), std::string::npos) << line << out_;
        EXPECT_NE(err_.find(c.inErrors), std::string::npos) << line << err_;
        EXPECT_EQ(out_.empty(), status != 0) << line << out_;
        EXPECT_EQ(err_.empty(), status == 0) << line << err_;
        EXPECT_EQ(disk(), before) << line;
    }
}

TEST_F(SessionTest, AnOutputThatCannotBeWrittenIsAFailure) {
    std::istringstream input;
    std::ostringstream output;
    output.setstate(std::ios::badbit);
    const std::map<int, std::string> sentences = {
        {ENOSPC,
         "vellmark: The result cannot be written to standard output: No space left on "
         "device.\n"},
        {0, "vellmark: The result cannot be written to standard output.\n"},
        {EPIPE, ""}};
    for (const auto& [error, sentence] : sentences) {
        std::ostringstream errors;
        CommandContext context{input, output, errors, clock_};
        context.outputError = error;
        EXPECT_EQ(RunProgram(std::vector<std::string>{"--version"}, context), 1);
        EXPECT_EQ(errors.str(), sentence);
    }
}

}  // namespace
}  // namespace vellmark
