#include "project/include_list.hpp"

#include <algorithm>
#include <string_view>

#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

/// A list of all files that a project can hold, with long paths, is shorter.
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 30;
constexpr std::size_t kLongestLine = 4096;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t\r";

// Why a line is no path; none when it may be one.
Reason RefusalOf(std::string_view line) {
    if (line.empty())
        return Sentence::kIsEmpty;
    if (line.size() > kLongestLine)
        return Sentence::kLineTooLong;
    const bool hasControl = std::any_of(line.begin(), line.end(), [](char c) {
        return static_cast<unsigned char>(c) < 0x20 && c != '\t';
    });
    return hasControl ? Reason(Sentence::kLineIsNoText) : Reason();
}

std::string_view Trimmed(std::string_view line) {
    const std::size_t first = line.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return line.substr(first, line.find_last_not_of(kBlanks) + 1 - first);
}

// The whole file.
Result<std::string> ReadWhole(const std::string& path) {
    const PcFacts facts = PcFactsOf(path);
    if (facts.kind == PcKind::Folder || facts.kind == PcKind::Special)
        return Failed(Sentence::kIsNoFile);
    if (facts.sizeBytes > kMostBytes)
        return Failed(Sentence::kListTooLarge);
    PcFile file(path, PcFile::Mode::Read);
    std::string bytes(static_cast<std::size_t>(facts.sizeBytes), '\0');
    if (file.isOpen())
        bytes.resize(file.readAt(0, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
    if (file.error() != 0)
        return Failed(Reason(SystemError{file.error()}));
    return bytes;
}

}  // namespace

Result<std::vector<std::string>> ReadIncludeList(const std::string& path, std::int64_t& skipped,
                                                 Messages& messages) {
    const Result<std::string> bytes = ReadWhole(path);
    if (!bytes)
        return Failed(Sentence::kListUnreadable, Printable(path), bytes.error());
    std::vector<std::string> lines;
    std::string_view rest = *bytes;
    if (rest.starts_with(kByteOrderMark))
        rest.remove_prefix(kByteOrderMark.size());
    for (std::size_t number = 1; !rest.empty(); ++number) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = Trimmed(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        const Reason refusal = RefusalOf(line);
        if (!refusal) {
            lines.emplace_back(line);
            continue;
        }
        messages.itemSkipped(messages.words(Reason(Sentence::kLineOfList, Printable(path), number)),
                             refusal);
        ++skipped;
    }
    if (lines.empty())
        return Failed(Sentence::kListNamesNothing, Printable(path));
    return lines;
}

}  // namespace vellmark
