// What is looked at: a fork of a file or a whole image, with the way from its bytes to the sectors
// of the image.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "reading/image_view.hpp"
#include "support/byte_source.hpp"
#include "support/reason.hpp"
#include "volume/catalog.hpp"

namespace vellmark {

struct InspectedBytes {
    std::shared_ptr<ByteSource> source;
    /// Where a byte lies in the image; nothing where that is not known.
    std::function<std::optional<std::uint64_t>(std::uint64_t offset)> imageOffset;
    Reason problem;  ///< why not all of it is there

    /// Sector of the image in which a sector of these bytes begins.
    [[nodiscard]] std::optional<std::uint64_t> imageSector(std::uint64_t sector) const;
};

/// The image itself, or any other bytes whose sectors are those of the image.
[[nodiscard]] InspectedBytes InspectWhole(std::shared_ptr<ByteSource> image);

/// A fork of a file of the volume, followed through the extents tree. Of one whose blocks cannot
/// all be found, what is there. The volume must outlive it.
[[nodiscard]] InspectedBytes InspectFork(VolumeContext& volume, const CatalogItem& file,
                                         bool resource);

/// The same of an entry of any tree of an image; an ISO or Joliet tree has data forks alone.
[[nodiscard]] InspectedBytes InspectEntry(ImageView& view, TreeView& tree, const ViewEntry& file,
                                          bool resource);

}  // namespace vellmark
