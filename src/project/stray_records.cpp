#include "project/stray_records.hpp"

#include <unordered_set>
#include <vector>

#include "support/sentences.hpp"

namespace vellmark {

void FindStrayRecords(
    const ProjectFile& project,
    const std::function<void(const ProjectRecord& record, const Reason& reason)>& tell) {
    std::vector<std::int32_t> folders = {kRootFolder};
    std::unordered_set<std::int32_t> reached = {kRootFolder};
    for (std::size_t i = 0; i < folders.size(); ++i)
        for (const ProjectRecord& record : project.childrenOf(folders[i])) {
            if (!record.isFolder())
                continue;
            if (reached.insert(record.number).second)
                folders.push_back(record.number);
            else
                tell(record, Sentence::kStraySecondNumber);
        }
    project.forEachRecord([&](const ProjectRecord& record) {
        if (!reached.contains(record.parent))
            tell(record, Sentence::kStrayFolder);
    });
}

}  // namespace vellmark
