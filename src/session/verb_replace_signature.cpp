#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "containers/names.hpp"
#include "session/change_run.hpp"
#include "session/verbs.hpp"
#include "support/encoding.hpp"
#include "volume/catalog_search.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "replace-signature";
constexpr int kTextEditSignature = 1195;

struct ReplaceOptions {
    PartitionOptions partition;
    std::string oldSignature;
    std::string newSignature;
    bool ask = false;
    bool quiet = false;
};

// Eight letters; nothing when they are more or fewer, or no MacRoman.
std::optional<std::array<char, 8>> SignatureOf(const std::string& typed) {
    const std::optional<std::string> mac = WideToMacRomanExact(Utf8ToWide(typed));
    std::array<char, 8> signature{};
    if (!mac || mac->size() != signature.size())
        return std::nullopt;
    std::copy(mac->begin(), mac->end(), signature.begin());
    return signature;
}

int Replace(const ReplaceOptions& options, CommandContext& context) {
    const auto from = SignatureOf(options.oldSignature);
    const auto to = SignatureOf(options.newSignature);
    if (!from || !to)
        return UsageError(
            context, kName,
            fmt::format("A signature is eight characters, type and creator, and {} is not that.",
                        Printable(from ? options.newSignature : options.oldSignature)));
    if (options.ask && !context.asks)
        return UsageError(context, kName, "--ask needs a terminal.");
    ChangeRun run(context, options.quiet);
    if (!run.open(options.partition))
        return kExitFailed;
    RememberedAnswer answer;
    const auto agrees = [&](const SearchHit& hit) {
        return !options.ask ||
               answer.ask(run.terminal.messages,
                          FormatText(kTextEditSignature, context.language, options.oldSignature,
                                     Printable(ShownName(run.volume(), hit.name))));
    };
    Replaced replaced;
    const TreeResult result = ReplaceSignature(run.volume(), *from, *to, replaced, agrees);
    if (result != TreeResult::Done)
        run.problem(CatalogProblem(result, "on the way through all files; nothing was changed"));
    for (const SearchHit& hit : replaced.refused) {
        const std::string path = Printable(PathOf(run.volume(), hit));
        run.terminal.messages.itemSkipped(
            path, EditSentence(EditResult::Protected, path, context.language));
    }
    const int status = run.finish();
    if (result == TreeResult::Done && !options.quiet)
        context.output << fmt::format("{} file{} changed\n", replaced.count,
                                      replaced.count == 1 ? "" : "s");
    return status;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<ReplaceOptions>();
    AddPartitionOptions(arguments, options->partition);
    arguments.add("OLD", options->oldSignature, "Type and creator, eight characters").required();
    arguments.add("NEW", options->newSignature, "What takes their place").required();
    arguments.flag("--ask", options->ask, "Ask for each file");
    arguments.flag("-q,--quiet", options->quiet, "No result line");
    run = [options](CommandContext& context) { return Replace(*options, context); };
}

}  // namespace

const Verb kVerbReplaceSignature = {kName, "", "Give all files of one signature another one",
                                    "vellmark replace-signature work.img TEXTR*ch TEXTttxt", SetUp};

}  // namespace vellmark
