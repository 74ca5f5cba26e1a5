// A person at a session, as transcripts: what they do, what they answer, what they are told and
// asked, and where the session is afterwards.
#include "session/session.hpp"

#include <fmt/format.h>

#include <deque>
#include <map>

#include "project/project_folders.hpp"
#include "session/session_bench.hpp"

namespace vellmark {
namespace {

/// Notes what it is told and asked, and answers from a script.
class ScriptedPerson final : public Messages, public DocumentDialogs {
  public:
    std::string heard;
    std::deque<std::string> answers;

    void showMessage(std::string_view text) override { note("says " + std::string(text)); }
    void itemSkipped(std::string_view item, std::string_view) override { showMessage(item); }
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
    std::optional<FormatInput> askNewVolume() override {
        const std::string label = ask("wants a volume");
        return label == "-" ? std::nullopt : std::optional(FormatInput{label, 1});
    }
    void note(const std::string& line) { heard += "! " + test::Replaced(line, "\n", "/") + "\n"; }

  private:
    std::string ask(const std::string& question) {
        note(question);
        if (answers.empty())
            return "-";  // gives up
        std::string answer = answers.front();
        answers.pop_front();
        return answer;
    }
};

class SessionScripts : public test::ScriptTest {
  protected:
    /// Plays the steps of a transcript, and writes it anew.
    std::string written(const std::string& transcript) {
        prepare();
        ScriptedPerson person;
        Progress progress;
        SessionState state(settings_, clock_);
        Session session(state, {person, progress, person, clock_, {}, root() / "data", "docs/"});
        std::string text;
        for (const std::string& line : test::Split(transcript, '\n')) {
            if (line[0] == '#')
                text += line + "\n";
            if (line[0] != '>')
                continue;
            const std::string steps = line.substr(0, line.find(" => "));
            for (const std::string& word : test::Split(steps.substr(1), ' ')) {
                if (word[0] == '?')
                    person.answers.push_back(word.substr(1));
                else if (word[0] == '@')
                    settings_.values["VL-Options"] = word.substr(1);
                else
                    step(word, session, state.documents, person);
                state.settings = LoadSettings(settings_);
            }
            text += steps + " => " + where(state.documents) + std::exchange(person.heard, "");
        }
        EXPECT_TRUE(person.answers.empty());
        return text;
    }

  private:
    /// Two projects, a disk image, one without a volume and one without a byte.
    void prepare() {
        std::filesystem::remove_all(root() / "data");
        for (const auto& entry : std::filesystem::directory_iterator("."))
            std::filesystem::remove(entry);
        settings_.values.clear();
        play(R"(
0 new disc.vlpr
0 new plus.vlso
0 format disk.hfs --size 1M --label D
file zero.hfs
)");
        test::Write("read.hfs", std::string(100'000, '.'));
    }
    [[nodiscard]] test::Names recent(const Documents& documents) const {
        return RecentFiles(settings_, documents.mode);
    }
    void step(const std::string& word, Session& session, Documents& documents,
              ScriptedPerson& person) const {
        const std::size_t sign = std::min(word.find('='), word.size());
        const std::string value = word.substr(std::min(sign + 1, word.size()));
        const auto number = static_cast<int>(std::strtol(value.c_str(), nullptr, 10));
        const std::map<std::string, std::function<void()>> steps = {
            {"start", [&] { session.start(value); }},
            {"end", [&] { session.end(); }},
            {"open", [&] { (void)session.open(value); }},
            {"new", [&] { (void)session.makeDocument(); }},
            {"drop", [&] { (void)session.openProject(); }},
            {"save", [&] { (void)session.save(); }},
            {"saveas", [&] { (void)session.saveAs(); }},
            {"close", [&] { session.close(); }},
            {"mode", [&] { session.chooseMode(static_cast<FileMode>(number)); }},
            {"next", [&] { session.chooseNextMode(); }},
            {"view", [&] { session.setView(static_cast<ProjectView>(number)); }},
            {"enter", [&] { (void)session.enterFolder(number); }},
            {"parent", [&] { session.enterParent(); }},
            {"copy", [&] { (void)session.setCopyMode(static_cast<CopyMode>(number)); }},
            {"spoil", [&] { test::Write(documents.path(), "changed by another"); }},
            {"side", [&] { person.note(documents.isHfsPlus ? "HFS+" : "HFS"); }},
            {"recent", [&] { person.note(fmt::format("{}", fmt::join(recent(documents), " "))); }},
            {"folder", [&] { makeFolder(value, session, documents); }}};
        steps.at(word.substr(0, sign))();
    }
    static void makeFolder(const std::string& name, Session& session, Documents& documents) {
        const FixedClock clock{0};
        ScriptedPerson nothing;
        ProjectDocument& document = *documents.projectOfMode();
        NewFolderOptions options{clock, documents.view};
        EXPECT_NE(NewFolder(*document.file, name, document.folder, options, nothing), 0);
        (void)session.keep();
    }
    /// Files are named that are not the first ones, with their number of records.
    [[nodiscard]] std::string where(const Documents& documents) const {
        const ProjectDocument* project = documents.projectOfMode();
        std::string files;
        for (const char* folder : {"work", "data"})
            if (std::filesystem::exists(root() / folder))
                for (const auto& [path, bytes] : disk(root() / folder))
                    if (!path.ends_with(".hfs") && path != "plus.vlso" &&
                        (path != "disc.vlpr" || bytes.size() != 756))
                        files += " " + path + ":" + std::to_string(bytes.size() / 756);
        return fmt::format(
            "{} {}.{}.{} c{}{}{}\n", WindowTitle(documents), static_cast<int>(documents.mode),
            static_cast<int>(documents.view),
            project ? project->folder : static_cast<std::int32_t>(documents.partitionFolder),
            static_cast<int>(documents.copyMode), project && project->isUntitled ? " untitled" : "",
            files);
    }
};

// A line of steps, among them ?ANSWER for a question to come and @NUMBER for settings, then title,
// mode, view and folder, way of copying and files; behind it what is said (!).
constexpr const char* kTranscripts = R"(
# An empty project without a name comes and goes without a word.
> start => vlpr.vlpr [Vellmark] 0.1.1 c1 untitled vlpr.vlpr:1
> end => Vellmark 0.1.1 c1
# One that holds something is offered; who gives up finds it again as the next one's backup.
> start folder=a => vlpr.vlpr [Vellmark] 0.1.1 c1 untitled vlpr.vlpr:2
> end => Vellmark 0.1.1 c1 vlpr.vlpr:2
! wants a path (Save the project file, docs/)
> ?y start => vlpr.vlpr [Vellmark] 0.1.1 c1 untitled vlpr.BAK:2 vlpr.vlpr:2
! asks A project without a name is left from the last time. Do you want to open it?
> end => Vellmark 0.1.1 c1 vlpr.BAK:2 vlpr.vlpr:2
! wants a path (Save the project file, docs/)
> start => vlpr.vlpr [Vellmark] 0.1.1 c1 untitled vlpr.BAK:2 vlpr.vlpr:1
! asks A project without a name is left from the last time. Do you want to open it?
# It may be saved over another project, or beside it.
> ?disc ?n ?other start folder=a end => Vellmark 0.1.1 c1 other.vlpr:2
! wants a path (Save the project file, docs/)
! asks File/disc.vlpr/exists already on the medium./Do you want to overwrite it?
! wants a path (Save the project file, docs/)
> ?disc ?y start save folder=a saveas => disc.vlpr [Vellmark] 0.1.1 c1 disc.vlpr:2 other.vlpr:2
! wants a path (Save the project file, docs/)
! asks File/disc.vlpr/exists already on the medium./Do you want to overwrite it?
> folder=b save end => Vellmark 0.1.1 c1 disc.vlpr:3 other.vlpr:2
# A project with a name is written after each operation and left without a question.
> start=disc.vlpr folder=a => disc.vlpr [Vellmark] 0.1.1 c1 disc.BAK:1 disc.vlpr:2
> open=plus.vlso => plus.vlso [Vellmark] 2.1.1 c1 disc.BAK:1 disc.vlpr:2 plus.BAK:1
> open=gone.vlpr => Vellmark 0.1.1 c1 disc.BAK:1 disc.vlpr:2 plus.BAK:1
! says Error opening file/gone.vlpr. No such file or directory.
> open=read.me => Vellmark 0.1.1 c1 disc.BAK:1 disc.vlpr:2 plus.BAK:1
! says The file read.me/is not managed by Vellmark.
# One that cannot be written is asked about, and can be saved elsewhere.
> start=disc.vlpr folder=a spoil folder=b => disc.vlpr [Vellmark] 0.1.1 c1 disc.BAK:1 disc.vlpr:0
! says The project file/disc.vlpr/cannot be written: it has been changed or removed since it was read.
> ?y ?rescue end => Vellmark 0.1.1 c1 disc.BAK:1 disc.vlpr:0 rescue.vlpr:3
! says The project file/disc.vlpr/cannot be written: it has been changed or removed since it was read.
! asks The file/disc.vlpr/was not saved to disk./Do you want to save it?
! wants a path (Save the project file, disc.vlpr)
# Modes follow each other; an ISO+ project without a name is closed without an offer.
> @129 start folder=a => vlso.vlso [Vellmark] 2.1.1 c1 untitled vlso.vlso:2
> close => Vellmark 2.1.1 c1 vlso.vlso:2
> next next mode=1 => Vellmark 1.1.2 c1 vlso.vlso:2
> ?made mode=2 drop => made.vlso [Vellmark] 2.1.1 c1 made.vlso:1 vlso.vlso:2
! wants a path (Create a new ISO+ project, docs/)
# A view shows the nearest folder that it has.
> start view=0 folder=a enter=18 folder=b enter=19 => vlpr.vlpr [Vellmark] 0.0.19 c1 untitled vlpr.vlpr:3
> enter=77 parent => vlpr.vlpr [Vellmark] 0.0.18 c1 untitled vlpr.vlpr:3
> view=1 => vlpr.vlpr [Vellmark] 0.1.18 c1 untitled vlpr.vlpr:3
> view=2 => vlpr.vlpr [Vellmark] 0.2.1 c1 untitled vlpr.vlpr:3
> enter=18 => vlpr.vlpr [Vellmark] 0.2.1 c1 untitled vlpr.vlpr:3
> close => Vellmark 0.2.1 c1 vlpr.vlpr:3
! wants a path (Save the project file, docs/)
# Ways of copying are asked about once, but for the plain one.
> ?n copy=4 => Vellmark -1.1.2 c1
! asks You are checking/the binary copy mode/(MacBinary mode)./Are you sure?
> ?y copy=32 copy=32 => Vellmark -1.1.2 c32
! asks You are checking/the Apple Single copy mode./Are you sure?
> copy=1 => Vellmark -1.1.2 c1
# A disk image, one of no length and one that holds no volume.
> start=disk.hfs => disk.hfs [Vellmark] 1.1.2 c1
> enter=16 parent save close => Vellmark 1.1.2 c1
> open=zero.hfs => Vellmark 1.1.2 c1
! says Null length file./Aborting.
> open=read.hfs => Vellmark 1.1.2 c1
! says read.hfs: This file doesn't contain a valid HFS partition.
# One that is made, and kept under another name with what it holds.
> ?new ?Disk ?copy mode=1 new saveas => copy.hfs [Vellmark] 1.1.2 c1
! wants a path (Create a new partition, docs/)
! wants a volume
! wants a path (Save the partition, new.hfs)
> ?other ?- open=disk.hfs new => Vellmark 1.1.2 c1
! wants a path (Create a new partition, docs/)
! wants a volume
> open=other.hfs => Vellmark 1.1.2 c1
! says Error opening file/other.hfs. No such file or directory.
# What was opened is offered again, and a new side is that of the settings.
> start=disc.vlpr open=read.me recent open=disc.vlpr @256 close side => Vellmark 0.1.1 c1 disc.BAK:1
! says The file read.me/is not managed by Vellmark.
! disc.vlpr
! HFS+
> @0 open=disk.hfs side close @256 start=zero.hfs side => Vellmark 1.1.2 c1 disc.BAK:1
! HFS
! says Null length file./Aborting.
! HFS+
)";

TEST_F(SessionScripts, EveryTranscriptIsPlayedAsItIsWritten) {
    for (const std::string& transcript :
         test::Split(test::Replaced(kTranscripts, "\n#", "\n\a#"), '\a'))
        if (transcript != "\n") {
            EXPECT_EQ(written(transcript), transcript);
        }
}

}  // namespace
}  // namespace vellmark
