// Several files and folders of the PC into one folder of a volume.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "transfer/copy_in.hpp"

namespace vellmark {

/// Copies them one after the other: one that fails does not keep the others back. When the batch is
/// stopped or the volume takes no more, what was not reached is reported. False when something that
/// was asked for by its name is not wholly there now, after a message.
[[nodiscard]] bool CopyAllIn(CopyIn& batch, std::span<const std::string> paths,
                             std::uint32_t folderId);

}  // namespace vellmark
