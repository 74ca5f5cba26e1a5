// The bytes of a fork, followed through its extents and, where they do not hold it all, through the
// extents overflow tree.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "support/byte_source.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// One fork as a catalog record stores it.
struct ForkInfo {
    std::uint64_t sizeBytes = 0;
    std::uint32_t totalBlocks = 0;
    std::vector<BlockRun> runs;  ///< those of the catalog record
};

/// Reads or writes whole sectors of a fork: `offset` and the length are multiples of 512. False
/// when the runs do not reach that far or the transfer is short.
[[nodiscard]] bool TransferFork(VolumeContext& volume, const std::vector<BlockRun>& runs,
                                std::int32_t command, std::uint64_t offset, ByteSpan bytes);

/// Where a byte of a fork lies in the image, and how many bytes follow in the same run, it
/// included: none when the runs do not reach that far.
struct ForkPlace {
    std::uint64_t imageOffset = 0;
    std::uint64_t bytes = 0;
};
[[nodiscard]] ForkPlace PlaceInFork(const VolumeContext& volume, const std::vector<BlockRun>& runs,
                                    std::uint64_t offset);

/// All runs of a fork: those it begins with, then those of the overflow tree, until `totalBlocks`
/// are found. `fork` is 0 for data, 255 for the resource fork. `Damaged` when a run lies outside
/// the volume or blocks are missing; `runs` then has what was found.
[[nodiscard]] TreeResult FollowExtents(VolumeContext& volume, std::uint32_t fileId,
                                       std::uint8_t fork, const ForkInfo& info,
                                       std::vector<BlockRun>& runs);

/// A fork of the volume as a source of bytes. The volume must outlive it.
class ForkSource final : public ByteSource {
  public:
    ForkSource(VolumeContext& volume, std::vector<BlockRun> runs, std::uint64_t sizeBytes)
        : volume_(volume), runs_(std::move(runs)), size_(sizeBytes) {}
    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override;
    [[nodiscard]] std::uint64_t copyTo(PcFile& target, ByteMove move) override;

  private:
    VolumeContext& volume_;
    std::vector<BlockRun> runs_;
    std::uint64_t size_;
};

/// Runs of an extent record, up to its first empty descriptor.
[[nodiscard]] std::vector<BlockRun> RunsOf(const HfsExtentRecord& record);
[[nodiscard]] std::vector<BlockRun> RunsOf(const HfsPlusExtentRecord& record);
/// The same of a record of the extents tree; none when its bytes are too few.
template <typename Record>
[[nodiscard]] std::vector<BlockRun> RunsIn(ConstByteSpan data) {
    Record record;
    if (data.size() < sizeof record)
        return {};
    std::memcpy(&record, data.data(), sizeof record);
    return RunsOf(record);
}
/// Puts a run into the first empty descriptor of an extent record; false when there is none.
[[nodiscard]] bool AddRun(HfsExtentRecord& record, BlockRun run);
[[nodiscard]] bool AddRun(HfsPlusExtentRecord& record, BlockRun run);
/// The same, but a run that begins where the last one ends makes that one longer.
[[nodiscard]] bool AppendRun(HfsExtentRecord& record, BlockRun run);
[[nodiscard]] bool AppendRun(HfsPlusExtentRecord& record, BlockRun run);
/// Blocks of all runs.
[[nodiscard]] std::uint32_t BlocksOf(const std::vector<BlockRun>& runs);

}  // namespace vellmark
