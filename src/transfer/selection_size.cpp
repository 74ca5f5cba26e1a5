#include "transfer/selection_size.hpp"

#include <filesystem>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "support/pc_folder.hpp"

namespace vellmark {

std::uint64_t SelectionBytes(std::span<const std::string> paths,
                             const std::function<bool()>& isStopped) {
    std::uint64_t bytes = 0;
    std::set<std::pair<std::uint64_t, std::uint64_t>> entered;
    std::vector<std::string> left(paths.begin(), paths.end());
    while (!left.empty() && !isStopped()) {
        const std::string path = std::move(left.back());
        left.pop_back();
        const PcFacts facts = PcFactsOf(path);
        if (facts.kind == PcKind::File)
            bytes += facts.sizeBytes;
        if (facts.kind != PcKind::Folder || !entered.insert({facts.device, facts.inode}).second)
            continue;
        std::error_code error;
        std::filesystem::directory_iterator entries(path, error);
        for (; !error && entries != std::filesystem::directory_iterator() && !isStopped();
             entries.increment(error))
            left.push_back(entries->path().string());
    }
    return bytes;
}

}  // namespace vellmark
