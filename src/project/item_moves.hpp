// Items of a project put into other folders of it. Where they come from on the PC does not change.
#pragma once

#include <cstdint>
#include <span>

#include "project/project_file.hpp"
#include "project/view_names.hpp"
#include "support/messages.hpp"
#include "support/result.hpp"

namespace vellmark {

/// Puts items, folders with all that is below them, into the folder `target`. They keep their
/// numbers and views; the folder and those above it come into these views. A name that another item
/// there has gives way to a fallback name, which is reported through `Messages::nameChanged`. The
/// counters of the folders and the marks of icon files are brought up to date: the icon of a folder
/// that is put into root becomes that of the volume, unless there is one.
///
/// Returns how many items were moved; what lies in the folder already, or below another item that
/// is moved, counts for nothing. Failed, with nothing changed: an item or the folder is not there;
/// root; a folder would come to lie in itself; the folder has an item of that name in a view of the
/// item, or a folder above can have no name in a view.
///
/// A folder of the PC that lost an item so has it as a new one at the next refresh.
[[nodiscard]] Result<std::int64_t> MoveItems(ProjectFile& project,
                                             std::span<const std::int32_t> numbers,
                                             std::int32_t target, TruncationAnswers& answers,
                                             Messages& messages);

}  // namespace vellmark
