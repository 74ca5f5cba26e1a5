// The partitions of a medium as a person chooses among them.
#pragma once

#include <string>
#include <vector>

#include "IO/recognition.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// The name of a partition in UTF-8.
[[nodiscard]] std::string PartitionName(const PartitionEntry& partition);

/// `[1] Photos (Type MacOS, size 12 MB)`.
[[nodiscard]] Reason PartitionLine(unsigned number, const PartitionEntry& partition);

/// Why the partition of a number (from 1) cannot be chosen, with those that can; none when it is
/// there.
[[nodiscard]] Reason ChoiceProblem(const std::vector<PartitionEntry>& partitions, unsigned number);

}  // namespace vellmark
