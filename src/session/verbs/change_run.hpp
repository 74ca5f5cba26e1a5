// What the verbs that work on one Macintosh volume share: the open image, and the way from what
// went wrong to an exit status.
#pragma once

#include <memory>
#include <optional>

#include "session/command_context.hpp"
#include "session/reading_ports.hpp"
#include "session/terminal.hpp"
#include "session/volume_options.hpp"
#include "volume/opened_volume.hpp"
#include "volume/path_changes.hpp"

namespace vellmark {

/// One that only reads. A compressed image is expanded for it.
class ReadRun {
  public:
    ReadRun(CommandContext& context, bool quiet)
        : terminal(context, TerminalOptionsOf(context, quiet)), context_(context) {}

    /// Opens the volume. False after a message.
    [[nodiscard]] bool open(const VolumeOptions& options);
    [[nodiscard]] VolumeContext& volume() { return volume_->volume(); }
    /// What could not be done: the run fails at its end.
    void problem(const Reason& reason);
    /// Closes the image; the exit status.
    [[nodiscard]] int finish();

    Terminal terminal;

  private:
    CommandContext& context_;
    std::optional<PlainImage> image_;
    std::unique_ptr<ReadVolume> volume_;
    bool failed_ = false;
};

/// One that changes. A signal to end does not end the process while it lives: see `StopSignals`.
class ChangeRun {
  public:
    ChangeRun(CommandContext& context, bool quiet = false)
        : terminal(context, TerminalOptionsOf(context, quiet)), context_(context) {}

    /// Opens the volume for changes. False after a message.
    [[nodiscard]] bool open(const VolumeOptions& options);
    [[nodiscard]] WritableVolume& volume() { return volume_->volume(); }
    [[nodiscard]] const Clock& clock() const { return context_.clock; }

    /// What could not be done: the run fails at its end.
    void problem(const Reason& reason);
    /// Says why a change was not made, where there is something to say.
    void judge(const PathChange& change);
    /// Writes everything back and closes the image; the exit status.
    [[nodiscard]] int finish();

    Terminal terminal;
    bool failed = false;
    bool isWritten = false;  ///< after `finish`: the volume has all that was changed

  private:
    const StopSignals signals_;
    CommandContext& context_;
    std::optional<PlainImage> image_;
    std::unique_ptr<ChangedVolume> volume_;
};

}  // namespace vellmark
