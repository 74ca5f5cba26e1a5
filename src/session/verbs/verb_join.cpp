#include <memory>
#include <ostream>

#include "session/join_words.hpp"
#include "session/terminal.hpp"
#include "session/user_options.hpp"
#include "session/verbs/verbs.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

struct JoinOptions {
    std::string disc;
    std::string partition;
    bool opensRoot = false;
    bool force = false;
    bool quiet = false;
};

int Join(const JoinOptions& options, CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    HybridationOptions hybridation;
    hybridation.opensRoot = options.opensRoot || OptionsOf(context).opensRoot;
    hybridation.force = options.force;
    hybridation.asks = context.asks;
    hybridation.guard = context.guard;
    const HybridationOutcome outcome = Hybridate(options.disc, {options.partition}, hybridation,
                                                 terminal.messages, terminal.progress);
    terminal.progress.clear();
    if (outcome.result != HybridationResult::Done) {
        if (outcome.needsForce && !context.asks)
            terminal.messages.showMessage(Reason(Sentence::kJoinWithForce));
        return kExitFailed;
    }
    if (!options.quiet)
        context.output << terminal.messages.words(JoinWords(options.disc, outcome)) << '\n';
    return kExitDone;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<JoinOptions>();
    arguments.add("IMAGE", options->disc, Sentence::kHelpJoinImage).required();
    arguments.add("VOLUME", options->partition, Sentence::kHelpJoinVolume).required();
    arguments.flag("--open-root", options->opensRoot, Sentence::kHelpOpenRoot);
    arguments.flag("-f,--force", options->force, Sentence::kHelpJoinForce);
    arguments.flag(option::kQuietProgressResult, options->quiet);
    run = [options](CommandContext& context) { return Join(*options, context); };
}

}  // namespace

const Verb kVerbJoin = {"join", "", Sentence::kSummaryJoin, "vellmark join disc.iso work.img",
                        SetUp};

}  // namespace vellmark
