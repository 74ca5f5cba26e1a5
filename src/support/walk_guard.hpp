// Limits that bring a walk over the folders of a medium to its end, whatever the medium says: every
// folder is entered once, neither too deep nor after too many entries, and lies in bytes of its
// own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string_view>

#include "support/reason.hpp"

namespace vellmark {

/// Bytes of a medium that a walk has read.
class SeenBytes {
  public:
    /// Notes `count` bytes from `offset` on; false, and nothing noted, when some of them were noted
    /// before.
    [[nodiscard]] bool add(std::uint64_t offset, std::uint64_t count);

  private:
    std::map<std::uint64_t, std::uint64_t> ends_;  // by start; runs that touch are one
};

class WalkGuard {
  public:
    /// Folders deeper than this are left out.
    static constexpr std::size_t kMostLevels = 256;
    /// A tree that has more entries lists the same ones again and again.
    static constexpr std::uint64_t kMostEntries = 4'000'000;
    /// A walk that had to leave out more folders than this is at its end.
    static constexpr std::uint64_t kMostRefused = 100;

    /// `start` is the id of the folder in which the walk begins.
    explicit WalkGuard(std::uint64_t start, std::uint64_t mostEntries = kMostEntries)
        : mostEntries_(mostEntries), entered_{start} {}

    /// Counts an entry: a reason when the walk is to end here.
    [[nodiscard]] Reason refuseEntry();
    /// Notes a folder: a reason when it is not to be entered. `level` is 1 for a folder
    /// in the first one.
    [[nodiscard]] Reason refuseFolder(std::uint64_t id, std::string_view path, std::size_t level);
    /// Notes the bytes that a folder lies in, where they are known: a reason when some of
    /// them were those of another one. Folders that overlap are more than any walk could end.
    [[nodiscard]] Reason refuseBytes(std::uint64_t offset, std::uint64_t count,
                                     std::string_view path);

  private:
    [[nodiscard]] Reason refuse(Reason reason);

    std::uint64_t mostEntries_;
    std::uint64_t entries_ = 0;
    std::uint64_t refused_ = 0;
    std::set<std::uint64_t> entered_;
    SeenBytes seen_;
};

}  // namespace vellmark
