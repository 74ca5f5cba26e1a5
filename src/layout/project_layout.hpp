// The layout of a project's root: what the project has of one, and one that it gets.
#pragma once

#include <optional>
#include <string>

#include "layout/finder_layout.hpp"
#include "project/project_file.hpp"
#include "support/ports.hpp"

namespace vellmark {

/// Name of the file of a layout on the disc.
inline constexpr std::string_view kStoreName = ".DS_Store";

struct ProjectLayout {
    DsStoreLayout layout;
    std::string background;  ///< path of the picture on the PC, "" for none
    std::string file;        ///< path of its file on the PC, "" when the project has none
};

/// The layout that the project's root has: by its file, or by default when there is none, or none
/// that can be read, which is reported. The items are those of the root in the HFS view whose names
/// begin with no full stop; what the file does not place stands in the grid.
[[nodiscard]] ProjectLayout LayoutOfProject(const ProjectFile& project, Messages& messages);

/// Reads a store of the PC; the reason when that fails.
[[nodiscard]] Result<std::vector<StoreRecord>> ReadStoreFile(const std::string& path);

/// Why a file cannot become the picture behind the icons, by its kind, its name and its size; none
/// when it can.
[[nodiscard]] Reason BackgroundRefusal(const std::string& path);

/// Gives the root a layout: writes its file to `path`, which may be there already, and includes it
/// and the picture, in a folder of its own, in the HFS view alone; older ones of them go. The
/// project is one of HFS+. False after a message: the project should not be saved.
[[nodiscard]] bool SetLayout(ProjectFile& project, const ProjectLayout& wanted,
                             const std::string& path, const Ports& ports);

}  // namespace vellmark
