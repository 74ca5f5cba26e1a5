#include "project/replace_signature.hpp"

#include <algorithm>

namespace vellmark {

std::int64_t ReplaceSignature(ProjectFile& project, const std::array<char, 8>& from,
                              const std::array<char, 8>& to,
                              const std::function<bool(const ProjectRecord& record)>& agrees) {
    std::int64_t count = 0;
    project.changeRuns([&](std::span<ProjectRecord> run) {
        for (ProjectRecord& record : run)
            if (!record.isFolder() &&
                std::equal(from.begin(), from.end(), std::begin(record.signature_)) &&
                (!agrees || agrees(record))) {
                std::copy(to.begin(), to.end(), std::begin(record.signature_));
                ++count;
            }
    });
    return count;
}

}  // namespace vellmark
