#include "session/file_modes.hpp"

#include <algorithm>
#include <array>

#include "support/encoding.hpp"

namespace vellmark {

namespace {

struct Row {
    FileMode mode;
    std::string_view extension;
};

// The end row has the empty text, which every extension begins with.
constexpr std::array<Row, 7> kExtensions = {{{FileMode::Project, ".VLPR"},
                                             {FileMode::Project, ".CAT"},
                                             {FileMode::Partition, ".HFS"},
                                             {FileMode::Partition, ".ISO"},
                                             {FileMode::Partition, ".DMG"},
                                             {FileMode::IsoPlus, ".VLSO"},
                                             {FileMode::Unknown, ""}}};

}  // namespace

FileMode FileModeOf(std::string_view path) {
    const std::string_view name = path.substr(path.find_last_of("/\\") + 1);
    const std::size_t dot = std::min(name.find_last_of('.'), name.size());
    const std::string extension = AsciiUpper(name.substr(dot));
    return std::find_if(kExtensions.begin(), kExtensions.end(),
                        [&](const Row& row) { return extension.starts_with(row.extension); })
        ->mode;
}

ProjectMode ProjectModeOf(std::string_view path) {
    return FileModeOf(path) == FileMode::IsoPlus ? ProjectMode::IsoPlus : ProjectMode::Hybrid;
}

}  // namespace vellmark
