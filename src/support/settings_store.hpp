// The port through which settings are kept from one run to the next.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "support/reason.hpp"

namespace vellmark {

/// One text value (UTF-8) by name.
class SettingsStore {
  public:
    virtual ~SettingsStore() = default;
    /// Nothing when there is no such value, or it cannot be read.
    [[nodiscard]] virtual std::optional<std::string> read(std::string_view name) const = 0;
    /// Why the value could not be kept; none when it was. Start and end of a run say nothing about
    /// that: the default stands in next time.
    virtual Reason write(std::string_view name, std::string_view value) = 0;
    /// Where a value is kept, for a person who looks for it.
    [[nodiscard]] virtual std::string placeOf(std::string_view name) const {
        return std::string(name);
    }
};

/// Values that live as long as the object.
class MemorySettings final : public SettingsStore {
  public:
    [[nodiscard]] std::optional<std::string> read(std::string_view name) const override {
        const auto found = values.find(name);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }
    Reason write(std::string_view name, std::string_view value) override {
        values.insert_or_assign(std::string(name), value);
        return {};
    }

    std::map<std::string, std::string, std::less<>> values;
};

}  // namespace vellmark
