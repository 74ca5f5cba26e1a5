// The alias by which a layout names the picture behind its icons (Alias Manager record, version 2).
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "support/mac_dates.hpp"

namespace vellmark {

/// The picture on the disc that is to be.
struct BackgroundFile {
    std::string volume;  ///< name of the volume, UTF-8
    bool isHfsPlus = true;
    MacSeconds now = 0;               ///< creation of the volume, which is about to be made
    std::string folder;               ///< name of the folder it lies in, in root; ASCII
    std::uint32_t folderNumber = 0;   ///< of that folder in the catalog
    std::string name;                 ///< UTF-8
    MacSeconds created = 0;           ///< of the file
    std::array<char, 8> signature{};  ///< type and creator
};

/// The record. Numbers are big-endian; names in its head are MacRoman, cut to 27 and 63 bytes, and
/// whole in UTF-16 and in paths behind it. The file is found by its name: its number is not known
/// before the disc is made, and 0.
[[nodiscard]] std::vector<std::uint8_t> BackgroundAlias(const BackgroundFile& file);

/// The name of the file in such a record, UTF-8, a slash in it as `:`; "" when it has none.
[[nodiscard]] std::string FileOfAlias(std::span<const std::uint8_t> alias);

}  // namespace vellmark
