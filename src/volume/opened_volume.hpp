// The Macintosh volume of an image, from the path to the mounted volume and back to a closed file.
#pragma once

#include <memory>
#include <optional>

#include "support/messages.hpp"
#include "support/reason.hpp"
#include "volume/mount.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

/// A volume that is only read.
class ReadVolume {
  public:
    /// Opens and mounts. Nothing after a message that names the image and the reason.
    [[nodiscard]] static std::unique_ptr<ReadVolume> Open(OpenRequest request,
                                                          const FileGuard& guard,
                                                          Messages& messages);

    [[nodiscard]] VolumeContext& volume() { return volume_; }
    /// Closes the image. Why something of it could not be read since the opening; none when all
    /// was.
    [[nodiscard]] Reason close();

  private:
    std::string name_;
    VolumeContext volume_;
};

/// A volume that is changed. What was not written when this goes has never been.
class ChangedVolume {
  public:
    /// Opens the image, which no other process opens meanwhile, mounts its volume and loads its
    /// bitmap. Nothing after a message that names the image and the reason: a volume that may only
    /// be read is refused. `request.access` is `Change` whatever it says.
    [[nodiscard]] static std::unique_ptr<ChangedVolume> Open(OpenRequest request,
                                                             const FileGuard& guard,
                                                             Messages& messages);

    [[nodiscard]] WritableVolume& volume() { return *writable_; }
    /// Writes what was changed, hands everything to the device and closes the image. Why a transfer
    /// failed, whenever since the opening; else none, or a remark on what was changed.
    [[nodiscard]] Reason close(const Clock& clock);

  private:
    [[nodiscard]] Reason write(const Clock& clock);

    std::string name_;
    VolumeContext context_;
    std::optional<WritableVolume> writable_;
};

}  // namespace vellmark
