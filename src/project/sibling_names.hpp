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

/// Cuts a name at `limit` bytes. An extension, the dot included, of at most 5 bytes stays at its
/// end.
[[nodiscard]] std::string Truncate(std::string_view name, std::size_t limit);

/// The name for an item whose own is taken: up to 26 characters, `-` and the four CRC digits of the
/// whole name, before an extension of at most 5 bytes; at most `limit` bytes. `round` above 0 adds
/// its digits behind those of the CRC, for names that agree in that too.
[[nodiscard]] std::string FallbackName(std::string_view name, std::size_t limit,
                                       unsigned round = 0);

/// The HFS name of a PC name by the project's kind: no colon, MacRoman in an HFS project.
[[nodiscard]] std::string ToHfsForm(std::string_view name, bool isHfsPlus);

class SiblingNames {
  public:
    /// `siblings` are the items that the folder has already.
    SiblingNames(std::span<const ProjectRecord> siblings, bool isHfsPlus);

    /// Keeps the names that an item with this source name will have if they need no change, so
    /// that an item before it, whose name was shortened, does not take them.
    void reserve(std::string_view sourceName);

    /// The ISO name for an item: `wanted`, or the fallback name when another item has that one.
    [[nodiscard]] std::string takeIso(std::string_view wanted, std::string_view sourceName);
    /// The same for the HFS name; `wanted` is in its final form. Names that differ in case only are
    /// the same, as a catalog does not tell them apart.
    [[nodiscard]] std::string takeHfs(std::string_view wanted, std::string_view sourceName);

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
