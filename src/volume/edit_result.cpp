#include "volume/edit_result.hpp"

#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextCatalogFull = 1080;
constexpr int kTextIntoItself = 1407;

}  // namespace

EditResult ToEditResult(TreeResult result) {
    switch (result) {
        case TreeResult::Done:
            return EditResult::Done;
        case TreeResult::Exists:
            return EditResult::Exists;
        case TreeResult::Missing:
            return EditResult::Missing;
        case TreeResult::Full:
            return EditResult::Full;
        case TreeResult::FolderFull:
            return EditResult::FolderFull;
        case TreeResult::Damaged:
            return EditResult::Damaged;
        case TreeResult::Failed:
            break;
    }
    return EditResult::Failed;
}

Reason EditProblem(EditResult result, std::string_view item) {
    switch (result) {
        case EditResult::Done:
        case EditResult::Declined:
        case EditResult::Stopped:
            return {};
        case EditResult::Missing:
            return Reason(Sentence::kVolumeHasNo, item);
        case EditResult::Exists:
            return Reason(Sentence::kFolderHasAlready, item);
        case EditResult::IntoItself:
            return Reason::Told(kTextIntoItself, item);
        case EditResult::BadName:
            return Reason(Sentence::kNoNameOfVolume, item);
        case EditResult::Protected:
            return Reason(Sentence::kLinkOrCompressed, item);
        case EditResult::Attributes:
            return Reason(Sentence::kHasAttributes, item);
        case EditResult::Overflow:
            return Reason(Sentence::kTooFragmented, item);
        case EditResult::Full:
            return Reason(Sentence::kNamed, item, ToldText{kTextCatalogFull});
        case EditResult::FolderFull:
            return Reason(Sentence::kNamed, item, Sentence::kFolderFull);
        case EditResult::Damaged:
            return Reason(Sentence::kCatalogDamagedThere, item);
        case EditResult::Failed:
            break;
    }
    return Reason(Sentence::kImageTransferFailed, item);
}

}  // namespace vellmark
