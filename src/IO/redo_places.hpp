// Where redo logs lie: beside their image, or, for an image in whose folder nobody may write, in a
// folder of the user, under a name from which the image is known again.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/file_lock.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

/// A log in the user's folder that an image may have.
struct KeptLog {
    std::string path;
    bool hasItsPath = false;  ///< made under the path of the image; else for a file of its number
};

/// The number that the file system gives the open file; nothing when it gives none.
[[nodiscard]] std::optional<std::uint64_t> InodeOf(const PcFile& image);

/// The name of a log in the user's folder: a hash of the image's path, wherever links lead, and the
/// number of its file. The second finds it after the image got another name; numbers of devices are
/// no part of it, as they change from one start of the system to the next.
[[nodiscard]] std::string KeptLogPath(const PcFile& image, const std::string& imagePath,
                                      const FileGuard& guard);

/// The logs of the user's folder that an image may have. 0, or the system's error number when the
/// folder cannot be looked through; one that is not there or not this user's holds none.
[[nodiscard]] int FindKeptLogs(std::optional<std::uint64_t> inode, const std::string& imagePath,
                               const FileGuard& guard, std::vector<KeptLog>& logs);

/// Makes a folder, and those above it, for this user alone. 0 or the system's error number.
[[nodiscard]] int MakePrivateFolder(const std::string& folder);

}  // namespace vellmark
