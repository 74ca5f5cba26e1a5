// A .sig file as a person edits it: the entries of one language, and around them all else that the
// file holds, which comes back byte for byte. What such a file looks like: signatures.hpp.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "support/result.hpp"

namespace vellmark {

/// One entry, in Windows-1252 as the file has it.
struct SignatureEntry {
    std::string extension;  ///< at most 4 bytes; empty when the entry has none
    std::string type;       ///< at most 4 bytes
    std::string creator;    ///< at most 4 bytes
    std::string comment;    ///< as long as the line has it
    bool operator==(const SignatureEntry&) const = default;
};

/// Characters that each field of an entry takes. A longer comment than that would not be read.
inline constexpr std::size_t kMostSignatureField = 4;
inline constexpr std::size_t kMostSignatureComment = 64;

/// An entry of the texts (UTF-8) that a person typed where `old` stood before. A field that is as
/// it was stays, whatever it holds; why another one cannot be had is the reason.
[[nodiscard]] Result<SignatureEntry> TypedSignatureEntry(const SignatureEntry& typed,
                                                         const SignatureEntry& old);

/// The entry that a line (without its line end) stands for, and the line that stands for an entry.
[[nodiscard]] SignatureEntry SignatureEntryOf(std::string_view line);
[[nodiscard]] std::string SignatureLine(const SignatureEntry& entry);

class SignatureText {
  public:
    /// By what the entries are sorted, from 1 on; the same below 0 turns the order round.
    enum Column : int { kExtension = 1, kType, kCreator, kComment };

    /// An empty file.
    SignatureText() = default;
    /// English has the entries up to the marker, French those behind it; without a marker both have
    /// all of them. A line is one however long it is.
    [[nodiscard]] static SignatureText Parse(std::string_view sigFileBytes, bool french);
    /// The file. What was not changed has the bytes that it had.
    [[nodiscard]] std::string bytes() const;

    [[nodiscard]] std::size_t count() const { return rows_.size(); }
    [[nodiscard]] const SignatureEntry& entry(std::size_t at) const { return rows_[at].entry; }
    void replace(std::size_t at, const SignatureEntry& entry);
    /// In front of the entry `at`, or behind the last one.
    void insert(std::size_t at, const SignatureEntry& entry);
    /// The lines between the entries stay.
    void remove(std::size_t at);
    /// Moves entries, given in rising order, one place up or down, those at the very end not. The
    /// lines between the entries stay where they are. Returns where the entries are then.
    std::vector<std::size_t> move(std::vector<std::size_t> entries, bool up);
    /// By the bytes of a column.
    void sort(int column);
    /// What stands in front of the entries and behind them is from now on what another file has
    /// there.
    void takeSurroundings(const SignatureText& other);

  private:
    struct Row {
        std::string lead;  // lines of other kinds in front of the entry
        std::string line;  // with its line end
        SignatureEntry entry;
    };

    void addSection(std::string_view section);

    std::string before_;
    std::vector<Row> rows_;
    std::string after_;
    std::string lineEnd_ = "\r\n";
};

}  // namespace vellmark
