// View names: limits, questions, character sets, and names that would meet in
// one folder.
#include "project/view_names.hpp"

#include <gtest/gtest.h>

#include <set>

#include "containers/short_name.hpp"
#include "project/project_bench.hpp"
#include "support/encoding.hpp"

namespace vellmark {
namespace {

using test::EmptyProject;
using test::Item;
using test::ScriptedMessages;

std::string X(std::size_t count) {
    return std::string(count, 'x');
}

class ViewNamesTest : public testing::Test {
  protected:
    // The record of one item in an empty folder.
    ProjectRecord named(std::string_view name, bool isHfsPlus, int iso = 1, int hfs = 1,
                        ProjectMode mode = ProjectMode::Hybrid) {
        const ProjectFile project = EmptyProject(isHfsPlus, mode);
        SiblingNames siblings({}, isHfsPlus);
        ProjectRecord record = Item(1, -1, name, iso, hfs);
        record.setHfsName("before");
        ViewNames(record, NarrowToWide(name), project, siblings, answers_, messages_);
        return record;
    }

    TruncationAnswers answers_;
    ScriptedMessages messages_;
};

TEST_F(ViewNamesTest, NamesWithinTheLimitsAreAskedAboutNowhere) {
    EXPECT_EQ(named(X(62), true).isoName(), X(62));
    EXPECT_FALSE(named(X(62), true).unicodeOnDisk());
    EXPECT_EQ(named(X(31), false).hfsName(), X(31));
    EXPECT_EQ(named("a:\xE9\xDE", false).hfsName(), "a/\x8E_");
    EXPECT_EQ(named("a:\xE9\xDE", false).isoName(), "a:\xE9\xDE");
    EXPECT_EQ(named("a:\xE9\xDE", true).hfsName(), "a/\xE9\xDE");
    EXPECT_EQ(named("plain", false, 1, 1, ProjectMode::IsoPlus).hfsName(), "before");
}

// The field of an HFS+ project is shorter than its names: nobody is asked about
// a copy.
TEST_F(ViewNamesTest, ANameThatIsTooLongIsAskedAboutUntilTheAnswerIsAutomatic) {
    messages_.truncations = {{true, false, "mine"}, {true, true, ""}, {true, false, X(200)}};
    const std::string longName = X(62) + ".txt";
    ProjectRecord record = named(longName, false);
    EXPECT_EQ(record.isoName(), "mine");
    EXPECT_EQ(record.hfsName(), X(27) + ".txt") << "an empty answer is the proposal";
    EXPECT_TRUE(answers_.hfs);
    EXPECT_FALSE(answers_.iso);
    record = named(longName, true);
    EXPECT_EQ(record.isoName(), X(62)) << "an answer that is too long is cut";
    EXPECT_EQ(record.hfsName(), X(58) + ".txt");
    EXPECT_TRUE(record.unicodeOnDisk());
    ASSERT_EQ(messages_.truncationQuestions.size(), 3u);
    EXPECT_EQ(messages_.truncationQuestions[0].first, longName);
    EXPECT_EQ(messages_.truncationQuestions[0].second, X(58) + ".txt");
    EXPECT_EQ(messages_.truncationQuestions[1].second, X(27) + ".txt");
}

TEST_F(ViewNamesTest, ARefusalTakesTheItemOutOfThatViewAlone) {
    messages_.truncations = {{false, false, ""}, {true, false, ""}, {false, false, ""}};
    ProjectRecord record = named(X(70), false);
    EXPECT_EQ(record.isoName(), "~");
    EXPECT_EQ(record.isoInclusion(), 0);
    EXPECT_EQ(record.hfsName(), X(31));
    EXPECT_EQ(record.hfsInclusion(), 1);
    record = named(X(40), false);
    EXPECT_EQ(record.isoName(), X(40));
    EXPECT_EQ(record.hfsName(), "~");
    EXPECT_EQ(record.isoInclusion(), 1);
    EXPECT_EQ(record.hfsInclusion(), 0);
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
}

TEST(SiblingNames, CaseIsFoldedInTheCharacterSetOfTheProject) {
    SiblingNames mac({}, false);
    EXPECT_EQ(mac.takeHfs("\x8E", "1", u"1"), "\x8E");  // e acute in MacRoman
    EXPECT_NE(mac.takeHfs("\x83", "2", u"2"), "\x83");  // E acute
    SiblingNames ansi({}, true);
    EXPECT_EQ(ansi.takeHfs("\xE9\x9A", "1", u"1"), "\xE9\x9A");
    EXPECT_NE(ansi.takeHfs("\xC9\x8A", "2", u"2"), "\xC9\x8A");
    EXPECT_EQ(ansi.takeHfs("\xD7", "3", u"3"), "\xD7");
    EXPECT_EQ(ansi.takeHfs("\xF7", "4", u"4"), "\xF7") << "times and divided by are no cases";
}

TEST(SiblingNames, ANaturalNameIsKeptForItsOwner) {
    SiblingNames names({}, false);
    names.reserve(u"_", "_");
    names.reserve(u"\u65E5", "E1234567");
    EXPECT_EQ(names.takeHfs("_", "E1234567", u"\u65E5"), "_-2A67");
    EXPECT_EQ(names.takeHfs("_", "_", u"_"), "_");
    EXPECT_EQ(names.takeIso("_", "_"), "_");
}

TEST(RedoNames, ForHfsPlusComesFromTheSourceNamesAndTheLabelIsMapped) {
    ProjectFile project = EmptyProject();
    project.header().setHfsLabel("\x8E");
    project.insert(Item(1, -1, X(40) + "\xE9"));
    ProjectRecord locked = Item(1, -2, "Icon.bin");
    locked.setHfsName("Ic\x8En");
    locked.setHfsNameLocked(true);
    project.insert(locked);
    ProjectRecord inner = Item(1, -3, "file.hqx");
    inner.setHfsName("In\x8E\xB6");
    inner.setBinHex(true);
    project.insert(inner);
    ProjectRecord streams = Item(1, -4, "streams");
    streams.setCoding(ForkCoding::NamedStreams);
    project.insert(streams);
    SetFieldText(project.header().dataPreparer, std::string(120, 'p'));
    RedoNamesForHfsPlus(project);
    EXPECT_EQ(project.findByNumber(-1)->hfsName(), X(40) + "\xE9");
    EXPECT_FALSE(project.findByNumber(-1)->unicodeOnDisk());
    EXPECT_EQ(project.findByNumber(-2)->hfsName(), "Ic\xE9n");
    EXPECT_EQ(project.findByNumber(-3)->hfsName(), "In\xE9_");
    EXPECT_TRUE(project.findByNumber(-3)->unicodeOnDisk()) << "Windows-1252 lacks a sign of it";
    EXPECT_TRUE(project.findByNumber(-4)->unicodeOnDisk());
    EXPECT_EQ(project.header().hfsLabel(), "\xE9");
    EXPECT_EQ(FieldText(project.header().dataPreparer), std::string(120, 'p'))
        << "the header is no record with a source name";
}

TEST(RedoNames, ForHfsCutsMapsAndKeepsNamesApart) {
    ProjectFile project = EmptyProject(true);
    project.header().setHfsLabel(X(40));
    project.insert(Item(1, -1, X(31)));
    ProjectRecord longName = Item(1, -2, X(31) + "a");
    longName.setUnicodeOnDisk(true);
    project.insert(longName);
    project.insert(Item(1, -3, "\xE9"));
    project.insert(Item(18, -4, X(31) + "a"));
    ProjectRecord streams = Item(1, -5, "streams");
    streams.setUnicodeOnDisk(true);
    project.insert(streams);
    RedoNamesForHfs(project);
    EXPECT_EQ(project.findByNumber(-1)->hfsName(), X(31));
    EXPECT_EQ(project.findByNumber(-2)->hfsName().substr(0, 27), X(26) + "-");
    EXPECT_EQ(project.findByNumber(-3)->hfsName(), "\x8E");
    EXPECT_EQ(project.findByNumber(-4)->hfsName(), X(31)) << "another folder";
    EXPECT_FALSE(project.findByNumber(-5)->unicodeOnDisk());
    EXPECT_EQ(project.header().hfsLabel(), X(27));
}

}  // namespace
}  // namespace vellmark
