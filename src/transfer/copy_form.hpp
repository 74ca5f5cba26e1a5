// The forms that a Macintosh file takes on the PC, written from a file of a volume.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "containers/fork_pair.hpp"
#include "support/result.hpp"
#include "volume/catalog.hpp"

namespace vellmark {

/// What becomes of a file; the values are bits of the word that settings keep.
enum class CopyMode : std::uint32_t {
    DataFork = 1,
    ResourceFork = 2,
    MacBinary = 4,
    AppleDouble = 8,  ///< the data fork, and a companion with all the rest
    AppleSingle = 32,
};

/// The mode of such a word, whose other bits keep answers about fonts. No known mode is `DataFork`.
[[nodiscard]] CopyMode CopyModeOf(std::uint32_t copyMode);

/// Whether the form has the data fork, and the resource fork.
[[nodiscard]] bool HasDataFork(CopyMode mode);
[[nodiscard]] bool HasResourceFork(CopyMode mode);

/// The facts of a file for a container. Its dates are those of the volume, except that MacBinary
/// keeps local time: dates of HFS+ become that.
[[nodiscard]] MacFileInfo MacFileInfoOf(const VolumeContext& volume, const CatalogItem& file,
                                        CopyMode mode, const Clock& clock);

/// The forks that a form is made of; one that the form does not have is empty.
struct OpenForks {
    std::unique_ptr<ByteSource> data;
    std::unique_ptr<ByteSource> resource;
};
[[nodiscard]] Result<OpenForks> OpenFormForks(VolumeContext& volume, const CatalogItem& file,
                                              CopyMode mode);

/// Writes a form from its start to its end without gaps. `companion` is for `AppleDouble` only.
[[nodiscard]] ContainerFault WriteForm(CopyMode mode, const MacFileInfo& info, ByteSource& data,
                                       ByteSource& resource, ByteSink& target, ByteSink* companion);

/// Why a form cannot be written; none when the target is at fault.
[[nodiscard]] Reason FormProblem(ContainerFault fault);

}  // namespace vellmark
