// Settings in a text file of the user: a line `Name=value` for each, UTF-8. In a value `\\`, `\n`
// and `\r` stand for a backslash and the line ends, which a path can hold.
#pragma once

#include "support/settings_store.hpp"

namespace vellmark {

/// The file is looked into at each call, so that what another process wrote meanwhile stays; while
/// one writes, others wait. A reader needs no lock, as a new file takes the place of the old one at
/// once. Lines that are no setting of this program stay as well.
class SettingsFile final : public SettingsStore {
  public:
    /// The path of the file, whose folder need not be there yet; "" keeps nothing.
    /// `lockWaitMs` is the longest time, in milliseconds, to wait for others that write settings.
    explicit SettingsFile(std::string path, unsigned lockWaitMs = 0)
        : path_(std::move(path)), lockWaitMs_(lockWaitMs) {}

    [[nodiscard]] std::optional<std::string> read(std::string_view name) const override;
    Reason write(std::string_view name, std::string_view value) override;
    [[nodiscard]] std::string placeOf(std::string_view name) const override {
        return path_ + ": " + std::string(name);
    }

  private:
    std::string path_;
    unsigned lockWaitMs_;
};

}  // namespace vellmark
