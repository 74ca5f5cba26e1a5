// What the first argument decides, the exit status of each kind of command line, and the language
// of what is said: a person who speaks French reads no English.
#include "session/program.hpp"

#include <cerrno>
#include <csignal>
#include <new>
#include <stdexcept>

#include "session/json_text.hpp"
#include "session/output_file.hpp"
#include "session/run_script.hpp"
#include "support/backup_path.hpp"

namespace vellmark {
namespace {

using test::Names;
using test::Split;
using test::Write;

class ProgramTest : public test::ScriptTest {};

// Compared over the length of the known extension alone; a point in the name of a folder is no
// extension of the file.
TEST(FileModes, TheExtensionSettlesTheModeAndIsReplaced) {
    const std::map<FileMode, Names> modes = {
        {FileMode::Project, {"a.vlpr", "a.CaT"}},
        {FileMode::Partition, {"a.hfs", "a.iso", "a.DMG", "a.isofoo"}},
        {FileMode::IsoPlus, {"a.vlso", "x.txt\\a.vlso"}},
        {FileMode::Unknown, {"a.vlp", "a.iso.txt", "", "x.iso/a", "x.iso\\a"}}};
    for (const auto& [mode, paths] : modes)
        for (const std::string& path : paths)
            EXPECT_EQ(FileModeOf(path), mode) << path;
    for (const auto& [path, result] : std::map<std::string, std::string>{
             {"d.x/a", "d.x/a.iso"}, {"d.x/a.b.c", "d.x/a.b.iso"}, {"d/.hid", "d/.hid.iso"}})
        EXPECT_EQ(WithExtension(path, "iso"), result);
}

TEST_F(ProgramTest, TheFirstArgumentDecidesAndTheStatusTells) {
    play(R"(
file full/a.txt => a
file there.iso => old
1 => no window
0 --help => make
0 -h => make
0 --version => vellmark
0 help add => Example:
0 --lang fr help add => Exemple :
2 --nonsense => --nonsense is no verb
2 --lang en => A verb is missing.
2 --lang en mkae => mkae is no verb
2 make full -- --lang fr => --output is required
2 make full --lang fr => --output est obligatoire
2 --lang de info x => --lang: de not in
1 --log . info there.iso => Error opening file .. Is a directory.
2 -nonsense => Try: vellmark --help
2 make => Try: vellmark make --help
2 make full -o x.iso --kind tape => tape not in
2 make full there.iso -o x.iso => there.iso
2 add p.vlso full --view hfs => no HFS view
2 new p.vlso --hfsplus => no HFS+ side
2 build p.vlso --kind hfs => one kind of image
2 make full -o x --kind hfs --strict-iso => for the PC side
2 make full -o x --kind iso --free 1M => room in a Macintosh
2 build p.vlso --free 1M => room in a Macintosh
2 make full -o x --free 3T => 3T is no size up to 2T
2 make full -o x --free 16777217T => 16777217T is no size up to 2T
1 /Z p.vlpr => The file /Z is not managed by Vellmark.
1 there.iso => no window to open there.iso
1 new.vlpr => no window to open new.vlpr
1 mkae full => The file mkae is not managed
1 /tmp => The file /tmp is not managed
)");
}

// Memory is refused in the middle of a command: a clock that throws stands for the library.
class ThrowingClock final : public Clock {
  public:
    [[nodiscard]] UnixSeconds now() const override {
        if (isMemory)
            throw std::bad_alloc();
        throw std::length_error("too\x1Blong");
    }
    [[nodiscard]] std::int32_t zoneOffset(UnixSeconds) const override { return 0; }
    bool isMemory = false;
};

TEST_F(ProgramTest, AnExceptionEndsACommandWithASentence) {
    play("file in/a.txt => a\n0 new p.vlpr\n0 add p.vlpr in");
    ThrowingClock clock;
    now_ = &clock;
    for (const char* told : {"too\uFFFDlong", "does not give the memory"}) {
        for (const char* line : {"1 make in -o a.iso => ", "1 /C p.vlpr => ",
                                 "1 format a.img --size 1M --label A => "})
            play(std::string(line) + told);
        clock.isMemory = true;
    }
}

// A stream that takes no more, as a pipe whose reader went away.
class FullBuffer final : public std::streambuf {
  public:
    int error = 0;

  private:
    int_type overflow(int_type) override {
        errno = error;
        return traits_type::eof();
    }
};

TEST_F(ProgramTest, AReaderThatWentAwayIsNoErrorButAFullDiskIs) {
    play("0 format v.img --size 1 --label V");
    FullBuffer buffer;
    std::ostream full(&buffer);
    output_ = &full;
    for (const int error : {EPIPE, ENOSPC})
        for (const char* line : {"sig --list", "tree v.img", "info v.img"}) {
            buffer.error = error;
            full.clear();
            EXPECT_EQ(run(Split(line, ' ')), 1);
            EXPECT_EQ(err_, error == EPIPE
                                ? ""
                                : "vellmark: The result cannot be written to standard output: No "
                                  "space left on device.\n");
        }
}

TEST_F(ProgramTest, WhatWasMadeGoesToTheOutputWholeUnlessItIsStopped) {
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
        ASSERT_EQ(stops ? ::raise(SIGTERM) : 0, 0);
        EXPECT_EQ(file.send(context, terminal.messages), !stops);
        EXPECT_EQ(output.str(), stops ? "" : bytes);
        EXPECT_EQ(errors.str(), stops ? "vellmark: Stopped as you wished.\n" : "");
    }
}

TEST(Json, WhatCannotBeSeenIsEscapedAsReadersOfJsonKnowIt) {
    EXPECT_EQ(JsonText({{"a", "\U000E0001\u200B\xFF"}}),
              "{\n  \"a\": \"\\udb40\\udc01\\u200b\uFFFD\"\n}");
}

// The words of a text that are English: those of a sentence between its operands that French does
// not have too.
std::string EnglishIn(std::string_view text) {
    constexpr std::size_t kTellingBytes = 9;  // shorter ones stand in other words as well
    static constexpr std::pair<std::string_view, std::string_view> kSentences[] = {
#define VELLMARK_SENTENCE(name, english, french) {english, french},
#include "support/sentences.inc"
#undef VELLMARK_SENTENCE
    };
    std::string found;
    for (const auto& [english, french] : kSentences)
        for (std::size_t at = 0; at < english.size();) {
            const std::size_t end = std::min(english.find_first_of("{}", at), english.size());
            const std::string_view piece = english.substr(at, end - at);
            if (piece.size() >= kTellingBytes && french.find(piece) == french.npos &&
                text.find(piece) != text.npos)
                found.append(piece) += '\n';
            at = end + 1;
        }
    return found;
}

TEST_F(ProgramTest, TheHelpOfEveryVerbIsInTheLanguageOfThePerson) {
    play("0 --help");
    EXPECT_NE(EnglishIn(out_), "") << "what looks for English finds it";
    std::istringstream lines(out_.substr(out_.find("Subcommands:\n") + 13));
    play("0 --help --lang fr");
    EXPECT_EQ(EnglishIn(out_), "");
    int verbs = 0;
    for (std::string line; std::getline(lines, line) && line.starts_with("  "); ++verbs) {
        const std::string verb = line.substr(2, line.find_first_of(", ", 2) - 2);
        play("0 " + verb + " --help => \\nUsage: vellmark " + verb + " [OPTIONS]");
        const std::string example = out_.substr(out_.find("Example:\n") + 9);
        const std::size_t options = test::CountIn(out_, "\n  -");
        play("0 " + verb + " --help --lang fr => \\nUtilisation : vellmark " + verb);
        EXPECT_EQ(EnglishIn(out_), "") << verb;
        EXPECT_EQ(out_.substr(out_.find("Exemple :\n") + 10), example);
        EXPECT_EQ(test::CountIn(out_, "\n  -"), options) << verb;
    }
    EXPECT_EQ(verbs, 27);
}

// A line a case: the arguments, what is said in English, and in French.
constexpr const char* kRefusals = R"(
ls|IMAGE is required|IMAGE est obligatoire
config NAME|ACTION: NAME not in {list,get,set}|ACTION : NAME n'est pas l'une des valeurs {list,get,set}
ls x -p|--partition: 1 required UINT missing|--partition : il manque 1 valeur obligatoire (NOMBRE)
ls x -p 1 -p 2|--partition: At Most 1 required but received 2|--partition : au plus 1 valeur attendue, 2 reçues
split x y z|The following arguments were not expected: z y|Les arguments suivants ne sont pas attendus : z y
sig --file folder a|Error opening file folder. It is no file.|Erreur à l'ouverture du fichier folder. Ce n'est pas un fichier.
config set backup oui|oui is no value of backup; it can be: on, off.|oui n'est pas une valeur de backup ; les valeurs possibles sont : on, off.
config set signatures none|none cannot be read as a signature table: No such file or directory.|none ne peut pas être lu comme table de signatures : Aucun fichier ou dossier de ce type.
config set journal folder|folder is no file.|folder n'est pas un fichier.
--log plain config|Error opening file plain. It holds something else than a journal.|Erreur à l'ouverture du fichier plain. Il contient autre chose qu'un journal.
)";

TEST_F(ProgramTest, ARefusalIsInTheLanguageOfThePerson) {
    play("folder folder\nfile plain => no table");
    for (const std::string& line : Split(kRefusals, '\n')) {
        const Names columns = Split(line, '|');
        for (const std::size_t language : {1, 2}) {
            settings_.values = {{"Lang", std::to_string(language - 1)}};
            EXPECT_NE(run(Split(columns[0], ' ')), 0) << line;
            EXPECT_EQ(err_.substr(0, err_.find('\n')), "vellmark: " + columns.at(language));
        }
    }
}

}  // namespace
}  // namespace vellmark
