#include "session/include_list.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <string_view>

#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

/// A list of all files that a project can hold, with long paths, is shorter.
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 30;
constexpr std::size_t kLongestLine = 4096;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\r";

// Why a line is no path; "" when it may be one.
std::string_view RefusalOf(std::string_view line) {
    if (line.empty())
        return "it is empty";
    if (line.size() > kLongestLine)
        return "it is longer than any path";
    const bool hasControl = std::any_of(line.begin(), line.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 && c != '\t';
    });
    return hasControl ? "it is no text" : std::string_view{};
}

std::string_view Trimmed(std::string_view line) {
    const std::size_t first = line.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return line.substr(first, line.find_last_not_of(kBlanks) + 1 - first);
}

// The whole file; nothing, and the reason in words, when it cannot be read.
bool ReadWhole(const std::string& path, std::string& bytes, std::string& reason) {
    const PcFacts facts = PcFactsOf(path);
    if (facts.kind == PcKind::Folder || facts.kind == PcKind::Special)
        reason = "it is no file";
    else if (facts.sizeBytes > kMostBytes)
        reason = "it is too large for a list";
    if (!reason.empty())
        return false;
    PcFile file(path, PcFile::Mode::Read);
    bytes.resize(static_cast<std::size_t>(facts.sizeBytes));
    if (file.isOpen())
        bytes.resize(file.readAt(0, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
    reason = file.errorText();
    return file.error() == 0;
}

}  // namespace

bool ReadIncludeList(const std::string& path, std::vector<std::string>& lines, Messages& messages) {
    std::string bytes;
    std::string reason;
    if (!ReadWhole(path, bytes, reason)) {
        messages.showMessage(
            fmt::format("The list {} cannot be read: {}.", Printable(path), reason));
        return false;
    }
    std::string_view rest = bytes;
    if (rest.starts_with(kByteOrderMark))
        rest.remove_prefix(kByteOrderMark.size());
    for (std::size_t number = 1; !rest.empty(); ++number) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = Trimmed(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (const std::string_view refusal = RefusalOf(line); refusal.empty())
            lines.emplace_back(line);
        else
            messages.itemSkipped(fmt::format("{}, line {}", Printable(path), number), refusal);
    }
    if (lines.empty())
        messages.showMessage(fmt::format("The list {} names nothing.", Printable(path)));
    return !lines.empty();
}

}  // namespace vellmark
