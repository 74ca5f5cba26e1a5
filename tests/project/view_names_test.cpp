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
TEST(ViewNames, NamesThatAreTooLongAreAskedAboutUntilTheAnswerIsAutomatic) {
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
        {X(31), false, {}, X(31), X(31), "IH"},
        {X(62), true, {}, X(62), X(62), "IH"},
        {"a:\xE9\xDE", false, {}, "a:\xE9\xDE", "a/\x8E_", "IH"},
        {"a:\xE9\xDE", true, {}, "a:\xE9\xDE", "a/\xE9\xDE", "IH"},
        {longName, false, {{true, false, "mine"}, proposed}, "mine", X(27) + ".txt", "IH"},
        // The field of an HFS+ project is shorter than its names: nobody is asked about a copy.
        {longName, true, {{true, false, X(200)}}, X(62), X(58) + ".txt", "IHu"},
        {X(70), false, {refused, proposed}, "~", X(31), "H"},
        {X(40), false, {refused}, X(40), "~", "I"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const ProjectFile project = EmptyProject(row.isHfsPlus);
        SiblingNames siblings({}, row.isHfsPlus);
        TruncationAnswers answers;
        test::ScriptedMessages messages;
        messages.truncations = row.answers;
        ProjectRecord record = Item(1, -1, row.name);
        ViewNames(record, NarrowToWide(row.name), project, siblings, answers, messages);
        EXPECT_EQ(record.isoName(), row.iso);
        EXPECT_EQ(record.hfsName(), row.hfs);
        EXPECT_EQ(test::MarksOf(record), row.marks);
        ASSERT_EQ(messages.truncationQuestions.size(), row.answers.size());
        if (row.name == longName) {
            EXPECT_EQ(messages.truncationQuestions[0], std::pair(longName, X(58) + ".txt"));
        }
    }
    // "For all names": of this view.
    TruncationAnswers answers;
    test::ScriptedMessages messages;
    messages.truncations = {proposed, {true, true, ""}, proposed};
    for (int i = 0; i < 2; ++i) {
        ProjectRecord record = Item(1, -1, longName);
        SiblingNames siblings({}, false);
        ViewNames(record, NarrowToWide(longName), EmptyProject(), siblings, answers, messages);
        EXPECT_EQ(record.hfsName(), X(27) + ".txt");
    }
    EXPECT_TRUE(messages.truncations.empty());
    ProjectRecord record = Item(1, -1, "plain");
    SiblingNames siblings({}, false);
    record.setHfsName("before");
    ViewNames(record, u"plain", EmptyProject(false, ProjectMode::IsoPlus), siblings, answers,
              messages);
    EXPECT_EQ(record.hfsName(), "before");
}

TEST(SiblingNames, ANameThatIsTakenGivesWayInItsViewOnly) {
    const ProjectRecord there[] = {Item(1, -1, "iso", 1, 0), Item(1, -2, "hfs", 0, 1)};
    SiblingNames names(there, false);
    EXPECT_EQ(names.takeIso("hfs", "other"), "hfs");
    EXPECT_EQ(names.takeHfs("iso", "other", u"other"), "iso");
    EXPECT_EQ(names.takeIso("iso", "readme"), "readme-FEDD");
    EXPECT_EQ(names.takeIso("iso", X(40) + ".readme"), X(26) + "-11F4");
    EXPECT_EQ(names.takeHfs("HFS", "readme", u"readme"), "HFS-FEDD")
        << "case does not count in HFS, and digits come from the name on the PC";
    EXPECT_EQ(names.takeIso("ISO", "third"), "ISO") << "but it does in ISO names";
    // A natural name is kept for its owner.
    names.reserve(u"_", "_");
    names.reserve(u"\u65E5", "E1234567");
    EXPECT_EQ(names.takeHfs("_", "E1234567", u"\u65E5"), "_-2A67");
    EXPECT_EQ(names.takeHfs("_", "_", u"_"), "_");
}

TEST(SiblingNames, CaseIsFoldedInTheCharacterSetOfTheProject) {
    const struct {
        bool isHfsPlus;
        const char* first;
        const char* second;
        bool meet;
    } rows[] = {{false, "\x8E", "\x83", true},  // e and E acute in MacRoman
                {true, "\xE9\x9A", "\xC9\x8A", true},
                {true, "\xD7", "\xF7", false}};  // times and divided by are no cases
    for (const auto& row : rows) {
        SiblingNames names({}, row.isHfsPlus);
        EXPECT_EQ(names.takeHfs(row.first, "1", u"1"), row.first);
        EXPECT_EQ(names.takeHfs(row.second, "2", u"2") != row.second, row.meet) << row.first;
    }
}

// Names of a project that becomes one of the other format: from the source, from a container or as
// the person gave them.
TEST(RedoNames, AreCutMappedAndKeptApart) {
    struct Row {
        ProjectRecord record;
        std::string hfs;
        const char* marks;
    };
    const auto made = [](int number, const std::string& source, const char* hfs, auto change) {
        ProjectRecord record = Item(number == -6 ? 18 : 1, number, source);
        record.setHfsName(hfs);
        change(record);
        return record;
    };
    const auto nothing = [](ProjectRecord&) {};
    const auto locked = [](ProjectRecord& r) { r.setHfsNameLocked(true); };
    const auto boxed = [](ProjectRecord& r) { r.setBinHex(true); };
    const auto copied = [](ProjectRecord& r) { r.setUnicodeOnDisk(true); };
    const auto streams = [](ProjectRecord& r) { r.setCoding(ForkCoding::NamedStreams); };
    const Row toPlus[] = {
        {made(-1, X(40) + "\xE9", "cut", nothing), X(40) + "\xE9", "IH"},
        {made(-2, "Icon.bin", "Ic\x8En", locked), "Ic\xE9n", "IHL"},
        {made(-3, "file.hqx", "In\x8E\xB6", boxed), "In\xE9_", "IHuB"},  // Windows-1252 lacks it
        {made(-4, "streams", "streams", streams), "streams", "IHu"}};
    const Row toHfs[] = {{made(-1, X(31), X(31).c_str(), nothing), X(31), "IH"},
                         {made(-2, X(31) + "a", "", copied), X(26) + "-", "IH"},
                         {made(-3, "\xE9", "\xE9", nothing), "\x8E", "IH"},
                         {made(-6, X(31) + "a", X(32).c_str(), nothing), X(31), "IH"},
                         {made(-5, "streams", "streams", copied), "streams", "IH"}};
    for (const bool isPlus : {true, false}) {
        const std::span<const Row> rows = isPlus ? std::span<const Row>(toPlus) : toHfs;
        ProjectFile project = EmptyProject(!isPlus);
        project.header().setHfsLabel(isPlus ? "\x8E" : X(40));
        SetFieldText(project.header().dataPreparer, X(120));
        for (const Row& row : rows)
            project.insert(row.record);
        (isPlus ? RedoNamesForHfsPlus : RedoNamesForHfs)(project);
        for (const Row& row : rows) {
            const ProjectRecord& now = *project.findByNumber(row.record.number);
            const std::size_t shown = row.hfs.ends_with('-') ? row.hfs.size() : 31;
            EXPECT_EQ(now.hfsName().substr(0, isPlus ? 62 : shown), row.hfs) << now.sourceName();
            EXPECT_EQ(test::MarksOf(now), row.marks) << now.sourceName();
        }
        EXPECT_EQ(project.header().hfsLabel(), isPlus ? "\xE9" : X(27));
        EXPECT_EQ(FieldText(project.header().dataPreparer), X(120)) << "no record with a name";
    }
}

}  // namespace
}  // namespace vellmark
