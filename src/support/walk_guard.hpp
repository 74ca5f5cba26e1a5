// Limits that bring a walk over the folders of a medium to its end, whatever the medium says: every
// folder is entered once, and neither too deep nor after too many entries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

namespace vellmark {

class WalkGuard {
  public:
    /// Folders deeper than this are left out.
    static constexpr std::size_t kMostLevels = 256;
    /// A tree that has more entries lists the same ones again and again.
    static constexpr std::uint64_t kMostEntries = 4'000'000;

    /// `start` is the id of the folder in which the walk begins.
    explicit WalkGuard(std::uint64_t start, std::uint64_t mostEntries = kMostEntries)
        : mostEntries_(mostEntries), entered_{start} {}

    /// Counts an entry: empty, or a sentence when the walk is to end here.
    [[nodiscard]] std::string refuseEntry();
    /// Notes a folder: empty, or a sentence when it is not to be entered. `level` is 1 for a folder
    /// in the first one.
    [[nodiscard]] std::string refuseFolder(std::uint64_t id, std::string_view path,
                                           std::size_t level);

  private:
    std::uint64_t mostEntries_;
    std::uint64_t entries_ = 0;
    std::set<std::uint64_t> entered_;
};

}  // namespace vellmark
