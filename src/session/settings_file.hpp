// Settings in a text file of the user: a line `Name=value` for each, UTF-8. In a value `\\`, `\n`
// and `\r` stand for a backslash and the line ends, which a path can hold.
#pragma once

#include "support/settings_store.hpp"

namespace vellmark {

/// The file is looked into at each call, so that what another process wrote meanwhile stays. Lines
/// that are no setting of this program stay as well.
class SettingsFile final : public SettingsStore {
  public:
    /// The path of the file, whose folder need not be there yet; "" keeps nothing.
    explicit SettingsFile(std::string path) : path_(std::move(path)) {}

    [[nodiscard]] std::optional<std::string> read(std::string_view name) const override;
    std::string write(std::string_view name, std::string_view value) override;

  private:
    std::string path_;
};

}  // namespace vellmark
