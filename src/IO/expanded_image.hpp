// A disk image that is expanded for as long as somebody reads it.
#pragma once

#include <memory>
#include <string>

#include "IO/disk_image.hpp"
#include "support/pc_file.hpp"
#include "support/progress.hpp"

namespace vellmark {

/// The plain image of a compressed one, in the system's folder for temporary files. The file has no
/// name there from the moment it is made, so that it goes with the process however that ends.
class ExpandedImage {
  public:
    /// Expands the image at `path`. Nothing when that fails: `result.problem` says why, and names
    /// the file.
    [[nodiscard]] static std::unique_ptr<ExpandedImage> Open(const std::string& path,
                                                             Progress& progress,
                                                             ExpandResult& result,
                                                             const ExpandOptions& options = {});

    /// By this path this process, and none other, opens the plain image while the object lives.
    [[nodiscard]] const std::string& path() const { return path_; }
    /// The plain image itself.
    [[nodiscard]] PcFile& file() { return file_; }

  private:
    ExpandedImage() = default;

    PcFile file_;
    std::string path_;
};

}  // namespace vellmark
