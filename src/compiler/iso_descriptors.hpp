// The volume descriptors of an image.
#pragma once

#include <string>

#include "compiler/iso_layout.hpp"

namespace vellmark {

/// "Vellmark - " and the version: system identifier and name of the partition map.
[[nodiscard]] std::string ProductName();

/// The primary descriptor. `sectors` is the size of the image without a postgap.
[[nodiscard]] IsoVolumeDescriptor MakePrimaryDescriptor(const ProjectHeader& header,
                                                        const IsoLayout& layout,
                                                        std::uint32_t sectors, const Clock& clock);
/// The Joliet descriptor: the primary one with its own tree and with its texts in UCS-2.
[[nodiscard]] IsoVolumeDescriptor MakeJolietDescriptor(const IsoVolumeDescriptor& primary,
                                                       const ProjectHeader& header,
                                                       const IsoLayout& layout);
[[nodiscard]] IsoVolumeDescriptor MakeTerminator();

}  // namespace vellmark
