// What is settled before the first byte of an image is written, so that a compile which cannot
// succeed leaves nothing behind.
#pragma once

#include <cstdint>
#include <optional>

#include "compiler/catalog_builder.hpp"
#include "compiler/disc_plan.hpp"
#include "compiler/hfs_layout.hpp"
#include "compiler/iso_layout.hpp"
#include "volume/btree.hpp"

namespace vellmark {

/// The whole image as it will be.
struct PreparedImage {
    CompileMode mode = CompileMode::HybridHfs;
    bool postgap = false;
    DiscPlan plan;
    IsoLayout iso;
    HfsLayout hfs;
    BuiltCatalog catalog;
    std::optional<MemoryNodes> catalogNodes;
    std::uint64_t fileBlocks = 0;  ///< allocation blocks of all files

    [[nodiscard]] std::uint32_t blockSize() const {
        return HasMacintosh(mode) ? hfs.blockSize() : kIsoSectorBytes;
    }
    /// That of a volume begins at a sector of the disc too.
    [[nodiscard]] FileArea fileArea() const {
        const DiscSector start =
            HasMacintosh(mode)
                ? DiscSector(static_cast<std::uint32_t>(hfs.fileAreaStart.byte() / kIsoSectorBytes))
                : iso.fileArea;
        return {start, blockSize() / kIsoSectorBytes};
    }
    /// Sectors of 2048 bytes, without a postgap.
    [[nodiscard]] std::uint64_t sectors() const {
        return HasMacintosh(mode) ? hfs.imageEnd.byte() / kIsoSectorBytes
                                  : iso.fileArea.number() + fileBlocks;
    }
    [[nodiscard]] std::uint64_t sizeBytes() const {
        return (sectors() + (postgap ? kPostgapSectors : 0)) * kIsoSectorBytes;
    }
};

/// What a build settled about its project, in memory: it is the caller's to save it once the image
/// is there, and not before, as a disk that is not mounted must not empty a project.
struct SettledProject {
    bool isRebuilt = false;      ///< items came, went or changed
    bool isLabelled = false;     ///< a label took the name of the image
    bool becameHfsPlus = false;  ///< HFS cannot hold it, or not that much
    [[nodiscard]] bool any() const { return isRebuilt || isLabelled || becameHfsPlus; }
};

/// Settles the kind of image, labels, names, sizes and places, and builds the catalog. Everything
/// but `Done` has been reported.
[[nodiscard]] CompileResult PrepareImage(CompileContext& context, PreparedImage& image,
                                         SettledProject& settled);

}  // namespace vellmark
