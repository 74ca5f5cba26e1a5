#include "volume/partition_choice.hpp"

#include <fmt/format.h>

#include "support/encoding.hpp"
#include "volume/catalog.hpp"

namespace vellmark {

namespace {

constexpr std::uint64_t kSectorsPerMegabyte = (1u << 20) / kSectorBytes;

}  // namespace

std::string PartitionLine(unsigned number, const PartitionEntry& partition) {
    return fmt::format(
        "[{}] {} (Type {}, size {} MB)", number, Printable(ShownHfsName(partition.name)),
        partition.isWindows ? "Windows" : "MacOS", partition.sectorCount / kSectorsPerMegabyte);
}

std::string ChoiceProblem(const std::vector<PartitionEntry>& partitions, unsigned number) {
    if (number >= 1 && number <= partitions.size())
        return {};
    std::string text = fmt::format("There is no partition {}", number);
    if (partitions.empty())
        return text + "; the image is not divided into Macintosh partitions.";
    for (unsigned i = 0; i < partitions.size(); ++i)
        text += (i == 0 ? "; there are: " : ", ") + PartitionLine(i + 1, partitions[i]);
    return text + ".";
}

}  // namespace vellmark
