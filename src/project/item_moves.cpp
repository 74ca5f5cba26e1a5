#include "project/item_moves.hpp"

#include <algorithm>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "project/ansi_fold.hpp"
#include "project/custom_icon.hpp"
#include "project/item_views.hpp"
#include "project/pc_sources.hpp"
#include "project/sibling_names.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextAlreadyThere = 1152;
constexpr int kTextIntoItself = 1407;

/// Source names of a folder, so that a thousand moved items look through it once.
class NamesThere {
  public:
    explicit NamesThere(std::span<const ProjectRecord> run) {
        for (const ProjectRecord& record : run)
            add(record);
    }
    void add(const ProjectRecord& record) {
        byName_.emplace(FoldAnsi(record.sourceName()), &record);
    }
    [[nodiscard]] bool has(const ProjectRecord& item) const {
        const auto [first, last] = byName_.equal_range(FoldAnsi(item.sourceName()));
        return std::any_of(first, last, [&item](const auto& entry) {
            const ProjectRecord& other = *entry.second;
            return (other.accessPath() == item.accessPath() &&
                    other.sourceName() == item.sourceName()) ||
                   AreInSameView(other, item, ViewsOf(item));
        });
    }

  private:
    std::unordered_multimap<std::string, const ProjectRecord*> byName_;
};

/// One move of many items.
class Move {
  public:
    Move(ProjectFile& project, std::int32_t target, TruncationAnswers& answers, Messages& messages)
        : project_(project), target_(target), answers_(answers), messages_(messages) {}

    [[nodiscard]] Result<std::int64_t> run(std::span<const std::int32_t> numbers);

  private:
    [[nodiscard]] Reason collect(std::span<const std::int32_t> numbers);
    [[nodiscard]] bool isBelow(std::int32_t folder,
                               const std::unordered_set<std::int32_t>& tops) const;
    [[nodiscard]] Reason conflict() const;
    void take();
    void place(ProjectRecord& record, SiblingNames& names);
    void rename(ProjectRecord& record, SiblingNames& names);

    ProjectFile& project_;
    std::int32_t target_;
    TruncationAnswers& answers_;
    Messages& messages_;
    /// What is moved, by the folder that it comes from.
    std::map<std::int32_t, std::vector<std::int32_t>> byFolder_;
    ProjectFile::Run taken_;
};

bool Move::isBelow(std::int32_t folder, const std::unordered_set<std::int32_t>& tops) const {
    std::unordered_set<std::int32_t> visited;
    while (folder > kRootFolder && visited.insert(folder).second) {
        if (tops.contains(folder))
            return true;
        folder = project_.parentOf(folder);
    }
    return false;
}

Reason Move::collect(std::span<const std::int32_t> numbers) {
    if (!project_.isFolder(target_))
        return Reason(Sentence::kNoSuchProjectFolder, target_);
    const std::unordered_set<std::int32_t> tops(numbers.begin(), numbers.end());
    std::unordered_set<std::int32_t> seen;
    for (std::int32_t number : numbers) {
        if (number == kRootFolder)
            return Sentence::kRootStays;
        const ProjectRecord* record = std::as_const(project_).findByNumber(number);
        if (!record)
            return Reason(Sentence::kNoSuchProjectItem, number);
        if (record->isFolder() && isBelow(target_, {number}))
            return Reason::Told(kTextIntoItself, SourceText(*record));
        if (record->parent != target_ && !isBelow(record->parent, tops) &&
            seen.insert(number).second)
            byFolder_[record->parent].push_back(number);
    }
    return {};
}

// Why the target cannot take all of it.
Reason Move::conflict() const {
    NamesThere there(project_.childrenOf(target_));
    for (const auto& [folder, numbers] : byFolder_)
        for (std::int32_t number : numbers) {
            const ProjectRecord* record = std::as_const(project_).findByNumber(number);
            if (there.has(*record))
                return Reason::Told(kTextAlreadyThere, SourceText(*record));
            there.add(*record);
        }
    return {};
}

void Move::take() {
    for (const auto& [folder, numbers] : byFolder_) {
        ProjectFile::Run taken = project_.takeItems(folder, numbers);
        const auto folders = std::count_if(taken.begin(), taken.end(),
                                           [](const auto& record) { return record.isFolder(); });
        const auto all = static_cast<std::int64_t>(taken.size());
        project_.addCounters(folder, -folders, folders - all);
        project_.addCounters(target_, folders, all - folders);
        bool hadIcon = false;
        for (ProjectRecord& record : taken) {
            const bool wasPlaced = IsPlacedIcon(record);
            hadIcon = hadIcon || wasPlaced;
            if (wasPlaced && folder == kRootFolder)
                BecomeFolderIcon(record);
            taken_.push_back(record);
        }
        if (hadIcon)
            RenewIconMark(project_, folder);
    }
}

// Names that are free in the folder.
void Move::rename(ProjectRecord& record, SiblingNames& names) {
    const std::string source(record.sourceName());
    const std::string iso(record.isoName());
    const std::string hfs(record.hfsName());
    if (record.isIn(ProjectView::Iso))
        record.setIsoName(names.takeIso(iso, source));
    if (record.isIn(ProjectView::Hfs))
        record.setHfsName(names.takeHfs(hfs, source, NarrowToWide(source)));
    if (record.isoName() != iso || record.hfsName() != hfs)
        TellChangedNames(record, NarrowToWide(source), {}, SourceText(record), project_, messages_);
}

void Move::place(ProjectRecord& record, SiblingNames& names) {
    record.parent = target_;
    const bool isIcon = record.isIn(ProjectView::Hfs) && IsIconFile(record);
    if (isIcon)
        PlaceCustomIcon(project_, record, names);
    rename(record, names);
}

Result<std::int64_t> Move::run(std::span<const std::int32_t> numbers) {
    if (Reason refusal = collect(numbers))
        return Failed(std::move(refusal));
    if (Reason refusal = conflict())
        return Failed(std::move(refusal));
    ViewChoice views;
    for (const auto& [folder, moved] : byFolder_)
        for (std::int32_t number : moved) {
            const ViewChoice own = ViewsOf(*std::as_const(project_).findByNumber(number));
            views = {views.iso || own.iso, views.hfs || own.hfs};
        }
    if (auto raised = RaiseFolders(project_, target_, views, answers_, messages_); !raised)
        return Failed(std::move(raised).error());
    take();
    SiblingNames names(project_.childrenOf(target_), project_.header().isHfsPlus());
    for (ProjectRecord& record : taken_)
        place(record, names);
    const auto count = static_cast<std::int64_t>(taken_.size());
    project_.mergeChildren(target_, std::move(taken_));
    return count;
}

}  // namespace

Result<std::int64_t> MoveItems(ProjectFile& project, std::span<const std::int32_t> numbers,
                               std::int32_t target, TruncationAnswers& answers,
                               Messages& messages) {
    return Move(project, target, answers, messages).run(numbers);
}

}  // namespace vellmark
