// A person at a session, as transcripts: what they do, what they answer, what they are told and
// asked, and where the session is afterwards.
#include "session/session.hpp"

#include <fmt/format.h>

#include <unistd.h>

#include <deque>
#include <map>

#include "project/project_folders.hpp"
#include "session/session_bench.hpp"
#include "session/session_commands.hpp"

namespace vellmark {
namespace {

/// Notes what it is told and asked, and answers from a script.
class ScriptedPerson final : public Messages, public DocumentDialogs {
  public:
    std::string heard;
    std::deque<std::string> answers;

    void showMessage(std::string_view text) override { note("says " + std::string(text)); }
    void itemSkipped(std::string_view item, std::string_view) override {
        note("skips " + std::string(item));
    }
    bool askYesNo(std::string_view question) override {
        return ask("asks " + std::string(question)) == "y";
    }
    Answer askYesNoRemember(std::string_view) override { return Answer::No; }
    TruncationAnswer askTruncation(TruncatedName, std::string_view, std::string_view) override {
        return {};
    }
    std::optional<std::string> askPath(const PathRequest& request) override {
        const std::string answer =
            ask(fmt::format("wants a path ({}, {})", text(request.title), request.proposal));
        return answer == "-" ? std::nullopt : std::optional(answer);
    }

  private:
    void note(std::string line) {
        std::replace(line.begin(), line.end(), '\n', '/');
        heard += "! " + line + "\n";
    }
    std::string ask(const std::string& question) {
        note(question);
        if (answers.empty()) {
            ADD_FAILURE() << "no answer to " << question;
            return "-";
        }
        std::string answer = answers.front();
        answers.pop_front();
        return answer;
    }
};

class SessionScripts : public test::SessionTest {
  protected:
    /// Two projects, a disk image, one without a volume and one without a byte.
    void prepare() {
        settings_.values.clear();
        std::filesystem::remove_all(root() / "data");
        for (const auto& entry : std::filesystem::directory_iterator("."))
            std::filesystem::remove(entry);
        ASSERT_EQ(run({"new", "disc.vlpr", "--quiet"}), 0) << err_;
        ASSERT_EQ(run({"new", "plus.vlso", "--quiet"}), 0) << err_;
        ASSERT_EQ(run({"format", "disk.hfs", "--size", "1M", "--label", "D", "--quiet"}), 0)
            << err_;
        test::Write("zero.hfs", "");
        test::Write("read.hfs", std::string(100'000, '.'));
    }

    /// Plays the lines that begin with `@` (settings), `?` (answers) and `>` (steps) of a
    /// transcript, and writes it anew: what is heard, and the state after each line of steps.
    std::string play(const std::string& transcript) {
        SCOPED_TRACE(transcript);
        prepare();
        ScriptedPerson person;
        Progress progress;
        SessionState state(settings_, clock_);
        Session session(state, {person, progress, person, clock_, {}, root() / "data", "docs/"});
        std::istringstream in(transcript);
        std::string written;
        for (std::string line; std::getline(in, line);) {
            std::istringstream words(line.substr(std::min<std::size_t>(2, line.size())));
            std::string value;
            if (line.starts_with("? "))
                for (std::string word; words >> word;)
                    person.answers.push_back(word);
            if (line.starts_with("@ ") && std::getline(words, value, '=') && words >> value)
                settings_.values["VL-Options"] = value;
            state.settings = LoadSettings(settings_);
            if (line.starts_with("> "))
                for (std::string word; words >> word;)
                    step(word, session, state.documents);
            if (std::string_view("#?@>").find(line[0]) != std::string_view::npos)
                written += line + "\n";
            if (line.starts_with("> "))
                written += std::exchange(person.heard, "") + where(state.documents);
        }
        EXPECT_TRUE(person.answers.empty());
        return written;
    }

  private:
    static void step(const std::string& word, Session& session, Documents& documents) {
        const std::string name = word.substr(0, word.find('='));
        const std::string value = word.substr(std::min(word.find('=') + 1, word.size()));
        const std::map<std::string, std::function<void()>> steps = {
            {"start", [&] { session.start(value == word ? "" : value); }},
            {"end", [&] { session.end(); }},
            {"open", [&] { (void)session.open(value); }},
            {"new", [&] { (void)session.makeProject(); }},
            {"drop", [&] { (void)session.openProject(); }},
            {"save", [&] { (void)session.save(); }},
            {"saveas", [&] { (void)session.saveAs(); }},
            {"close", [&] { session.close(); }},
            {"mode", [&] { session.chooseMode(static_cast<FileMode>(std::stoi(value))); }},
            {"next", [&] { session.chooseNextMode(); }},
            {"view", [&] { session.setView(static_cast<ProjectView>(std::stoi(value))); }},
            {"enter", [&] { (void)session.enterFolder(std::stoi(value)); }},
            {"parent", [&] { session.enterParent(); }},
            {"copy", [&] { (void)session.setCopyMode(static_cast<CopyMode>(std::stoi(value))); }},
            {"spoil", [&] { test::Write(documents.path(), "changed by another"); }},
            {"folder", [&] { makeFolder(value, session, documents); }},
            {"delete", [&] { remove(std::stoi(value), session, documents); }}};
        const auto found = steps.find(name);
        ASSERT_NE(found, steps.end()) << word;
        found->second();
    }
    static void makeFolder(const std::string& name, Session& session, Documents& documents) {
        const FixedClock clock{0};
        ScriptedPerson nothing;
        ProjectDocument& document = *documents.projectOfMode();
        NewFolderOptions options{clock, documents.view};
        EXPECT_NE(NewFolder(*document.file, name, document.folder, options, nothing), 0);
        (void)session.keep();
    }
    static void remove(std::int32_t number, Session& session, Documents& documents) {
        ProjectFile& file = *documents.projectOfMode()->file;
        EXPECT_EQ(file.deleteItems(file.parentOf(number), {&number, 1}).folders, 1);
        (void)session.keep();
    }
    /// Title, mode, view, folder, copy mode, and the files there are.
    [[nodiscard]] std::string where(const Documents& documents) const {
        const ProjectDocument* project = documents.projectOfMode();
        std::string files;
        for (const char* folder : {"work", "data"})
            if (std::filesystem::exists(root() / folder))
                for (const auto& [path, bytes] : filesOf(root() / folder))
                    files += " " + path + ":" + std::to_string(bytes / 756);
        return fmt::format(
            "= {} {}.{}.{} c{}{}{}\n", WindowTitle(documents), static_cast<int>(documents.mode),
            static_cast<int>(documents.view),
            project ? project->folder : static_cast<std::int32_t>(documents.partitionFolder),
            static_cast<int>(documents.copyMode), project && project->isUntitled ? " untitled" : "",
            files);
    }
    static std::map<std::string, std::uintmax_t> filesOf(const std::filesystem::path& folder) {
        std::map<std::string, std::uintmax_t> files;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.is_regular_file() && entry.file_size() < 100'000 && entry.file_size() > 0 &&
                entry.path().filename() != "plus.vlso" &&
                !(entry.path().filename() == "disc.vlpr" && entry.file_size() == 756))
                files[entry.path().filename().string()] = entry.file_size();
        return files;
    }
};

constexpr const char* kTranscripts = R"(
# An empty project without a name comes and goes without a word.
> start
= vlpr.vlpr [Vellmark] 0.1.1 c1 untitled vlpr.vlpr:1
> end
= Vellmark 0.1.1 c1
# One that holds something is offered; who gives up finds it again as the next one's backup.
? -
> start folder=a
= vlpr.vlpr [Vellmark] 0.1.1 c1 untitled vlpr.vlpr:2
> end
! wants a path (Save the project file, docs/)
= Vellmark 0.1.1 c1 vlpr.vlpr:2
> start
= vlpr.vlpr [Vellmark] 0.1.1 c1 untitled vlpr.BAK:2 vlpr.vlpr:1
# It may be saved over another project, or beside it.
? disc n other
> start folder=a end
! wants a path (Save the project file, docs/)
! asks File/disc.vlpr/exists already on the medium./Do you want to overwrite it?
! wants a path (Save the project file, docs/)
= Vellmark 0.1.1 c1 other.vlpr:2
? disc y
> start save folder=a saveas
! wants a path (Save the project file, docs/)
! asks File/disc.vlpr/exists already on the medium./Do you want to overwrite it?
= disc.vlpr [Vellmark] 0.1.1 c1 disc.vlpr:2 other.vlpr:2
> folder=b save end
= Vellmark 0.1.1 c1 disc.vlpr:3 other.vlpr:2
# A project with a name is written after each operation and left without a question.
> start=disc.vlpr folder=a
= disc.vlpr [Vellmark] 0.1.1 c1 disc.BAK:1 disc.vlpr:2
> open=plus.vlso
= plus.vlso [Vellmark] 2.1.1 c1 disc.BAK:1 disc.vlpr:2 plus.BAK:1
> open=gone.vlpr
! says Error opening file/gone.vlpr. No such file or directory.
= Vellmark 0.1.1 c1 disc.BAK:1 disc.vlpr:2 plus.BAK:1
> start=gone.vlpr
! says Error opening file/gone.vlpr. No such file or directory.
= vlpr.vlpr [Vellmark] 0.1.1 c1 untitled disc.BAK:1 disc.vlpr:2 plus.BAK:1 vlpr.vlpr:1
> open=read.me
! says The file read.me/is not managed by Vellmark.
= vlpr.vlpr [Vellmark] 0.1.1 c1 untitled disc.BAK:1 disc.vlpr:2 plus.BAK:1 vlpr.vlpr:1
# Without backups.
@ VL-Options=4
> start=disc.vlpr
= disc.vlpr [Vellmark] 0.1.1 c1
# One that cannot be written is asked about, and can be saved elsewhere.
? y rescue -
> start=disc.vlpr folder=a spoil folder=b
! says The project file/disc.vlpr/cannot be written: it has been changed or removed since it was read.
= disc.vlpr [Vellmark] 0.1.1 c1 disc.BAK:1 disc.vlpr:0
> end
! says The project file/disc.vlpr/cannot be written: it has been changed or removed since it was read.
! asks The file/disc.vlpr/was not saved to disk./Do you want to save it?
! wants a path (Save the project file, disc.vlpr)
= Vellmark 0.1.1 c1 disc.BAK:1 disc.vlpr:0 rescue.vlpr:3
> new
! wants a path (Create a new project file, docs/)
= Vellmark 0.1.1 c1 disc.BAK:1 disc.vlpr:0 rescue.vlpr:3
# Modes follow each other; an ISO+ project without a name is closed without an offer.
@ VL-Options=129
> start folder=a
= vlso.vlso [Vellmark] 2.1.1 c1 untitled vlso.vlso:2
> close
= Vellmark 2.1.1 c1 vlso.vlso:2
> next next mode=1
= Vellmark 1.1.2 c1 vlso.vlso:2
? made
> mode=2 drop
! wants a path (Create a new ISO+ project, docs/)
= made.vlso [Vellmark] 2.1.1 c1 made.vlso:1 vlso.vlso:2
# A view shows the nearest folder that it has, and a folder that goes gives way to root.
? -
> start view=0 folder=a enter=18 folder=b enter=19
= vlpr.vlpr [Vellmark] 0.0.19 c1 untitled vlpr.vlpr:3
> enter=77 parent
= vlpr.vlpr [Vellmark] 0.0.18 c1 untitled vlpr.vlpr:3
> view=1
= vlpr.vlpr [Vellmark] 0.1.18 c1 untitled vlpr.vlpr:3
> view=2
= vlpr.vlpr [Vellmark] 0.2.1 c1 untitled vlpr.vlpr:3
> enter=18
= vlpr.vlpr [Vellmark] 0.2.1 c1 untitled vlpr.vlpr:3
> view=0 enter=19 delete=18
= vlpr.vlpr [Vellmark] 0.0.1 c1 untitled vlpr.vlpr:1
> folder=c close
! wants a path (Save the project file, docs/)
= Vellmark 0.0.1 c1 vlpr.vlpr:2
# Ways of copying are asked about once, but for the plain one.
? n y
> copy=4
! asks You are checking/the binary copy mode/(MacBinary mode)./Are you sure?
= Vellmark -1.1.2 c1
> copy=32 copy=32
! asks You are checking/the Apple Single copy mode./Are you sure?
= Vellmark -1.1.2 c32
> copy=1
= Vellmark -1.1.2 c1
# A disk image, one of no length and one that holds no volume.
> start=disk.hfs
= disk.hfs [Vellmark] 1.1.2 c1
> enter=16 parent save close
= Vellmark 1.1.2 c1
> open=zero.hfs
! says Null length file./Aborting.
= Vellmark 1.1.2 c1
> open=read.hfs
! says read.hfs: This file doesn't contain a valid HFS partition.
= Vellmark 1.1.2 c1
)";

TEST_F(SessionScripts, EveryTranscriptIsPlayedAsItIsWritten) {
    std::istringstream in(kTranscripts + 1);
    std::string transcript;
    for (std::string line; std::getline(in, line);) {
        const bool begins = line.starts_with("# ");
        if (begins && !transcript.empty()) {
            EXPECT_EQ(play(transcript), transcript);
        }
        transcript = (begins ? "" : transcript) + line + "\n";
    }
    EXPECT_EQ(play(transcript), transcript);
}

TEST_F(SessionScripts, ACommandIsThereWhereItsModeHasItAndCanBeGivenWhereNothingForbidsIt) {
    ScriptedPerson person;
    prepare();
    SessionState state(settings_, clock_);
    Progress progress;
    Session session(state, {person, progress, person, clock_, {}, root() / "data", ""});
    // In the order of the commands: may be given (x), not now (-), not in this mode (blank).
    const auto all = [&state] {
        std::string may;
        for (int i = 0; i <= static_cast<int>(SessionCommand::Search); ++i) {
            const auto command = static_cast<SessionCommand>(i);
            may += MayDo(state.documents, command)             ? 'x'
                   : HasCommand(state.documents.mode, command) ? '-'
                                                               : ' ';
        }
        return may;
    };
    EXPECT_EQ(all(), std::string(27, ' '));
    session.switchMode(FileMode::Project);
    EXPECT_EQ(all(), "xx------  ------x     x----");
    session.start();
    EXPECT_EQ(all(), "xxxx-xxx  xxxxxxx     xxxxx");
    ASSERT_TRUE(session.open("disc.vlpr"));
    EXPECT_EQ(all(), "xxxxxxxx  xxxxxxx     xxxxx");
    state.documents.compile = CompileState::Runs;
    EXPECT_EQ(all(), "--------  ------x     ----x");
    state.documents.compile = CompileState::Idle;
    ASSERT_TRUE(session.open("plus.vlso"));
    EXPECT_EQ(all(), "xxxxxxxx   xx xx      xxxxx");
    ASSERT_TRUE(session.open("disk.hfs"));
    EXPECT_EQ(all(), "xxxxxxx xx       xxxxxxxxxx");
    session.close();
    EXPECT_EQ(all(), "xx----- -x       --x-------");
    std::filesystem::permissions("disk.hfs", std::filesystem::perms::owner_read);
    if (::access("disk.hfs", W_OK) != 0) {
        ASSERT_TRUE(session.open("disk.hfs"));
        EXPECT_EQ(all(), "xxx--x- xx       x-x-x----x");
    }
}

}  // namespace
}  // namespace vellmark
