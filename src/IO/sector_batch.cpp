#include "IO/sector_batch.hpp"

#include <unistd.h>

#include <algorithm>

#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

SectorBatch::Recording::Recording(MediumContext& context, SectorBatch& batch)
    : context_(context), slot_(context.transferSlot) {
    context_.transferSlot = [&batch, original = slot_](const SectorRequest& request) {
        if (request.command != kCommandWrite)
            return original(request);
        batch.add(request);
        return 0;
    };
}

SectorBatch::Recording::~Recording() {
    context_.transferSlot = slot_;
}

void SectorBatch::add(const SectorRequest& request) {
    const std::span<const std::uint8_t> bytes =
        request.buffer.first(std::size_t{request.count} * kSectorBytes);
    runs_.push_back({request.startSector, bytes_.size(), bytes.size()});
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

// The runs in rising order, those that follow on each other as one: nodes and maps that lie side by
// side cost one call.
void SectorBatch::joinRuns() {
    std::stable_sort(runs_.begin(), runs_.end(),
                     [](const Run& a, const Run& b) { return a.sector < b.sector; });
    std::vector<std::uint8_t> ordered;
    ordered.reserve(bytes_.size());
    std::vector<Run> joined;
    for (const Run& run : runs_) {
        const bool follows = !joined.empty() &&
                             joined.back().sector + joined.back().size / kSectorBytes == run.sector;
        if (follows)
            joined.back().size += run.size;
        else
            joined.push_back({run.sector, ordered.size(), run.size});
        ordered.insert(ordered.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(run.start),
                       bytes_.begin() + static_cast<std::ptrdiff_t>(run.start + run.size));
    }
    bytes_ = std::move(ordered);
    runs_ = std::move(joined);
}

CommitResult SectorBatch::write(MediumContext& context, const RedoMark& mark) {
    PcFile& image = *context.image;
    std::vector<RedoPiece> pieces;
    pieces.reserve(runs_.size());
    for (const Run& run : runs_)
        pieces.push_back({run.sector.byte(), std::span(bytes_).subspan(run.start, run.size)});
    const bool hasRoom = std::all_of(pieces.begin(), pieces.end(), [&](const RedoPiece& piece) {
        return image.reserve(piece.offset, piece.bytes.size());
    });
    if (!hasRoom || !image.flush()) {
        problem_ = image.failure();
        return CommitResult::NotBegun;
    }
    const RedoWriting log =
        WriteRedoLog(image, context.imagePath, context.guard, pieces, mark, context.contents);
    if (log.error != 0) {
        problem_ = Reason(Sentence::kLogNotWritten, Printable(log.path), SystemError{log.error});
        return CommitResult::NotBegun;
    }
    const auto toSlot = [&](std::uint64_t offset, std::span<const std::uint8_t> bytes) {
        return WriteSectors(context.transferSlot, Sector512(offset / kSectorBytes), bytes) == 0;
    };
    if (!CarryOut(pieces, mark, image, toSlot)) {
        problem_ = Reason(Sentence::kCommitInterrupted,
                          image.error() != 0 ? image.failure() : Sentence::kCommitIncomplete,
                          Printable(log.path));
        return CommitResult::Interrupted;
    }
    ::unlink(log.path.c_str());
    context.contents.clear();
    return CommitResult::Done;
}

CommitResult SectorBatch::commit(MediumContext& context, const RedoMark& mark) {
    problem_ = {};
    result_ = CommitResult::Done;
    if (runs_.empty())
        return result_;
    joinRuns();
    result_ = context.image ? write(context, mark) : CommitResult::NotBegun;
    if (result_ == CommitResult::Done) {
        runs_.clear();
        bytes_.clear();
    }
    return result_;
}

}  // namespace vellmark
