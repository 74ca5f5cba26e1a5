// What a person does to the items of a project, as transcripts: the steps, the answers, what is
// said, the questions, and the records that are others afterwards.
#include <sstream>

#include "project/item_bench.hpp"
#include "project/item_deletion.hpp"
#include "project/item_moves.hpp"
#include "project/item_views.hpp"
#include "project/project_properties.hpp"

namespace vellmark {
namespace {

using test::Put;

// Root: a folder of the PC with a folder in it, one made here, one of the ISO side with names that
// are long for HFS, a folder with an icon, and two files of one name.
ProjectFile SmallProject() {
    ProjectFile project = test::EmptyProject();
    Put(project, 1, 18, "Docs", "IH");
    Put(project, 1, 19, "Made", "IH", "..");
    Put(project, 1, 20, "Side", "I");
    Put(project, 18, 21, "Deep", "IH", "/pc/Docs/");
    Put(project, 1, 22, "Iconed", "H");
    Put(project, 20, 23, "A folder, also of more than 31 bytes", "I", "/pc/Side/");
    Put(project, 18, -1, "a.txt", "IH", "/pc/Docs/");
    Put(project, 18, -2, "run.exe", "I", "/pc/Docs/");
    Put(project, 21, -3, "x", "IH", "/pc/Docs/Deep/");
    Put(project, 20, -4, "A name of more than 31 bytes, too", "I", "/pc/Side/");
    Put(project, 1, -5, "same", "I", "/one/");
    Put(project, 1, -6, "same", "H", "/two/");
    Put(project, 22, -7, "icon.bin", "H", "/pc/Iconed/");
    Put(project, 23, -8, "y", "I");
    ProjectRecord& icon = *project.findByNumber(-7);
    icon.setMacBinary(true);
    icon.setSignature("ICNSMACS");
    icon.setHfsName("Icon\r");
    project.findByNumber(22)->setCustomIcon(true);
    project.findByNumber(23)->setHfsName("A folder, also of more than 31");
    project.findByNumber(-4)->setHfsName("A name of more than 31 bytes, t");
    return project;
}

std::string OnOneLine(std::string text) {
    std::replace(text.begin(), text.end() - 1, '\n', '/');
    std::replace(text.begin(), text.end(), '\r', '^');
    return text;
}

std::vector<std::string> Parts(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in >> std::ws, part, separator);)
        parts.push_back(part);
    return parts;
}

/// A project, and the person at it.
class Script {
  public:
    /// Plays the steps (`>`) and answers (`?`: n y N Y to questions, s for a shortened name, c for
    /// a cancelled one) of a transcript, and writes it anew.
    std::string play(const std::string& transcript) {
        std::istringstream in(transcript);
        std::string written;
        std::string said;
        const auto before = test::Lines(project);
        for (std::string line; std::getline(in, line);) {
            if (line.starts_with("? "))
                answer(line.substr(2));
            else if (line.starts_with("> "))
                for (const std::string& each : Parts(line.substr(2), ';'))
                    said = step(each);
            else
                continue;
            written += line + "\n";
        }
        if (!said.empty())
            written += "= " + OnOneLine(said) + "\n";
        for (const auto& [name, proposal] : messages.truncationQuestions)
            written += "! " + name + " -> " + proposal + "\n";
        for (const std::string& question : messages.questions)
            written += "! " + OnOneLine(question) + "\n";
        const auto changes = test::Changes(before, test::Lines(project));
        if (!changes.empty())
            written += OnOneLine(fmt::format("{}\n", fmt::join(changes, "; ")));
        EXPECT_TRUE(messages.remembered.empty() && messages.truncations.empty());
        return written;
    }

    ProjectFile project = SmallProject();
    test::ScriptedMessages messages;
    TruncationAnswers truncation;
    RememberedAnswer confirm;

  private:
    void answer(const std::string& answers) {
        for (char letter : answers)
            if (letter == 'c' || letter == 's')
                messages.truncations.push_back({letter == 's', false, ""});
            else
                messages.remembered.push_back(letter == 'y'   ? Answer::Yes
                                              : letter == 'Y' ? Answer::YesToAll
                                              : letter == 'N' ? Answer::NoToAll
                                                              : Answer::No);
    }
    std::string step(const std::string& line) {
        std::istringstream in(line);
        std::string command;
        std::string rest;
        in >> command >> std::ws;
        std::vector<std::int32_t> numbers;
        if (command != "format") {
            in >> rest >> std::ws;
            for (const std::string& number : Parts(rest, ','))
                numbers.push_back(std::stoi(number));
        }
        rest.clear();
        std::getline(in, rest);
        const std::string result = run(command, numbers, rest);
        test::ExpectSound(project);
        return result;
    }
    std::string run(const std::string& command, const std::vector<std::int32_t>& numbers,
                    const std::string& rest) {
        if (command == "format")
            return said(ChangeProject(project, {.isHfsPlus = rest == "hfs+"}));
        if (command == "rename") {
            const std::string name = rest.size() > 2 ? rest.substr(2) : "";
            return said(RenameItem(project, numbers.front(), name,
                                   rest[0] == 'I'   ? ProjectView::Iso
                                   : rest[0] == 'H' ? ProjectView::Hfs
                                                    : ProjectView::Hybrid));
        }
        if (command == "views") {
            const ViewChoice views = {rest.find('I') != rest.npos, rest.find('H') != rest.npos};
            return said(SetItemViews(project, numbers.front(), views, truncation, messages));
        }
        if (command == "move")
            return said(MoveItems(project, numbers, std::stoi(rest), truncation, messages));
        Progress progress;
        const DeletionResult result = DeleteItems(project, numbers, confirm, messages, progress);
        return result.refusal ? said(result.refusal)
                              : fmt::format("{}, kept {}", result.deleted, result.kept);
    }
    static std::string said(const Reason& reason) { return reason.words(Language::English); }
    static std::string said(const Result<std::int64_t>& result) {
        return result ? fmt::format("{}", *result) : said(result.error());
    }
};

constexpr const char* kTranscripts = R"(
> rename -1 I Z.txt
-1 18 a.txt|Z.txt|a.txt IH
> rename -1 H é:1
-1 18 a.txt|a.txt|é:1 IHL
> rename -1 B b
-1 18 a.txt|b|b IHL
> rename 18 I Papers
18 1 Docs|Papers|Docs IHl 1/2
> rename 19 B New
19 1 New IH 0/0
> rename -2 I A.TXT
= The name "A.TXT" is refused: another item of the folder has it in this view.
> rename -1 I A.TXT
-1 18 a.txt|A.TXT|a.txt IH
> rename -1 H run.exe
-1 18 a.txt|a.txt|run.exe IHL
> rename -2 H x
= run.exe is not in this view.
> rename -1 I a:b
= The name "a:b" is refused: none of the characters * / : ; ? \ may stand in it.
> rename -1 I 日
= The name "日" is refused: it holds a character outside Windows-1252.
> rename -1 H 日
= The name "日" is refused: it holds a character that is not in the character set of HFS, MacRoman.
> rename -1 H 1234567890123456789012345678901
-1 18 a.txt|a.txt|1234567890123456789012345678901 IHL
> rename -1 B 12345678901234567890123456789012
= The name "12345678901234567890123456789012" is refused: it has 32 characters, and the view holds 31.
> format hfs+; rename -1 H 12345678901234567890123456789012
-4 20 A name of more than 31 bytes, too I; -1 18 a.txt|a.txt|12345678901234567890123456789012 IHL; 1 HFS+ 4/2; 23 20 A folder, also of more than 31 bytes I 0/1
> rename -1 I ~
= The name "~" is refused: it stands for an item without a name.
> rename -1 I ..
= The name ".." is refused: it stands for another folder.
> rename -1 I
= The name "" is refused: it is empty.
> rename 19 B .!Background
= The name ".!Background" is refused: it is kept for the folder of the background image.
> rename -99 I x
= The project has no item with the number -99.
> rename -7 H plain
-7 22 icon.bin|icon.bin|plain HL; 22 1 Iconed H 0/1
> views -2 IH
= 1
-2 18 run.exe IH
> views 18 I
= 4
-3 21 x I; -1 18 a.txt I; 18 1 Docs I 1/2; 21 18 Deep I 0/1
> views 18 H
= 5
-3 21 x H; -2 18 run.exe H; -1 18 a.txt H; 18 1 Docs H 1/2; 21 18 Deep H 0/1
> views 18 IH
= 0
? s
> views -4 IH
= 2
! A name of more than 31 bytes, too -> A name of more than 31 bytes, t
-4 20 A name of more than 31 bytes, too|A name of more than 31 bytes, too|A name of more than 31 bytes, t IH; 20 1 Side IH 1/1
? c
> views -4 H
= 0
! A name of more than 31 bytes, too -> A name of more than 31 bytes, t
? cc
> views 20 IH
= 3
! A folder, also of more than 31 bytes -> A folder, also of more than 31
! A name of more than 31 bytes, too -> A name of more than 31 bytes, t
-4 20 A name of more than 31 bytes, too|A name of more than 31 bytes, too|~ I; 20 1 Side IH 1/1; 23 20 A folder, also of more than 31 bytes|A folder, also of more than 31 bytes|~ I 0/1
? cs
> views 20 H
= 4
! A folder, also of more than 31 bytes -> A folder, also of more than 31
! A name of more than 31 bytes, too -> A name of more than 31 bytes, t
-8 23 y H; -4 20 A name of more than 31 bytes, too|A name of more than 31 bytes, too|A name of more than 31 bytes, t H; 20 1 Side H 1/1; 23 20 A folder, also of more than 31 bytes|A folder, also of more than 31 bytes|A folder, also of more than 31 H 0/1
? ss
> views -4 IH; views -4 I; views -4 IH
= 1
! A name of more than 31 bytes, too -> A name of more than 31 bytes, t
! A name of more than 31 bytes, too -> A name of more than 31 bytes, t
-4 20 A name of more than 31 bytes, too|A name of more than 31 bytes, too|A name of more than 31 bytes, t IH; 20 1 Side IH 1/1
> views -5 IH
= /two/same: Files bearing the same name should only be included in different views.
> rename -5 I other; views -6 IH
= /one/same: Files bearing the same name should only be included in different views.
-5 1 same|other|same I
> rename -2 I x; rename -1 H run.exe; views -2 IH
= 1
-2 18 run.exe|x|run-71C6.exe IH; -1 18 a.txt|a.txt|run.exe IHL
> rename -1 I z; views -1 H; rename -2 I z; views -1 IH
= 1
-2 18 run.exe|z|run.exe I; -1 18 a.txt|a-2BD9.txt|a.txt IH
> views -1 -
= /pc/Docs/a.txt would be in no view any more: delete it to take it out of the project.
> views 1 I
= The root of the project stays as it is.
> views -7 I
= 2
-7 22 icon.bin|icon.bin|Icon^ I; 22 1 Iconed IH 0/1
> move -1,21 19
= 2
-1 19 a.txt IH; 18 1 Docs IH 0/1; 19 1 Made IH 1/1; 21 19 Deep IH 0/1
> move 18,-3 20
= 1
1 HFS 3/2; 18 20 Docs IH 1/2; 20 1 Side IH 2/1
> move 18 21
= You can't drag file//pc/Docs/toward one of its children.
> move -1 18
= 0
> move -1 99
= The project has no folder with the number 99.
> move -6 19; move -5 19
= 1
-6 19 same H; -5 19 same I; 1 HFS 4/0; 19 1 Made IH 0/2
> move -6 19; views -6 IH; move -5 19
= The item/"/one/same"/ already exists in the target folder./Aborting the move operation.
-6 19 same IH; 1 HFS 4/1; 19 1 Made IH 0/1
> rename -3 B a.txt; move -3 18
= 1
-3 18 x|x-F9FF|a-F9FF.txt IHL; 18 1 Docs IH 1/3; 21 18 Deep IH 0/0
> move -7 1
= 1
-7 1 icon.bin|icon.bin|.VolumeIcon.icns HL; 1 HFS k 4/3; 22 1 Iconed H 0/0
> move -7 1; move -7 18
= 1
-7 18 icon.bin|icon.bin|Icon^ H; 18 1 Docs IHk 1/3; 22 1 Iconed H 0/0
> delete -1
= 1, kept 0
-1 -; 18 1 Docs IH 1/1
? ny
> delete 18,20,19
= 2, kept 1
! The folder Docs/is not empty./Do you really want to delete it?
! The folder Side/is not empty./Do you really want to delete it?
-8 -; -4 -; 1 HFS 2/2; 19 -; 20 -; 23 -
? Y
> delete 18,20,21
= 2, kept 0
! The folder Docs/is not empty./Do you really want to delete it?
-8 -; -4 -; -3 -; -2 -; -1 -; 1 HFS 2/2; 18 -; 20 -; 21 -; 23 -
? N
> delete 18,20
= 0, kept 2
! The folder Docs/is not empty./Do you really want to delete it?
> delete 19,19
= 1, kept 0
1 HFS 3/2; 19 -
> delete 1
= The root of the project stays as it is.
> delete -7
= 1, kept 0
-7 -; 22 1 Iconed H 0/0
> move -7 1; delete -7
= 1, kept 0
-7 -; 22 1 Iconed H 0/0
> rename -1 H é; format hfs+
-4 20 A name of more than 31 bytes, too I; -1 18 a.txt|a.txt|é IHL; 1 HFS+ 4/2; 23 20 A folder, also of more than 31 bytes I 0/1
> rename -1 H é; format hfs+; format hfs
-1 18 a.txt|a.txt|é IHL
> move -6 19; move -5 19; views 19 I
= /two/same: Files bearing the same name should only be included in different views.
-6 19 same H; -5 19 same I; 1 HFS 4/0; 19 1 Made IH 0/2
? y
> delete 20,20
= 1, kept 0
! The folder Side/is not empty./Do you really want to delete it?
-8 -; -4 -; 1 HFS 3/2; 20 -; 23 -
? ny
> delete 20,18
= 1, kept 1
! The folder Side/is not empty./Do you really want to delete it?
! The folder Docs/is not empty./Do you really want to delete it?
-3 -; -2 -; -1 -; 1 HFS 3/2; 18 -; 21 -
)";

TEST(ItemScripts, EveryTranscriptIsPlayedAsItIsWritten) {
    std::vector<std::string> transcripts(1);
    bool hasSteps = true;
    for (const std::string& line : Parts(kTranscripts, '\n')) {
        const bool isSteps = line.starts_with("> ");
        if (line.starts_with("? ") || (isSteps && hasSteps))
            transcripts.emplace_back();
        hasSteps = isSteps || (hasSteps && !line.starts_with("? "));
        transcripts.back() += line + "\n";
    }
    ASSERT_GT(transcripts.size(), 50u);
    for (std::size_t i = 1; i < transcripts.size(); ++i) {
        SCOPED_TRACE(transcripts[i]);
        EXPECT_EQ(Script().play(transcripts[i]), transcripts[i]);
    }
}

}  // namespace
}  // namespace vellmark
