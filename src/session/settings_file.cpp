#include "session/settings_file.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "support/encoding.hpp"
#include "support/file_lock.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/result.hpp"
#include "support/sentences.hpp"
#include "support/targets.hpp"

namespace vellmark {

namespace {

constexpr std::uint64_t kMostBytes = 1 << 20;  // far more than settings need

struct Escape {
    char character;
    char letter;
};
constexpr Escape kEscapes[] = {{'\\', '\\'}, {'\n', 'n'}, {'\r', 'r'}};

std::string Escaped(std::string_view value) {
    std::string line;
    for (const char character : value) {
        char letter = 0;
        for (const Escape& escape : kEscapes)
            letter = escape.character == character ? escape.letter : letter;
        if (letter != 0)
            line += {'\\', letter};
        else
            line += character;
    }
    return line;
}

// A backslash before any other letter stands for itself: somebody typed it.
std::string Unescaped(std::string_view line) {
    std::string value;
    for (std::size_t i = 0; i < line.size(); ++i) {
        char character = line[i];
        if (character == '\\' && i + 1 < line.size())
            for (const Escape& escape : kEscapes)
                if (escape.letter == line[i + 1]) {
                    character = escape.character;
                    ++i;
                    break;
                }
        value += character;
    }
    return value;
}

// The bytes of the file, "" where there is none.
Result<std::string> Contents(const std::string& path) {
    const PcFacts facts = PcFactsOf(path);
    if (facts.kind == PcKind::Missing && !facts.isLink)
        return std::string();
    if (facts.kind != PcKind::File || facts.sizeBytes > kMostBytes)
        return Failed(Sentence::kSettingsNoFile);
    PcFile file(path, PcFile::Mode::Read);
    std::string bytes(static_cast<std::size_t>(facts.sizeBytes), '\0');
    bytes.resize(file.readAt(0, {reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
    if (file.error() != 0)
        return Failed(SystemError{file.error()});
    return bytes;
}

std::vector<std::string_view> LinesOf(std::string_view bytes) {
    std::vector<std::string_view> lines;
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\n'), bytes.size());
        std::string_view line = bytes.substr(0, end);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        lines.push_back(line);
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
    }
    return lines;
}

bool IsLineOf(std::string_view line, std::string_view name) {
    return line.starts_with(name) && line.substr(name.size()).starts_with('=');
}

// The file, for one writer at a time; an empty one is made where there is none.
PcFile LockedSettings(const std::string& path, unsigned waitMs) {
    return OpenLocked(
        [&path] {
            PcFile file(path, PcFile::Mode::Read);
            if (file.error() == ENOENT) {
                PcFile(path, PcFile::Mode::CreateNew).close();
                file = PcFile(path, PcFile::Mode::Read);
            }
            return file;
        },
        LockKind::Exclusive, waitMs);
}

}  // namespace

std::optional<std::string> SettingsFile::read(std::string_view name) const {
    if (path_.empty())
        return std::nullopt;
    const Result<std::string> bytes = Contents(path_);
    if (!bytes)
        return std::nullopt;
    for (const std::string_view line : LinesOf(*bytes))
        if (IsLineOf(line, name))
            return Unescaped(line.substr(name.size() + 1));
    return std::nullopt;
}

Reason SettingsFile::write(std::string_view name, std::string_view value) {
    if (path_.empty())
        return Sentence::kSettingsNoFolder;
    std::error_code ignored;  // what is missing shows when the file is made
    std::filesystem::create_directories(FolderOf(path_), ignored);
    const PcFile held = LockedSettings(FollowLink(path_), lockWaitMs_);
    if (held.error() == EWOULDBLOCK)
        return Reason(Sentence::kSettingsUnwritable, Printable(path_), SystemError{held.error()});
    const Result<std::string> before = Contents(path_);
    if (!before)
        return Reason(Sentence::kNamedReason, Printable(path_), before.error());
    std::string after;
    const std::string wanted = fmt::format("{}={}\n", name, Escaped(value));
    bool replaced = false;
    for (const std::string_view line : LinesOf(*before))
        if (!IsLineOf(line, name))
            after.append(line) += '\n';
        else if (!std::exchange(replaced, true))
            after += wanted;
    if (!replaced)
        after += wanted;
    if (after == *before)
        return {};
    TargetFile target(FollowLink(path_));
    int error = target.file().error();
    if (target.file().isOpen()) {
        (void)target.file().writeAt(
            0, {reinterpret_cast<const std::uint8_t*>(after.data()), after.size()});
        error = target.publish(true, true);
    }
    return error == 0 ? Reason()
                      : Reason(Sentence::kSettingsUnwritable, Printable(path_), SystemError{error});
}

}  // namespace vellmark
