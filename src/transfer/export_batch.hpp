// What files on their way out of a volume have in common, fonts too.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "transfer/copy_out.hpp"

namespace vellmark {

/// A path of the volume as messages show it.
[[nodiscard]] std::string ShownPath(const std::string& path);

/// Names an item that is left out, and counts it.
CopyOutResult LeaveOut(CopyOut& batch, const std::string& path, const Reason& reason);

/// Nothing when both files can be written, or the one where there is no companion (""). What has
/// such a name already is kept or replaced as the options say.
[[nodiscard]] std::optional<CopyOutResult> RefuseTargets(CopyOut& batch, const std::string& path,
                                                         const std::string& target,
                                                         const std::string& companion);

/// A free space of 0 may be one that nobody knows: then the transfer itself fails.
[[nodiscard]] bool HasRoom(const CopyOut& batch, const std::string& target, std::uint64_t bytes);
/// Ends the batch for want of it.
[[nodiscard]] CopyOutResult EndWithoutRoom(CopyOut& batch);

/// Writes a target. Nothing when it is there, else what became of it, after a message unless the
/// bytes ended because the work is to stop.
[[nodiscard]] std::optional<CopyOutResult> WriteOut(CopyOut& batch, const std::string& path,
                                                    const PcTarget& target, const FillTarget& fill,
                                                    const std::function<bool()>& stopped);

}  // namespace vellmark
