// Where an alias file points, and the way there.
#pragma once

#include <optional>

#include "volume/catalog.hpp"

class QWidget;

namespace vellmark {

class TVellmark;

/// Shows what the alias file of the open volume says, or why that cannot be read. The target when a
/// person wants to go there; its record is never changed.
[[nodiscard]] std::optional<CatalogItem> ShowAlias(TVellmark& window, const CatalogItem& file,
                                                   QWidget* owner);

}  // namespace vellmark
