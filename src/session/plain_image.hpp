// The plain image that a verb reads in place of a compressed one.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "IO/expanded_image.hpp"
#include "session/command_context.hpp"
#include "session/terminal.hpp"
#include "volume/mount.hpp"

namespace vellmark {

/// Tells why an image was not expanded, or what is odd about it when it was: where something is
/// missing, even to somebody who wants no remarks.
void TellExpansion(const ExpandResult& result, const std::string& name, Messages& messages);

class PlainImage {
  public:
    /// What is to be opened for an image that somebody named. A compressed one is expanded: without
    /// a terminal, for reading, into a temporary file that goes with this object; on a terminal
    /// after a question, and another one whether the plain image is to be kept, under a name that
    /// is then changed too where the image is to be changed. Everything else is opened as it is, a
    /// compressed image that is to be changed too, so that whoever opens it refuses it. Nothing
    /// after a message, or when the person did not want it. The context notes an image that lacks
    /// something.
    [[nodiscard]] static std::optional<PlainImage> Open(const std::string& named, Access access,
                                                        CommandContext& context,
                                                        Terminal& terminal);

    /// The path to open.
    [[nodiscard]] const std::string& path() const { return path_; }
    /// How messages call the image.
    [[nodiscard]] const std::string& name() const { return isTemporary() ? named_ : path_; }
    /// How it is to be opened.
    [[nodiscard]] const FileGuard& guard() const { return guard_; }
    /// It goes with this object, and so do changes.
    [[nodiscard]] bool isTemporary() const { return expanded_ != nullptr; }

  private:
    PlainImage(std::string named, FileGuard guard)
        : named_(std::move(named)), path_(named_), guard_(std::move(guard)) {}

    std::string named_;
    std::string path_;
    FileGuard guard_;
    std::unique_ptr<ExpandedImage> expanded_;
};

}  // namespace vellmark
