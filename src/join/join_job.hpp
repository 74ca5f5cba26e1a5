// What the ways of joining a partition to a disc share: the open disc, the partition, and copies
// that can be stopped.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "IO/raw_image.hpp"
#include "join/hybridation.hpp"
#include "join/join_source.hpp"
#include "support/encoding.hpp"
#include "support/medium_places.hpp"
#include "support/pc_file.hpp"
#include "support/sentences.hpp"

namespace vellmark {

struct JoinJob {
    const std::string& name;  ///< of the disc, as it was given
    const std::string& path;  ///< where it really lies; no link
    PcFile& disc;
    JoinSource& source;
    const HybridationOptions& options;
    Messages& messages;
    Progress& progress;
    DiscForm form;
    std::uint64_t sizeBytes = 0;  ///< of the disc afterwards

    /// Sectors of 2,048 bytes that the partition fills.
    [[nodiscard]] std::uint32_t partitionSectors() const;
    /// The map of a disc that has the partition at `start` and ends before `end`.
    [[nodiscard]] HybridMap map(DiscSector start, DiscSector end) const;
    /// Whether the disc's file system has room for `more` bytes and can hold a file of `whole`
    /// bytes. False after a message.
    [[nodiscard]] bool hasRoom(std::uint64_t more, std::uint64_t whole) const;
    /// Says what is wrong with the disc: its name is the first operand of the sentence.
    template <typename... Operands>
    HybridationResult refuse(HybridationResult result, Sentence sentence,
                             Operands&&... operands) const {
        messages.showError(Reason(sentence, Printable(name), std::forward<Operands>(operands)...));
        return result;
    }
    /// Tells why writing `target` ended: `Stopped` when nothing failed.
    HybridationResult writingEnded(const PcFile& target) const;
    /// Tells why a finished file did not get its name.
    HybridationResult notPublished(int error) const;
};

/// Copies bytes, telling them to `progress`. False when a transfer failed or the work is to stop.
[[nodiscard]] bool CopyWatched(ByteSource& source, PcFile& target, ByteMove move,
                               Progress& progress);

/// Writes the blocks of `data`, 2,048 bytes each, as the raw sectors of `target` from `number` on.
/// As `CopyWatched` otherwise. `submode` goes into both copies of the subheader of mode 2.
[[nodiscard]] bool WriteRawSectors(ByteSource& data, PcFile& target, std::uint32_t number,
                                   RawKind kind, std::uint8_t submode, Progress& progress);

}  // namespace vellmark
