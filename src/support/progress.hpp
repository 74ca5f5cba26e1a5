// The port through which long work reports how far it is and asks whether it may go on.
#pragma once

#include <cstdint>
#include <string_view>

namespace vellmark {

/// The same calls for a window, a terminal and a run without any display. `chunk`, `fileEnd` and
/// `mayGoOn` return false when the work is to stop. All of them come from the thread that does the
/// work, one after the other; whoever shows them in another thread brings them there, and returns
/// when they are shown.
class Progress {
  public:
    virtual ~Progress() = default;

    /// The work as a whole: so many bytes are to be copied.
    virtual void begin(std::uint64_t /*totalBytes*/) {}
    /// A file begins; `chunks` is 0 for a small file, an empty name means temporary tables.
    virtual void fileStart(std::string_view /*name*/, std::uint64_t /*sizeBytes*/, int /*chunks*/) {
    }
    /// A part of a large file was copied.
    [[nodiscard]] virtual bool chunk(std::uint64_t /*bytes*/) { return true; }
    /// The same between steps that copy nothing.
    [[nodiscard]] bool mayGoOn() { return chunk(0); }
    /// A file ended; `bytes` is what its chunks have not counted yet.
    [[nodiscard]] virtual bool fileEnd(std::uint64_t /*bytes*/) { return true; }
    /// One line for the journal; `level` 1 is a step, 2 a file.
    virtual void journal(int /*level*/, std::string_view /*line*/) {}
    /// What is going on, for the status line.
    virtual void text(std::string_view /*status*/) {}
};

}  // namespace vellmark
