#include "project/source_folder.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "project/pc_sources.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

// With these the system says that there is nothing; any other failure says nothing about it.
bool MeansGone(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG;
}

int StatError(const std::string& path) {
    struct stat facts {};
    return ::stat(path.c_str(), &facts) == 0 ? 0 : errno;
}

}  // namespace

SourceFolder::SourceFolder(std::string_view accessPath, PcPathResolver& resolver)
    : path_(NarrowToUtf8(accessPath)) {
    // Paths of another system, and items that exist in the project only.
    if (!accessPath.ends_with('/')) {
        state_ = SourceState::Gone;
        return;
    }
    items_ = ListPcFolder(path_, error_);
    if (error_ == ENOENT) {
        // Perhaps a component is known by its 8.3 name.
        if (std::string resolved = resolver.resolveFolder(accessPath); !resolved.empty()) {
            path_ = std::move(resolved);
            items_ = ListPcFolder(path_, error_);
        }
    }
    if (error_ == 0) {
        index();
        return;
    }
    items_.clear();
    state_ = MeansGone(error_) ? SourceState::Gone : SourceState::Unknown;
    if (state_ == SourceState::Gone)
        error_ = 0;
}

void SourceFolder::index() {
    bySourceName_.reserve(items_.size());
    for (const PcItem& item : items_) {
        bySourceName_.try_emplace(SourceNameOf(item), &item);
        if (!item.shortName.empty())
            byShortName_.try_emplace(item.shortName, &item);
    }
}

FoundSource SourceFolder::find(std::string_view sourceName, PcKind kind) const {
    FoundSource found;
    found.state = state_;
    found.error = error_;
    if (state_ != SourceState::There)
        return found;
    auto known = bySourceName_.find(sourceName);
    if (known == bySourceName_.end()) {
        known = byShortName_.find(AsciiUpper(sourceName));
        if (known == byShortName_.end()) {
            found.state = SourceState::Gone;
            return found;
        }
    }
    const PcItem& item = *known->second;
    if (item.facts.kind == kind) {
        found.item = &item;
        return found;
    }
    // The folder has the name, but a folder that may be listed need not let us look at its items.
    const int error = item.facts.kind == PcKind::Missing ? StatError(path_ + item.name) : 0;
    found.state = error == 0 || MeansGone(error) ? SourceState::Gone : SourceState::Unknown;
    found.error = found.state == SourceState::Unknown ? error : 0;
    return found;
}

bool SourceFolder::hasCompanion(const PcItem& item) const {
    return holds(std::string(kCompanionPrefix) + item.name);
}

bool SourceFolder::isLostCompanion(const PcItem& item) const {
    return item.facts.kind == PcKind::File && item.name.starts_with(kCompanionPrefix) &&
           !holds(std::string_view(item.name).substr(kCompanionPrefix.size()));
}

bool SourceFolder::holds(std::string_view name) const {
    const auto found = std::lower_bound(
        items_.begin(), items_.end(), name,
        [](const PcItem& other, std::string_view wanted) { return other.name < wanted; });
    return found != items_.end() && found->name == name;
}

}  // namespace vellmark
