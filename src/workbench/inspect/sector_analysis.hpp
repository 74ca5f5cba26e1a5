// What a sector holds, as a form: pages of fields, lists, and ways to other sectors.
#pragma once

#include <functional>
#include <optional>

#include "inspect/analysis.hpp"
#include "inspect/inspected_bytes.hpp"
#include "inspect/inspected_image.hpp"

class QWidget;

namespace vellmark {

class TVellmark;

/// What is analysed, and where it is shown. All of it outlives the form.
struct AnalysisScene {
    TVellmark& window;
    const InspectedImage& image;
    const InspectedBytes& inspected;
    std::uint64_t sector = 0;  ///< in what is inspected
    QWidget* owner = nullptr;
    /// Marks bytes of the structure where they are seen; none with a length of 0.
    std::function<void(ByteRange bytes)> mark;
};

/// Shows a structure until the person closes it, or goes the way that is returned.
[[nodiscard]] std::optional<SectorLink> ShowAnalysis(const AnalysisScene& scene,
                                                     const Analysis& analysis);

}  // namespace vellmark
