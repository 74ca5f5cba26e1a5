#include "join/cue_sheet.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <vector>

#include "IO/raw_sector.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr std::uint64_t kMostSheetBytes = 1 << 20;
constexpr std::string_view kBlanks = " \t\r\n";

// The words of a line; a name in quotation marks is of no interest here.
std::vector<std::string_view> WordsOf(std::string_view line) {
    std::vector<std::string_view> words;
    while (!line.empty()) {
        const std::size_t start = std::min(line.find_first_not_of(kBlanks), line.size());
        line.remove_prefix(start);
        const std::size_t end = std::min(line.find_first_of(kBlanks), line.size());
        if (end > 0)
            words.push_back(line.substr(0, end));
        line.remove_prefix(end);
    }
    return words;
}

bool IsStatement(const std::vector<std::string_view>& words, std::string_view name) {
    return !words.empty() && AsciiUpper(words[0]) == name;
}

std::optional<std::uint32_t> NumberOf(std::string_view text) {
    std::uint32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc{} && rest == end ? std::optional(number) : std::nullopt;
}

// Frames of "mm:ss:ff".
std::optional<std::uint32_t> FramesOf(std::string_view text) {
    if (text.size() != 8 || text[2] != ':' || text[5] != ':')
        return std::nullopt;
    const auto minutes = NumberOf(text.substr(0, 2));
    const auto seconds = NumberOf(text.substr(3, 2));
    const auto frames = NumberOf(text.substr(6, 2));
    if (!minutes || !seconds || !frames || *seconds >= 60 || *frames >= kFramesPerSecond)
        return std::nullopt;
    return *minutes * kFramesPerMinute + *seconds * kFramesPerSecond + *frames;
}

std::string PositionLine(std::uint32_t index, std::uint32_t frames) {
    return fmt::format("    INDEX {:02} {:02}:{:02}:{:02}\r\n", index, frames / kFramesPerMinute,
                       frames % kFramesPerMinute / kFramesPerSecond, frames % kFramesPerSecond);
}

// Each line with its ending.
template <typename Take>
void ForEachLine(std::string_view text, const Take& take) {
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::size_t length = end == std::string_view::npos ? text.size() : end + 1;
        take(text.substr(0, length));
        text.remove_prefix(length);
    }
}

}  // namespace

std::string CueSheetPath(const std::string& imagePath) {
    for (const char* extension : {".cue", ".CUE", ".Cue"}) {
        std::string path = std::filesystem::path(imagePath).replace_extension(extension).string();
        if (path != imagePath && PcFactsOf(path).kind == PcKind::File)
            return path;
    }
    return {};
}

std::string CueSheetOf(const std::string& imagePath) {
    const std::string path = CueSheetPath(imagePath);
    if (path.empty())
        return {};
    PcFile file(path, PcFile::Mode::Read);
    if (!file.isOpen() || file.size() > kMostSheetBytes)
        return {};
    std::string text(static_cast<std::size_t>(file.size()), '\0');
    const bool isWhole =
        file.readExactly(0, {reinterpret_cast<std::uint8_t*>(text.data()), text.size()});
    return isWhole ? text : std::string{};
}

int TracksOfCueSheet(std::string_view sheet) {
    int tracks = 0;
    ForEachLine(sheet, [&](std::string_view line) {
        tracks += IsStatement(WordsOf(line), "TRACK") ? 1 : 0;
    });
    return tracks;
}

std::optional<std::string> MoveTracks(std::string_view sheet, std::uint32_t second,
                                      std::uint32_t frames) {
    std::string moved;
    int tracks = 0;
    int files = 0;
    std::optional<std::uint32_t> start;  // of the second track
    bool isSound = true;
    ForEachLine(sheet, [&](std::string_view line) {
        const auto words = WordsOf(line);
        files += IsStatement(words, "FILE") ? 1 : 0;
        tracks += IsStatement(words, "TRACK") ? 1 : 0;
        if (!IsStatement(words, "INDEX") || tracks < 2) {
            moved += line;
            return;
        }
        const auto index = words.size() == 3 ? NumberOf(words[1]) : std::nullopt;
        const auto at = words.size() == 3 ? FramesOf(words[2]) : std::nullopt;
        isSound = isSound && index && at && *at + frames < kMostRawSectors;
        if (!isSound)
            return;
        if (tracks == 2 && *index == 1)
            start = at;
        moved += PositionLine(*index, *at + frames);
    });
    if (!isSound || files != 1 || start != second)
        return std::nullopt;
    return moved;
}

}  // namespace vellmark
