#include "session/settings.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>

#include "containers/fonts/mac_font_fork.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kExtensionCharacters = 4;
constexpr std::size_t kRecentFiles = 5;

template <typename Number>
std::optional<Number> NumberOf(std::string_view text) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == text.npos)
        return std::nullopt;
    text = text.substr(first, text.find_last_not_of(' ') + 1 - first);
    Number number{};
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc{} && rest == end ? std::optional(number) : std::nullopt;
}

template <typename Number>
Number ReadNumber(const SettingsStore& store, std::string_view name, Number otherwise) {
    const auto text = store.read(name);
    return text ? NumberOf<Number>(*text).value_or(otherwise) : otherwise;
}

// The numbers between the commas; nothing in the place of what is no number.
std::vector<std::optional<int>> ReadNumbers(const SettingsStore& store, std::string_view name) {
    std::vector<std::optional<int>> numbers;
    const std::string text = store.read(name).value_or("");
    for (std::size_t at = 0; !text.empty() && at != std::string::npos;) {
        const std::size_t comma = text.find(',', at);
        numbers.push_back(NumberOf<int>(std::string_view(text).substr(at, comma - at)));
        at = comma == std::string::npos ? comma : comma + 1;
    }
    return numbers;
}

WindowPlace ReadWindow(const SettingsStore& store) {
    struct Check {
        int WindowPlace::*value;
        int least;
        int most;
        int otherwise;  // not the default of a first start, on purpose
    };
    constexpr Check kChecks[] = {{&WindowPlace::left, 1, 2500, 50},
                                 {&WindowPlace::top, 1, 2000, 50},
                                 {&WindowPlace::width, 0, 2000, 750},
                                 {&WindowPlace::height, 0, 2000, 500},
                                 {&WindowPlace::treeWidth, 0, 2000, 120}};
    WindowPlace place;
    const auto numbers = ReadNumbers(store, setting::kWindow);
    for (std::size_t i = 0; i < std::min(numbers.size(), std::size(kChecks)); ++i) {
        const Check& check = kChecks[i];
        const int number = numbers[i].value_or(-1);
        place.*check.value = number < check.least || number > check.most ? check.otherwise : number;
    }
    if (place.treeWidth > place.width / 2)
        place.treeWidth = WindowPlace{}.treeWidth;
    return place;
}

ColumnWidths ReadColumns(const SettingsStore& store) {
    ColumnWidths widths = kDefaultColumnWidths;
    const auto numbers = ReadNumbers(store, setting::kColumns);
    for (std::size_t i = 0; i < std::min(numbers.size(), widths.size()); ++i)
        if (numbers[i].value_or(-1) >= 0)
            widths[i] = *numbers[i];
    return widths;
}

std::string RecentName(FileMode mode, std::size_t number) {
    return fmt::format("MRU{}.{}", static_cast<int>(mode) + 1, number);
}

}  // namespace

FileMode Settings::startMode() const {
    const auto mode = (vlOptions & kVlModeMask) >> kVlModeShift;
    return has(kVlKeepMode) && mode <= static_cast<std::uint32_t>(FileMode::IsoPlus)
               ? static_cast<FileMode>(mode)
               : FileMode::Project;
}

std::string CutExtension(std::string_view text) {
    return WideToUtf8(Utf8ToWide(text).substr(0, kExtensionCharacters));
}

Settings LoadSettings(const SettingsStore& store) {
    Settings settings;
    if (const auto language = store.read(setting::kLanguage); language && !language->empty())
        settings.language =
            NumberOf<int>(*language).value_or(0) != 0 ? Language::French : Language::English;
    if (const auto extension = store.read(setting::kExtension); extension && !extension->empty())
        settings.extension = CutExtension(*extension);
    settings.options = ReadNumber(store, setting::kOptions, settings.options);
    settings.vlOptions = ReadNumber(store, setting::kVlOptions, settings.vlOptions);
    settings.window = ReadWindow(store);
    settings.columns = ReadColumns(store);
    settings.journal = store.read(setting::kJournal).value_or("");
    settings.iconComposer = store.read(setting::kIconComposer).value_or("");
    const auto readPositive = [&](std::string_view name, int otherwise) {
        const int number = ReadNumber(store, name, otherwise);
        return number < 0 ? otherwise : number;
    };
    settings.viewerFontPoints = std::max(readPositive(setting::kViewerFont, 8), 1);
    settings.projectSizeMb = readPositive(setting::kProjectSize, settings.projectSizeMb);
    settings.isoPlusSizeMb = readPositive(setting::kIsoPlusSize, settings.isoPlusSizeMb);
    return settings;
}

void SaveSettings(const Settings& settings, FileMode mode, SettingsStore& store) {
    const WindowPlace& window = settings.window;
    std::uint32_t vlOptions = settings.vlOptions & ~kVlModeMask;
    if (settings.has(kVlKeepMode) && mode != FileMode::Unknown)
        vlOptions |= static_cast<std::uint32_t>(mode) << kVlModeShift;
    store.write(setting::kWindow, fmt::format("{},{},{},{},{}", window.left, window.top,
                                              window.width, window.height, window.treeWidth));
    store.write(setting::kColumns, fmt::format("{}", fmt::join(settings.columns, ",")));
    if (settings.language)
        store.write(setting::kLanguage, *settings.language == Language::French ? "1" : "0");
    store.write(setting::kExtension, settings.extension);
    store.write(setting::kOptions, fmt::to_string(settings.options));
    if (settings.has(kVlOpenJournal))
        store.write(setting::kJournal, settings.journal);
    store.write(setting::kVlOptions, fmt::to_string(vlOptions));
    store.write(setting::kProjectSize, fmt::to_string(settings.projectSizeMb));
    store.write(setting::kIsoPlusSize, fmt::to_string(settings.isoPlusSizeMb));
}

std::string KeptFolder(const SettingsStore& store, std::string_view name,
                       std::string_view otherwise) {
    std::string folder = store.read(name).value_or("");
    if (folder.empty())
        folder = otherwise;
    if (!folder.empty() && !folder.ends_with('/'))
        folder += '/';
    return folder;
}

void KeepFolderOf(std::string_view path, std::string_view name, SettingsStore& store) {
    if (const std::size_t slash = path.rfind('/'); slash != path.npos)
        store.write(name, path.substr(0, slash + 1));
}

std::vector<std::string> RecentFiles(const SettingsStore& store, FileMode mode) {
    std::vector<std::string> paths;
    for (std::size_t i = 1; i <= kRecentFiles; ++i)
        if (auto path = store.read(RecentName(mode, i)); path && !path->empty())
            paths.push_back(std::move(*path));
    return paths;
}

void NoteRecentFile(const std::string& path, FileMode mode, SettingsStore& store) {
    std::vector<std::string> paths = RecentFiles(store, mode);
    std::erase(paths, path);
    paths.insert(paths.begin(), path);
    for (std::size_t i = 0; i < std::min(paths.size(), kRecentFiles); ++i)
        store.write(RecentName(mode, i + 1), paths[i]);
}

std::uint16_t NextFontId(const SettingsStore& store) {
    const int id = ReadNumber(store, setting::kFontId, kFirstFontId);
    return id >= kFirstFontId && id <= kLastFontId ? static_cast<std::uint16_t>(id) : kFirstFontId;
}

void KeepNextFontId(std::uint16_t id, SettingsStore& store) {
    store.write(setting::kFontId, fmt::to_string(id));
}

}  // namespace vellmark
