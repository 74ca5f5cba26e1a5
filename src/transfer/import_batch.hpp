// What files and folders on their way into a volume have in common.
#pragma once

#include <string>

#include "transfer/copy_in.hpp"

namespace vellmark {

/// Names an item that is left out, and counts it.
CopyInResult LeaveOut(CopyIn& batch, const std::string& path, const Reason& reason);

/// Names an item at which the batch ends.
CopyInResult EndBatch(CopyIn& batch, const std::string& path, const Reason& reason);

/// The same where the volume has no room for it: what was wanted, in bytes.
CopyInResult EndForRoom(CopyIn& batch, const std::string& path, std::uint64_t wantedBytes);

/// The last name of a path, also of one that ends in `/`, `.` or `..`; empty for the PC's root.
[[nodiscard]] std::string PcNameOfPath(const std::string& path);

/// Whether what stands there is the journal of this run.
[[nodiscard]] bool IsJournal(const CopyIn& batch, const PcFacts& facts);

/// Why an item cannot be copied at all; none when it can.
[[nodiscard]] Reason RefusalOf(const CopyIn& batch, const std::string& path, const PcFacts& facts);

/// Tells that an item got a name that is not its own.
void TellChangedName(CopyIn& batch, const std::string& path, const CatalogName& name);

/// A name as it is shown, fit for a terminal.
[[nodiscard]] std::string ShownIn(const CopyIn& batch, const CatalogName& name);

}  // namespace vellmark
