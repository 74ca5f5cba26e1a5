// What the first argument decides, and the exit status of each kind of command line.
#include "session/program.hpp"

#include <cerrno>
#include <csignal>
#include <map>
#include <new>
#include <stdexcept>

#include "session/file_modes.hpp"
#include "session/json_text.hpp"
#include "session/output_file.hpp"
#include "session/session_bench.hpp"
#include "support/backup_path.hpp"

namespace vellmark {
namespace {

using test::SessionTest;
using test::Split;
using test::Write;

TEST(FileModes, TheExtensionSettlesTheMode) {
    // Compared over the length of the known extension alone; a point in the name of a folder is no
    // extension of the file.
    const std::map<FileMode, std::vector<std::string>> cases = {
        {FileMode::Project, {"a.vlpr", "a.CaT"}},
        {FileMode::Partition, {"a.hfs", "a.iso", "a.DMG", "a.isofoo"}},
        {FileMode::IsoPlus, {"a.vlso", "x.txt\\a.vlso"}},
        {FileMode::Unknown, {"a.vlp", "a.iso.txt", "", "x.iso/a", "x.iso\\a"}}};
    for (const auto& [mode, paths] : cases)
        for (const std::string& path : paths)
            EXPECT_EQ(FileModeOf(path), mode) << path;
}

TEST(FileModes, TheExtensionIsReplacedInTheNameAlone) {
    const std::map<std::string, std::string> cases = {{"a.vlpr", "a.iso"},
                                                      {"d.x/a", "d.x/a.iso"},
                                                      {"d.x/a.b.c", "d.x/a.b.iso"},
                                                      {"d/.hidden", "d/.hidden.iso"}};
    for (const auto& [path, result] : cases)
        EXPECT_EQ(WithExtension(path, "iso"), result);
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

// A line a case: the arguments, the status, a part of the output or of the errors.
constexpr std::string_view kRuns = R"(
--help|0|make
-h|0|make
--version|0|vellmark 
help|0|make
help add|0|Example:
--nonsense|2|--nonsense is no verb
--lang en|2|A verb is missing.
--lang en mkae|2|mkae is no verb
make full -- --lang fr|2|--output is required
make full --lang fr|2|--output est obligatoire
--lang fr help add|0|Exemple :
--lang de info x|2|--lang: de not in
--log . info there.iso|1|Error opening file .. Is a directory.
-nonsense|2|Try: vellmark --help
make|2|Try: vellmark make --help
make full|2|--output is required
make full -o x.iso --kind tape|2|tape not in
make full there.iso -o x.iso|2|there.iso
add p.vlpr|2|PATH is required
add p.vlso full --view hfs|2|no HFS view
new p.vlso --hfsplus|2|no HFS+ side
build p.vlso --kind hfs|2|one kind of image
make full -o x --kind hfs --strict-iso|2|for the PC side
make full -o x --kind iso --free 1M|2|room in a Macintosh
build p.vlso --free 1M|2|room in a Macintosh
make full -o x --free 3T|2|3T is no size up to 2T
make full -o x --free 16777217T|2|16777217T is no size up to 2T
/Z p.vlpr|1|The file /Z is not managed by Vellmark.
-X|1|The file -X is not managed
there.iso|1|no window to open there.iso
new.vlpr|1|no window to open new.vlpr
mkae full|1|The file mkae is not managed
/tmp|1|The file /tmp is not managed
)";

TEST_F(SessionTest, TheFirstArgumentDecidesAndTheStatusTells) {
    Write("full/a.txt", "a");
    Write("there.iso", "old");
    const Disk before = disk();
    for (const std::string& line : Split(std::string(kRuns), '\n')) {
        const std::vector<std::string> columns = Split(line, '|');
        const int status = run(Split(columns.at(0), ' '));
        EXPECT_EQ(std::to_string(status), columns.at(1)) << line << err_;
        EXPECT_NE((status == 0 ? out_ : err_).find(columns.at(2)), std::string::npos)
            << line << out_ << err_;
        EXPECT_TRUE((status == 0 ? err_ : out_).empty()) << line << out_ << err_;
        EXPECT_EQ(disk(), before) << line;
    }
    EXPECT_EQ(run({}), 1);
    EXPECT_NE(err_.find("no window"), std::string::npos);
}

TEST_F(SessionTest, WhatWasMadeGoesToTheOutputWholeUnlessItIsStopped) {
    std::istringstream input;
    const std::string bytes(2'500'000, 'x');
    for (const bool stops : {false, true}) {
        std::ostringstream output;
        std::ostringstream errors;
        CommandContext context{input, output, errors, clock_};
        Terminal terminal(context, {});
        const OutputFile file("-", "a.iso");
        Write(file.path(), bytes);
        const StopSignals signals;
        if (stops) {
            ASSERT_EQ(::raise(SIGTERM), 0);
        }
        EXPECT_EQ(file.send(context, terminal.messages), !stops);
        EXPECT_EQ(output.str(), stops ? "" : bytes);
        EXPECT_EQ(errors.str(), stops ? "vellmark: Stopped as you wished.\n" : "");
    }
}

TEST(Json, WhatCannotBeSeenIsEscapedAsReadersOfJsonKnowIt) {
    EXPECT_EQ(JsonText({{"a", "\U000E0001\u200B\xFF"}}),
              "{\n  \"a\": \"\\udb40\\udc01\\u200b\uFFFD\"\n}");
}

TEST_F(SessionTest, ACommandThatReadAnIncompleteImageIsNotWhollyDone) {
    std::istringstream input;
    std::ostringstream output;
    CommandContext context{input, output, output, clock_};
    context.readIncomplete = true;
    EXPECT_EQ(RunProgram(Split("config", ' '), context), 3);
    EXPECT_EQ(RunProgram(Split("config get colour", ' '), context), 2);
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
        EXPECT_EQ(RunProgram(Split("--version", ' '), context), 1);
        EXPECT_EQ(errors.str(), sentence);
    }
}

}  // namespace
}  // namespace vellmark
