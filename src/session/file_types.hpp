// The kinds of files of this program, made known to the desktop of this user: a desktop entry, a
// MIME package and pictures in the user's data folder, as the desktop's own rules have it.
#pragma once

#include <array>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "support/reason.hpp"

namespace vellmark {

/// Projects, images and ISO+ projects: in the order in which modes are counted.
inline constexpr std::size_t kFileTypes = 3;
/// Which of them are meant.
using FileTypeSet = std::array<bool, kFileTypes>;

/// What is made known, and where.
struct FileTypePlan {
    std::string dataHome;  ///< the user's folder for data (XDG_DATA_HOME), "" for none
    std::string program;   ///< path of what opens the files
    std::string picture;   ///< of the program, an SVG drawing; those of the types behind it
    std::array<std::string, kFileTypes> pictures;
    /// Runs a program of the desktop, with its arguments, and waits for it. False when it was
    /// there and failed.
    std::function<bool(const std::vector<std::string>& arguments)> runTool;
};

/// Those that are known now.
[[nodiscard]] FileTypeSet KnownFileTypes(const std::string& dataHome);

/// Makes these known and no others: with none of them, nothing of this is left. Whatever fails,
/// each file is the old one or the new one. Why it could not be done; none when it was.
[[nodiscard]] Reason MakeFileTypesKnown(const FileTypeSet& types, const FileTypePlan& plan);

/// As `FileTypePlan::runTool`: a program of the search path, with nothing to read or to write to.
[[nodiscard]] bool RunDesktopTool(const std::vector<std::string>& arguments);

}  // namespace vellmark
