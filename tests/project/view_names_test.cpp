// View names: limits, questions, character sets, and names that would meet in one folder.
#include "project/view_names.hpp"

#include "project/project_bench.hpp"

namespace vellmark {
namespace {

using test::EmptyProject;
using test::Item;

std::string X(std::size_t count) {
    return std::string(count, 'x');
}

// What a person may answer, and the names that one item of an empty folder gets.
TEST(ViewNames, NamesThatAreTooLongAreAskedAbout) {
    const std::string longName = X(62) + ".txt";
    const TruncationAnswer refused{false, false, ""};
    const TruncationAnswer proposed{true, false, ""};
    const struct {
        std::string name;
        bool isHfsPlus;
        std::deque<TruncationAnswer> answers;
        std::string iso;
        std::string hfs;
        const char* marks;
    } rows[] = {
        {"a:\xE9\xDE", false, {}, "a:\xE9\xDE", "a/\x8E_", "IH"},
        {"a:\xE9\xDE", true, {}, "a:\xE9\xDE", "a/\xE9\xDE", "IH"},
        {longName, false, {{true, false, "mine"}, proposed}, "mine", X(27) + ".txt", "IH"},
        // The field of an HFS+ project is shorter than its names: nobody is asked about a copy.
        {longName, true, {{true, false, X(200)}}, X(62), X(58) + ".txt", "IHu"},
        {X(70), false, {refused, proposed}, "~", X(31), "H"},
        {X(40), false, {refused}, X(40), "~", "I"},
        // An answer for all names is one for its view.
        {longName, false, {{true, true, "a"}, {true, true, "b"}}, "a", "b", "IH"},
    };
    for (const auto& row : rows) {
        const ProjectFile project = EmptyProject(row.isHfsPlus);
        TruncationAnswers answers;
        test::ScriptedMessages messages;
        messages.truncations = row.answers;
        const auto named = [&] {
            SiblingNames siblings({}, row.isHfsPlus);
            ProjectRecord record = Item(1, -1, row.name);
            ViewNames(record, NarrowToWide(row.name), project, siblings, answers, messages);
            return record;
        };
        const ProjectRecord record = named();
        EXPECT_EQ(record.isoName(), row.iso);
        EXPECT_EQ(record.hfsName(), row.hfs);
        EXPECT_EQ(test::MarksOf(record), row.marks) << row.name;
        EXPECT_TRUE(messages.truncations.empty());
        if (row.name == longName) {
            EXPECT_EQ(messages.truncationQuestions[0], std::pair(longName, X(58) + ".txt"));
        }
        if (row.iso == "a") {
            EXPECT_EQ(named().isoName(), X(58) + ".txt") << "from now on nobody is asked";
        }
    }
}

// Names of a project that becomes one of the other format: from the source, from a container or as
// the person gave them.
TEST(RedoNames, AreCutMappedAndKeptApart) {
    ProjectFile project = EmptyProject();
    project.header().setHfsLabel("\x8E");
    ProjectRecord locked = Item(1, -2, "Icon.bin");
    locked.setHfsName("Ic\x8En");
    locked.setHfsNameLocked(true);
    ProjectRecord boxed = Item(1, -3, "file.hqx");
    boxed.setHfsName("In\x8E\xB6");  // Windows-1252 lacks the last of it
    boxed.setBinHex(true);
    for (const ProjectRecord& record :
         {Item(1, -1, X(31) + "\xE8"), locked, boxed, Item(1, -4, X(31) + "\xE9")})
        project.insert(record);
    const auto names = [&] {
        std::string all(project.header().hfsLabel());
        for (std::int32_t number = -1; number >= -4; --number)
            all += "," + std::string(project.findByNumber(number)->hfsName());
        return all;
    };
    // Case is folded in the character set of the project.
    SiblingNames taken(project.childrenOf(1), false);
    EXPECT_NE(taken.takeHfs("IN\x83\xB6", "b", u"b"), "IN\x83\xB6") << "E acute";
    EXPECT_EQ(taken.takeIso("FILE.HQX", "c"), "FILE.HQX") << "but not of ISO names";
    RedoNamesForHfsPlus(project);
    EXPECT_EQ(names(), "\xE9," + X(31) + "\xE8,Ic\xE9n,In\xE9_," + X(31) + "\xE9");
    EXPECT_EQ(test::MarksOf(*project.findByNumber(-3)), "IHuB") << "the field has a copy";
    project.header().setHfsLabel(X(40));
    RedoNamesForHfs(project);
    const std::string apart(project.findByNumber(-4)->hfsName());
    EXPECT_EQ(apart.substr(0, 27), X(26) + "-") << "the other one has the name";
    EXPECT_EQ(names(), X(27) + "," + X(31) + ",Ic\x8En,In\x8E_," + apart);
}

}  // namespace
}  // namespace vellmark
