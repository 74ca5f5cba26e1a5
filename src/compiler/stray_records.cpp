#include "compiler/stray_records.hpp"

#include <unordered_set>
#include <vector>

namespace vellmark {

void FindStrayRecords(const CompileContext& context, DiscPlan& plan) {
    const auto leaveOut = [&](const ProjectRecord& record, const char* reason) {
        if ((HasIso(context.mode) && record.isoInclusion() != 0) ||
            (HasMacintosh(context.mode) && record.hfsInclusion() != 0))
            plan.leftOut.emplace_back(SourceText(record), reason);
    };
    std::vector<std::int32_t> folders = {kRootFolder};
    std::unordered_set<std::int32_t> reached = {kRootFolder};
    for (std::size_t i = 0; i < folders.size(); ++i)
        for (const ProjectRecord& record : context.project.childrenOf(folders[i])) {
            if (!record.isFolder())
                continue;
            if (reached.insert(record.number).second)
                folders.push_back(record.number);
            else
                leaveOut(record, "Another folder of the project has its number.");
        }
    context.project.forEachRecord([&](const ProjectRecord& record) {
        if (!reached.contains(record.parent))
            leaveOut(record, "It lies in a folder that the project does not have.");
    });
}

}  // namespace vellmark
