// What keeps items out of a project or of its views: rules and answers, files of other kinds, stops
// and drops.
#include <sys/stat.h>
#include <unistd.h>

#include <set>

#include "project/drop.hpp"
#include "project/inclusion.hpp"
#include "project/project_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::ByName;
using test::EmptyProject;
using test::Item;
using test::ScriptedMessages;
using test::Write;

class InclusionLimits : public testing::Test {
  protected:
    TemporaryFolder scratch_;
    std::string base_ = fs::canonical(scratch_.path()).string() + "/";
    ProjectFile project_ = EmptyProject();
    ScriptedMessages messages_;
    Progress progress_;
    FixedClock clock_{0};
    InclusionOptions options_{clock_};
};

// A letter for each answer: no, no to all, yes, yes to all (B: both views); one without a question.
TEST(InclusionRules, EachRowWithEachAnswer) {
    constexpr Answer kAnswers[] = {Answer::No, Answer::NoToAll, Answer::Yes, Answer::YesToAll};
    ProjectRecord box = Item(1, -1, "x.exe", 0, 0);
    box.setMacBinary(true);
    ProjectRecord apple = Item(1, -1, "x.exe", 0, 0);
    apple.setAppleSingle(true);
    const ProjectRecord program = Item(1, -1, "a.exe.txt", 0, 0);
    const ProjectRecord plain = Item(1, -1, "A.EXE", 0, 0);
    using enum ProjectView;
    const std::tuple<ProjectRecord, ProjectView, std::string_view> rows[] = {
        {box, Iso, "HHII"},   {box, Hybrid, "HHBB"},     {box, Hfs, "H"},
        {apple, Iso, "HHII"}, {apple, Hybrid, "HHBB"},   {apple, Hfs, "H"},
        {program, Iso, "I"},  {program, Hybrid, "IIBB"}, {program, Hfs, "IIHI"},
        {plain, Iso, "I"},    {plain, Hybrid, "B"},      {plain, Hfs, "H"}};
    for (const auto& [item, view, views] : rows)
        for (std::size_t i = 0; i < views.size(); ++i) {
            const bool isKept = kAnswers[i] == Answer::NoToAll || kAnswers[i] == Answer::YesToAll;
            ScriptedMessages messages;
            messages.remembered.assign(views.size() == 1 ? 0 : isKept ? 1 : 2, kAnswers[i]);
            InclusionAnswers answers;
            for (int again = 0; again < 2; ++again) {
                ProjectRecord record = item;
                DecideViews(record, view, "/p/file", answers, messages);
                EXPECT_EQ(record.isIn(Iso), views[i] != 'H') << item.sourceName() << i;
                EXPECT_EQ(record.isIn(Hfs), views[i] != 'I') << item.sourceName() << i;
            }
            EXPECT_TRUE(messages.remembered.empty()) << "an answer to all is kept";
        }
}

TEST_F(InclusionLimits, PipesLargeFilesAndUnreadableOnesAreNamed) {
    for (const char* name : {"good", "large", "largest", "locked", "closed/in"})
        Write(base_ + "tree/" + name);
    ASSERT_EQ(::mkfifo((base_ + "tree/pipe").c_str(), 0600), 0);
    fs::resize_file(base_ + "tree/large", 1ull << 32);
    fs::resize_file(base_ + "tree/largest", (1ull << 32) - 1);
    for (const char* name : {"locked", "closed"})
        fs::permissions(base_ + "tree/" + name, fs::perms::none);
    // Root may read everything: the test is somebody else for a while.
    fs::permissions(base_, fs::perms::all);
    const bool isRoot = ::geteuid() == 0;
    ASSERT_TRUE(!isRoot || ::seteuid(65534) == 0);
    EXPECT_EQ(Include(project_, base_ + "tree", 1, options_, messages_, progress_).skipped, 4);
    ASSERT_TRUE(!isRoot || ::seteuid(0) == 0);
    fs::permissions(base_ + "tree/closed", fs::perms::owner_all);
    std::map<std::string, std::string> told;
    for (const auto& [item, reason] : messages_.skipped)
        told[item.substr(item.find_last_of('/') + 1)] = reason;
    EXPECT_TRUE(told.contains("pipe") && told.contains("locked") && told.contains("closed"));
    EXPECT_NE(told["large"].find("4294967296"), std::string::npos);
    EXPECT_EQ(ByName(project_, 18).at("largest").dataSize, 0xFFFFFFFFu);
}

TEST_F(InclusionLimits, ADropTellsOfConflictsAndTakesTheOthers) {
    struct Holder final : DropTarget {
        ProjectFile* project = nullptr;
        ProjectFile* openProject() override { return project; }
    } holder;
    Write(base_ + "a");
    fs::create_directory(base_ + "b");
    const std::vector<std::string> paths = {base_ + "a", base_ + "a", base_ + "b"};
    EXPECT_FALSE(AddDropped(holder, paths, kRootFolder, options_, messages_, progress_));
    holder.project = &project_;
    options_.view = ProjectView::Iso;
    project_.insert(Item(1, 18, "folder", 0, 1));
    EXPECT_EQ(AddDropped(holder, paths, 18, options_, messages_, progress_)->files, 1);
    EXPECT_EQ(messages_.shown.size(), 1u) << "a once more";
    EXPECT_EQ(test::MarksOf(ByName(project_, 18).at("b")), "H") << "the folder's view";
    EXPECT_EQ(test::LineOf(project_, *project_.findByNumber(18)), "folder IH 1/1");
}

}  // namespace
}  // namespace vellmark
