#include <memory>
#include <ostream>

#include "session/join_words.hpp"
#include "session/terminal.hpp"
#include "session/verbs/verbs.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

struct SplitOptions {
    std::string disc;
    bool quiet = false;
};

int Split(const SplitOptions& options, CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    const DeshybridationOutcome outcome =
        Deshybridate(options.disc, terminal.messages, context.guard);
    if (outcome.result != DeshybridationResult::Done)
        return kExitFailed;
    if (!options.quiet)
        context.output << terminal.messages.words(SplitWords(options.disc, outcome)) << '\n';
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
