// The file that a verb makes, or the standard output in its place.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "session/command_context.hpp"
#include "support/messages.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

/// Files that are not written from their start to their end are made whole in a temporary folder,
/// and then sent to the standard output, where `-` is named as the target.
class OutputFile {
  public:
    /// `named` is what a person typed. What goes to the standard output bears the name `standIn`
    /// for as long as it is a file: labels are made of it.
    OutputFile(const std::string& named, std::string_view standIn);

    /// False, after a message, when there is no temporary folder.
    [[nodiscard]] bool isReady(Messages& messages) const;
    /// The file to make.
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] bool isStandardOutput() const { return folder_.has_value(); }
    /// Sends what was made there, where it goes to the standard output. False, after a message,
    /// when it could not be sent; a reader that has seen enough is reported at the end of the
    /// program.
    [[nodiscard]] bool send(CommandContext& context, Messages& messages) const;

  private:
    std::optional<TemporaryFolder> folder_;
    std::string path_;
};

}  // namespace vellmark
