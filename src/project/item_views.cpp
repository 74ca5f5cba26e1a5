#include "project/item_views.hpp"

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "project/ansi_fold.hpp"
#include "project/custom_icon.hpp"
#include "project/pc_sources.hpp"
#include "project/sibling_names.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextSameName = 1406;

// Two names of one folder of the PC.
bool AreTwins(const ProjectRecord& a, const ProjectRecord& b) {
    return a.accessPath() == b.accessPath() && a.accessPath() != kProjectOnlyPath &&
           a.sourceName() != b.sourceName();
}

bool IsInOneOf(const ProjectRecord& record, ViewChoice views) {
    return (views.iso && record.isIn(ProjectView::Iso)) ||
           (views.hfs && record.isIn(ProjectView::Hfs));
}

bool operator==(ViewChoice a, ViewChoice b) {
    return a.iso == b.iso && a.hfs == b.hfs;
}

Reason SameName(const ProjectRecord& record) {
    return Reason(Sentence::kItemAndReason, SourceText(record), ToldText{kTextSameName});
}

/// One change of views.
class ViewChange {
  public:
    ViewChange(ProjectFile& project, TruncationAnswers& answers, Messages& messages)
        : project_(project), answers_(answers), messages_(messages) {}

    [[nodiscard]] Result<std::int64_t> apply(ProjectRecord item, ViewChoice views);
    [[nodiscard]] Result<std::int64_t> raise(std::int32_t folder, ViewChoice views);

  private:
    [[nodiscard]] Reason clashBelow(std::int32_t folder) const;
    [[nodiscard]] bool change(ProjectRecord& record, ViewChoice views, SiblingNames& names);
    [[nodiscard]] bool changeBelow(ProjectRecord& record, ViewChoice views, SiblingNames& names);
    void descend(std::int32_t folder, ViewChoice views);

    ProjectFile& project_;
    TruncationAnswers& answers_;
    Messages& messages_;
    std::int64_t count_ = 0;
};

// Everything below a folder comes to be in the same views: a name that stands twice is then in one
// of them twice.
Reason ViewChange::clashBelow(std::int32_t top) const {
    for (std::int32_t folder : project_.foldersFrom(top)) {
        std::unordered_map<std::string, const ProjectRecord*> known;
        for (const ProjectRecord& record : project_.childrenOf(folder)) {
            const auto [first, isNew] = known.try_emplace(FoldAnsi(record.sourceName()), &record);
            if (!isNew && !AreTwins(*first->second, record))
                return SameName(record);
        }
    }
    return {};
}

// False when the person refused a name.
bool ViewChange::change(ProjectRecord& record, ViewChoice views, SiblingNames& names) {
    const ViewChoice before = ViewsOf(record);
    bool hasNames = true;
    if (!views.iso)
        record.setIsoInclusion(0);
    else if (!before.iso)
        hasNames = EnterView(record, ProjectView::Iso, project_, names, answers_, messages_);
    if (!views.hfs)
        record.setHfsInclusion(0);
    else if (!before.hfs)
        hasNames =
            EnterView(record, ProjectView::Hfs, project_, names, answers_, messages_) && hasNames;
    return hasNames;
}

// True when the record is another now.
bool ViewChange::changeBelow(ProjectRecord& record, ViewChoice views, SiblingNames& names) {
    if (ViewsOf(record) == views)
        return false;
    (void)change(record, views, names);
    if (!record.isIn(ProjectView::Hybrid)) {
        TruncationAnswers shorten = kShortenAll;
        const ProjectView view = views.iso ? ProjectView::Iso : ProjectView::Hfs;
        (void)EnterView(record, view, project_, names, shorten, messages_);
    }
    return true;
}

void ViewChange::descend(std::int32_t top, ViewChoice topViews) {
    std::vector<std::pair<std::int32_t, ViewChoice>> pending = {{top, topViews}};
    std::unordered_set<std::int32_t> visited = {top, kRootFolder};
    while (!pending.empty()) {
        const auto [folder, views] = pending.back();
        pending.pop_back();
        bool hasIcon = false;
        project_.changeFolder(folder, [&, views = views](std::span<ProjectRecord> run) {
            SiblingNames names(run, project_.header().isHfsPlus());
            for (ProjectRecord& record : run) {
                count_ += changeBelow(record, views, names);
                hasIcon = hasIcon || IsPlacedIcon(record);
                if (record.isFolder() && visited.insert(record.number).second)
                    pending.emplace_back(record.number, ViewsOf(record));
            }
        });
        if (hasIcon)
            RenewIconMark(project_, folder);
    }
}

Result<std::int64_t> ViewChange::apply(ProjectRecord item, ViewChoice views) {
    const ViewChoice before = ViewsOf(item);
    if (before == views)
        return 0;
    const ProjectFile::Run& siblings = project_.childrenOf(item.parent);
    if (const ProjectRecord* same =
            FindSameName(siblings, item, {views.iso && !before.iso, views.hfs && !before.hfs}))
        return Failed(SameName(*same));
    if (item.isFolder())
        if (Reason clash = clashBelow(item.number))
            return Failed(std::move(clash));
    SiblingNames names(siblings, project_.header().isHfsPlus());
    if (!change(item, views, names))
        return 0;
    if (Result<std::int64_t> raised = raise(item.parent, views); !raised)
        return raised;
    ++count_;
    project_.replaceItem(item);
    if (IsPlacedIcon(item))
        RenewIconMark(project_, item.parent);
    if (item.isFolder())
        descend(item.number, views);
    return count_;
}

Result<std::int64_t> ViewChange::raise(std::int32_t folder, ViewChoice views) {
    std::vector<ProjectRecord> raised;
    std::unordered_set<std::int32_t> visited;
    while (folder > kRootFolder && visited.insert(folder).second) {
        const ProjectRecord* record = std::as_const(project_).findByNumber(folder);
        if (!record)
            break;
        const ViewChoice before = ViewsOf(*record);
        const ViewChoice after = {before.iso || views.iso, before.hfs || views.hfs};
        folder = record->parent;
        if (before == after)
            continue;
        const ProjectFile::Run& siblings = project_.childrenOf(record->parent);
        if (const ProjectRecord* same = FindSameName(
                siblings, *record, {after.iso && !before.iso, after.hfs && !before.hfs}))
            return Failed(SameName(*same));
        SiblingNames names(siblings, project_.header().isHfsPlus());
        raised.push_back(*record);
        if (!change(raised.back(), after, names))
            return Failed(Sentence::kFolderNameRefused,
                          Printable(NarrowToUtf8(record->sourceName())));
    }
    for (const ProjectRecord& record : raised)
        project_.replaceItem(record);
    count_ += static_cast<std::int64_t>(raised.size());
    return count_;
}

}  // namespace

ViewChoice ViewsOf(const ProjectRecord& record) {
    return {record.isIn(ProjectView::Iso), record.isIn(ProjectView::Hfs)};
}

Result<std::int64_t> SetItemViews(ProjectFile& project, std::int32_t number, ViewChoice views,
                                  TruncationAnswers& answers, Messages& messages) {
    if (number == kRootFolder)
        return Failed(Sentence::kRootStays);
    const ProjectRecord* record = std::as_const(project).findByNumber(number);
    if (!record)
        return Failed(Sentence::kNoSuchProjectItem, number);
    if (project.mode() == ProjectMode::IsoPlus)
        return Failed(Sentence::kIsoPlusOneView);
    if (!views.iso && !views.hfs)
        return Failed(Sentence::kItemInNoView, SourceText(*record));
    return ViewChange(project, answers, messages).apply(*record, views);
}

Result<std::int64_t> RaiseFolders(ProjectFile& project, std::int32_t folder, ViewChoice views,
                                  TruncationAnswers& answers, Messages& messages) {
    return ViewChange(project, answers, messages).raise(folder, views);
}

const ProjectRecord* FindSameName(std::span<const ProjectRecord> siblings,
                                  const ProjectRecord& item, ViewChoice views) {
    const std::string wanted = FoldAnsi(item.sourceName());
    for (const ProjectRecord& other : siblings)
        if (AreInSameView(other, item, views) && FoldAnsi(other.sourceName()) == wanted)
            return &other;
    return nullptr;
}

bool AreInSameView(const ProjectRecord& other, const ProjectRecord& item, ViewChoice views) {
    return other.number != item.number && IsInOneOf(other, views) && !AreTwins(other, item);
}

std::int32_t NearestFolderIn(const ProjectFile& project, std::int32_t folder, ProjectView view) {
    std::unordered_set<std::int32_t> visited;
    while (folder > kRootFolder && visited.insert(folder).second) {
        const ProjectRecord* record = project.findByNumber(folder);
        if (!record)
            break;
        if (record->isIn(view))
            return folder;
        folder = record->parent;
    }
    return kRootFolder;
}

ItemIcon IconOf(const ProjectRecord& record) {
    const int iso = record.isoInclusion();
    const int hfs = record.hfsInclusion();
    if (iso != 0 && hfs != 0)
        return iso < 0 ? ItemIcon::MissingInBoth : ItemIcon::BothViews;
    if (iso != 0)
        return iso < 0 ? ItemIcon::MissingInIso : ItemIcon::IsoAlone;
    if (hfs != 0)
        return hfs < 0 ? ItemIcon::MissingInHfs : ItemIcon::HfsAlone;
    return ItemIcon::NoView;
}

}  // namespace vellmark
