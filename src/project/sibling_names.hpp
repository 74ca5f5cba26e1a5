// The names given in one folder of a project, so that no two items of a view bear the same one.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "project/project_record.hpp"
#include "volume/catalog_keys.hpp"

namespace vellmark {

/// Longest stored names, in bytes.
inline constexpr std::size_t kIsoNameLimit = 62;
inline constexpr std::size_t kHfsPlusNameLimit = 62;

/// The ISO name for an item whose own is taken: up to 26 characters, `-` and the four CRC digits of
/// the whole name, before an extension of at most 5 bytes. `round` above 0 adds its digits behind
/// those of the CRC, for names that agree in that too.
[[nodiscard]] std::string FallbackName(std::string_view name, unsigned round = 0);

/// The HFS name of a PC name in the form of the project, as long as it may be: MacRoman in an HFS
/// project; Windows-1252 in an HFS+ one, where it is made of the source name.
[[nodiscard]] std::string WholeHfsName(std::u16string_view pcName, std::string_view sourceName,
                                       bool isHfsPlus);

class SiblingNames {
  public:
    /// `siblings` are the items that the folder has already.
    SiblingNames(std::span<const ProjectRecord> siblings, bool isHfsPlus);

    /// Keeps the names that an item will have if they need no change, so that an item before it,
    /// whose name was shortened or replaced, does not take them.
    void reserve(std::u16string_view pcName, std::string_view sourceName);

    /// The ISO name for an item: `wanted`, or the fallback name when another item has that one.
    [[nodiscard]] std::string takeIso(std::string_view wanted, std::string_view sourceName);
    /// The same for the HFS name; `wanted` is in its final form, and gets digits that come from the
    /// name on the PC. Names that differ in case only are the same, as a catalog does not keep them
    /// apart.
    [[nodiscard]] std::string takeHfs(std::string_view wanted, std::string_view sourceName,
                                      std::u16string_view pcName);

    /// The item that had this HFS name is about to get another one.
    void giveBackHfs(std::string_view name) { hfs_.erase(hfsKey(name)); }

  private:
    /// A name, and the source name of the item that has or will have it ("" for what was there).
    using Owners = std::unordered_map<std::string, std::string>;

    [[nodiscard]] std::string hfsKey(std::string_view name) const;

    bool isHfsPlus_;
    Owners iso_;
    Owners hfs_;
};

}  // namespace vellmark
