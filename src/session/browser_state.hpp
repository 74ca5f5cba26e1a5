// How the window that shows files of the PC looked the last time.
#pragma once

#include <string>

#include "support/settings_store.hpp"

namespace vellmark {

enum class BrowserStyle : int { LargeIcons, SmallIcons, List, Report };
inline constexpr int kBrowserStyles = 4;

struct BrowserState {
    int left = -1;  ///< in pixels; -1: where the desktop puts it
    int top = -1;
    int width = 0;  ///< 0: as large as suits it
    int height = 0;
    BrowserStyle style = BrowserStyle::Report;
    bool operator==(const BrowserState&) const = default;
};

/// What is missing or cannot be is as above.
[[nodiscard]] BrowserState LoadBrowserState(const SettingsStore& store);
void KeepBrowserState(const BrowserState& state, SettingsStore& store);

/// The folder to begin in, with `/` at its end: the one that was looked at last, else the one that
/// copies went to last, else `otherwise`; the nearest one above it that is still there.
[[nodiscard]] std::string BrowserFolder(const SettingsStore& store, const std::string& otherwise);

}  // namespace vellmark
