#include "session/extraction.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "session/targets.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kPieceBytes = 2u << 20;

enum class CopyResult { Done, ShortRead, ShortWrite, Stopped };

using PutPiece = std::function<bool(std::uint64_t offset, std::span<const std::uint8_t> piece)>;

CopyResult CopyContents(ByteSource& source, std::vector<std::uint8_t>& buffer, Progress& progress,
                        const PutPiece& put) {
    const std::uint64_t size = source.size();
    buffer.resize(kPieceBytes);
    for (std::uint64_t done = 0; done < size;) {
        const auto want =
            static_cast<std::size_t>(std::min<std::uint64_t>(size - done, kPieceBytes));
        const std::span<std::uint8_t> piece = std::span(buffer).first(want);
        if (!source.readExactly(done, piece))
            return CopyResult::ShortRead;
        if (!put(done, piece))
            return CopyResult::ShortWrite;
        done += want;
        if (!progress.chunk(want))
            return CopyResult::Stopped;
    }
    return CopyResult::Done;
}

constexpr std::string_view kCutShort =
    "Its contents cannot be read to their end; the image is damaged or cut short.";

// Dates that cannot be set are no loss worth a word: some file systems have none.
void SetModified(const std::string& path, const std::optional<UnixSeconds>& modified) {
    if (!modified)
        return;
    const timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(*modified), 0}};
    (void)::utimensat(AT_FDCWD, path.c_str(), times, 0);
}

std::string NameOf(const ViewEntry& entry) {
    return entry.path.empty() ? "/" : Printable(entry.path);
}

}  // namespace

std::string SafePcName(std::string name) {
    if (name.empty() || name == "." || name == "..")
        return std::string(std::max<std::size_t>(name.size(), 1), '_');
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '/' || c == '\0'; }, '_');
    return name;
}

Extraction Extractor::take(TreeView& tree, const ViewEntry& entry, const std::string& target) {
    source_ = &tree;
    if (!written_.insert(target).second)
        return skip(entry, fmt::format("{} has just been written.", Printable(target)));
    if (!entry.isFolder)
        return takeFile(entry, target);
    if (!makeFolder(entry, target))
        return Extraction::Skipped;
    const bool whole = walk(tree, entry);
    folders_.clear();
    SetModified(target, entry.modified);
    return whole ? Extraction::Done : Extraction::Stopped;
}

Extraction Extractor::takeTo(TreeView& tree, const ViewEntry& file,
                             const std::function<bool(std::string_view piece)>& put) {
    std::string sentence;
    const std::unique_ptr<ByteSource> source = tree.open(file, sentence);
    if (!source)
        return skip(file, sentence);
    const CopyResult result = CopyContents(
        *source, buffer_, progress_, [&](std::uint64_t, std::span<const std::uint8_t> piece) {
            return put({reinterpret_cast<const char*>(piece.data()), piece.size()});
        });
    if (result == CopyResult::ShortRead)
        return skip(file, kCutShort);
    return result == CopyResult::Done ? Extraction::Done : Extraction::Stopped;
}

TreeWalker::Next Extractor::visit(const ViewEntry& entry, std::size_t) {
    const std::string name = SafePcName(entry.name);
    const std::string target = folders_.back().path + "/" + name;
    if (!folders_.back().names.insert(name).second) {
        skip(entry, "Another item of its folder has the same name on the PC.");
        return Next::Pass;
    }
    if (entry.isFolder)
        return makeFolder(entry, target) ? Next::GoOn : Next::Pass;
    return takeFile(entry, target) == Extraction::Stopped ? Next::Stop : Next::Pass;
}

void Extractor::leave(const ViewEntry& folder) {
    SetModified(folders_.back().path, folder.modified);
    folders_.pop_back();
}

void Extractor::problem(const std::string& sentence) {
    foundDamage_ = true;
    messages_.showMessage(sentence);
}

// Empty when a file can be written there.
std::string Extractor::refusalOf(const std::string& target) const {
    const PcFacts facts = PcFactsOf(target);
    if (facts.kind == PcKind::Missing && !facts.isLink)
        return {};
    if (facts.kind == PcKind::Folder)
        return fmt::format("{} is a folder.", Printable(target));
    if (facts.kind == PcKind::Special)
        return fmt::format("{} is a pipe, a socket or a device.", Printable(target));
    if (!options_.replace)
        return fmt::format("{} exists already; --force replaces it.", Printable(target));
    return AreSameFile(target, options_.imagePath)
               ? fmt::format("{} is the image itself.", Printable(target))
               : std::string{};
}

Extraction Extractor::takeFile(const ViewEntry& file, const std::string& target) {
    if (const std::string refusal = refusalOf(target); !refusal.empty())
        return skip(file, refusal);
    std::string sentence;
    const std::unique_ptr<ByteSource> source = source_->open(file, sentence);
    if (!source)
        return skip(file, sentence);
    progress_.text(NameOf(file));
    TargetFile out(target);
    const auto failed = [&](int error) {
        return skip(file, fmt::format("{} cannot be written: {}.", Printable(target),
                                      SystemErrorText(error)));
    };
    if (!out.file().isOpen())
        return failed(out.file().error());
    switch (CopyContents(*source, buffer_, progress_,
                         [&](std::uint64_t offset, std::span<const std::uint8_t> piece) {
                             return out.file().writeAt(offset, piece);
                         })) {
        case CopyResult::ShortRead:
            return skip(file, kCutShort);
        case CopyResult::ShortWrite:
            return failed(out.file().error());
        case CopyResult::Stopped:
            return Extraction::Stopped;
        case CopyResult::Done:
            break;
    }
    if (const int error = out.publish(options_.replace, false); error != 0)
        return failed(error);
    SetModified(target, file.modified);
    return Extraction::Done;
}

bool Extractor::makeFolder(const ViewEntry& folder, const std::string& target) {
    if (::mkdir(target.c_str(), 0777) != 0) {
        const int error = errno;
        if (error != EEXIST || PcFactsOf(target).kind != PcKind::Folder) {
            skip(folder,
                 fmt::format("{} cannot be made: {}.", Printable(target), SystemErrorText(error)));
            return false;
        }
    }
    folders_.push_back({target, {}});
    return true;
}

Extraction Extractor::skip(const ViewEntry& entry, std::string_view reason) {
    messages_.itemSkipped(NameOf(entry), reason);
    return Extraction::Skipped;
}

}  // namespace vellmark
