#include "project/pc_sources.hpp"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "support/encoding.hpp"

namespace vellmark {

namespace {

namespace fs = std::filesystem;

/// Listings beyond these go when their items together are too many to keep.
constexpr std::size_t kListingsKept = 8;
constexpr std::size_t kItemsKept = 200'000;

bool HasParentSteps(const fs::path& path) {
    return std::any_of(path.begin(), path.end(), [](const fs::path& part) { return part == ".."; });
}

// The absolute form, without `.` and doubled slashes. `..` is followed as the system does it, which
// differs from crossing out a component when that is a link. Links stay otherwise.
std::string AbsolutePath(const std::string& text) {
    std::error_code error;
    fs::path path = fs::absolute(text, error);
    if (error)
        return {};
    if (path.filename() == "..")
        path = fs::canonical(path, error);
    else if (HasParentSteps(path))
        path = fs::canonical(path.parent_path(), error) / path.filename();
    return error ? std::string{} : path.lexically_normal().string();
}

bool IsThere(const std::string& path) {
    const PcFacts facts = PcFactsOf(path);
    return facts.kind != PcKind::Missing || facts.isLink;
}

std::optional<PcSelection> SelectPath(std::string text) {
    while (text.size() > 1 && text.ends_with('/'))
        text.pop_back();
    if (text.empty())
        return std::nullopt;
    const std::size_t slash = text.find_last_of('/');
    const std::string lastPart = text.substr(slash == std::string::npos ? 0 : slash + 1);
    const bool there = IsThere(text);
    const bool isPattern = !there && lastPart.find_first_of("*?") != std::string::npos;
    if (!there && !isPattern)
        return std::nullopt;
    std::string path = AbsolutePath(text);
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    const std::size_t end = path.find_last_of('/');
    if (end == std::string::npos || end + 1 == path.size())
        return std::nullopt;
    PcSelection selection = {path.substr(0, end + 1), path.substr(end + 1), isPattern};
    if (PcFactsOf(selection.folder).kind != PcKind::Folder)
        return std::nullopt;
    return selection;
}

}  // namespace

std::optional<PcSelection> SelectOnPc(std::string_view given) {
    const std::string text(given);
    std::string slashed = text;
    std::replace(slashed.begin(), slashed.end(), '\\', '/');
    auto asItStands = SelectPath(text);
    if (slashed == text || (asItStands && !asItStands->isPattern))
        return asItStands;
    auto asSlashed = SelectPath(slashed);
    return asSlashed ? asSlashed : asItStands;
}

PcSelection SelectAllOf(const std::string& folder) {
    std::error_code error;
    fs::path path = fs::absolute(folder, error);
    if (!error && HasParentSteps(path))
        path = fs::canonical(path, error);
    std::string text = error ? folder : path.lexically_normal().string();
    if (!text.ends_with('/'))
        text += '/';
    return {std::move(text), "*", true};
}

bool MatchesPattern(std::string_view name, std::string_view pattern) {
    if (pattern == "*" || pattern == "*.*")
        return true;
    const std::u16string text = Utf8ToWide(name);
    const std::u16string wanted = Utf8ToWide(pattern);
    std::size_t at = 0;
    std::size_t p = 0;
    std::size_t starAt = std::u16string::npos;  // the last `*`, and where its text may end
    std::size_t starEnd = 0;
    while (at < text.size()) {
        if (p < wanted.size() && wanted[p] == u'*') {
            starAt = p++;
            starEnd = at;
        } else if (p < wanted.size() && (wanted[p] == u'?' || wanted[p] == text[at])) {
            ++p;
            ++at;
        } else if (starAt != std::u16string::npos) {
            p = starAt + 1;
            at = ++starEnd;
        } else {
            return false;
        }
    }
    while (p < wanted.size() && wanted[p] == u'*')
        ++p;
    return p == wanted.size();
}

const std::string& SourceNameOf(const PcItem& item) {
    return item.isNarrow ? item.narrow : item.shortName;
}

std::string SourceText(const ProjectRecord& record) {
    const bool made = record.accessPath() == kProjectOnlyPath;
    return Printable(NarrowToUtf8((made ? std::string{} : std::string(record.accessPath())) +
                                  std::string(record.sourceName())));
}

PcItem PcListings::find(const std::string& folder, std::string_view name) {
    const std::vector<PcItem>& items = itemsOf(folder);
    const auto found = std::lower_bound(
        items.begin(), items.end(), name,
        [](const PcItem& item, std::string_view wanted) { return item.name < wanted; });
    if (found != items.end() && found->name == name)
        return *found;
    PcItem item = PcItemOf(name);
    item.facts = PcFactsOf(folder + item.name);
    return item;
}

std::string PcListings::accessPathOf(const std::string& folder) {
    std::string narrow = Utf8ToNarrow(folder);
    if (NarrowToUtf8(narrow) == folder)
        return narrow;
    std::string result = "/";
    std::size_t start = 1;
    for (std::size_t end = folder.find('/', start); end != std::string::npos;
         start = end + 1, end = folder.find('/', start)) {
        const std::string_view part = std::string_view(folder).substr(start, end - start);
        std::string name = Utf8ToNarrow(part);
        if (NarrowToUtf8(name) != part)
            name = SourceNameOf(find(folder.substr(0, start), part));
        if (name.empty())
            return {};
        result += name;
        result += '/';
    }
    return result;
}

const std::vector<PcItem>& PcListings::itemsOf(const std::string& folder) {
    if (const auto known = byFolder_.find(folder); known != byFolder_.end()) {
        listings_.splice(listings_.begin(), listings_, known->second);
        return listings_.front().items;
    }
    int error = 0;
    std::vector<PcItem> items = ListPcFolder(folder, error);
    if (error != 0)
        items.clear();
    itemsKept_ += items.size();
    listings_.push_front({folder, std::move(items)});
    byFolder_.emplace(listings_.front().folder, listings_.begin());
    while (listings_.size() > kListingsKept && itemsKept_ > kItemsKept) {
        itemsKept_ -= listings_.back().items.size();
        byFolder_.erase(listings_.back().folder);
        listings_.pop_back();
    }
    return listings_.front().items;
}

}  // namespace vellmark
