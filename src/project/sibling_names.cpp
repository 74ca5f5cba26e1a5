#include "project/sibling_names.hpp"

#include <fmt/core.h>

#include <algorithm>

#include "containers/names.hpp"
#include "project/ansi_fold.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kExtensionLimit = 5;
constexpr std::size_t kFallbackHead = 26;

// The last dot and what stands behind it, "" when that is longer than an extension that is kept.
std::string_view KeptExtension(std::string_view name) {
    const std::size_t dot = name.find_last_of('.');
    if (dot == std::string_view::npos || name.size() - dot > kExtensionLimit)
        return {};
    return name.substr(dot);
}

// True when nobody but this item has the name, which is then its own.
bool Take(std::unordered_map<std::string, std::string>& owners, std::string key,
          std::string_view sourceName) {
    const auto [known, isNew] = owners.try_emplace(std::move(key), sourceName);
    return isNew || known->second == sourceName;
}

}  // namespace

std::string Truncate(std::string_view name, std::size_t limit) {
    if (name.size() <= limit)
        return std::string(name);
    const std::string_view extension = KeptExtension(name);
    return std::string(name.substr(0, limit - extension.size())).append(extension);
}

std::string FallbackName(std::string_view name, std::size_t limit, unsigned round) {
    const std::string_view extension = KeptExtension(name);
    std::string tail = "-" + NameCrcDigits(name);
    if (round > 0)
        tail += fmt::format("{:X}", round);
    tail += extension;
    const std::size_t head = std::min(
        {kFallbackHead, name.size() - extension.size(), limit - std::min(limit, tail.size())});
    return std::string(name.substr(0, head)) + tail;
}

std::string ToHfsForm(std::string_view name, bool isHfsPlus) {
    std::string result(name);
    std::replace(result.begin(), result.end(), ':', '_');
    return isHfsPlus ? result : AnsiToMacName(result);
}

SiblingNames::SiblingNames(std::span<const ProjectRecord> siblings, bool isHfsPlus)
    : isHfsPlus_(isHfsPlus) {
    for (const ProjectRecord& record : siblings) {
        if (record.isIn(ProjectView::Iso))
            iso_.try_emplace(std::string(record.isoName()));
        if (record.isIn(ProjectView::Hfs))
            hfs_.try_emplace(hfsKey(record.hfsName()));
    }
}

void SiblingNames::reserve(std::string_view sourceName) {
    if (sourceName.size() <= kIsoNameLimit)
        iso_.try_emplace(std::string(sourceName), sourceName);
    const std::size_t hfsLimit = isHfsPlus_ ? kHfsPlusNameLimit : kHfsNameLimit;
    if (sourceName.size() <= hfsLimit && sourceName.find(':') == std::string_view::npos)
        hfs_.try_emplace(hfsKey(ToHfsForm(sourceName, isHfsPlus_)), sourceName);
}

std::string SiblingNames::takeIso(std::string_view wanted, std::string_view sourceName) {
    std::string name(wanted);
    for (unsigned round = 0; !Take(iso_, name, sourceName); ++round)
        name = FallbackName(sourceName, kIsoNameLimit, round);
    return name;
}

std::string SiblingNames::takeHfs(std::string_view wanted, std::string_view sourceName) {
    const std::size_t limit = isHfsPlus_ ? kHfsPlusNameLimit : kHfsNameLimit;
    std::string name(wanted);
    for (unsigned round = 0; !Take(hfs_, hfsKey(name), sourceName); ++round)
        name = ToHfsForm(FallbackName(sourceName, limit, round), isHfsPlus_);
    return name;
}

std::string SiblingNames::hfsKey(std::string_view name) const {
    return isHfsPlus_ ? FoldAnsi(name) : FoldMacRomanLower(name);
}

}  // namespace vellmark
