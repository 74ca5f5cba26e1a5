#include "containers/signature_text.hpp"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kSectionMarker = "#[1]";
// English ends at anything that begins so.
constexpr std::string_view kMarkerStart = "#[1";
constexpr std::string_view kLineEnds = "\r\n";

using Field = std::string SignatureEntry::*;
constexpr Field kFields[] = {&SignatureEntry::extension, &SignatureEntry::type,
                             &SignatureEntry::creator, &SignatureEntry::comment};

// Takes the next line, with its line end, off a text.
std::string_view NextLine(std::string_view& text) {
    const std::size_t lineFeed = text.find('\n');
    const std::string_view line = text.substr(0, lineFeed == text.npos ? lineFeed : lineFeed + 1);
    text.remove_prefix(line.size());
    return line;
}

std::string_view WithoutEnd(std::string_view line) {
    return line.substr(0, line.find_last_not_of(kLineEnds) + 1);
}

bool IsEntry(std::string_view line) {
    const std::string_view text = WithoutEnd(line);
    return !text.empty() && text.front() != '#';
}

// Where the first line begins that starts with a marker; the end of the text when none does.
std::size_t MarkerIn(std::string_view text, std::string_view marker) {
    std::string_view rest = text;
    while (!rest.empty() && !rest.starts_with(marker))
        (void)NextLine(rest);
    return text.size() - rest.size();
}

std::string FirstOf(std::string_view text) {
    return std::string(text.substr(0, kMostSignatureField));
}

std::string FilledUp(std::string code) {
    code.resize(kMostSignatureField, ' ');
    return code;
}

// Only the last line of a file can lack its end.
void Append(std::string& text, std::string_view lines, const std::string& lineEnd) {
    if (!text.empty() && text.back() != '\n' && !lines.empty())
        text += lineEnd;
    text += lines;
}

bool IsKept(std::string_view typed) {
    const std::u16string wide = Utf8ToWide(typed);
    return IsNarrow(wide) &&
           std::ranges::none_of(wide, [](char16_t unit) { return unit < u' ' || unit == 0x7f; });
}

std::string Trimmed(std::string_view text) {
    const std::size_t first = std::min(text.find_first_not_of(' '), text.size());
    return std::string(text.substr(first, text.find_last_not_of(' ') + 1 - first));
}

}  // namespace

Result<SignatureEntry> TypedSignatureEntry(const SignatureEntry& typed, const SignatureEntry& old) {
    SignatureEntry entry = old;
    for (const Field field : kFields) {
        const std::string& text = typed.*field;
        if (text == NarrowToUtf8(old.*field))
            continue;
        if (!IsKept(text))
            return Failed(Sentence::kSigFieldNotKept, Printable(text));
        entry.*field = Utf8ToNarrow(text);
        const std::size_t most =
            field == &SignatureEntry::comment ? kMostSignatureComment : kMostSignatureField;
        if ((entry.*field).size() > most)
            return Failed(Sentence::kSigFieldTooLong, Printable(text), most);
    }
    if (entry.extension != old.extension) {
        entry.extension = Trimmed(entry.extension);
        // A comma ends it, a number sign begins a comment, and names are looked at behind their
        // last full stop.
        if (entry.extension.find_first_of(".,#") != std::string::npos)
            return Failed(Sentence::kSigNoExtension, Printable(typed.extension));
    }
    if (Trimmed(entry.type).empty() || Trimmed(entry.creator).empty())
        return Failed(Sentence::kSigLacksCode);
    return entry;
}

SignatureEntry SignatureEntryOf(std::string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    SignatureEntry entry;
    const std::size_t comma = line.find(',');
    if (comma != line.npos) {
        entry.extension = FirstOf(line.substr(0, comma));
        line.remove_prefix(comma + 1);
    }
    constexpr std::size_t kCodes = 2 * kMostSignatureField;
    entry.type = FirstOf(line);
    entry.creator = FirstOf(line.substr(std::min(line.size(), kMostSignatureField)));
    if (const std::size_t next = line.find(',', kCodes); next != line.npos)
        entry.comment = line.substr(next + 1);
    return entry;
}

std::string SignatureLine(const SignatureEntry& entry) {
    return FirstOf(entry.extension) + "," + FilledUp(entry.type) + FilledUp(entry.creator) + "," +
           entry.comment;
}

SignatureText SignatureText::Parse(std::string_view sigFileBytes, bool french) {
    SignatureText text;
    if (const std::size_t lineFeed = sigFileBytes.find('\n');
        lineFeed != sigFileBytes.npos && (lineFeed == 0 || sigFileBytes[lineFeed - 1] != '\r'))
        text.lineEnd_ = "\n";
    std::string_view section = sigFileBytes;
    if (const std::size_t marker = MarkerIn(section, french ? kSectionMarker : kMarkerStart);
        !french) {
        text.after_ = section.substr(marker);
        section = section.substr(0, marker);
    } else if (marker < section.size()) {
        section.remove_prefix(marker);
        (void)NextLine(section);
        text.before_ = sigFileBytes.substr(0, sigFileBytes.size() - section.size());
    }
    text.addSection(section);
    return text;
}

// The lines in front of the first entry say what the file is, and stay there whatever comes first.
void SignatureText::addSection(std::string_view section) {
    std::string lead;
    while (!section.empty()) {
        const std::string_view line = NextLine(section);
        if (!IsEntry(line)) {
            lead += line;
            continue;
        }
        if (rows_.empty())
            before_ += std::exchange(lead, {});
        rows_.push_back(
            {std::exchange(lead, {}), std::string(line), SignatureEntryOf(WithoutEnd(line))});
    }
    if (rows_.empty())
        before_ += lead;
    else
        after_ = lead + after_;
}

std::string SignatureText::bytes() const {
    std::string text = before_;
    for (const Row& row : rows_) {
        Append(text, row.lead, lineEnd_);
        Append(text, row.line, lineEnd_);
    }
    Append(text, after_, lineEnd_);
    return text;
}

void SignatureText::replace(std::size_t at, const SignatureEntry& entry) {
    Row& row = rows_[at];
    const std::string end = row.line.substr(WithoutEnd(row.line).size());
    row.line = SignatureLine(entry) + (end.empty() ? lineEnd_ : end);
    row.entry = entry;
}

void SignatureText::insert(std::size_t at, const SignatureEntry& entry) {
    rows_.insert(rows_.begin() + static_cast<std::ptrdiff_t>(at),
                 {"", SignatureLine(entry) + lineEnd_, entry});
}

void SignatureText::remove(std::size_t at) {
    std::string& below = at + 1 < rows_.size() ? rows_[at + 1].lead : after_;
    below = rows_[at].lead + below;
    rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(at));
}

std::vector<std::size_t> SignatureText::move(std::vector<std::size_t> entries, bool up) {
    const bool isAtEnd =
        entries.empty() || (up ? entries.front() == 0 : entries.back() + 1 == rows_.size());
    if (isAtEnd)
        return entries;
    const auto moveOne = [&](std::size_t& at) {
        const std::size_t to = up ? at - 1 : at + 1;
        std::swap(rows_[at].line, rows_[to].line);
        std::swap(rows_[at].entry, rows_[to].entry);
        at = to;
    };
    if (up)
        std::for_each(entries.begin(), entries.end(), moveOne);
    else
        std::for_each(entries.rbegin(), entries.rend(), moveOne);
    return entries;
}

void SignatureText::sort(int column) {
    const Field field = kFields[std::abs(column) - 1];
    std::vector<Row> sorted = rows_;
    std::stable_sort(sorted.begin(), sorted.end(), [&](const Row& left, const Row& right) {
        return column > 0 ? left.entry.*field < right.entry.*field
                          : right.entry.*field < left.entry.*field;
    });
    for (std::size_t at = 0; at < rows_.size(); ++at) {
        sorted[at].lead = std::move(rows_[at].lead);
        rows_[at] = std::move(sorted[at]);
    }
}

void SignatureText::takeSurroundings(const SignatureText& other) {
    before_ = other.before_;
    after_ = other.after_;
    lineEnd_ = other.lineEnd_;
}

}  // namespace vellmark
