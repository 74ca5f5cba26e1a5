#include <memory>
#include <ostream>

#include "join/deshybridation.hpp"
#include "session/terminal.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

struct SplitOptions {
    std::string disc;
    bool quiet = false;
};

Sentence Words(PartitionKept kept) {
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

int Split(const SplitOptions& options, CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    const DeshybridationOutcome outcome =
        Deshybridate(options.disc, terminal.messages, context.guard);
    if (outcome.result != DeshybridationResult::Done)
        return kExitFailed;
    if (!options.quiet)
        context.output << terminal.messages.words(Reason(Sentence::kSplitDone,
                                                         Printable(options.disc),
                                                         Words(outcome.kept), outcome.sizeBytes))
                       << '\n';
    return kExitDone;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<SplitOptions>();
    arguments.add("IMAGE", options->disc, Sentence::kHelpHybridImage).required();
    arguments.flag(option::kQuietResult, options->quiet);
    run = [options](CommandContext& context) { return Split(*options, context); };
}

}  // namespace

const Verb kVerbSplit = {"split", "", Sentence::kSummarySplit, "vellmark split disc.iso", SetUp};

}  // namespace vellmark
