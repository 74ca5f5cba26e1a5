// What the verbs that change a volume share: the open partition with its bitmap, items found by
// their paths, and the way from what went wrong to an exit status.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "session/command_context.hpp"
#include "session/partition.hpp"
#include "session/terminal.hpp"
#include "volume/catalog.hpp"
#include "volume/edit_result.hpp"

namespace vellmark {

/// A signal to end does not end the process while it lives: see `StopSignals`.
class ChangeRun {
  public:
    ChangeRun(CommandContext& context, bool quiet = false)
        : terminal(context, TerminalOptionsOf(context, quiet)), context_(context) {}

    /// Opens the volume for changes. False after a message.
    [[nodiscard]] bool open(const PartitionOptions& options);
    [[nodiscard]] VolumeContext& volume() { return partition_->volume(); }
    [[nodiscard]] const Clock& clock() const { return context_.clock; }

    /// The item of a path. Nothing after a message, which makes the run fail.
    [[nodiscard]] std::optional<CatalogItem> find(const std::string& path);
    /// The same for a folder.
    [[nodiscard]] std::optional<CatalogItem> findFolder(const std::string& path);
    /// A sentence about what could not be done: the run fails at its end.
    void problem(std::string_view sentence);
    /// Tells why an item was not changed; true when it was.
    bool judge(EditResult result, const std::string& path);
    /// Writes everything back and closes the image; the exit status.
    [[nodiscard]] int finish();

    Terminal terminal;
    bool failed = false;
    bool isWritten = false;  ///< after `finish`: the volume has all that was changed

  private:
    const StopSignals signals_;
    CommandContext& context_;
    std::unique_ptr<Partition> partition_;
};

/// A path taken apart: the folder, "" for the root, and the last name, "" for the root itself.
struct SplitPath {
    std::string folder;
    std::string name;
};
[[nodiscard]] SplitPath SplitVolumePath(std::string_view path);

/// Four MacRoman letters as a person types them, filled up with blanks; nothing when they cannot be
/// a type or a creator.
[[nodiscard]] std::optional<std::array<char, 4>> FourLetterCode(const std::string& typed);

}  // namespace vellmark
