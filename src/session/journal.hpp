// The journal: a text file that messages and the steps of long work are added to, each line with
// its time.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "support/clock.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// Lines end in CR LF; a line break inside a text becomes a blank. A line that cannot be written is
/// lost without a word: the journal never stands in the way of the work.
class Journal {
  public:
    /// The clock must outlive the journal.
    explicit Journal(const Clock& clock) : clock_(&clock) {}

    /// Goes on at the end of the file, which is made when it is not there. A file that holds
    /// anything but a journal stays as it is. A journal that was open is closed. Why that cannot
    /// be; none when it is open.
    [[nodiscard]] Reason open(const std::string& path);
    [[nodiscard]] bool isOpen() const { return file_ != nullptr; }
    /// Of the open file, "" when there is none.
    [[nodiscard]] const std::string& path() const { return path_; }

    /// Takes all lines away. Why that cannot be; none when the open journal is empty.
    [[nodiscard]] Reason empty();

    /// Ten asterisks: where a session begins or ends.
    void mark();
    /// The text of a message.
    void message(std::string_view text);
    /// The text of a failure.
    void failure(std::string_view text);
    /// A step (level 1) or a file (level 2) of long work; all of them are kept while the journal is
    /// open. These lines reach the file late, as there can be many of them.
    void step(int level, std::string_view text);
    /// Marks the end and closes the file.
    void close();

  private:
    struct Closer {
        void operator()(std::FILE* file) const { (void)std::fclose(file); }
    };

    void put(std::string_view separator, std::string_view text, bool atOnce);

    const Clock* clock_;
    std::string path_;
    std::unique_ptr<std::FILE, Closer> file_;
};

/// `2026/11/21 -  9:05:07:42`: the local time with hundredths of a second, as each line begins.
[[nodiscard]] std::string JournalTime(const Clock& clock);

}  // namespace vellmark
