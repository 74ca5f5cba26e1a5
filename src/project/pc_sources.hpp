// What a person names on the PC, and the forms in which records keep it. Paths of the system are
// absolute here; folders have `/` at their end.
#pragma once

#include <cstddef>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "project/project_record.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

/// What one argument names.
struct PcSelection {
    std::string folder;  ///< where the item lies, or the items
    std::string name;    ///< the item, or a pattern of `*` and `?`
    bool isPattern = false;
};

/// Reads a path or pattern as a person gives it, with `/` or `\`; a path that exists as it stands
/// wins. Nothing when it names neither an item with a name nor a pattern in a folder that exists.
[[nodiscard]] std::optional<PcSelection> SelectOnPc(std::string_view given);

/// All that lies in a folder, whose path is taken as it stands.
[[nodiscard]] PcSelection SelectAllOf(const std::string& folder);

/// Begins the name of the companion file that keeps the other fork of a file on the PC.
inline constexpr std::string_view kCompanionPrefix = "._";

/// Whether a name (UTF-8) fits a pattern: `*` stands for any characters, `?` for one. `*.*` fits
/// every name.
[[nodiscard]] bool MatchesPattern(std::string_view name, std::string_view pattern);

/// The source name of an item: its name in Windows-1252, or its 8.3 name when that character set
/// lacks a character of it, or an item that differs in the form of its letters alone has it. Empty
/// when there is no such name. It lives as long as the item.
[[nodiscard]] const std::string& SourceNameOf(const PcItem& item);

/// Where the item of a record is on the PC, to be shown to a person.
[[nodiscard]] std::string SourceText(const ProjectRecord& record);

/// Looks into folders of the PC and remembers what it saw last, as the 8.3 names of a folder are
/// known only from all of it: paths in any order do not list a folder for each of its files. The
/// tree must not change while it lives.
class PcListings {
  public:
    PcListings() = default;
    PcListings(const PcListings&) = delete;
    PcListings& operator=(const PcListings&) = delete;

    /// The entry of `folder`, missing when it is not there. Of a folder that cannot be listed the
    /// entry comes without an 8.3 name.
    [[nodiscard]] PcItem find(const std::string& folder, std::string_view name);
    /// The access path of `folder` for a record. Empty when a component has no name that a record
    /// can hold.
    [[nodiscard]] std::string accessPathOf(const std::string& folder);

  private:
    struct Listing {
        std::string folder;
        std::vector<PcItem> items;
    };
    [[nodiscard]] const std::vector<PcItem>& itemsOf(const std::string& folder);

    std::list<Listing> listings_;  // the latest first
    std::unordered_map<std::string_view, std::list<Listing>::iterator> byFolder_;
    std::size_t itemsKept_ = 0;
};

}  // namespace vellmark
