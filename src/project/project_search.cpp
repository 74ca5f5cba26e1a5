#include "project/project_search.hpp"

#include <algorithm>
#include <unordered_set>

#include "containers/names.hpp"
#include "project/ansi_fold.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

bool Fits(std::string_view name, std::string_view pattern) {
    const std::size_t star = pattern.find('*');
    if (star == std::string_view::npos)
        return name == pattern;
    return name.starts_with(pattern.substr(0, star)) &&
           name.substr(star).find(pattern.substr(star + 1)) != std::string_view::npos;
}

std::string NameIn(const ProjectFile& project, const ProjectRecord& record, ProjectView view) {
    if (view == ProjectView::Hybrid || project.mode() == ProjectMode::IsoPlus)
        return std::string(record.sourceName());
    if (view == ProjectView::Iso)
        return std::string(record.isoName());
    return project.header().isHfsPlus() ? std::string(record.hfsName())
                                        : MacToAnsiName(record.hfsName());
}

bool HasSignature(const ProjectRecord& record, std::string_view wanted) {
    const std::string_view whole(record.signature_, sizeof record.signature_);
    return whole.starts_with(wanted) || (wanted.size() <= 4 && whole.substr(4).starts_with(wanted));
}

}  // namespace

std::vector<std::int32_t> FindItemsByName(const ProjectFile& project, std::string_view pattern,
                                          ProjectView view, std::size_t most) {
    const std::string wanted = FoldAnsi(pattern);
    std::vector<std::int32_t> hits;
    project.forEachRecord([&](const ProjectRecord& record) {
        if (hits.size() < most && record.isIn(view) &&
            Fits(FoldAnsi(NameIn(project, record, view)), wanted))
            hits.push_back(record.number);
    });
    return hits;
}

std::vector<std::int32_t> FindItemsBySignature(const ProjectFile& project,
                                               std::string_view signature, std::size_t most) {
    std::vector<std::int32_t> hits;
    project.forEachRecord([&](const ProjectRecord& record) {
        if (hits.size() < most && !record.isFolder() && HasSignature(record, signature))
            hits.push_back(record.number);
    });
    return hits;
}

std::string ItemPath(const ProjectFile& project, std::int32_t folder, std::string_view sourceName) {
    std::vector<std::string> names = {NarrowToUtf8(sourceName)};
    std::unordered_set<std::int32_t> visited;
    for (; folder > kRootFolder && visited.insert(folder).second; folder = project.parentOf(folder))
        if (const ProjectRecord* record = project.findByNumber(folder))
            names.push_back(NarrowToUtf8(record->sourceName()));
    std::string path = names.back();
    for (std::size_t i = names.size() - 1; i-- > 0;)
        path += '/' + names[i];
    return path;
}

}  // namespace vellmark
