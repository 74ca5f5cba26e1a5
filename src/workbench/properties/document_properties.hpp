// What is known of a project or a volume as a whole.
#pragma once

namespace vellmark {

class TVellmark;

/// True when the project was changed in memory.
[[nodiscard]] bool ShowProjectProperties(TVellmark& window);
/// True when the volume was changed, and is to be saved.
[[nodiscard]] bool ShowVolumeProperties(TVellmark& window);

}  // namespace vellmark
