// The forks of a volume's files as sources of bytes.
#pragma once

#include <memory>

#include "support/result.hpp"
#include "volume/catalog.hpp"

namespace vellmark {

/// Opens a fork. The reason instead when its blocks cannot be found or are fewer than its size
/// needs, or the file is a hard link that leads nowhere. A fork of HFS+ that goes on in the extents
/// overflow tree makes the volume read-only, a habit that is kept on purpose: such files are not to
/// be changed in the same session. The volume must outlive the source.
[[nodiscard]] Result<std::unique_ptr<ByteSource>> OpenFork(VolumeContext& volume,
                                                           const CatalogItem& file, bool resource);

}  // namespace vellmark
