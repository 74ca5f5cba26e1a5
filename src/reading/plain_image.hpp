// The plain image that is read in place of a compressed one.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "IO/expanded_image.hpp"
#include "reading/ports.hpp"
#include "volume/mount.hpp"

namespace vellmark {

struct ExpandRequest {
    std::string image;       ///< a compressed disk image
    std::string target;      ///< the plain image to make, links followed
    std::string named = {};  ///< how messages call the target; empty for its path
    bool replace = false;    ///< a file that has the target's name
    bool verify = false;     ///< compare the checksums that the image carries
    bool isPassing = false;  ///< the plain image is passed on, and need not outlast a power cut
};

/// Makes a plain image of a compressed one, whole or not at all. The result is that of
/// `ExpandImageFile`, and `NotBegun` for a target that is the image itself or cannot be made;
/// messages say all that is odd.
[[nodiscard]] ExpandResult ExpandToFile(const ExpandRequest& request, const ReadingPorts& ports);

class PlainImage {
  public:
    /// What is to be opened for an image that somebody named; nothing when the person did not want
    /// it after all. A compressed one is to be expanded first: where nobody can be asked, for
    /// reading, into a temporary file that goes with this object; else after a question, and
    /// another one whether the plain image is to be kept, under a name that is then changed too
    /// where the image is to be changed. Everything else is opened as it is, a compressed image
    /// that is to be changed too, so that whoever opens it refuses it.
    [[nodiscard]] static std::optional<PlainImage> Choose(const std::string& named, Access access,
                                                          const ReadingPorts& ports);

    /// Whether `expand` has work to do, which can be long; it asks nothing.
    [[nodiscard]] bool isCompressed() const { return kept_.has_value(); }
    /// Does it. False after a message.
    [[nodiscard]] bool expand(const ReadingPorts& ports);

    /// The path to open.
    [[nodiscard]] const std::string& path() const { return path_; }
    /// How messages call the image.
    [[nodiscard]] const std::string& name() const { return isTemporary() ? named_ : path_; }
    /// How it is to be opened.
    [[nodiscard]] const FileGuard& guard() const { return guard_; }
    /// It goes with this object, and so do changes.
    [[nodiscard]] bool isTemporary() const { return expanded_ != nullptr; }
    /// It lacks something that the compressed one should have had, as a message said.
    [[nodiscard]] bool isIncomplete() const { return isIncomplete_; }

  private:
    PlainImage(std::string named, FileGuard guard)
        : named_(std::move(named)), path_(named_), guard_(std::move(guard)) {}

    std::string named_;
    std::string path_;
    std::optional<std::string> kept_;  // of a compressed one: where the plain image stays, or ""
    FileGuard guard_;
    std::unique_ptr<ExpandedImage> expanded_;
    bool isIncomplete_ = false;
};

}  // namespace vellmark
