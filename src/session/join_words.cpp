#include "session/join_words.hpp"

#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

Operand FormWords(HybridForm form) {
    switch (form) {
        case HybridForm::Plain:
            break;
        case HybridForm::Repacked:
            return Sentence::kJoinNoLongerRaw;
        case HybridForm::Raw:
            return Sentence::kJoinRaw;
        case HybridForm::VideoCd:
            return Sentence::kJoinVideoCd;
    }
    return "";
}

Sentence KeptWords(PartitionKept kept) {
    switch (kept) {
        case PartitionKept::No:
            return Sentence::kSplitCutOff;
        case PartitionKept::HoldsIsoFiles:
            return Sentence::kSplitKeptFiles;
        case PartitionKept::InBootRecord:
            return Sentence::kSplitKeptRecord;
        case PartitionKept::IsoDamaged:
            break;
    }
    return Sentence::kSplitKeptDamaged;
}

}  // namespace

Reason JoinWords(const std::string& disc, const HybridationOutcome& outcome) {
    return Reason(Sentence::kJoinDone, Printable(disc), outcome.isHfsPlus ? "HFS+" : "HFS",
                  FormWords(outcome.form), outcome.sizeBytes);
}

Reason SplitWords(const std::string& disc, const DeshybridationOutcome& outcome) {
    return Reason(Sentence::kSplitDone, Printable(disc), KeptWords(outcome.kept),
                  outcome.sizeBytes);
}

}  // namespace vellmark
