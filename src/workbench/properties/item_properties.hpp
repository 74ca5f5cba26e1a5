// What is known of one item, and what of it a person may change.
#pragma once

#include <cstdint>

#include "volume/catalog.hpp"

namespace vellmark {

class TVellmark;

enum class DialogEnd { Closed, Unchanged, Written };

/// An item of the open project. `Written`: it was changed in memory.
[[nodiscard]] DialogEnd ShowProjectItem(TVellmark& window, std::int32_t number);
/// An item of the open volume. `Written`: it was changed, and the volume is to be saved.
[[nodiscard]] DialogEnd ShowVolumeItem(TVellmark& window, const CatalogItem& item);

}  // namespace vellmark
