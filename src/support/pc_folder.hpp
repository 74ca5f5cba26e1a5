// What lies in a folder of the PC: the names in every form, the kinds, sizes and dates.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "support/clock.hpp"

namespace vellmark {

enum class PcKind {
    File,
    Folder,
    Special,  ///< a pipe, socket or device
    Missing   ///< not there, or a symbolic link that leads nowhere
};

/// What stands behind a name of the PC; a symbolic link is followed.
struct PcFacts {
    PcKind kind = PcKind::Missing;
    bool isLink = false;
    std::uint64_t sizeBytes = 0;
    UnixSeconds modified = 0;
    std::uint64_t device = 0;  ///< with `inode`: which object it really is
    std::uint64_t inode = 0;
};

/// Which object of the PC something really is, whatever paths lead to it.
struct PcIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;

    friend bool operator==(const PcIdentity&, const PcIdentity&) = default;
    friend bool operator<(const PcIdentity& a, const PcIdentity& b) {
        return std::tie(a.device, a.inode) < std::tie(b.device, b.inode);
    }
};
[[nodiscard]] constexpr PcIdentity IdentityOf(const PcFacts& facts) {
    return {facts.device, facts.inode};
}

/// One entry of a folder.
struct PcItem {
    std::string name;       ///< as the system keeps it
    std::string narrow;     ///< Windows-1252, letters and marks joined, `?` for what it lacks
    bool isNarrow = false;  ///< `narrow` is the whole name, and no other item's of the folder
    std::string shortName;  ///< the 8.3 name; empty when `name` already is one
    bool hidden = false;    ///< the name begins with a point
    PcFacts facts;
};

/// An item of that name, before the rest of its folder and its facts are known.
[[nodiscard]] PcItem PcItemOf(std::string_view name);

/// The facts of one path.
[[nodiscard]] PcFacts PcFactsOf(const std::string& path);

/// Whether both paths lead to the same object, which must be there.
[[nodiscard]] bool AreSameFile(const std::string& a, const std::string& b);

/// Why this user may not read what stands at a path: the system's error number, 0 when they may.
[[nodiscard]] int ReadRefusal(const std::string& path);

/// Entries of a folder in byte order of their names, with their facts. `error` becomes the
/// system's error number when the folder cannot be read, else 0.
[[nodiscard]] std::vector<PcItem> ListPcFolder(const std::string& path, int& error);

/// Whether a name has at most eight and three characters of those that such names may hold.
[[nodiscard]] bool IsShortName(std::string_view name);

/// Turns the paths of records, which know some names only by their 8.3 form, into paths that the
/// system opens. The last folders that were looked into are remembered: the tree must not change
/// while a resolver lives.
class PcPathResolver {
  public:
    /// The path of `name` (Windows-1252, whole, also where the system has its letters and marks
    /// apart, or 8.3) in `folder` (Windows-1252, `/` at its end).
    /// Empty when nothing of that name is there.
    [[nodiscard]] std::string resolve(std::string_view folder, std::string_view name);
    /// The same with the facts of what is there.
    [[nodiscard]] std::string resolve(std::string_view folder, std::string_view name,
                                      PcFacts& facts);
    /// The same for a folder alone, with `/` at its end; empty when it is not there.
    [[nodiscard]] std::string resolveFolder(std::string_view folder);

  private:
    /// Path of the entry of `folder` (a path of the system) that has this name in another form.
    [[nodiscard]] std::string findIn(const std::string& folder, std::string_view name);

    std::map<std::string, std::string, std::less<>> folders_;
    std::string listedFolder_;
    std::map<std::string, std::string, std::less<>> listedNames_;
};

}  // namespace vellmark
