#include "support/backup_path.hpp"

#include <algorithm>

#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

/// Names that are tried.
constexpr int kMostBackups = 1000;

bool IsFree(const std::string& path) {
    const PcFacts facts = PcFactsOf(path);
    return facts.kind == PcKind::Missing && !facts.isLink;
}

}  // namespace

std::string WithExtension(std::string_view path, std::string_view extension) {
    const std::size_t nameStart = path.find_last_of('/') + 1;
    const std::size_t dot = path.find_last_of('.');
    const bool hasExtension = dot != std::string_view::npos && dot > nameStart;
    return std::string(path.substr(0, hasExtension ? dot : path.size())) + "." +
           std::string(extension);
}

std::vector<std::string> BackupPaths(
    std::span<const BackedUpFile> files,
    const std::function<bool(const std::string& path)>& mayReplace) {
    for (int number = 0; number < kMostBackups; ++number) {
        std::vector<std::string> paths;
        for (const BackedUpFile& file : files) {
            paths.push_back(WithExtension(file.path, file.extension));
            if (number > 0)
                paths.back() += "." + std::to_string(number);
        }
        if (std::all_of(paths.begin(), paths.end(),
                        [&](const std::string& path) { return IsFree(path) || mayReplace(path); }))
            return paths;
    }
    return {};
}

}  // namespace vellmark
