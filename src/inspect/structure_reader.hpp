// Reads a sector by the table of its structure.
#pragma once

#include "inspect/analysis.hpp"
#include "inspect/inspected_bytes.hpp"
#include "inspect/inspected_image.hpp"
#include "support/result.hpp"
#include "support/texts.hpp"

namespace vellmark {

struct AnalysisRequest {
    std::uint64_t sector = 0;                   ///< in what is inspected
    StructureCode as = StructureCode::Unknown;  ///< `Unknown`: what the bytes say
    Language language = Language::English;      ///< of words in values
};

/// The structure in a sector, or why there is none. Whatever the bytes are, a structure that is
/// asked for is shown as they are.
[[nodiscard]] Result<Analysis> AnalyseSector(const InspectedImage& image,
                                             const InspectedBytes& inspected,
                                             const AnalysisRequest& request);

}  // namespace vellmark
