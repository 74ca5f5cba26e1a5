// The forks of a volume's files as sources of bytes.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "volume/catalog.hpp"

namespace vellmark {

/// Said of a file whose contents end too early.
inline constexpr std::string_view kContentsCutShort =
    "Its contents cannot be read to their end; the image is damaged or cut short.";

/// Opens a fork. Nothing, with a sentence, when its blocks cannot be found or are fewer than its
/// size needs, or the file is a hard link that leads nowhere. A fork of HFS+ that goes on in the
/// extents overflow tree makes the volume read-only, a habit that is kept on purpose: such files
/// are not to be changed in the same session. The volume must outlive the source.
[[nodiscard]] std::unique_ptr<ByteSource> OpenFork(VolumeContext& volume, const CatalogItem& file,
                                                   bool resource, std::string& problem);

}  // namespace vellmark
