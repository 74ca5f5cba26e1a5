// What the forms in which a Macintosh file travels on a PC have in common: the facts of the file,
// its two forks as slices of the container, and the ways in which a container can be wrong.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "containers/finder_info.hpp"
#include "support/byte_source.hpp"
#include "support/mac_dates.hpp"

namespace vellmark {

/// How reading or writing a container ended. A reader gives the first thing that it found wrong.
enum class ContainerFault {
    None,
    NotThisFormat,        ///< the mark of the format is not there
    HeaderCut,            ///< the file ends within its header or its table of entries
    HeaderInvalid,        ///< no usable name, where the format keeps one
    HeaderChecksum,       ///< BinHex: the header's checksum is wrong
    EntryOverlapsHeader,  ///< AppleSingle, AppleDouble: an entry begins within the table of entries
    FinderInfoCut,     ///< AppleSingle, AppleDouble: the Finder's information goes beyond the file
    DataForkCut,       ///< the length of the data fork goes beyond the file
    ResourceForkCut,   ///< the same of the resource fork
    DataChecksum,      ///< BinHex: the data fork's checksum is wrong or missing
    ResourceChecksum,  ///< BinHex: the resource fork's checksum is wrong or missing
    ForkTooLong,       ///< writing: the format keeps 32 bits of a length or an offset
    SourceFailed,      ///< writing: a fork gave fewer bytes than its length
    TargetFailed,      ///< writing: the target did not take everything
};

/// Whether a file that begins like a container of a format with a mark (all but MacBinary) is one
/// when this is wrong with it. A text that quotes the first line of BinHex is none.
[[nodiscard]] constexpr bool IsContainerStill(ContainerFault fault) {
    return fault != ContainerFault::NotThisFormat && fault != ContainerFault::HeaderCut &&
           fault != ContainerFault::HeaderInvalid && fault != ContainerFault::HeaderChecksum;
}

/// What a container holds about its file besides the forks.
struct MacFileInfo {
    std::string name;  ///< MacRoman; empty where the format keeps no name
    FinderInfo finder;
    /// Seconds since 1904 in the time that the format or the volume keeps; 0: not known.
    MacSeconds created = 0;
    MacSeconds modified = 0;
    MacSeconds backedUp = 0;
    std::optional<MacSeconds> accessed;  ///< nothing on HFS, which keeps none
    std::uint32_t dataLength = 0;        ///< bytes, as the container has it
    std::uint32_t resourceLength = 0;
};

/// A run of bytes of another source, which must outlive it. What lies beyond the end of that source
/// is not part of the slice, whatever length is asked for.
class SliceSource final : public ByteSource {
  public:
    SliceSource() = default;
    SliceSource(ByteSource& whole, std::uint64_t offset, std::uint64_t length);

    [[nodiscard]] std::uint64_t size() const override { return length_; }
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override;
    [[nodiscard]] std::uint64_t copyTo(PcFile& target, ByteMove move) override;

  private:
    ByteSource* whole_ = nullptr;
    std::uint64_t offset_ = 0;
    std::uint64_t length_ = 0;
};

/// A container as it was read. The forks are slices of it: it must outlive them.
struct MacContainer {
    ContainerFault fault = ContainerFault::None;
    /// The facts and the forks below were found. A damaged container can be usable: its forks then
    /// hold what is there of them.
    bool usable = false;
    MacFileInfo info;
    SliceSource data;
    SliceSource resource;
};

/// Whether `length` bytes at `offset` go beyond the source.
[[nodiscard]] bool EndsBeyond(const ByteSource& source, std::uint64_t offset, std::uint64_t length);

/// Copies a whole fork to `offset` of the target, in pieces. Gives `None`, `SourceFailed` or
/// `TargetFailed`.
[[nodiscard]] ContainerFault CopyFork(ByteSource& fork, ByteSink& target, std::uint64_t offset);

}  // namespace vellmark
