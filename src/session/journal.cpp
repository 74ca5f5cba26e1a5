#include "session/journal.hpp"

#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "support/encoding.hpp"
#include "support/mac_dates.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kMark = "**********\r\n";
constexpr int kOpenLevel = 2;

std::string OneLine(std::string_view text) {
    std::string line(text);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    // A journal is shown on terminals too; its columns stand behind tabs.
    return ReplaceNotShown(
        line, [](char32_t scalar) { return std::string(scalar == '\t' ? "\t" : "\uFFFD"); });
}

// The end of the time that a line begins with, see `JournalTime`; nothing for any other text.
const char* EndOfTime(const char* text) {
    int end = -1;
    (void)std::sscanf(text, "%*4d/%*2d/%*2d - %*2d:%*2d:%*2d:%*2d%n", &end);
    return end < 0 ? nullptr : text + end;
}

// A journal begins with a mark or with the time of a line, also where an editor changed the line
// ends. Leaves the file at its end.
bool IsEmptyOrJournal(std::FILE& file) {
    std::array<char, 64> begin{};
    const std::size_t count = std::fread(begin.data(), 1, begin.size() - 1, &file);
    if (std::ferror(&file) != 0 || std::fseek(&file, 0, SEEK_END) != 0)
        return false;
    const std::string_view text(begin.data(), count);
    const std::string_view stars = kMark.substr(0, kMark.find('\r'));
    if (text.starts_with(stars))
        return text.size() == stars.size() || text[stars.size()] == '\r' ||
               text[stars.size()] == '\n';
    const char* rest = EndOfTime(begin.data());
    return count == 0 || (rest && (*rest == '\t' || std::string_view(rest).starts_with(" - ")));
}

}  // namespace

std::string JournalTime(const Clock& clock) {
    const std::int64_t hundredths = clock.nowHundredths();
    // Rounded down, also before 1970.
    const UnixSeconds seconds = hundredths / 100 - (hundredths % 100 < 0 ? 1 : 0);
    const CivilTime time = ToCivil(seconds + clock.zoneOffset(seconds));
    return fmt::format("{}/{}/{} - {:2}:{:02}:{:02}:{:02}", time.year, time.month, time.day,
                       time.hour, time.minute, time.second, hundredths - seconds * 100);
}

Reason Journal::open(const std::string& path) {
    if (isOpen())
        close();
    // A pipe would make the work wait for its reader.
    if (PcFactsOf(path).kind == PcKind::Special)
        return Sentence::kJournalIsSpecial;
    file_.reset(std::fopen(path.c_str(), "a+be"));
    if (!isOpen())
        return SystemError{errno};
    if (!IsEmptyOrJournal(*file_)) {
        file_.reset();
        return Sentence::kJournalIsOther;
    }
    path_ = path;
    return {};
}

Reason Journal::empty() {
    if (!isOpen())
        return SystemError{EBADF};
    if (std::fflush(file_.get()) != 0 || ::ftruncate(::fileno(file_.get()), 0) != 0)
        return SystemError{errno};
    return {};
}

void Journal::mark() {
    if (isOpen()) {
        (void)std::fwrite(kMark.data(), 1, kMark.size(), file_.get());
        (void)std::fflush(file_.get());
    }
}

void Journal::message(std::string_view text) {
    put(" - ", text, true);
}

void Journal::failure(std::string_view text) {
    put("\t", text, true);
}

void Journal::step(int level, std::string_view text) {
    if (level <= kOpenLevel)
        put(" - COMPIL : ", text, false);
}

void Journal::close() {
    mark();
    file_.reset();
    path_.clear();
}

void Journal::put(std::string_view separator, std::string_view text, bool atOnce) {
    if (!isOpen())
        return;
    const std::string line =
        fmt::format("{}{}{}\r\n", JournalTime(*clock_), separator, OneLine(text));
    (void)std::fwrite(line.data(), 1, line.size(), file_.get());
    if (atOnce)
        (void)std::fflush(file_.get());
}

}  // namespace vellmark
