// How the two view names of an item are made from its source name. Names that reach a person
// through `Messages` are UTF-8, names in records Windows-1252 or MacRoman.
#pragma once

#include <string_view>

#include "project/project_file.hpp"
#include "project/sibling_names.hpp"
#include "support/messages.hpp"

namespace vellmark {

/// Longest label of an HFS volume, in bytes (Inside Macintosh: Files).
inline constexpr std::size_t kHfsLabelLimit = 27;

/// Set for each kind of name that is shortened without a question.
struct TruncationAnswers {
    bool iso = false;
    bool hfs = false;
    bool hfsPlus = false;
};
inline constexpr TruncationAnswers kShortenAll = {true, true, true};

/// Gives the record its ISO name and, in a hybrid project, its HFS name, both from `name`. For the
/// views that it is in: a name that is too long is asked about, unless the answer is automatic; a
/// refusal gives the name `~` and takes the item out of that view; a name that another item has
/// gives way to the fallback name. In a view that the item is not in, its name is shortened without
/// a question. The HFS name of a file whose container brings one, or whose name on the disk is the
/// real one, must be there already and changes only when another item has it.
void ViewNames(ProjectRecord& record, std::string_view name, const ProjectFile& project,
               SiblingNames& siblings, TruncationAnswers& answers, Messages& messages);

/// Makes all HFS names anew after the project became an HFS+ one: from the source names, and by
/// mapping from MacRoman for the label and for names that did not come from the source name.
void RedoNamesForHfsPlus(ProjectFile& project);

/// Makes the project an HFS+ one, its names with it, and tells the user why.
void TurnToHfsPlus(ProjectFile& project, Messages& messages, std::string_view reason);
/// The same when a hybrid project has more files and folders in its HFS view than HFS holds.
void TurnToHfsPlusIfTooMany(ProjectFile& project, const ProjectTotals& totals, Messages& messages);
/// Makes all HFS names anew after the project became an HFS one: cut and mapped to MacRoman.
void RedoNamesForHfs(ProjectFile& project);

}  // namespace vellmark
