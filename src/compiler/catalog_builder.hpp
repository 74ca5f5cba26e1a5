// The catalog of an image, built in memory before the image is written.
#pragma once

#include <cstdint>

#include "compiler/hfs_layout.hpp"

namespace vellmark {

/// What the header must know of a finished catalog.
struct BuiltCatalog {
    TreeCursor tree;
    std::uint32_t nextCatalogId = 0;
    std::uint32_t fileCount = 0;
    std::uint32_t folderCount = 0;  ///< without the root
    std::uint32_t rootFileCount = 0;
    std::uint32_t rootFolderCount = 0;
};

/// Puts the root, then every item of the plan's HFS view, into a new catalog in `nodes`, in the
/// order of the folder pass. `Full` when the catalog file of the layout is too small: it must be
/// laid out again with more leaves.
[[nodiscard]] TreeResult BuildCatalog(const CompileContext& context, const DiscPlan& plan,
                                      const HfsLayout& layout, NodeStore& nodes,
                                      BuiltCatalog& catalog);

/// The volume's label, from the project's header: MacRoman for HFS, decomposed units for HFS+.
[[nodiscard]] std::string HfsLabel(const ProjectHeader& header);
[[nodiscard]] std::u16string HfsPlusLabel(const ProjectHeader& header);

}  // namespace vellmark
