// Files that a command is to make: whether it may, found out before any work is done.
#pragma once

#include <string>

#include "support/messages.hpp"

namespace vellmark {

/// The path that a symbolic link at its end leads to, so that what is replaced is the file and not
/// the link; any other path as it is, a link that leads nowhere too.
[[nodiscard]] std::string FollowLink(const std::string& path);

/// Whether a file of that path can be made. With `replace` false nothing may have the name yet.
/// What speaks against it has been shown.
[[nodiscard]] bool MayMakeFile(const std::string& path, bool replace, Messages& messages);

}  // namespace vellmark
