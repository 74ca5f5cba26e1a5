// The partitions of a medium as a person chooses among them.
#pragma once

#include <string>
#include <vector>

#include "IO/recognition.hpp"
#include "support/texts.hpp"

namespace vellmark {

/// The name of a partition in UTF-8.
[[nodiscard]] std::string PartitionName(const PartitionEntry& partition);

/// `[1] Photos (Type MacOS, size 12 MB)`, in UTF-8 and in the person's language.
[[nodiscard]] std::string PartitionLine(unsigned number, const PartitionEntry& partition,
                                        Language language);

/// Why the partition of a number (from 1) cannot be chosen, as a sentence with those that can; ""
/// when it is there.
[[nodiscard]] std::string ChoiceProblem(const std::vector<PartitionEntry>& partitions,
                                        unsigned number, Language language);

}  // namespace vellmark
