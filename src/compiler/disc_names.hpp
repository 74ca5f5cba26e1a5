// The names of an image's items, made from those of the project and of the PC, and unique in their
// folder in every tree.
#pragma once

#include <string>
#include <vector>

#include "compiler/disc_plan.hpp"

namespace vellmark {

/// Most units of a Joliet name without its version, of a file and of a folder.
inline constexpr std::size_t kJolietNameLimit = 62;
inline constexpr std::size_t kJolietFolderLimit = 64;

/// Gives the items of one folder their names in the trees of `mode`. `diskNames` holds the name on
/// the PC of each item, in the same order.
///
/// - ISO: the 8.3 name in d-characters; a folder has no extension and at most eight letters.
/// - Joliet: the name of the ISO view; the name on the PC, letters and marks joined, for a folder
///   and where the record could not hold it. `* / : ; ? \` become `_`.
/// - HFS: the name of the HFS view, at most 31 MacRoman bytes; the name on the PC, or in its
///   container, where the record could not hold it.
/// - HFS+: the same, at most 255 units.
///
/// A name that another item of the folder has already (without regard to case) gets `-` and four
/// digits before its extension; in ISO, which has no `-`, `_` and a letter at the end.
///
/// An item that could not have its own name in Joliet or on the Macintosh side is reported.
void AssignNames(std::vector<DiscItem>& items, const std::vector<std::u16string>& diskNames,
                 CompileMode mode, Messages& messages);

}  // namespace vellmark
