// The signature table: which Macintosh file type and creator belong to which extension of a PC.
//
// A .sig file is text of the PC in Windows-1252, lines ending in CR LF (a lone LF does too):
//
//   # a comment
//   TXT,TEXTttxt,Text file      extension, type and creator (four bytes each), comment
//   #[1]                        entries for English stand before this line, French ones behind it
//
// Extensions and comments are handed out as the file has them; convert a comment with
// `NarrowToUtf8` before it is shown.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vellmark {

/// One entry. All bytes are those of the file.
struct SignatureRow {
    std::string extension;  ///< At most 4 bytes; a single space when the entry has none.
    std::string signature;  ///< Type, then creator: 8 bytes, fewer when the line ends early.
    std::string comment;    ///< At most 64 bytes.
};

/// The table as it was loaded. Lookups never change it.
class SignatureTable {
  public:
    /// Entries that are read from a file; what stands behind them is ignored.
    static constexpr std::size_t kMaxEntries = 127;
    /// A line is read up to this length, its line end included; the rest makes a line of its own.
    static constexpr std::size_t kMaxLineBytes = 100;

    /// A table without a file: only the generic row, so that every name has the signature TEXT????.
    SignatureTable();

    /// The entries of a .sig file for one language. Never fails: what is no entry is passed over.
    /// Without the marker line the whole file serves both languages. With it, English goes on into
    /// the French entries while there is room.
    [[nodiscard]] static SignatureTable Parse(std::string_view sigFileBytes, bool french);

    /// The row for a PC file's name (Windows-1252), by the extension of up to 4 characters behind
    /// its last full stop, ASCII letters without regard to case; the generic row when no entry
    /// fits. It lives as long as the table.
    [[nodiscard]] const SignatureRow& RowOfName(std::string_view name) const;

    /// The 8 bytes of that row. What its signature lacks are zeros: a Macintosh's "none".
    [[nodiscard]] std::string SignatureOf(std::string_view name) const;

    /// The row for a file's type and creator, to give it an extension: the first one with the same
    /// 8 bytes, else with the same type, else with the same first two bytes of the type, which is
    /// loose on purpose. When there is none, the generic row if `genericWhenUnknown`, else null.
    /// The row lives as long as the table.
    [[nodiscard]] const SignatureRow* RowOfSignature(std::string_view signature,
                                                     bool genericWhenUnknown = false) const;

    /// The generic row, then the entries in the order of the file.
    [[nodiscard]] std::span<const SignatureRow> rows() const { return rows_; }

  private:
    std::vector<SignatureRow> rows_;
};

}  // namespace vellmark
