// What is said of a volume that was joined to a disc, and of a disc that was taken apart.
#pragma once

#include <string>

#include "join/deshybridation.hpp"
#include "join/hybridation.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// Of outcomes that are done; `disc` is the path as the person gave it.
[[nodiscard]] Reason JoinWords(const std::string& disc, const HybridationOutcome& outcome);
[[nodiscard]] Reason SplitWords(const std::string& disc, const DeshybridationOutcome& outcome);

}  // namespace vellmark
