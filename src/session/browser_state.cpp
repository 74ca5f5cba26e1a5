#include "session/browser_state.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "session/settings.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr int kMostPixels = 10'000;
constexpr int kLeastPixels = 200;

bool IsWithin(int value, int least, int most) {
    return value >= least && value <= most;
}

}  // namespace

BrowserState LoadBrowserState(const SettingsStore& store) {
    const std::string text = store.read(setting::kBrowserState).value_or("");
    std::array<int, 5> numbers{};
    const char* at = text.data();
    const char* const end = at + text.size();
    for (int& number : numbers) {
        const auto [rest, error] = std::from_chars(at, end, number);
        if (error != std::errc())
            return {};
        at = rest == end ? rest : rest + 1;
    }
    const auto [left, top, width, height, style] = numbers;
    BrowserState state;
    if (IsWithin(left, 0, kMostPixels) && IsWithin(top, 0, kMostPixels)) {
        state.left = left;
        state.top = top;
    }
    if (IsWithin(width, kLeastPixels, kMostPixels) && IsWithin(height, kLeastPixels, kMostPixels)) {
        state.width = width;
        state.height = height;
    }
    if (IsWithin(style, 0, kBrowserStyles - 1))
        state.style = static_cast<BrowserStyle>(style);
    return state;
}

void KeepBrowserState(const BrowserState& state, SettingsStore& store) {
    store.write(setting::kBrowserState,
                fmt::format("{},{},{},{},{}", state.left, state.top, state.width, state.height,
                            static_cast<int>(state.style)));
}

std::string BrowserFolder(const SettingsStore& store, const std::string& otherwise) {
    std::string folder = KeptFolder(store, setting::kBrowserFolder,
                                    KeptFolder(store, setting::kCopyFolder, otherwise));
    while (folder.size() > 1 && PcFactsOf(folder).kind != PcKind::Folder)
        folder.erase(folder.find_last_of('/', folder.size() - 2) + 1);
    return folder;
}

}  // namespace vellmark
