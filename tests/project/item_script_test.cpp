// What a person does to the items of a project, as transcripts: the steps, the answers, what is
// said, the questions, and the records that are others afterwards.
#include <algorithm>
#include <sstream>

#include "project/item_deletion.hpp"
#include "project/item_moves.hpp"
#include "project/item_views.hpp"
#include "project/project_bench.hpp"
#include "project/project_properties.hpp"

namespace vellmark::test {
namespace {

/// Number to folder and line of an item; 1 is the header: format, icon mark, counters.
using Lines = std::map<std::int32_t, std::string>;

Lines LinesOf(const ProjectFile& project) {
    const ProjectHeader& header = project.header();
    Lines lines = {
        {1, fmt::format("{}{} {}/{}", header.isHfsPlus() ? "HFS+" : "HFS",
                        header.customIcon() ? " k" : "", std::uint32_t{header.rootFolders},
                        std::uint32_t{header.rootFiles})}};
    project.forEachRecord([&](const ProjectRecord& record) {
        lines[record.number] =
            fmt::format("{} {}", std::int32_t{record.parent}, LineOf(project, record));
    });
    return lines;
}

/// `NUMBER LINE` of each that differs; `NUMBER -` for one that is gone.
std::vector<std::string> Changes(const Lines& before, Lines after) {
    for (const auto& [number, line] : before)
        if (const auto now = after.try_emplace(number, "-").first; now->second == line)
            after.erase(now);
    std::vector<std::string> changes;
    for (const auto& [number, line] : after)
        changes.push_back(fmt::format("{} {}", number, line));
    return changes;
}

/// Items in the order of their ISO names, each found by its number.
void ExpectFound(const ProjectFile& project) {
    for (std::int32_t folder : project.foldersFrom(kRootFolder)) {
        std::string last;
        for (const ProjectRecord& record : project.childrenOf(folder)) {
            EXPECT_EQ(project.findByNumber(record.number), &record);
            EXPECT_LE(std::exchange(last, record.isoName()), record.isoName());
        }
    }
}

/// Adds an item as an inclusion would leave it; an icon file is put as `icon.bin`.
void Put(ProjectFile& project, std::int32_t parent, std::int32_t number, std::string_view name,
         std::string_view views, std::string_view path = "/pc/") {
    ProjectRecord record = Item(parent, number, name, views.find('I') != views.npos,
                                views.find('H') != views.npos, path);
    record.setHfsName(name.substr(0, 31));
    if (name == "icon.bin") {
        record.setMacBinary(true);
        record.setSignature("ICNSMACS");
        record.setHfsName("Icon\r");
        project.findByNumber(parent)->setCustomIcon(true);
    }
    project.insert(record);
    project.addCounters(parent, number > 0, number < 0);
}

// Root: a folder of the PC with a folder in it, one made here, one of the ISO side with names that
// are long for HFS, a folder with an icon, and two files of one name.
ProjectFile SmallProject() {
    ProjectFile project = EmptyProject();
    Put(project, 1, 18, "Docs", "IH");
    Put(project, 1, 19, "Made", "IH", "..");
    Put(project, 1, 20, "Side", "I");
    Put(project, 18, 21, "Deep", "IH", "/pc/Docs/");
    Put(project, 1, 22, "Iconed", "H");
    Put(project, 20, 23, "A folder of more than 31 bytes, too", "I", "/pc/Side/");
    Put(project, 18, -1, "a.txt", "IH", "/pc/Docs/");
    Put(project, 18, -2, "run.exe", "I", "/pc/Docs/");
    Put(project, 21, -3, "x", "IH", "/pc/Docs/Deep/");
    Put(project, 20, -4, "A name of more than 31 bytes, too", "I", "/pc/Side/");
    Put(project, 1, -5, "same", "I", "/one/");
    Put(project, 1, -6, "same", "H", "/two/");
    Put(project, 22, -7, "icon.bin", "H", "/pc/Iconed/");
    Put(project, 23, -8, "y", "I");
    return project;
}

std::string Said(const Reason& reason) {
    return reason.words(Language::English);
}

std::string Said(const Result<std::int64_t>& result) {
    return result ? fmt::format("{}", *result) : Said(result.error());
}

/// A project, and the person at it.
struct Script {
    ProjectFile project;
    ScriptedMessages messages = {};
    TruncationAnswers truncation = {};
    RememberedAnswer confirm = {};

    /// One step, `COMMAND ITEMS WHAT`, or answers to come: n and y to questions, s for a shortened
    /// name, c for a cancelled one. What was said.
    std::string step(const std::string& line) {
        std::istringstream in(line);
        std::string command;
        std::string what;
        std::vector<std::int32_t> items;
        in >> command >> std::ws;
        while (command != "format" && command != "answer" && (items.empty() || in.get() == ','))
            in >> items.emplace_back();
        std::getline(in, what);
        const bool isIso = what.starts_with('I');
        if (command == "answer") {
            for (char letter : what)
                if (letter == 's' || letter == 'c')
                    messages.truncations.push_back({letter == 's', false, ""});
                else
                    messages.remembered.push_back(letter == 'y' ? Answer::Yes : Answer::No);
            return {};
        }
        if (command == "format")
            return Said(ChangeProject(project, {.isHfsPlus = what == "hfs+"}));
        if (command == "views")
            return Said(SetItemViews(project, items[0], {isIso, what.ends_with('H')}, truncation,
                                     messages));
        if (command == "move")
            return Said(MoveItems(project, items, std::stoi(what), truncation, messages));
        if (command == "rename") {
            const ProjectView other = what[0] == 'H' ? ProjectView::Hfs : ProjectView::Hybrid;
            return Said(RenameItem(project, items[0],
                                   what.substr(std::min<std::size_t>(2, what.size())),
                                   isIso ? ProjectView::Iso : other));
        }
        Progress progress;
        const DeletionResult result = DeleteItems(project, items, confirm, messages, progress);
        return result.refusal ? Said(result.refusal)
                              : fmt::format("{}, kept {}", result.deleted, result.kept);
    }

    /// What the last step said, the questions, and what has changed.
    std::string play(const std::string& steps) {
        const Lines before = LinesOf(project);
        std::istringstream in(steps);
        std::string said;
        for (std::string each; std::getline(in >> std::ws, each, ';');) {
            said = step(each);
            ExpectFound(project);
        }
        std::vector<std::string> parts(said.empty() ? 0 : 1, said);
        for (const auto& [name, proposal] : messages.truncationQuestions)
            parts.push_back("! " + name + " -> " + proposal);
        for (const std::string& question : messages.questions)
            parts.push_back("! " + question);
        for (const std::string& change : Changes(before, LinesOf(project)))
            parts.push_back(change);
        EXPECT_TRUE(messages.remembered.empty() && messages.truncations.empty());
        std::string line = fmt::format("{}", fmt::join(parts, "; "));
        std::replace(line.begin(), line.end(), '\n', '/');
        std::replace(line.begin(), line.end(), '\r', '^');
        return line;
    }
};

/// What is played on a new project, and what comes of it.
constexpr const char* kTranscripts = R"(
rename -1 I Z.txt => -1 18 a.txt|Z.txt|a.txt IH
rename -2 I A.TXT => The name "A.TXT" is refused: another item of the folder has it in this view.
rename -1 I A.TXT => -1 18 a.txt|A.TXT|a.txt IH
rename -2 H x => run.exe is not in this view.
rename -1 I a:b => The name "a:b" is refused: none of the characters * / : ; ? \ may stand in it.
rename -1 H 日 =>
  The name "日" is refused: it holds a character that is not in the character set of HFS, MacRoman.
rename -1 B 12345678901234567890123456789012 =>
  The name "12345678901234567890123456789012" is refused: it has 32 characters, and the view holds 31.
rename -1 I ~ => The name "~" is refused: it stands for an item without a name.
rename 19 B .!Background =>
  The name ".!Background" is refused: it is kept for the folder of the background image.
rename 19 I x; rename 19 H y; rename 19 B New => 19 1 New IH 0/0
views -2 IH => 1; -2 18 run.exe IH
views 18 I => 4; -3 21 x I; -1 18 a.txt I; 18 1 Docs I 1/2; 21 18 Deep I 0/1
answer s; views -4 IH =>
  2; ! A name of more than 31 bytes, too -> A name of more than 31 bytes, t;
  -4 20 A name of more than 31 bytes, too|A name of more than 31 bytes, too|A name of more than 31 bytes, t IH;
  20 1 Side IH 1/1
answer cc; views 20 IH =>
  3; ! A folder of more than 31 bytes, too -> A folder of more than 31 bytes,;
  ! A name of more than 31 bytes, too -> A name of more than 31 bytes, t;
  -4 20 A name of more than 31 bytes, too|A name of more than 31 bytes, too|~ I; 20 1 Side IH 1/1;
  23 20 A folder of more than 31 bytes, too|A folder of more than 31 bytes, too|~ I 0/1
views -5 IH => /two/same: Files bearing the same name should only be included in different views.
rename -2 I x; rename -1 H run.exe; views -2 IH =>
  1; -2 18 run.exe|x|run-71C6.exe IH; -1 18 a.txt|a.txt|run.exe IHL
views -1 - => /pc/Docs/a.txt would be in no view any more: delete it to take it out of the project.
views 22 I => 2; -7 22 icon.bin|icon.bin|Icon^ IM; 22 1 Iconed I 0/1
move -1,21 19 => 2; -1 19 a.txt IH; 18 1 Docs IH 0/1; 19 1 Made IH 1/1; 21 19 Deep IH 0/1
move 18,-3 20 => 1; 1 HFS 3/2; 18 20 Docs IH 1/2; 20 1 Side IH 2/1
move 18 21 => You can't drag file//pc/Docs/toward one of its children.
move -6 19; move -5 19 => 1; -6 19 same H; -5 19 same I; 1 HFS 4/0; 19 1 Made IH 0/2
rename -3 B a.txt; move -3 18 =>
  1; -3 18 x|x-F9FF|a-F9FF.txt IHL; 18 1 Docs IH 1/3; 21 18 Deep IH 0/0
move -7 1 => 1; -7 1 icon.bin|icon.bin|.VolumeIcon.icns HLM; 1 HFS k 4/3; 22 1 Iconed H 0/0
answer ny; delete 18,20,19 =>
  2, kept 1; ! The folder Docs/is not empty./Do you really want to delete it?;
  ! The folder Side/is not empty./Do you really want to delete it?; -8 -; -4 -; 1 HFS 2/2; 19 -;
  20 -; 23 -
delete 1 => The root of the project stays as it is.
rename -1 H é; format hfs+; format hfs => -1 18 a.txt|a.txt|é IHL
)";

TEST(ItemScripts, EveryTranscriptIsPlayedAsItIsWritten) {
    std::istringstream in(kTranscripts);
    std::vector<std::pair<std::string, std::string>> transcripts;
    for (std::string line; std::getline(in, line);) {
        const std::size_t arrow = line.find(" =>");
        if (line.starts_with("  "))
            transcripts.back().second += line.substr(transcripts.back().second.empty() ? 2 : 1);
        else if (arrow != line.npos)
            transcripts.emplace_back(line.substr(0, arrow),
                                     line.substr(std::min(arrow + 4, line.size())));
    }
    ASSERT_GT(transcripts.size(), 25u);
    for (const auto& [steps, expected] : transcripts)
        EXPECT_EQ(Script{SmallProject()}.play(steps), expected) << steps;
}

}  // namespace
}  // namespace vellmark::test
