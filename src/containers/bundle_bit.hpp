// The bundle bit (`kFinderHasBundle`): the Finder looks for an application's icons only in files
// that carry it, and a container from elsewhere may have lost it.
#pragma once

#include "support/byte_source.hpp"

namespace vellmark {

/// Whether the type list of a resource fork names "BNDL" (Inside Macintosh: More Macintosh Toolbox,
/// Resource Manager). Only forks in the form that the system itself writes are looked into: the
/// resource data begins at byte 256, and the type list at byte 28 of the map.
[[nodiscard]] bool HasBundleResource(ByteSource& resourceFork);

}  // namespace vellmark
