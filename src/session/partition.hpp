// The open Macintosh volume of a verb: from the command line to the mounted volume and back to a
// closed file.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "reading/plain_image.hpp"
#include "session/command_context.hpp"
#include "session/options.hpp"
#include "session/terminal.hpp"
#include "support/messages.hpp"
#include "volume/mount.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

struct PartitionOptions {
    std::string image;
    std::optional<unsigned> partition = {};  ///< from 1; nothing for the first that has a volume
    bool writable = false;                   ///< change a bare volume as well, and a locked one
    bool unlocks = false;                    ///< change a locked one
};

/// Declares `--partition`.
void AddPartitionNumber(OptionSet& arguments, std::optional<unsigned>& partition);
/// Declares IMAGE, `--partition` and `--writable`, for a verb that changes a volume.
void AddPartitionOptions(OptionSet& arguments, PartitionOptions& options);

/// Why a volume cannot be changed, and what helps where anything does, in sentences; "" when
/// nothing speaks against it.
[[nodiscard]] std::string ChangeRefusal(const ReadOnlyReasons& reasons);

class Partition {
  public:
    /// Opens an image, expanded where it is a compressed one, and mounts its volume. For changes it
    /// is locked, so that no other process changes it meanwhile, and refused when it may only be
    /// read. Nothing after a message that names the image and the reason. The context's clock must
    /// outlive the partition.
    [[nodiscard]] static std::unique_ptr<Partition> Open(const PartitionOptions& options,
                                                         CommandContext& context,
                                                         Terminal& terminal, Access access);

    [[nodiscard]] VolumeContext& volume() { return volume_; }
    /// Writes back what `LoadAllocationState` loaded, hands everything to the device and closes the
    /// image. False after a message when a transfer failed, whenever since the opening. A partition
    /// that is let go without this writes nothing more.
    [[nodiscard]] bool close(Messages& messages);

  private:
    Partition(const Clock& clock, PlainImage image) : clock_(clock), image_(std::move(image)) {}
    [[nodiscard]] std::string closingProblem();

    const Clock& clock_;
    PlainImage image_;
    Access access_ = Access::Read;
    VolumeContext volume_;
};

}  // namespace vellmark
