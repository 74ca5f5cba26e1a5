// Which views of its project an item is in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "project/project_file.hpp"
#include "project/view_names.hpp"
#include "support/messages.hpp"
#include "support/result.hpp"

namespace vellmark {

/// The views that an item is in, or is to be in.
struct ViewChoice {
    bool iso = false;
    bool hfs = false;
};
[[nodiscard]] ViewChoice ViewsOf(const ProjectRecord& record);

/// Takes an item into the views of the choice and out of the others, a folder with all that is
/// below it, whatever views that was in. The folders that it lies in come into a view with it, and
/// stay when it leaves. What comes into a view gets a name there that no other item of its folder
/// has; one that is too long is asked about unless the answer is automatic. A refusal at the item
/// itself ends the operation; one below it leaves that item out of the view, unless it would be in
/// none: then the shortened name stands.
///
/// Returns how many items, the folders above included, were changed; 0 when the person refused the
/// name. Failed, with nothing changed: there is no such item or it is root; the choice has no view;
/// an ISO+ project, which has one view; two items of one name would come to be in the same view.
[[nodiscard]] Result<std::int64_t> SetItemViews(ProjectFile& project, std::int32_t number,
                                                ViewChoice views, TruncationAnswers& answers,
                                                Messages& messages);

/// Takes a folder, and those that it lies in, into the views of the choice that they are not in.
/// Root is in all of them. Returns how many were changed; failed, with nothing changed, when one of
/// them can have no name there.
[[nodiscard]] Result<std::int64_t> RaiseFolders(ProjectFile& project, std::int32_t folder,
                                                ViewChoice views, TruncationAnswers& answers,
                                                Messages& messages);

/// The first item of a folder, other than `item` itself, that bears the source name of `item`
/// without regard to case and is in one of these views. Names of one folder of the PC that differ
/// in case only are two names. Null when there is none.
[[nodiscard]] const ProjectRecord* FindSameName(std::span<const ProjectRecord> siblings,
                                                const ProjectRecord& item, ViewChoice views);

/// Whether another item of the same folded name stands in the way of `item` in one of these views.
[[nodiscard]] bool AreInSameView(const ProjectRecord& other, const ProjectRecord& item,
                                 ViewChoice views);

/// The nearest folder from `folder` upwards that is in a view: itself, root at the furthest.
[[nodiscard]] std::int32_t NearestFolderIn(const ProjectFile& project, std::int32_t folder,
                                           ProjectView view);

/// How an item is shown in the Hybrid view. The values are the indices of the pictures.
enum class ItemIcon : int {
    BothViews = 0,
    IsoAlone = 1,
    HfsAlone = 2,
    NoView = 3,
    MissingInBoth = 4,  ///< in both views, marked missing in the ISO view
    MissingInIso = 5,
    MissingInHfs = 6
};
[[nodiscard]] ItemIcon IconOf(const ProjectRecord& record);

}  // namespace vellmark
