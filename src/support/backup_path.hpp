// The names of files that lie beside a file: with another extension, and as its backup.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vellmark {

/// The path with its extension replaced, or with the extension behind a name that has none. A point
/// at the very start of a name begins no extension.
[[nodiscard]] std::string WithExtension(std::string_view path, std::string_view extension);

/// A file that is about to change, and the extension of its backup.
struct BackedUpFile {
    std::string path;
    std::string_view extension;
};

/// Where the files as they are can be kept, one path each: `NAME.EXT`, or `NAME.EXT.1`,
/// `NAME.EXT.2` and so on, with the same number for all of them. A name is taken where nothing has
/// it, not even a link that leads nowhere, or where `mayReplace` says that what stands there may
/// go: a backup never replaces anything else. None when all numbers are taken.
[[nodiscard]] std::vector<std::string> BackupPaths(
    std::span<const BackedUpFile> files,
    const std::function<bool(const std::string& path)>& mayReplace);

}  // namespace vellmark
