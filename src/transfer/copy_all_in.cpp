#include "transfer/copy_all_in.hpp"

#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

void TellWhatWasNotReached(CopyIn& batch, const std::string& last,
                           std::span<const std::string> rest) {
    if (PcFactsOf(last).kind == PcKind::Folder)
        batch.messages.showMessage(Reason(Sentence::kRestNotCopied, Printable(last)));
    if (rest.empty())
        return;
    const std::string first = Printable(rest.front());
    batch.messages.showMessage(rest.size() == 1
                                   ? Reason(Sentence::kOneNotReached, first)
                                   : Reason(Sentence::kItemsNotReached, rest.size(), first));
}

}  // namespace

bool CopyAllIn(CopyIn& batch, std::span<const std::string> paths, std::uint32_t folderId) {
    bool isWhole = true;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const CopyInResult result = CopyItemIn(batch, paths[i], folderId);
        isWhole = isWhole && result == CopyInResult::Done;
        if (result == CopyInResult::Stopped)
            batch.messages.showMessage(Sentence::kStoppedCopiedStays);
        if (result == CopyInResult::Stopped || result == CopyInResult::BatchEnds) {
            TellWhatWasNotReached(batch, paths[i], paths.subspan(i + 1));
            return false;
        }
    }
    return isWhole;
}

}  // namespace vellmark
