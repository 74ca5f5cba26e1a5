#include "support/pc_folder.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <set>

#include "support/canonical_form.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kShortNameSigns = "!#$%&'()-@^_`{}~";
constexpr std::size_t kShortBaseLength = 8;
constexpr std::size_t kShortExtensionLength = 3;
constexpr std::size_t kKeptLetters = 2;
constexpr std::size_t kFoldersRemembered = 64;

PcFacts FactsAt(int folder, const char* name) {
    PcFacts result;
    struct stat facts {};
    if (::fstatat(folder, name, &facts, AT_SYMLINK_NOFOLLOW) != 0)
        return result;
    if (S_ISLNK(facts.st_mode)) {
        result.isLink = true;
        if (::fstatat(folder, name, &facts, 0) != 0)
            return result;
    }
    result.kind = S_ISREG(facts.st_mode)   ? PcKind::File
                  : S_ISDIR(facts.st_mode) ? PcKind::Folder
                                           : PcKind::Special;
    result.sizeBytes = static_cast<std::uint64_t>(facts.st_size);
    result.modified = facts.st_mtim.tv_sec;
    result.device = facts.st_dev;
    result.inode = facts.st_ino;
    return result;
}

bool IsShortNamePart(std::string_view part, std::size_t longest) {
    return !part.empty() && part.size() <= longest &&
           std::all_of(part.begin(), part.end(), [](char c) {
               return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                      kShortNameSigns.find(c) != std::string_view::npos;
           });
}

// The letters and digits of `text` in capitals, at most `longest`.
std::string PlainLetters(std::string_view text, std::size_t longest) {
    std::string letters;
    for (char c : AsciiUpper(text))
        if (letters.size() < longest && ((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')))
            letters += c;
    return letters;
}

// FNV-1a over 64 bits: the tail must be the same in every run and on every machine.
std::uint64_t HashOf(std::string_view name, unsigned round) {
    std::uint64_t hash = 0xCBF29CE484222325u + round;
    for (char c : name)
        hash = (hash ^ static_cast<std::uint8_t>(c)) * 0x100000001B3u;
    return hash ^ (hash >> 29);
}

// First letters, then a tail of letters and digits that depends on the whole name.
std::string MakeShortName(std::string_view name, unsigned round) {
    static constexpr std::string_view kDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const std::size_t dot = name.find_last_of('.');
    const bool hasExtension = dot != std::string_view::npos && dot > 0;
    std::string result =
        PlainLetters(name.substr(0, hasExtension ? dot : name.size()), kKeptLetters);
    result.resize(kKeptLetters, '_');
    std::uint64_t hash = HashOf(name, round);
    while (result.size() < kShortBaseLength) {
        result += kDigits[hash % kDigits.size()];
        hash /= kDigits.size();
    }
    const std::string extension =
        hasExtension ? PlainLetters(name.substr(dot + 1), kShortExtensionLength) : std::string{};
    return extension.empty() ? result : result + "." + extension;
}

// Names come in byte order, so that which of two with the same tail keeps it never changes.
void GiveShortNames(std::vector<PcItem>& items) {
    std::set<std::string> taken;
    for (const PcItem& item : items)
        if (IsShortName(item.name))
            taken.insert(AsciiUpper(item.name));
    for (PcItem& item : items) {
        if (IsShortName(item.name))
            continue;
        for (unsigned round = 0; item.shortName.empty(); ++round)
            if (std::string candidate = MakeShortName(item.name, round);
                taken.insert(candidate).second)
                item.shortName = std::move(candidate);
    }
}

// Of two names that are the same when letters and marks are joined, the joined one, or the first,
// keeps the narrow form.
void TellTwins(std::vector<PcItem>& items) {
    const auto hasName = [&](const std::string& name) {
        const auto found = std::lower_bound(
            items.begin(), items.end(), name,
            [](const PcItem& item, const std::string& wanted) { return item.name < wanted; });
        return found != items.end() && found->name == name;
    };
    std::set<std::string> taken;
    for (PcItem& item : items) {
        if (!item.isNarrow || IsAscii(item.name))
            continue;
        const std::string joined = NarrowToUtf8(item.narrow);
        if (joined != item.name)
            item.isNarrow = !hasName(joined) && taken.insert(joined).second;
    }
}

}  // namespace

PcItem PcItemOf(std::string_view name) {
    const std::u16string wide = ComposeName(Utf8ToWide(name));
    PcItem item;
    item.name = name;
    item.narrow = WideToNarrow(wide);
    item.isNarrow = IsNarrow(wide);
    item.hidden = name.starts_with('.');
    return item;
}

PcFacts PcFactsOf(const std::string& path) {
    return FactsAt(AT_FDCWD, path.c_str());
}

bool AreSameFile(const std::string& a, const std::string& b) {
    const PcFacts one = PcFactsOf(a);
    const PcFacts other = PcFactsOf(b);
    return one.kind != PcKind::Missing && other.kind != PcKind::Missing &&
           one.device == other.device && one.inode == other.inode;
}

int ReadRefusal(const std::string& path) {
    return ::faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) == 0 ? 0 : errno;
}

bool IsShortName(std::string_view name) {
    const std::size_t dot = name.find('.');
    if (dot == std::string_view::npos)
        return IsShortNamePart(name, kShortBaseLength);
    return IsShortNamePart(name.substr(0, dot), kShortBaseLength) &&
           IsShortNamePart(name.substr(dot + 1), kShortExtensionLength);
}

std::vector<PcItem> ListPcFolder(const std::string& path, int& error) {
    std::vector<PcItem> items;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(path.c_str()), ::closedir);
    if (!folder) {
        error = errno;
        return items;
    }
    errno = 0;
    while (const dirent* entry = ::readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        PcItem item = PcItemOf(name);
        item.facts = FactsAt(::dirfd(folder.get()), entry->d_name);
        items.push_back(std::move(item));
        errno = 0;
    }
    error = errno;
    std::sort(items.begin(), items.end(),
              [](const PcItem& a, const PcItem& b) { return a.name < b.name; });
    GiveShortNames(items);
    TellTwins(items);
    return items;
}

std::string PcPathResolver::resolve(std::string_view folder, std::string_view name) {
    PcFacts facts;
    return resolve(folder, name, facts);
}

std::string PcPathResolver::resolve(std::string_view folder, std::string_view name,
                                    PcFacts& facts) {
    facts = PcFacts{};
    const std::string path = resolveFolder(folder);
    if (path.empty())
        return {};
    std::string found = path + NarrowToUtf8(name);
    facts = PcFactsOf(found);
    if (facts.kind == PcKind::Missing && !facts.isLink) {
        found = findIn(path, name);
        if (!found.empty())
            facts = PcFactsOf(found);
    }
    return found;
}

std::string PcPathResolver::resolveFolder(std::string_view folder) {
    if (const auto known = folders_.find(folder); known != folders_.end())
        return known->second;
    std::string path = NarrowToUtf8(folder);
    if (::access(path.c_str(), F_OK) != 0) {
        // Some component is known by its 8.3 name: find the folder above, then this one in it.
        const std::string_view bare =
            folder.substr(0, folder.size() - (folder.ends_with('/') ? 1 : 0));
        const std::size_t slash = bare.find_last_of('/');
        path = slash == std::string_view::npos
                   ? std::string{}
                   : resolve(bare.substr(0, slash + 1), bare.substr(slash + 1));
        if (!path.empty())
            path += '/';
    }
    if (folders_.size() >= kFoldersRemembered)
        folders_.clear();
    folders_.emplace(folder, path);
    return path;
}

std::string PcPathResolver::findIn(const std::string& folder, std::string_view name) {
    if (listedFolder_ != folder) {
        int error = 0;
        listedNames_.clear();
        listedFolder_ = folder;
        for (const PcItem& item : ListPcFolder(folder, error)) {
            listedNames_.emplace(item.shortName.empty() ? AsciiUpper(item.name) : item.shortName,
                                 item.name);
            if (item.isNarrow && !IsAscii(item.name))
                listedNames_.emplace(item.narrow, item.name);
        }
    }
    auto found = listedNames_.find(name);
    if (found == listedNames_.end())
        found = listedNames_.find(AsciiUpper(name));
    return found == listedNames_.end() ? std::string{} : folder + found->second;
}

}  // namespace vellmark
