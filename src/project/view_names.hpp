// How the two view names of an item are made from its source name. Names that reach a person
// through `Messages` are UTF-8, names in records Windows-1252 or MacRoman.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "project/project_file.hpp"
#include "project/sibling_names.hpp"
#include "support/messages.hpp"

namespace vellmark {

/// Longest label of an HFS volume, in bytes (Inside Macintosh: Files).
inline constexpr std::size_t kHfsLabelLimit = 27;

/// Set for each kind of name that is shortened without a question. Names of HFS+ are never asked
/// about: the longest name of a PC fits.
struct TruncationAnswers {
    bool iso = false;
    bool hfs = false;
    bool hfsPlus = false;
};
inline constexpr TruncationAnswers kShortenAll = {true, true, true};

/// Gives the record its ISO name, from its source name, and, in a hybrid project, its HFS name,
/// from the name on the PC. For the views that it is in: a name that is too long is asked about,
/// unless the answer is automatic; a refusal gives the name `~` and takes the item out of that
/// view; a name that another item has gives way to the fallback name. In a view that the item is
/// not in, its name is shortened without a question. Where an HFS+ project cannot hold a name,
/// `unicodeOnDisk` is set and the field has a copy to work with. The HFS name of a file whose
/// container brings one, or whose name on the disk is the real one, must be there already and
/// changes only when another item has it.
void ViewNames(ProjectRecord& record, std::u16string_view pcName, const ProjectFile& project,
               SiblingNames& siblings, TruncationAnswers& answers, Messages& messages);

/// Takes an item into one view, ISO or HFS: the name that it has there stays when it fits and
/// nobody else has it, else it is made as `ViewNames` does. False when the person refused a name;
/// the item is not in the view then.
[[nodiscard]] bool EnterView(ProjectRecord& record, ProjectView view, const ProjectFile& project,
                             SiblingNames& siblings, TruncationAnswers& answers,
                             Messages& messages);

/// Whether a name of the item stands for one whose shortening was refused.
[[nodiscard]] bool IsRefusedName(const ProjectRecord& record, std::string_view name);

/// Tells the person when the record of an item got names, by `ViewNames`, that are not its own:
/// shortened, with characters replaced, or with digits. `path` names the item, fit for a terminal.
void TellChangedNames(const ProjectRecord& record, std::u16string_view pcName,
                      std::string_view brought, std::string_view path, const ProjectFile& project,
                      Messages& messages);

/// A name that an item has in one of the trees, to be reported; `name` is UTF-8.
[[nodiscard]] Reason NameInTree(std::string_view tree, const std::string& name);
/// Tells which names an item got; nothing when there are none.
void TellNames(std::string_view item, std::vector<Reason> names, Messages& messages);

/// A MacRoman name as far as an HFS+ project holds it, `_` for the rest.
struct NarrowName {
    std::string bytes;  ///< Windows-1252
    bool isExact = true;
};
[[nodiscard]] NarrowName MacNameInHfsPlusProject(std::string_view macName);

/// A container names its file, whatever it is called on the disk.
[[nodiscard]] bool HasNameInContainer(const ProjectRecord& record);
/// Whether the HFS name of a record is a copy to work with: what it stands for is on the disk.
[[nodiscard]] bool IsNamedByDisk(const ProjectRecord& record, bool isHfsPlus);

/// Makes all HFS names anew after the project became an HFS+ one: from the source names, and by
/// mapping from MacRoman for the label and for names that did not come from the source name.
void RedoNamesForHfsPlus(ProjectFile& project);
/// Whether an HFS project has a label, or a name that a person gave, with letters that it would not
/// keep.
[[nodiscard]] bool HasNamesHfsPlusLoses(const ProjectFile& project);

/// Makes the project an HFS+ one, its names with it, and says why.
void TurnToHfsPlus(ProjectFile& project, Messages& messages, const Reason& reason);
/// The same when a hybrid project has more files and folders in its HFS view than HFS holds.
void TurnToHfsPlusIfTooMany(ProjectFile& project, const ProjectTotals& totals, Messages& messages);
/// Makes all HFS names anew after the project became an HFS one: cut and mapped to MacRoman.
void RedoNamesForHfs(ProjectFile& project);

}  // namespace vellmark
