// A disc image opened to be changed where it lies.
#pragma once

#include <string>

#include "support/file_lock.hpp"
#include "support/messages.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

/// Opens a disc image for reading and writing, keeps other processes out and completes a change of
/// its volume that was interrupted. A file that its owner
/// may not write to is made writable for the moment of the opening: it has its old permissions
/// again before anything of it is changed. False after a message.
[[nodiscard]] bool OpenDiscToChange(const std::string& path, const FileGuard& guard, PcFile& disc,
                                    Messages& messages);

}  // namespace vellmark
