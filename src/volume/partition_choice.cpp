#include "volume/partition_choice.hpp"

#include <fmt/core.h>

#include "support/encoding.hpp"
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

std::string PartitionLine(unsigned number, const PartitionEntry& partition, Language language) {
    return FormatText(kTextPartition, language, number, Printable(PartitionName(partition)),
                      partition.isWindows ? "Windows" : "MacOS",
                      partition.sectorCount / kSectorsPerMegabyte);
}

std::string ChoiceProblem(const std::vector<PartitionEntry>& partitions, unsigned number,
                          Language language) {
    if (number >= 1 && number <= partitions.size())
        return {};
    std::string text = fmt::format("There is no partition {}", number);
    if (partitions.empty())
        return text + "; the image is not divided into Macintosh partitions.";
    for (unsigned i = 0; i < partitions.size(); ++i)
        text += (i == 0 ? "; there are: " : ", ") + PartitionLine(i + 1, partitions[i], language);
    return text + ".";
}

}  // namespace vellmark
