#include <memory>

#include "reading/plain_image.hpp"
#include "session/output_file.hpp"
#include "session/reading_ports.hpp"
#include "session/terminal.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "expand";

struct ExpandVerbOptions {
    std::string image;
    std::string target;
    bool verify = false;
    bool force = false;
    bool quiet = false;
};

Reason DoneSentence(const ExpandVerbOptions& options, const ExpandResult& result) {
    const Reason checksums = result.checksumsCompared > 0
                                 ? Reason(Sentence::kExpandChecksums, result.checksumsCompared)
                                 : Reason();
    return Reason(Sentence::kExpandDone, Printable(options.target), result.sizeBytes, checksums);
}

int Expand(const ExpandVerbOptions& options, CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    Messages& messages = terminal.messages;
    const OutputFile output(options.target, "image");
    if (!output.isReady(messages))
        return kExitFailed;
    const ExpandResult result = ExpandToFile({.image = options.image,
                                              .target = output.path(),
                                              .named = options.target,
                                              .replace = options.force,
                                              .verify = options.verify,
                                              .isPassing = output.isStandardOutput()},
                                             PortsOf(context, terminal));
    terminal.progress.clear();
    if (result.end != ExpandEnd::Done)
        return kExitFailed;
    if (output.isStandardOutput())
        return !output.send(context, messages) ? kExitFailed
               : result.isIncomplete           ? kExitSkipped
                                               : kExitDone;
    if (!options.quiet)
        context.output << messages.words(DoneSentence(options, result)) << '\n';
    return result.isIncomplete ? kExitSkipped : kExitDone;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<ExpandVerbOptions>();
    arguments.add("IMAGE", options->image, Sentence::kHelpCompressed).required();
    arguments.add("TARGET", options->target, Sentence::kHelpPlainTarget).required();
    arguments.flag("--verify", options->verify, Sentence::kHelpVerify);
    arguments.flag(option::kForceFile, options->force);
    arguments.flag(option::kQuietProgressResult, options->quiet);
    run = [options](CommandContext& context) { return Expand(*options, context); };
}

}  // namespace

const Verb kVerbExpand = {kName, "", Sentence::kSummaryExpand, "vellmark expand disk.dmg disk.img",
                          SetUp};

}  // namespace vellmark
