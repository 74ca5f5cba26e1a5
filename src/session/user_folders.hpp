// Where the files of this user's sessions lie, by the XDG rules for base directories.
#pragma once

#include <string>

namespace vellmark {

/// True for a folder that belongs to this user and that nobody else can write into. A link to one
/// is none: who can exchange the link can exchange the folder.
[[nodiscard]] bool IsPrivateFolder(const std::string& path);

/// For what lives as long as the session: `given` (the value of XDG_RUNTIME_DIR) when it is an
/// absolute path of a private folder, else `vellmark-` and the user's number in `temporary`. That
/// folder need not be there yet.
[[nodiscard]] std::string RuntimeFolder(const std::string& given, const std::string& temporary);

/// The file of the user's settings: below `given` (the value of XDG_CONFIG_HOME) when that is an
/// absolute path, else below `.config` in `home`. "" when there is neither.
[[nodiscard]] std::string SettingsPath(const std::string& given, const std::string& home);

/// The folder for projects without a name: below `given` (the value of XDG_DATA_HOME) when that is
/// an absolute path, else below `.local/share` in `home`. "" when there is neither.
[[nodiscard]] std::string DataFolder(const std::string& given, const std::string& home);

/// The folder for redo logs of images in whose own folder none can be made: below `given` (the
/// value of XDG_STATE_HOME) when that is an absolute path, else below `.local/state` in `home`. ""
/// when there is neither.
[[nodiscard]] std::string LogFolder(const std::string& given, const std::string& home);

}  // namespace vellmark
