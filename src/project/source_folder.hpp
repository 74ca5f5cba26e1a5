// A folder of the PC as the records of a project name it: looked into once, and asked for many
// items.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "support/pc_folder.hpp"

namespace vellmark {

/// What is known of something that a record names.
enum class SourceState {
    There,
    Gone,    ///< nothing of that name, or something else than the record wants
    Unknown  ///< the system does not let us look, which is no proof that it is gone
};

/// One item that a record names.
struct FoundSource {
    SourceState state = SourceState::Gone;
    const PcItem* item = nullptr;  ///< set when it is there; lives as long as the folder
    int error = 0;                 ///< the system's number when the state is unknown
};

class SourceFolder {
  public:
    /// `accessPath` as records have it (Windows-1252, `/` at its end, components whole or 8.3).
    SourceFolder(std::string_view accessPath, PcPathResolver& resolver);
    SourceFolder(const SourceFolder&) = delete;
    SourceFolder& operator=(const SourceFolder&) = delete;

    [[nodiscard]] SourceState state() const { return state_; }
    /// Why the folder cannot be looked into, the system's number; 0 when it can or is gone.
    [[nodiscard]] int error() const { return error_; }
    /// The path of the system, `/` at its end; of a folder that is gone as far as it is known.
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] const std::vector<PcItem>& items() const { return items_; }

    /// What a source name stands for, whole or 8.3, of that kind. Does not depend on how many items
    /// there are.
    [[nodiscard]] FoundSource find(std::string_view sourceName, PcKind kind) const;
    /// Whether an item `._NAME` stands beside the item.
    [[nodiscard]] bool hasCompanion(const PcItem& item) const;
    /// Whether the item is a file `._NAME` without an item of that name beside it.
    [[nodiscard]] bool isLostCompanion(const PcItem& item) const;

  private:
    void index();
    [[nodiscard]] bool holds(std::string_view name) const;

    SourceState state_ = SourceState::There;
    int error_ = 0;
    std::string path_;
    std::vector<PcItem> items_;
    std::unordered_map<std::string_view, const PcItem*> bySourceName_;
    std::unordered_map<std::string_view, const PcItem*> byShortName_;
};

}  // namespace vellmark
