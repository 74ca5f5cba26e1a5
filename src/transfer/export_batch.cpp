#include "transfer/export_batch.hpp"

#include <cerrno>

#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextNoRoom = 1073;
constexpr int kTextExistsAborting = 1121;
constexpr int kTextReplace = 1161;

// Nothing when what has the target's name already may be replaced.
std::optional<CopyOutResult> RefuseExisting(CopyOut& batch, const std::string& path,
                                            const std::string& target) {
    const std::string shown = Printable(target);
    if (batch.options.naming.policy == NamingPolicy::Ask) {
        batch.messages.showMessage(Reason::Told(kTextExistsAborting, shown));
        return CopyOutResult::BatchEnds;
    }
    if (batch.options.existing == ExistingFiles::Keep)
        return LeaveOut(batch, path,
                        Reason(Sentence::kExistsAlready, shown, batch.options.keptHint));
    if (batch.replaceAnswer.ask(batch.messages,
                                batch.messages.words(Reason::Told(kTextReplace, shown))))
        return std::nullopt;
    ++batch.itemsLeftOut;
    return CopyOutResult::LeftOut;
}

}  // namespace

std::string ShownPath(const std::string& path) {
    return path.empty() ? "/" : Printable(path);
}

CopyOutResult LeaveOut(CopyOut& batch, const std::string& path, const Reason& reason) {
    ++batch.itemsLeftOut;
    batch.messages.itemSkipped(ShownPath(path), reason);
    return CopyOutResult::LeftOut;
}

std::optional<CopyOutResult> RefuseTargets(CopyOut& batch, const std::string& path,
                                           const std::string& target,
                                           const std::string& companion) {
    for (const std::string& made : {target, companion})
        if (const Reason refusal = batch.targets.refusalOf(made); !made.empty() && refusal)
            return LeaveOut(batch, path, refusal);
    if (batch.options.existing == ExistingFiles::Replace)
        return std::nullopt;
    // A pair is one item, about which nobody is asked twice.
    if (PcTargets::exists(target))
        return RefuseExisting(batch, path, target);
    return PcTargets::exists(companion) ? RefuseExisting(batch, path, companion) : std::nullopt;
}

bool HasRoom(const CopyOut& batch, const std::string& target, std::uint64_t bytes) {
    const std::uint64_t room = batch.options.freeBytes(FolderOf(target));
    return room == 0 || room >= bytes;
}

CopyOutResult EndWithoutRoom(CopyOut& batch) {
    batch.messages.showMessage(Reason(ToldText{kTextNoRoom}));
    return CopyOutResult::BatchEnds;
}

std::optional<CopyOutResult> WriteOut(CopyOut& batch, const std::string& path,
                                      const PcTarget& target, const FillTarget& fill,
                                      const std::function<bool()>& stopped) {
    const PcWriting writing = batch.targets.write(target, fill);
    if (stopped())
        return CopyOutResult::Stopped;
    if (writing.error == ENOSPC || writing.error == EDQUOT)
        return EndWithoutRoom(batch);
    if (writing.problem)
        return LeaveOut(batch, path, writing.problem);
    return std::nullopt;
}

}  // namespace vellmark
