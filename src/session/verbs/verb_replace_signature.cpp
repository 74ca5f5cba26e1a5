#include <memory>

#include "containers/typed_signature.hpp"
#include "project/replace_signature.hpp"
#include "session/file_modes.hpp"
#include "session/project_options.hpp"
#include "session/verbs/change_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/catalog_search.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "replace-signature";
constexpr int kTextEditSignature = 1195;

struct ReplaceOptions {
    VolumeOptions volume;
    std::string oldSignature;
    std::string newSignature;
    bool ask = false;
    bool quiet = false;
};

using Signature = std::array<char, 8>;

// Asks for one file, when each is asked for.
bool Agrees(const ReplaceOptions& options, RememberedAnswer& answer, const std::string& name,
            Terminal& terminal, Language language) {
    return !options.ask ||
           answer.ask(terminal.messages,
                      Reason::Told(kTextEditSignature, options.oldSignature, Printable(name))
                          .words(language));
}

void TellCount(std::int64_t count, const ReplaceOptions& options, CommandContext& context) {
    if (!options.quiet)
        context.output << Reason(count == 1 ? Sentence::kOneFileChanged : Sentence::kFilesChanged,
                                 count)
                              .words(context.language)
                       << '\n';
}

int ReplaceInProject(const ReplaceOptions& options, const Signature& from, const Signature& to,
                     CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    std::optional<ProjectFile> project;
    if (!OpenForChange(options.volume.image, context, terminal.messages, project))
        return kExitFailed;
    RememberedAnswer answer;
    const std::int64_t count =
        ReplaceSignature(*project, from, to, [&](const ProjectRecord& record) {
            return Agrees(options, answer, NarrowToUtf8(record.sourceName()), terminal,
                          context.language);
        });
    Messages& messages = terminal.messages;
    if (!terminal.progress.mayGoOn()) {
        messages.showMessage(Sentence::kStoppedUnchanged);
        return kExitFailed;
    }
    if (count > 0 && !SaveWithBackup(*project, context, messages))
        return kExitFailed;
    TellCount(count, options, context);
    return kExitDone;
}

int Replace(const ReplaceOptions& options, CommandContext& context) {
    const auto from = TypedSignature(options.oldSignature);
    const auto to = TypedSignature(options.newSignature);
    if (!from || !to)
        return UsageError(context, kName,
                          Reason(Sentence::kNoSignatureTyped,
                                 Printable(from ? options.newSignature : options.oldSignature)));
    if (options.ask && !context.asks)
        return UsageError(context, kName, Sentence::kAskNeedsTerminal);
    if (const FileMode mode = FileModeOf(options.volume.image);
        mode == FileMode::Project || mode == FileMode::IsoPlus) {
        if (options.volume.partition || options.volume.writable)
            return UsageError(context, kName, Sentence::kProjectHasNoPartitions);
        return ReplaceInProject(options, *from, *to, context);
    }
    ChangeRun run(context, options.quiet);
    if (!run.open(options.volume))
        return kExitFailed;
    RememberedAnswer answer;
    const auto agrees = [&](const SearchHit& hit) {
        return Agrees(options, answer, ShownName(run.volume(), hit.name), run.terminal,
                      context.language);
    };
    Replaced replaced;
    const TreeResult result = ReplaceSignature(run.volume(), *from, *to, replaced, agrees);
    if (const Reason problem = CatalogProblem(result, Sentence::kPlaceOfAllFiles))
        run.problem(problem);
    for (const SearchHit& hit : replaced.refused) {
        const std::string path = Printable(PathOf(run.volume(), hit));
        run.terminal.messages.itemSkipped(path, EditProblem(EditResult::Protected, path));
    }
    const int status = run.finish();
    if (result == TreeResult::Done)
        TellCount(static_cast<std::int64_t>(replaced.count), options, context);
    return status;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<ReplaceOptions>();
    AddVolumeOptions(arguments, options->volume);  // a project stands in the image's place
    arguments.add("OLD", options->oldSignature, Sentence::kHelpOldSignature).required();
    arguments.add("NEW", options->newSignature, Sentence::kHelpNewSignature).required();
    arguments.flag("--ask", options->ask, Sentence::kHelpAsk);
    arguments.flag(option::kQuietResult, options->quiet);
    run = [options](CommandContext& context) { return Replace(*options, context); };
}

}  // namespace

const Verb kVerbReplaceSignature = {kName, "", Sentence::kSummaryReplaceSignature,
                                    "vellmark replace-signature work.img TEXTR*ch TEXTttxt", SetUp};

}  // namespace vellmark
