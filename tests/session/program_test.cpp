// What the first argument decides, the exit status of each kind of command line, and the language
// of what is said: a person who speaks French reads no English.
#include "session/program.hpp"

#include <cerrno>
#include <new>
#include <regex>

#include "session/session_bench.hpp"
#include "support/backup_path.hpp"

namespace vellmark {
namespace {

using test::Names;

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

// A person who speaks French reads no English, also where the parser of arguments speaks.
TEST_F(ProgramTest, TheFirstArgumentDecidesAndTheStatusTells) {
    play(R"(
file full/a.txt => a
file there.iso => old
1 => no window
0 -h => make
0 --version => vellmark
0 help add => Example:
2 --nonsense => --nonsense is no verb
2 --lang en mkae => mkae is no verb
2 make full -- --lang fr => --output is required
2 make full --lang fr => --output est obligatoire
1 --log . info there.iso => Error opening file .. Is a directory.
2 make => Try: vellmark make --help
2 make full there.iso -o x.iso => there.iso
2 add p.vlso full --view hfs => no HFS view
2 new p.vlso --hfsplus => no HFS+ side
2 build p.vlso --kind hfs => one kind of image
2 make full -o x --kind hfs --strict-iso => for the PC side
2 make full -o x --kind iso --free 1M => room in a Macintosh
2 build p.vlso --free 1M => room in a Macintosh
2 make full -o x --free 16777217T => 16777217T is no size up to 2T
1 /Z p.vlpr => The file /Z is not managed by Vellmark.
1 there.iso => no window to open there.iso
1 /tmp => The file /tmp is not managed
2 ls x -p => vellmark: --partition: 1 required UINT missing\n
set Lang => 1
0 ls --help => Utilisation : vellmark ls => Exemple : => Arguments
2 config NAME => vellmark: ACTION : NAME n'est pas l'une des valeurs {list,get,set}\n
2 ls x -p => vellmark: --partition : il manque 1 valeur obligatoire (NOMBRE)\n
2 ls x -p one => vellmark: Valeur incorrecte : --partition = one\n
2 ls x -p 1 -p 2 => vellmark: --partition : au plus 1 valeur attendue, 2 reçues\n
2 split x y z => vellmark: Les arguments suivants ne sont pas attendus : z y\n
)");
}

// No English of the tables, and no word of the parser's own.
TEST_F(ProgramTest, TheHelpOfEveryVerbIsInTheLanguageOfThePerson) {
    static constexpr std::pair<std::string_view, std::string_view> kRows[] = {
#define VELLMARK_SENTENCE(name, english, french) {english, french},
#include "support/sentences.inc"
#undef VELLMARK_SENTENCE
    };
    const std::regex parserWord(R"(\b(Usage|Positionals|Options:|Example|TEXT|UINT|REQUIRED)\b)");
    play("0 --lang fr -h => Verbes :\\n => Options :\\n  -h,--help ");
    std::size_t verbs = 0;
    for (const std::string& line : test::Split(out_.substr(out_.find("Verbes :")), '\n')) {
        const std::string verb = line.substr(0, line.find_first_of(", ", 2)).substr(2);
        if (!line.starts_with("  "))
            continue;
        ++verbs;
        play("0 --lang fr " + verb + " --help => Utilisation : vellmark " + verb +
             " => Afficher cette aide et terminer\\n => Exemple :\\n  vellmark " + verb);
        EXPECT_FALSE(std::regex_search(out_.substr(0, out_.find("Exemple :")), parserWord)) << out_;
        for (const auto& [english, french] : kRows)
            EXPECT_TRUE(english.size() < 14 || english == french ||
                        test::CountIn(out_, english) == 0)
                << english << out_;
    }
    EXPECT_EQ(verbs, 32u);
}

// Memory is refused in the middle of a command: a clock that throws stands for the library.
class ThrowingClock final : public Clock {
  public:
    [[nodiscard]] UnixSeconds now() const override { throw std::bad_alloc(); }
    [[nodiscard]] std::int32_t zoneOffset(UnixSeconds) const override { return 0; }
};

TEST_F(ProgramTest, AnExceptionEndsACommandWithASentence) {
    play("file in/a.txt => a\n0 new p.vlpr\n0 add p.vlpr in");
    const ThrowingClock clock;
    now_ = &clock;
    play("1 make in -o a.iso => does not give the memory\n1 /C p.vlpr => does not give the memory");
}

// A stream that takes no more, as a pipe whose reader went away.
struct FullBuffer final : public std::streambuf {
    int overflow(int) override {
        errno = error;
        return EOF;
    }
    int error = 0;
};

TEST_F(ProgramTest, AReaderThatWentAwayIsNoErrorButAFullDiskIs) {
    FullBuffer buffer;
    std::ostream full(&buffer);
    output_ = &full;
    for (const auto& [error, words] : {std::pair{EPIPE, ""}, {ENOSPC, "No space left on device"}}) {
        buffer.error = error;
        full.clear();
        EXPECT_EQ(run({"sig", "--list"}), 1);
        EXPECT_EQ(err_.empty(), error == EPIPE);
        EXPECT_NE(err_.find(words), std::string::npos) << err_;
    }
}

}  // namespace
}  // namespace vellmark
