// The disk image that is open in Partition mode.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "reading/plain_image.hpp"
#include "reading/ports.hpp"
#include "support/pc_folder.hpp"
#include "volume/volume_context.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

class PartitionDocument {
  public:
    /// Opens an image to be changed, and to be read where it may not be: its file or its volume is
    /// protected, or it is a compressed one that was expanded into a temporary file, with which
    /// changes would go. Before a compressed one is expanded the person is asked whether, and
    /// whether the plain image is to be kept, under a name that is the document's then. Null after
    /// a message, or when the person did not want it.
    [[nodiscard]] static std::unique_ptr<PartitionDocument> Open(const std::string& path,
                                                                 const ReadingPorts& ports);
    ~PartitionDocument();
    PartitionDocument(const PartitionDocument&) = delete;
    PartitionDocument& operator=(const PartitionDocument&) = delete;

    [[nodiscard]] const std::string& path() const { return image_.name(); }
    [[nodiscard]] bool isReadOnly() const { return isReadOnly_; }
    /// Why it may only be read; none when it may be changed.
    [[nodiscard]] Reason readOnlyReason() const;
    /// Whether the volume can be joined to a disc: an image that has a boot record of its own
    /// cannot.
    [[nodiscard]] bool isJoinable() const { return isJoinable_; }
    /// Whether another file, or none, has the image's name by now.
    [[nodiscard]] bool isReplaced() const;
    /// The image as it is open, null where it is not one that others can read beside it.
    [[nodiscard]] PcFile* openFile() { return volume_.image.get(); }
    [[nodiscard]] VolumeContext& volume() { return volume_; }
    /// The volume as every change of it takes it, from the first call on; null when it may only be
    /// read.
    [[nodiscard]] WritableVolume* writable();
    /// Number of the folder that holds a folder; root holds itself.
    [[nodiscard]] std::uint32_t parentOf(std::uint32_t folder);

    /// Writes what was changed, and hands it to the device. False after a message.
    [[nodiscard]] bool save(const Clock& clock, Messages& messages);
    /// Saves it, where it may be changed, and copies the whole image to a file, in the place of one
    /// of that name. False after a message; the target is then as it was.
    [[nodiscard]] bool copyTo(const std::string& target, const Clock& clock, Messages& messages);

  private:
    explicit PartitionDocument(PlainImage image) : image_(std::move(image)) {}

    PlainImage image_;
    VolumeContext volume_;
    std::optional<WritableVolume> writable_;
    PcIdentity identity_;
    bool isReadOnly_ = false;
    bool isJoinable_ = true;
};

}  // namespace vellmark
