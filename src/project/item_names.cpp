#include "project/item_names.hpp"

#include <algorithm>
#include <optional>

#include "containers/names.hpp"
#include "containers/short_name.hpp"
#include "project/ansi_fold.hpp"
#include "project/custom_icon.hpp"
#include "project/project_search.hpp"
#include "project/sibling_names.hpp"
#include "project/view_names.hpp"
#include "support/canonical_form.hpp"
#include "support/encoding.hpp"
#include "support/result.hpp"
#include "support/sentences.hpp"
#include "volume/catalog_name.hpp"

namespace vellmark {

namespace {

constexpr int kTextSameName = 1406;

constexpr std::u16string_view kPathSeparators = u"/\\";
constexpr std::u16string_view kJolietForbidden = u"*/:;?\\";

bool HasControl(std::u16string_view name) {
    return std::any_of(name.begin(), name.end(),
                       [](char16_t unit) { return unit < 0x20 || unit == 0x7F; });
}

Reason Refused(std::string_view name, Reason why) {
    return Reason(Sentence::kItemNameRefused, Printable(name), std::move(why));
}

// The name in Windows-1252, as the ISO view and an HFS+ project keep it.
Result<std::string> NarrowForm(std::u16string_view name) {
    if (!IsNarrow(name))
        return Failed(Sentence::kNameOutsideNarrow);
    return WideToNarrow(name);
}

Result<std::string> IsoForm(std::u16string_view name) {
    if (name.find_first_of(kJolietForbidden) != name.npos)
        return Failed(Sentence::kNameHasForbidden, "* / : ; ? \\");
    return NarrowForm(name);
}

Result<std::string> HfsForm(std::u16string_view name, bool isHfsPlus) {
    std::u16string mac(name);
    std::replace(mac.begin(), mac.end(), u':', u'/');
    if (isHfsPlus)
        return NarrowForm(mac);
    const auto bytes = WideToMacRomanExact(mac);
    if (!bytes)
        return Failed(Sentence::kNameOutsideMacRoman);
    return *bytes;
}

/// One renaming: looks at everything on a copy of the record first.
class Renaming {
  public:
    Renaming(ProjectFile& project, const ProjectRecord& record, std::string_view typed)
        : project_(project),
          before_(record),
          record_(record),
          typed_(typed),
          name_(ComposeName(Utf8ToWide(typed))) {}

    Reason run(ProjectView view);

  private:
    [[nodiscard]] Reason rename(ProjectView view);
    [[nodiscard]] Reason renameInIso();
    [[nodiscard]] Reason renameInHfs();
    [[nodiscard]] Reason renameSource();
    /// The reason why `stored` cannot be the name in a view; `fold` says which names are the same.
    template <typename Fold>
    [[nodiscard]] Reason refusalOf(const std::string& stored, ProjectView view, Fold fold) const;

    ProjectFile& project_;
    const ProjectRecord before_;
    ProjectRecord record_;
    std::string_view typed_;
    std::u16string name_;
};

Reason Renaming::run(ProjectView view) {
    if (name_.empty())
        return Refused(typed_, Sentence::kNameIsEmpty);
    if (HasControl(name_))
        return Refused(typed_, Sentence::kNameHasControl);
    if (name_ == u"." || name_ == u"..")
        return Refused(typed_, Sentence::kNameOfOtherFolder);
    if (name_ == NarrowToWide(kRefusedName))
        return Refused(typed_, Sentence::kNameStandsForNone);
    if (Reason refusal = rename(view))
        return refusal;
    project_.replaceItem(record_);
    if (IsPlacedIcon(before_) != IsPlacedIcon(record_))
        RenewIconMark(project_, record_.parent);
    return {};
}

Reason Renaming::rename(ProjectView view) {
    if (project_.mode() == ProjectMode::IsoPlus)
        view = ProjectView::Iso;
    if (!record_.isIn(view))
        return Reason(Sentence::kItemNotInView, Printable(NarrowToUtf8(record_.sourceName())));
    if (view != ProjectView::Hybrid)
        return view == ProjectView::Iso ? renameInIso() : renameInHfs();
    Reason refusal;
    if (record_.isIn(ProjectView::Iso))
        refusal = renameInIso();
    if (!refusal && record_.isIn(ProjectView::Hfs))
        refusal = renameInHfs();
    if (!refusal && record_.accessPath() == kProjectOnlyPath)
        refusal = renameSource();
    return refusal;
}

template <typename Fold>
Reason Renaming::refusalOf(const std::string& stored, ProjectView view, Fold fold) const {
    const std::size_t limit = ItemNameLimit(project_, view);
    if (stored.size() > limit)
        return Refused(typed_, Reason(Sentence::kItemNameTooLong, stored.size(), limit));
    const std::string wanted = fold(stored);
    for (const ProjectRecord& other : project_.childrenOf(record_.parent)) {
        const std::string_view name = view == ProjectView::Iso ? other.isoName() : other.hfsName();
        if (other.number != record_.number && other.isIn(view) && fold(name) == wanted)
            return Refused(typed_, Sentence::kNameIsTaken);
    }
    return {};
}

Reason Renaming::renameInIso() {
    const Result<std::string> stored = IsoForm(name_);
    if (!stored)
        return Refused(typed_, stored.error());
    if (Reason refusal = refusalOf(*stored, ProjectView::Iso, FoldAnsi))
        return refusal;
    record_.setIsoName(*stored);
    if (record_.shortNameFlag() || record_.isFolder())
        record_.setIsoNameLocked(true);
    return {};
}

Reason Renaming::renameInHfs() {
    const bool isHfsPlus = project_.header().isHfsPlus();
    const Result<std::string> stored = HfsForm(name_, isHfsPlus);
    if (!stored)
        return Refused(typed_, stored.error());
    if (Reason refusal =
            refusalOf(*stored, ProjectView::Hfs, isHfsPlus ? FoldAnsi : FoldMacRomanLower))
        return refusal;
    record_.setHfsName(*stored);
    record_.setHfsNameLocked(true);
    record_.setUnicodeOnDisk(false);
    return {};
}

// A folder of the project alone has no other name than the one that it is given.
Reason Renaming::renameSource() {
    const Result<std::string> stored = NarrowForm(name_);
    if (!stored)
        return Refused(typed_, stored.error());
    if (name_.find_first_of(kPathSeparators) != name_.npos)
        return Refused(typed_, Reason(Sentence::kNameHasForbidden, "/ \\"));
    if (*stored == kBackgroundFolderName && record_.number != kBackgroundFolder)
        return Refused(typed_, Sentence::kNameOfBackground);
    const std::string wanted = FoldAnsi(*stored);
    for (const ProjectRecord& other : project_.childrenOf(record_.parent))
        if (other.number != record_.number && FoldAnsi(other.sourceName()) == wanted &&
            ((other.isIn(ProjectView::Iso) && record_.isIn(ProjectView::Iso)) ||
             (other.isIn(ProjectView::Hfs) && record_.isIn(ProjectView::Hfs))))
            return Refused(typed_, ToldText{kTextSameName});
    record_.setSourceName(*stored);
    record_.setShortName(*stored);
    record_.setIsoNameLocked(false);
    record_.setHfsNameLocked(false);
    if (!record_.isIn(ProjectView::Iso))
        record_.setIsoName(CutName(*stored, kIsoNameLimit));
    return {};
}

}  // namespace

std::string ShownItemName(const ProjectFile& project, const ProjectRecord& record,
                          ProjectView view) {
    if (view == ProjectView::Hybrid || project.mode() == ProjectMode::IsoPlus)
        return NarrowToUtf8(record.sourceName());
    if (view == ProjectView::Iso)
        return NarrowToUtf8(record.isoName());
    return project.header().isHfsPlus() ? NarrowToUtf8(record.hfsName())
                                        : ShownHfsName(record.hfsName());
}

std::size_t ItemNameLimit(const ProjectFile& project, ProjectView view) {
    if (view == ProjectView::Iso || project.mode() == ProjectMode::IsoPlus)
        return kIsoNameLimit;
    return project.header().isHfsPlus() ? kHfsPlusNameLimit : kHfsNameLimit;
}

Reason RenameItem(ProjectFile& project, std::int32_t number, std::string_view name,
                  ProjectView view) {
    const ProjectRecord* record = std::as_const(project).findByNumber(number);
    if (!record)
        return Reason(Sentence::kNoSuchProjectItem, number);
    return Renaming(project, *record, name).run(view);
}

}  // namespace vellmark
