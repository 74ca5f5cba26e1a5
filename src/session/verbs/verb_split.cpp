#include <memory>
#include <ostream>

#include "join/deshybridation.hpp"
#include "session/terminal.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

struct SplitOptions {
    std::string disc;
    bool quiet = false;
};

std::string_view Words(PartitionKept kept) {
    switch (kept) {
        case PartitionKept::No:
            return "Macintosh partition cut off";
        case PartitionKept::HoldsIsoFiles:
            return "partition map removed; ISO files lie behind the start of the Macintosh "
                   "partition";
        case PartitionKept::InBootRecord:
            return "partition map removed; a partition of the boot record reaches behind the start "
                   "of the Macintosh partition";
        case PartitionKept::IsoDamaged:
            break;
    }
    return "partition map removed; a directory of the ISO side is damaged, and nothing was cut off";
}

int Split(const SplitOptions& options, CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    const DeshybridationOutcome outcome =
        Deshybridate(options.disc, terminal.messages, context.guard);
    if (outcome.result != DeshybridationResult::Done)
        return kExitFailed;
    if (!options.quiet)
        context.output << Printable(options.disc) << ": " << Words(outcome.kept) << ", "
                       << outcome.sizeBytes << " bytes\n";
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
