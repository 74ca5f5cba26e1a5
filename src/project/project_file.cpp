#include "project/project_file.hpp"

#include <algorithm>
#include <limits>
#include <unordered_set>

namespace vellmark {

namespace {

constexpr std::uint64_t kSectorBytes = 2048;
constexpr unsigned kRaisedInIso = 1;
constexpr unsigned kRaisedInHfs = 2;

bool ByIsoName(const ProjectRecord& a, const ProjectRecord& b) {
    return a.isoName() < b.isoName();
}

std::uint64_t SectorsOf(std::uint32_t bytes) {
    return (bytes + kSectorBytes - 1) / kSectorBytes;
}

std::uint32_t Added(std::uint32_t count, std::int64_t change) {
    const std::int64_t most = std::numeric_limits<std::uint32_t>::max();
    const std::int64_t bounded = std::clamp<std::int64_t>(change, -most, most);
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(count + bounded, 0, most));
}

}  // namespace

const ProjectFile::Run& ProjectFile::childrenOf(std::int32_t folder) const {
    static const Run kNone;
    const auto found = children_.find(folder);
    return found == children_.end() ? kNone : found->second;
}

std::size_t ProjectFile::countChildren(std::int32_t folder) const {
    return childrenOf(folder).size();
}

std::size_t ProjectFile::countRecords() const {
    std::size_t count = 0;
    for (const auto& [parent, run] : children_)
        count += run.size();
    return count;
}

const ProjectRecord* ProjectFile::findByNumber(std::int32_t number) const {
    const auto found = places_.find(number);
    return found == places_.end()
               ? nullptr
               : &children_.find(found->second.parent)->second[found->second.position];
}

ProjectRecord* ProjectFile::findByNumber(std::int32_t number) {
    raised_.clear();  // the caller may change its views
    return at(number);
}

ProjectRecord* ProjectFile::at(std::int32_t number) {
    const auto found = places_.find(number);
    return found == places_.end() ? nullptr
                                  : &children_[found->second.parent][found->second.position];
}

const ProjectRecord* ProjectFile::findChild(std::int32_t folder, std::int32_t number) const {
    const ProjectRecord* record = findByNumber(number);
    return record && record->parent == folder ? record : nullptr;
}

const ProjectRecord* ProjectFile::findByHfsName(std::int32_t folder, std::string_view name) const {
    for (const ProjectRecord& record : childrenOf(folder))
        if (record.hfsName() == name)
            return &record;
    return nullptr;
}

std::int32_t ProjectFile::parentOf(std::int32_t number) const {
    const ProjectRecord* record = findByNumber(number);
    return record ? std::int32_t{record->parent} : 0;
}

bool ProjectFile::isFolder(std::int32_t number) const {
    return number == kRootFolder || (number > 0 && findByNumber(number));
}

ProjectView ProjectFile::folderView(std::int32_t folder) const {
    const ProjectRecord* record = findByNumber(folder);
    if (!record || record->isIn(ProjectView::Iso) == record->isIn(ProjectView::Hfs))
        return ProjectView::Hybrid;
    return record->isIn(ProjectView::Iso) ? ProjectView::Iso : ProjectView::Hfs;
}

void ProjectFile::insert(const ProjectRecord& record) {
    const std::int32_t parent = record.parent;
    raised_.clear();
    Run& run = children_[parent];
    const auto place = std::lower_bound(run.begin(), run.end(), record, ByIsoName);
    const auto position = static_cast<std::size_t>(place - run.begin());
    run.insert(place, record);
    reindex(parent, position);
}

void ProjectFile::mergeChildren(std::int32_t parent, Run&& records) {
    if (records.empty())
        return;
    std::stable_sort(records.begin(), records.end(), ByIsoName);
    Run& run = children_[parent];
    if (run.empty()) {
        run = std::move(records);
        run.shrink_to_fit();
    } else {
        Run merged;
        merged.reserve(run.size() + records.size());
        std::merge(records.begin(), records.end(), run.begin(), run.end(),
                   std::back_inserter(merged), ByIsoName);
        run = std::move(merged);
    }
    reindex(parent, 0);
}

ProjectFile::Run ProjectFile::takeItems(std::int32_t parent,
                                        std::span<const std::int32_t> numbers) {
    Run taken;
    raised_.clear();
    const auto found = children_.find(parent);
    if (found == children_.end())
        return taken;
    Run& run = found->second;
    std::unordered_set<std::int32_t> wanted(numbers.begin(), numbers.end());
    std::size_t firstGap = run.size();
    std::size_t kept = 0;
    for (std::size_t i = 0; i < run.size(); ++i) {
        const std::int32_t number = run[i].number;
        if (wanted.erase(number) == 0) {
            if (kept != i)
                run[kept] = run[i];
            ++kept;
            continue;
        }
        firstGap = std::min(firstGap, i);
        taken.push_back(run[i]);
        if (const auto known = places_.find(number);
            known != places_.end() && known->second.parent == parent)
            places_.erase(known);
    }
    run.resize(kept);
    if (run.empty())
        children_.erase(found);
    else
        reindex(parent, firstGap);
    return taken;
}

RemovedItems ProjectFile::deleteItems(std::int32_t parent, std::span<const std::int32_t> numbers) {
    RemovedItems removed;
    for (const ProjectRecord& record : takeItems(parent, numbers)) {
        ++(record.isFolder() ? removed.folders : removed.files);
        if (record.number > kRootFolder)
            for (std::int32_t folder : foldersFrom(record.number))
                eraseRun(folder);
    }
    return removed;
}

bool ProjectFile::replaceItem(const ProjectRecord& record) {
    const auto found = places_.find(record.number);
    if (found == places_.end() || found->second.parent != record.parent)
        return false;
    const std::int32_t folder = record.parent;
    children_[folder][found->second.position] = record;
    raised_.clear();
    putInOrder(folder);
    return true;
}

void ProjectFile::putInOrder(std::int32_t folder) {
    Run& run = children_[folder];
    if (std::is_sorted(run.begin(), run.end(), ByIsoName))
        return;
    std::stable_sort(run.begin(), run.end(), ByIsoName);
    reindex(folder, 0);
}

bool ProjectFile::isFree(std::int32_t number) const {
    // Items without a folder must not turn up in a new one.
    return !places_.contains(number) && !children_.contains(number);
}

std::int32_t ProjectFile::giveFolderNumber(std::string_view name) {
    if (name == kBackgroundFolderName && isFree(kBackgroundFolder))
        return kBackgroundFolder;
    std::int32_t number = std::max<std::int32_t>(header_.lastFolder, kBackgroundFolder);
    while (number < std::numeric_limits<std::int32_t>::max()) {
        if (isFree(++number)) {
            header_.lastFolder = number;
            return number;
        }
    }
    return 0;
}

std::int32_t ProjectFile::giveFileNumber() {
    std::int32_t number = std::max<std::int32_t>(header_.lastFile, 0);
    while (number < std::numeric_limits<std::int32_t>::max()) {
        if (isFree(-++number)) {
            header_.lastFile = number;
            return -number;
        }
    }
    return 0;
}

void ProjectFile::addCounters(std::int32_t folder, std::int64_t folders, std::int64_t files) {
    if (folder == kRootFolder) {
        header_.rootFolders = Added(header_.rootFolders, folders);
        header_.rootFiles = Added(header_.rootFiles, files);
    } else if (ProjectRecord* record = at(folder)) {
        record->dataSize = Added(record->dataSize, folders);
        record->resourceSize = Added(record->resourceSize, files);
    }
}

void ProjectFile::setViewFlagsUp(std::int32_t folder, int iso, int hfs) {
    const unsigned wanted = (iso != 0 ? kRaisedInIso : 0U) | (hfs != 0 ? kRaisedInHfs : 0U);
    while (folder > kRootFolder) {
        // So are those above it; in a circle the first one again.
        unsigned& raised = raised_[folder];
        if ((raised & wanted) == wanted)
            return;
        raised |= wanted;
        ProjectRecord* record = at(folder);
        if (!record)
            return;
        const bool isRefusal = record->sourceName() != kRefusedName;
        if (iso != 0 && record->isoInclusion() == 0 &&
            !(isRefusal && record->isoName() == kRefusedName))
            record->setIsoInclusion(iso);
        if (hfs != 0 && record->hfsInclusion() == 0 &&
            !(isRefusal && record->hfsName() == kRefusedName))
            record->setHfsInclusion(hfs);
        folder = record->parent;
    }
}

ProjectTotals ProjectFile::totals() const {
    ProjectTotals totals;
    forEachRecord([&totals](const ProjectRecord& record) {
        totals.sectors += SectorsOf(record.dataSize) + SectorsOf(record.resourceSize);
        if (record.isIn(ProjectView::Iso)) {
            ++totals.isoRecords;
            if (record.macBinary() || record.binHex())
                totals.sectors += SectorsOf(record.sourceSize);
        }
        if (record.isIn(ProjectView::Hfs))
            ++totals.hfsRecords;
    });
    return totals;
}

void ProjectFile::takeOver(std::map<std::int32_t, Run>&& children) {
    children_ = std::move(children);
    for (auto& [parent, run] : children_) {
        putInOrder(parent);
        run.shrink_to_fit();
        reindex(parent, 0);
    }
}

void ProjectFile::reindex(std::int32_t parent, std::size_t position) {
    // Backwards, so that of one number that stands twice in a run the first is found. A number
    // that also stands in another folder stays with that one.
    const Run& run = children_.find(parent)->second;
    for (std::size_t i = run.size(); i-- > position;) {
        const std::int32_t number = run[i].number;
        if (number == 0 || number == kRootFolder)
            continue;
        const auto [known, isNew] = places_.try_emplace(number, Place{parent, i});
        if (!isNew && known->second.parent == parent)
            known->second.position = i;
    }
}

void ProjectFile::eraseRun(std::int32_t parent) {
    const auto found = children_.find(parent);
    if (found == children_.end())
        return;
    for (const ProjectRecord& record : found->second)
        if (const auto known = places_.find(record.number);
            known != places_.end() && known->second.parent == parent)
            places_.erase(known);
    children_.erase(found);
}

std::vector<std::int32_t> ProjectFile::foldersFrom(std::int32_t folder) const {
    std::vector<std::int32_t> folders = {folder};
    std::unordered_set<std::int32_t> visited = {folder, kRootFolder};
    for (std::size_t i = 0; i < folders.size(); ++i)
        for (const ProjectRecord& record : childrenOf(folders[i]))
            if (record.isFolder() && visited.insert(record.number).second)
                folders.push_back(record.number);
    return folders;
}

}  // namespace vellmark
