#include "project/sibling_names.hpp"

#include <algorithm>

#include "containers/names.hpp"
#include "containers/pc_name.hpp"
#include "containers/short_name.hpp"
#include "containers/unique_name.hpp"
#include "project/ansi_fold.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kFallbackHead = 26;

// True when nobody but this item has the name, which is then its own.
bool Take(std::unordered_map<std::string, std::string>& owners, std::string key,
          std::string_view sourceName) {
    const auto [known, isNew] = owners.try_emplace(std::move(key), sourceName);
    return isNew || known->second == sourceName;
}

}  // namespace

std::string FallbackName(std::string_view name, unsigned round) {
    const std::string tail = DigitsTail(NameCrc16(name), round);
    const std::string longest = WithTail(name, tail, kIsoNameLimit);
    // The extension of the whole name.
    const std::size_t extension = longest.size() - longest.rfind(tail) - tail.size();
    return WithTail(name, tail, std::min(kFallbackHead + tail.size() + extension, kIsoNameLimit));
}

std::string WholeHfsName(std::u16string_view pcName, std::string_view sourceName, bool isHfsPlus) {
    std::string name = isHfsPlus ? std::string(sourceName) : PcToMacName(pcName).bytes;
    std::replace(name.begin(), name.end(), ':', '/');
    return name.empty() ? "_" : name;
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

void SiblingNames::reserve(std::u16string_view pcName, std::string_view sourceName) {
    if (sourceName.size() <= kIsoNameLimit)
        iso_.try_emplace(std::string(sourceName), sourceName);
    if (isHfsPlus_) {
        if (sourceName.size() <= kHfsPlusNameLimit)
            hfs_.try_emplace(hfsKey(WholeHfsName(pcName, sourceName, true)), sourceName);
        return;
    }
    const MacName name = PcToMacName(pcName);
    if (name.isExact && name.bytes.size() <= kHfsNameLimit)
        hfs_.try_emplace(hfsKey(name.bytes), sourceName);
}

std::string SiblingNames::takeIso(std::string_view wanted, std::string_view sourceName) {
    return FirstFreeName(
        std::string(wanted), [&](const std::string& name) { return Take(iso_, name, sourceName); },
        [&](unsigned round) { return FallbackName(sourceName, round); });
}

std::string SiblingNames::takeHfs(std::string_view wanted, std::string_view sourceName,
                                  std::u16string_view pcName) {
    return NameWithDigits(
        std::string(wanted), isHfsPlus_ ? kHfsPlusNameLimit : kHfsNameLimit,
        [&](const std::string& name) { return Take(hfs_, hfsKey(name), sourceName); },
        [&] { return isHfsPlus_ ? PcNameCrc(pcName) : MacNameCrc(pcName); });
}

std::string SiblingNames::hfsKey(std::string_view name) const {
    return isHfsPlus_ ? FoldAnsi(name) : FoldMacRomanLower(name);
}

}  // namespace vellmark
