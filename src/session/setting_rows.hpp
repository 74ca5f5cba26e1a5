// The settings that a person can see and change, each under a word of its own: what `config` lists
// and what a dialog of settings shows.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "session/settings.hpp"
#include "support/result.hpp"
#include "support/sentences.hpp"
#include "support/settings_store.hpp"

namespace vellmark {

/// A word for a value as it is kept.
struct SettingWord {
    std::string_view word;
    std::uint32_t value;
};

enum class SettingKind { Words, Bits, Extension, JournalPath, ProgramPath, SignaturePath };

struct SettingRow {
    std::string_view name;
    SettingKind kind;
    std::string_view key;                ///< under which it is kept, see `setting`
    std::uint32_t mask;                  ///< of Bits
    std::span<const SettingWord> words;  ///< of Words and Bits
    Sentence summary;
};

/// All of them, in the order in which they are shown.
[[nodiscard]] std::span<const SettingRow> SettingRows();
/// Null when there is none of that name.
[[nodiscard]] const SettingRow* SettingRowOf(std::string_view name);

/// The value as a person reads it.
[[nodiscard]] std::string SettingValue(const SettingRow& row, const Settings& settings,
                                       const SettingsStore& store);

/// The text that is kept for a value as a person types it, paths from the root; `settings` has the
/// other bits of the same text.
[[nodiscard]] Result<std::string> SettingText(const SettingRow& row, const std::string& value,
                                              const Settings& settings);

}  // namespace vellmark
