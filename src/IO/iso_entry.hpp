// One file or folder of an ISO 9660 or Joliet tree.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "IO/iso_text.hpp"
#include "support/clock.hpp"

namespace vellmark {

/// A run of an entry's contents.
struct IsoExtent {
    std::uint64_t offset = 0;  ///< bytes from the start of the image
    std::uint32_t sizeBytes = 0;
    std::uint32_t attributeBytes = 0;  ///< of the extended attribute record right before it
};

/// One file or folder of a directory.
struct IsoEntry {
    std::string name;      ///< UTF-8, without version, safe to be a file's name on a PC
    std::string fullName;  ///< UTF-8, as the disc has it, with its version
    bool isFolder = false;
    bool hidden = false;       ///< not to be shown (the "existence" flag)
    bool associated = false;   ///< belongs to the file of the same name, such as a resource fork
    bool interleaved = false;  ///< written with gaps; its contents cannot be read
    std::uint64_t extentSector = 0;  ///< first logical block of the contents
    std::uint64_t sizeBytes = 0;     ///< of all extents
    UnixSeconds modified = 0;        ///< 0 when the disc has no usable date
    std::vector<IsoExtent> extents;  ///< in the order of the contents
};

}  // namespace vellmark
