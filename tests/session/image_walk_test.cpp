// A walk ends on every tree, also on those that no format allows.
#include <gtest/gtest.h>

#include <functional>

#include "session/image_walk.hpp"

namespace vellmark {
namespace {

ViewEntry Folder(std::uint64_t id) {
    ViewEntry entry;
    entry.name = "f" + std::to_string(id);
    entry.isFolder = true;
    entry.id = id;
    return entry;
}

ViewEntry File(std::uint64_t id) {
    ViewEntry entry = Folder(id);
    entry.isFolder = false;
    return entry;
}

// A tree whose folders are given by a function of their id.
class MadeUpTree final : public TreeView {
  public:
    using Contents = std::function<std::vector<ViewEntry>(std::uint64_t id, std::string& problem)>;
    explicit MadeUpTree(Contents contents) : TreeView({}), contents_(std::move(contents)) {}
    [[nodiscard]] std::unique_ptr<ByteSource> open(const ViewEntry&, std::string&) override {
        return nullptr;
    }

  protected:
    [[nodiscard]] std::optional<ViewEntry> findEntry(std::string_view, std::string&) override {
        return Folder(0);
    }
    [[nodiscard]] std::vector<ViewEntry> listEntries(const ViewEntry& folder,
                                                     std::string& problem) override {
        return contents_(folder.id, problem);
    }

  private:
    Contents contents_;
};

class Recorder final : public TreeWalker {
  public:
    explicit Recorder(std::uint64_t mostEntries = WalkGuard::kMostEntries)
        : TreeWalker(mostEntries) {}
    std::vector<std::string> steps;
    std::vector<std::string> problems;
    std::string stopAt;
    std::string passBy;

  protected:
    [[nodiscard]] Next visit(const ViewEntry& entry, std::size_t level) override {
        steps.push_back(std::to_string(level) + " " + entry.path);
        return entry.name == stopAt ? Next::Stop : entry.name == passBy ? Next::Pass : Next::GoOn;
    }
    void leave(const ViewEntry& folder) override { steps.push_back("< " + folder.path); }
    void problem(const std::string& sentence) override { problems.push_back(sentence); }
};

MadeUpTree SmallTree() {
    return MadeUpTree([](std::uint64_t id, std::string& problem) -> std::vector<ViewEntry> {
        if (id == 0)
            return {File(5), Folder(1), Folder(2)};
        if (id == 1)
            return {Folder(3), File(6)};
        if (id == 3)
            problem = "half of it";
        return {};
    });
}

using Steps = std::vector<std::string>;

TEST(TreeWalker, AFolderComesBeforeWhatIsInItAndIsLeftBehind) {
    MadeUpTree tree = SmallTree();
    Recorder recorder;
    EXPECT_TRUE(recorder.walk(tree, ViewEntry{}));
    EXPECT_EQ(recorder.steps,
              (Steps{"0 f5", "0 f1", "1 f1/f3", "< f1/f3", "1 f1/f6", "< f1", "0 f2", "< f2"}));
    EXPECT_EQ(recorder.problems, Steps{"half of it"}) << "the walk went on behind it";
}

TEST(TreeWalker, AVisitMayPassByOrStop) {
    MadeUpTree tree = SmallTree();
    Recorder passing;
    passing.passBy = "f1";
    EXPECT_TRUE(passing.walk(tree, ViewEntry{}));
    EXPECT_EQ(passing.steps, (Steps{"0 f5", "0 f1", "0 f2", "< f2"}));
    Recorder stopping;
    stopping.stopAt = "f3";
    EXPECT_FALSE(stopping.walk(tree, ViewEntry{}));
    EXPECT_EQ(stopping.steps, (Steps{"0 f5", "0 f1", "1 f1/f3"}));
}

TEST(TreeWalker, AFolderIsEnteredOnce) {
    // Folder 1 is in the root twice and holds itself and the root.
    MadeUpTree tree([](std::uint64_t id, std::string&) -> std::vector<ViewEntry> {
        if (id == 0)
            return {Folder(1), Folder(1)};
        return {Folder(1), Folder(0)};
    });
    Recorder recorder;
    EXPECT_TRUE(recorder.walk(tree, ViewEntry{}));
    EXPECT_EQ(recorder.steps.size(), 5u);
    EXPECT_EQ(recorder.problems.size(), 3u);
}

TEST(TreeWalker, NoWalkGoesDeeperThanItsLimit) {
    MadeUpTree tree([](std::uint64_t id, std::string&) { return std::vector{Folder(id + 1)}; });
    Recorder recorder;
    EXPECT_TRUE(recorder.walk(tree, ViewEntry{}));
    EXPECT_EQ(recorder.problems.size(), 1u);
    EXPECT_EQ(recorder.steps.size(), 2 * WalkGuard::kMostLevels + 1);
}

TEST(TreeWalker, NoWalkVisitsMoreThanItsLimit) {
    // Every folder has nine new ones: more than any walk could end.
    MadeUpTree tree([](std::uint64_t id, std::string&) {
        std::vector<ViewEntry> entries;
        for (std::uint64_t i = 1; i < 10; ++i)
            entries.push_back(Folder(id * 11 + i));
        return entries;
    });
    Recorder recorder(1000);
    EXPECT_FALSE(recorder.walk(tree, ViewEntry{}));
    ASSERT_FALSE(recorder.problems.empty());
    EXPECT_NE(recorder.problems.back().find("more than 1000"), std::string::npos);
}

}  // namespace
}  // namespace vellmark
