// Operations on items in random order, beside a plain tree that knows nothing of records.
#include <random>

#include "project/item_bench.hpp"
#include "project/item_deletion.hpp"
#include "project/item_moves.hpp"
#include "project/item_names.hpp"
#include "project/item_views.hpp"
#include "project/project_properties.hpp"

namespace vellmark {
namespace {

struct Node {
    std::int32_t parent = kRootFolder;
    std::string name;
    std::string path;
    bool iso = true;
    bool hfs = true;
};

class ItemModel {
  public:
    ItemModel(unsigned seed, std::string path) : random_(seed), path_(std::move(path)) {
        for (std::int32_t i = 0; i < 60; ++i) {
            const bool isFolder = i < 15;
            const bool isIcon = i > 55;
            const auto order = static_cast<std::int32_t>(tree_.empty() ? 0 : below(15));
            Node node{tree_.contains(18 + order) ? 18 + order : kRootFolder,
                      std::string(1, static_cast<char>('a' + below(9))) + std::to_string(i / 8),
                      i % 5 == 0 && isFolder ? ".."
                      : i % 2 == 0           ? "/pc/"
                                             : "/other/"};
            const Node above = node.parent == kRootFolder ? Node{} : tree_.at(node.parent);
            node.iso = above.iso && !isIcon && below(3) != 0;
            node.hfs = above.hfs && (!node.iso || below(3) != 0);
            const std::int32_t number = isFolder ? 18 + i : -1 - i;
            if ((node.iso || node.hfs) && !clashes(number, node, node.iso, node.hfs, true))
                put(number, node, isIcon);
        }
    }

    void step() {
        const auto before = test::Lines(project_);
        const std::int32_t one = any();
        const std::int32_t two = any();
        const unsigned choice = below(20);
        const bool done = choice == 0   ? remove(one, two)
                          : choice < 3  ? !ChangeProject(project_, {.isHfsPlus = below(2) == 0})
                          : choice < 9  ? move(one, two, any())
                          : choice < 15 ? setViews(one, below(3) != 0, below(3) != 0)
                                        : rename(one);
        EXPECT_TRUE(done || test::Changes(before, test::Lines(project_)).empty());
        test::ExpectSound(project_);
        EXPECT_EQ(project_.countRecords(), tree_.size());
        for (const auto& [number, node] : tree_) {
            const ProjectRecord* record = std::as_const(project_).findByNumber(number);
            ASSERT_NE(record, nullptr) << number;
            EXPECT_EQ(record->parent, node.parent) << number;
            EXPECT_EQ(record->isIn(ProjectView::Iso), node.iso) << number;
            EXPECT_EQ(record->isIn(ProjectView::Hfs), node.hfs) << number;
        }
    }

    void reload() {
        ASSERT_TRUE(project_.save(messages_));
        std::optional<ProjectFile> read;
        ASSERT_EQ(ProjectFile::Open(path_, ProjectMode::Hybrid, messages_, read),
                  ProjectOpened::Opened);
        std::vector<std::string> records;
        project_.forEachRecord([&](const ProjectRecord& record) {
            records.emplace_back(reinterpret_cast<const char*>(&record), sizeof record);
        });
        read->forEachRecord([&, i = std::size_t{0}](const ProjectRecord& record) mutable {
            EXPECT_EQ(records.at(i++),
                      std::string(reinterpret_cast<const char*>(&record), sizeof record));
        });
        EXPECT_EQ(records.size(), read->countRecords());
    }

  private:
    [[nodiscard]] unsigned below(unsigned most) { return static_cast<unsigned>(random_() % most); }
    [[nodiscard]] std::int32_t any() {
        const auto place = below(static_cast<unsigned>(tree_.size() + 1));
        return place == tree_.size() ? kRootFolder : std::next(tree_.begin(), place)->first;
    }
    [[nodiscard]] bool isIn(std::int32_t number, std::int32_t folder) const {
        for (; number != kRootFolder; number = tree_.at(number).parent)
            if (number == folder)
                return true;
        return folder == kRootFolder;
    }
    /// Whether another item of the folder has the name in one of these views, or the same place on
    /// the PC where that counts.
    [[nodiscard]] bool clashes(std::int32_t self, const Node& node, bool iso, bool hfs,
                               bool samePlace) const {
        for (const auto& [number, other] : tree_)
            if (number != self && other.parent == node.parent && other.name == node.name &&
                ((iso && other.iso) || (hfs && other.hfs) ||
                 (samePlace && other.path == node.path)))
                return true;
        return false;
    }
    [[nodiscard]] bool mayRaise(std::int32_t folder, bool iso, bool hfs) const {
        for (; folder != kRootFolder; folder = tree_.at(folder).parent)
            if (const Node& node = tree_.at(folder);
                clashes(folder, node, iso && !node.iso, hfs && !node.hfs, false))
                return false;
        return true;
    }
    void raise(std::int32_t folder, bool iso, bool hfs) {
        for (; folder != kRootFolder; folder = tree_.at(folder).parent) {
            tree_.at(folder).iso |= iso;
            tree_.at(folder).hfs |= hfs;
        }
    }

    void put(std::int32_t number, const Node& node, bool isIcon) {
        tree_[number] = node;
        test::Put(project_, node.parent, number, node.name,
                  std::string(node.iso ? "I" : "") + (node.hfs ? "H" : ""), node.path);
        if (!isIcon || node.parent == kRootFolder || project_.findByHfsName(node.parent, "Icon\r"))
            return;
        ProjectRecord& record = *project_.findByNumber(number);
        record.setMacBinary(true);
        record.setSignature("ICNSMACS");
        record.setHfsName("Icon\r");
        project_.findByNumber(node.parent)->setCustomIcon(true);
    }

    bool rename(std::int32_t number) {
        const std::string name = (below(2) ? "R" : "r") + std::to_string(below(9));
        const bool inIso = below(2) == 0;
        const ProjectView view = inIso ? ProjectView::Iso : ProjectView::Hfs;
        bool may = number != kRootFolder && (inIso ? tree_.at(number).iso : tree_.at(number).hfs);
        if (may)
            for (const ProjectRecord& other : project_.childrenOf(tree_.at(number).parent))
                may =
                    may && (other.number == number || !other.isIn(view) ||
                            FoldAnsi(inIso ? other.isoName() : other.hfsName()) != FoldAnsi(name));
        EXPECT_EQ(RenameItem(project_, number, name, view).isNone(), may);
        const ProjectRecord* record = std::as_const(project_).findByNumber(number);
        EXPECT_TRUE(!may || (inIso ? record->isoName() : record->hfsName()) == name);
        return may;
    }

    bool setViews(std::int32_t number, bool iso, bool hfs) {
        bool may = number != kRootFolder && (iso || hfs);
        if (may) {
            const Node& node = tree_.at(number);
            may = (node.iso != iso || node.hfs != hfs) && mayRaise(node.parent, iso, hfs) &&
                  !clashes(number, node, iso && !node.iso, hfs && !node.hfs, false);
            for (const auto& [other, lower] : tree_)
                may = may && (other == number || !isIn(other, number) ||
                              !clashes(other, lower, true, true, false));
        }
        const auto result = SetItemViews(project_, number, {iso, hfs}, answers_, messages_);
        EXPECT_EQ(result.value_or(0) > 0, may) << number << iso << hfs;
        if (!may)
            return false;
        for (auto& [other, lower] : tree_)
            if (isIn(other, number)) {
                lower.iso = iso;
                lower.hfs = hfs;
            }
        raise(tree_.at(number).parent, iso, hfs);
        return true;
    }

    bool move(std::int32_t one, std::int32_t two, std::int32_t target) {
        target = target < 0 ? kRootFolder : target;
        bool may =
            one != kRootFolder && two != kRootFolder && !isIn(target, one) && !isIn(target, two);
        std::map<std::int32_t, Node> moved;
        bool iso = false;
        bool hfs = false;
        const auto unmoved = tree_;
        for (std::int32_t item : {one, two})
            if (const std::int32_t other = item == one ? two : one;
                may && tree_.at(item).parent != target && !moved.contains(item) &&
                (item == other || !isIn(tree_.at(item).parent, other))) {
                moved[item] = tree_.at(item);
                moved[item].parent = target;
                may = !clashes(item, moved[item], moved[item].iso, moved[item].hfs, true);
                tree_[item] = moved[item];
                iso |= moved[item].iso;
                hfs |= moved[item].hfs;
            }
        tree_ = unmoved;
        may = may && !moved.empty() && mayRaise(target, iso, hfs);
        const std::int32_t both[] = {one, two};
        const auto result = MoveItems(project_, both, target, answers_, messages_);
        EXPECT_EQ(result.value_or(0), may ? static_cast<std::int64_t>(moved.size()) : 0)
            << one << ' ' << two << ' ' << target;
        if (!may)
            return false;
        raise(target, iso, hfs);
        for (auto& [item, node] : moved) {
            // The icon of the volume is none of the ISO side.
            node.iso = node.iso &&
                       std::as_const(project_).findByNumber(item)->hfsName() != ".VolumeIcon.icns";
            tree_[item] = node;
        }
        return true;
    }

    bool remove(std::int32_t one, std::int32_t two) {
        Progress progress;
        RememberedAnswer yes{Remembered::YesToAll};
        const std::int32_t both[] = {one, two};
        const bool may = one != kRootFolder && two != kRootFolder;
        EXPECT_EQ(DeleteItems(project_, both, yes, messages_, progress).refusal.isNone(), may);
        std::vector<std::int32_t> gone;
        for (const auto& [number, node] : tree_)
            if (may && (isIn(number, one) || isIn(number, two)))
                gone.push_back(number);
        for (std::int32_t number : gone)
            tree_.erase(number);
        return may;
    }

    std::mt19937 random_;
    std::string path_;
    ProjectFile project_ = ProjectFile::Create(path_, ProjectMode::Hybrid, {});
    std::map<std::int32_t, Node> tree_;
    test::ScriptedMessages messages_;
    TruncationAnswers answers_ = kShortenAll;
};

TEST(ItemModelTest, AfterEachStepTheProjectIsSoundAndHasTheTreeOfTheModel) {
    for (unsigned seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE(fmt::format("seed {}", seed));
        const TemporaryFolder folder;
        ItemModel model(seed, folder.path() + "/m.vlpr");
        for (int i = 0; i < 120 && !testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE(fmt::format("step {}", i));
            model.step();
            if (i % 40 == 39)
                model.reload();
        }
    }
}

}  // namespace
}  // namespace vellmark
