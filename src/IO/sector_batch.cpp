#include "IO/sector_batch.hpp"

#include <algorithm>

#include "IO/redo_log.hpp"

namespace vellmark {

SectorBatch::Recording::Recording(MediumContext& context, SectorBatch& batch)
    : context_(context), slot_(context.transferSlot), slot2_(context.transferSlot2) {
    const auto recording = [&batch](const TransferSlot& original) -> TransferSlot {
        return [&batch, original](const SectorRequest& request) {
            if (request.command != kCommandWrite)
                return original(request);
            batch.add(request);
            return 0;
        };
    };
    context_.transferSlot = recording(slot_);
    context_.transferSlot2 = recording(slot2_);
}

SectorBatch::Recording::~Recording() {
    context_.transferSlot = slot_;
    context_.transferSlot2 = slot2_;
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

bool SectorBatch::commit(MediumContext& context, std::uint64_t witnessSector) {
    if (runs_.empty())
        return true;
    joinRuns();
    std::vector<RedoPiece> pieces;
    pieces.reserve(runs_.size());
    for (const Run& run : runs_)
        pieces.push_back(
            {run.sector * kSectorBytes, std::span(bytes_).subspan(run.start, run.size)});
    if (!context.image || !context.image->flush())
        return false;
    const bool isLogged =
        WriteRedoLog(*context.image, context.imagePath, pieces, witnessSector * kSectorBytes);
    for (std::size_t i = 0; i < runs_.size(); ++i)
        if (WriteSectors(context.transferSlot2, runs_[i].sector, pieces[i].bytes) != 0)
            return false;
    if (!context.image->flush())
        return false;
    if (isLogged)
        RemoveRedoLog(context.imagePath);
    runs_.clear();
    bytes_.clear();
    return true;
}

}  // namespace vellmark
