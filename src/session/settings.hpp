// The settings of a user: which values there are, what each of them may be, and what stands in for
// one that is missing or wrong. All values are kept as text.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "session/file_modes.hpp"
#include "support/settings_store.hpp"
#include "support/texts.hpp"

namespace vellmark {

/// Names of the values.
namespace setting {
inline constexpr std::string_view kLanguage = "Lang";          ///< "1" French, "0" English
inline constexpr std::string_view kExtension = "Ext";          ///< up to 4 characters
inline constexpr std::string_view kOptions = "Options";        ///< decimal, see `OptionBit`
inline constexpr std::string_view kVlOptions = "VL-Options";   ///< decimal, see `VlOptionBit`
inline constexpr std::string_view kWindow = "Rect";            ///< left, top, width, height, tree
inline constexpr std::string_view kColumns = "Col";            ///< up to seven widths
inline constexpr std::string_view kJournal = "Journal";        ///< path of the journal
inline constexpr std::string_view kSignatures = "Sign";        ///< path of the signature table
inline constexpr std::string_view kDocumentFolder = "DProj";   ///< last folder of documents
inline constexpr std::string_view kCompileFolder = "DComp";    ///< last folder of images made
inline constexpr std::string_view kCopyFolder = "Reper";       ///< last target of copies
inline constexpr std::string_view kBrowserState = "WinVLV";    ///< window of the PC browser
inline constexpr std::string_view kBrowserFolder = "WReper";   ///< last folder of the PC browser
inline constexpr std::string_view kIconComposer = "Composer";  ///< path of a program
inline constexpr std::string_view kViewerFont = "Corps";       ///< decimal, points
inline constexpr std::string_view kFontId = "numpol";          ///< decimal, of the next font
inline constexpr std::string_view kProjectSize = "szProj";     ///< decimal, MB
inline constexpr std::string_view kIsoPlusSize = "szIsop";     ///< decimal, MB
}  // namespace setting

/// Bits of `Settings::options`.
enum OptionBit : std::uint32_t {
    kOptionNamingMask = 7,  ///< naming policy of copies to the PC: 1, 2, 4 or 6; 0: none chosen
    kOptionShortenImported = 8,  ///< names too long for a volume are shortened without a question
    kOptionAddedCrc = 16,        ///< a shortened name that is taken ends in a checksum
    kOptionExtendUnknown = 32,   ///< unidentified files get the generic extension
    kOptionHideToolBar = 128,
    kOptionShowHidden = 256,
    kOptionDeleteSilently = 1024,
};
/// Bits of `Settings::vlOptions`.
enum VlOptionBit : std::uint32_t {
    kVlKeepMode = 1,         ///< the next start is in the last working mode
    kVlShortenNames = 2,     ///< names too long for a view are shortened without a question
    kVlNoBackup = 4,         ///< no backup copy of a project
    kVlOpenRoot = 8,         ///< new projects and joined discs open the root's window when mounted
    kVlNewHfsPlus = 16,      ///< new projects are HFS+
    kVlModeMask = 64 | 128,  ///< the last working mode
    kVlStartHfsPlus = 256,   ///< HFS+ is meant before anything is open
    kVlRebuild = 512,        ///< new projects are rebuilt before each build
    kVlOpenJournal = 1024,
};
inline constexpr int kVlModeShift = 6;

/// The main window, in pixels.
struct WindowPlace {
    int left = 50;
    int top = 50;
    int width = 700;
    int height = 450;
    int treeWidth = 120;  ///< 0 hides the tree
    bool operator==(const WindowPlace&) const = default;
};

/// Widths of the list's columns in pixels; 0 hides one.
using ColumnWidths = std::array<int, 7>;
inline constexpr ColumnWidths kDefaultColumnWidths = {160, 90, 70, 70, 90, 90, 120};

/// What is read at the start and, but for the tables' path, written at the end.
struct Settings {
    std::optional<Language> language;  ///< nothing: never chosen
    std::string extension = "TXT";     ///< of files that the signature table does not know
    std::uint32_t options = 0;
    std::uint32_t vlOptions = 0;
    WindowPlace window;
    ColumnWidths columns = kDefaultColumnWidths;
    std::string journal;
    std::string iconComposer;  ///< program that edits icons, "" for none
    int viewerFontPoints = 8;
    int projectSizeMb = 700;  ///< reference size of the gauge
    int isoPlusSizeMb = 700;

    [[nodiscard]] bool has(OptionBit bit) const { return (options & bit) != 0; }
    [[nodiscard]] bool has(VlOptionBit bit) const { return (vlOptions & bit) != 0; }
    /// The mode to start in: the last one when it is kept, else `Project`.
    [[nodiscard]] FileMode startMode() const;
};

/// Every value that is missing, empty or wrong has its default. A place outside the screen is put
/// back by values of its own: left 50, top 50, width 750, height 500, tree 120.
[[nodiscard]] Settings LoadSettings(const SettingsStore& store);

/// Writes what the end of a run with a window keeps. `mode` is kept when the options say so.
void SaveSettings(const Settings& settings, FileMode mode, SettingsStore& store);

/// Up to four characters of a text, as the generic extension can have.
[[nodiscard]] std::string CutExtension(std::string_view text);

/// The folder kept under that name, with `/` at its end, else the one given.
[[nodiscard]] std::string KeptFolder(const SettingsStore& store, std::string_view name,
                                     std::string_view otherwise);
/// Keeps the folder of a path: what stands up to its last `/`.
void KeepFolderOf(std::string_view path, std::string_view name, SettingsStore& store);

/// The number of the next font that comes to a volume: no two of a person have the same.
[[nodiscard]] std::uint16_t NextFontId(const SettingsStore& store);
void KeepNextFontId(std::uint16_t id, SettingsStore& store);

/// The last five documents of a mode, newest first.
[[nodiscard]] std::vector<std::string> RecentFiles(const SettingsStore& store, FileMode mode);
/// Puts a document at the head of them.
void NoteRecentFile(const std::string& path, FileMode mode, SettingsStore& store);

}  // namespace vellmark
