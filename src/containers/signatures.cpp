#include "containers/signatures.hpp"

#include <algorithm>

#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kSectionMarker = "#[1]";
constexpr std::string_view kNoExtension = " ";
constexpr std::size_t kExtensionBytes = 4;
constexpr std::size_t kSignatureBytes = 8;
constexpr std::size_t kTypeBytes = 4;
constexpr std::size_t kLooseTypeBytes = 2;
constexpr std::size_t kCommentBytes = 64;

// The lines of a .sig file, one after the other.
class LineReader {
  public:
    explicit LineReader(std::string_view bytes) : rest_(bytes) {}

    [[nodiscard]] bool atEnd() const { return rest_.empty(); }

    // The next line without its line end. A longer one than the limit is cut there and goes on as
    // the next line, even if that then looks like an entry, a comment or the marker.
    std::string_view next() {
        const std::size_t lineFeed = rest_.find('\n');
        const std::size_t length = std::min({lineFeed == rest_.npos ? rest_.size() : lineFeed + 1,
                                             rest_.size(), SignatureTable::kMaxLineBytes});
        const std::string_view line = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return line.substr(0, line.find_last_not_of("\r\n") + 1);
    }

  private:
    std::string_view rest_;
};

// What stands behind the marker line; everything when there is none.
LineReader FrenchSection(std::string_view bytes) {
    LineReader lines(bytes);
    while (!lines.atEnd())
        if (lines.next().starts_with(kSectionMarker))
            return lines;
    return LineReader(bytes);
}

// A line without a comma is a signature without an extension. The comment must stand right behind
// the eight bytes: a shorter signature takes the comma and the comment's beginning into itself.
SignatureRow RowOfLine(std::string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    SignatureRow row;
    const std::size_t comma = line.find(',');
    if (comma != line.npos) {
        row.extension = line.substr(0, std::min(comma, kExtensionBytes));
        line.remove_prefix(comma + 1);
    }
    if (row.extension.empty())
        row.extension = kNoExtension;
    row.signature = line.substr(0, kSignatureBytes);
    if (line.size() > kSignatureBytes && line[kSignatureBytes] == ',')
        row.comment = line.substr(kSignatureBytes + 1, kCommentBytes);
    return row;
}

}  // namespace

SignatureTable::SignatureTable() : rows_{{"___", "TEXT????", "---"}} {}

SignatureTable SignatureTable::Parse(std::string_view sigFileBytes, bool french) {
    SignatureTable table;
    LineReader lines = french ? FrenchSection(sigFileBytes) : LineReader(sigFileBytes);
    while (!lines.atEnd() && table.rows_.size() <= kMaxEntries) {
        const std::string_view line = lines.next();
        if (!line.empty() && line.front() != '#')
            table.rows_.push_back(RowOfLine(line));
    }
    return table;
}

const SignatureRow& SignatureTable::RowOfName(std::string_view name) const {
    const SignatureRow& generic = rows_.front();
    const std::size_t dot = name.rfind('.');
    if (dot == name.npos || name.size() - dot - 1 > kExtensionBytes)
        return generic;
    const std::string extension = AsciiUpper(name.substr(dot + 1));
    // An entry without an extension is for the way back only. On a PC no name ends in a blank;
    // elsewhere one can, and must not find it.
    if (extension == kNoExtension)
        return generic;
    const auto row = std::ranges::find_if(rows_, [&](const SignatureRow& each) {
        return each.extension.size() == extension.size() && AsciiUpper(each.extension) == extension;
    });
    return row == rows_.end() ? generic : *row;
}

std::string SignatureTable::SignatureOf(std::string_view name) const {
    std::string signature = RowOfName(name).signature;
    signature.resize(kSignatureBytes);
    return signature;
}

const SignatureRow* SignatureTable::RowOfSignature(std::string_view signature,
                                                   bool genericWhenUnknown) const {
    // An entry whose signature is empty hides those behind it here, though not from `SignatureOf`.
    const auto end =
        std::ranges::find_if(rows_, [](const SignatureRow& row) { return row.signature.empty(); });
    for (const std::size_t bytes : {kSignatureBytes, kTypeBytes, kLooseTypeBytes}) {
        const std::string_view wanted = signature.substr(0, bytes);
        const auto row = std::find_if(rows_.begin(), end, [&](const SignatureRow& each) {
            return std::string_view(each.signature).substr(0, bytes) == wanted;
        });
        if (row != end)
            return &*row;
    }
    return genericWhenUnknown ? &rows_.front() : nullptr;
}

}  // namespace vellmark
