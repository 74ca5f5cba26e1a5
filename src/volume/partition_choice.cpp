#include "volume/partition_choice.hpp"

#include <utility>

#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/catalog.hpp"

namespace vellmark {

namespace {

constexpr int kTextPartition = 1111;
constexpr std::uint64_t kSectorsPerMegabyte = (1u << 20) / kSectorBytes;

}  // namespace

std::string PartitionName(const PartitionEntry& partition) {
    return partition.wideName.empty() ? ShownHfsName(partition.name)
                                      : WideToUtf8(partition.wideName);
}

Reason PartitionLine(unsigned number, const PartitionEntry& partition) {
    return Reason::Told(kTextPartition, number, Printable(PartitionName(partition)),
                        partition.isWindows ? "Windows" : "MacOS",
                        partition.sectorCount / kSectorsPerMegabyte);
}

Reason ChoiceProblem(const std::vector<PartitionEntry>& partitions, unsigned number) {
    if (number >= 1 && number <= partitions.size())
        return {};
    if (partitions.empty())
        return Reason(Sentence::kNoPartitionsAtAll, number);
    std::vector<Reason> lines;
    for (unsigned i = 0; i < partitions.size(); ++i)
        lines.push_back(PartitionLine(i + 1, partitions[i]));
    return Reason(Sentence::kNoSuchPartition, number, Reason::Joined(std::move(lines), ", "));
}

}  // namespace vellmark
