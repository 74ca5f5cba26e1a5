#include <memory>
#include <optional>

#include "project/labels.hpp"
#include "session/sizes.hpp"
#include "session/terminal.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "support/targets.hpp"
#include "volume/new_volume.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "format";
constexpr std::string_view kSmallestBlocks = "smallest";

struct FormatOptions {
    std::string path;
    std::string size;
    std::string label;
    std::string blockSize;
    bool hfsPlus = false;
    bool zero = false;
    bool force = false;
    bool quiet = false;
};

// Whole megabytes; nothing for any other size.
std::optional<std::uint64_t> MegabytesOf(std::string_view text) {
    const auto bytes = SizeOf(text, kMegabyte);
    return bytes && *bytes % kMegabyte == 0 ? std::optional(*bytes / kMegabyte) : std::nullopt;
}

// Why no volume can be so large.
Reason SizeRefusal(const FormatOptions& options, std::optional<std::uint64_t> megabytes) {
    return megabytes ? VolumeSizeRefusal(options.hfsPlus, *megabytes)
                     : Reason(Sentence::kNoWholeMegabytes, Printable(options.size));
}

// Settles the allocation block, or says why it cannot be so.
Reason SettleBlockSize(const FormatOptions& options, FormatInput& input) {
    if (options.blockSize.empty())
        return {};
    if (input.isHfsPlus)
        return Sentence::kBlockSizeIsForHfs;
    const std::uint32_t smallest = SmallestHfsBlock(input.sizeMegabytes);
    const auto bytes =
        options.blockSize == kSmallestBlocks ? smallest : SizeOf(options.blockSize, 1);
    if (!bytes || !FitsAsBlock(*bytes, input.sizeMegabytes))
        return Reason(Sentence::kNoBlockSize, input.sizeMegabytes, smallest,
                      UsualHfsBlock(input.sizeMegabytes), kSmallestBlocks,
                      Printable(options.blockSize));
    input.blockSize = static_cast<std::uint32_t>(*bytes);
    return {};
}

int Format(const FormatOptions& options, CommandContext& context) {
    const StopSignals signals;
    Terminal terminal(context, TerminalOptionsOf(context, options.quiet));
    const std::optional<std::uint64_t> megabytes = MegabytesOf(options.size);
    if (const Reason refusal = SizeRefusal(options, megabytes))
        return UsageError(context, kName, refusal);
    FormatInput input;
    input.sizeMegabytes = static_cast<std::uint32_t>(*megabytes);
    input.zeroAll = options.zero;
    input.isHfsPlus = options.hfsPlus;
    input.language = context.language;
    if (const Reason refusal = SettleBlockSize(options, input))
        return UsageError(context, kName, refusal);
    const std::string path = FollowLink(options.path);
    Messages& messages = terminal.messages;
    if (const Reason refusal = CheckLabel(options.label, options.hfsPlus)) {
        messages.showMessage(refusal);
        return kExitFailed;
    }
    if (!MayMakeFile(path, options.force, messages))
        return kExitFailed;
    input.label = options.label;
    if (!MakeVolumeFile({path, options.force, context.guard}, input,
                        {messages, terminal.progress, context.clock}))
        return kExitFailed;
    terminal.progress.clear();
    if (!options.quiet)
        context.output << messages.words(Reason(Sentence::kEmptyVolumeMade, Printable(options.path),
                                                options.hfsPlus ? "HFS+" : "HFS",
                                                FormattedBytes(input)))
                       << '\n';
    return kExitDone;
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<FormatOptions>();
    arguments.add("IMAGE", options->path, Sentence::kHelpImageToMake).required();
    arguments.add("-s,--size", options->size, Sentence::kHelpVolumeSize).required();
    arguments.add("-l,--label", options->label, Sentence::kHelpVolumeName).required();
    arguments.flag("--hfsplus", options->hfsPlus, Sentence::kHelpHfsPlus);
    arguments.add("-b,--block-size", options->blockSize, Sentence::kHelpBlockSize);
    arguments.flag("-z,--zero", options->zero, Sentence::kHelpZero);
    arguments.flag(option::kForceImage, options->force);
    arguments.flag(option::kQuietProgressResult, options->quiet);
    run = [options](CommandContext& context) { return Format(*options, context); };
}

}  // namespace

const Verb kVerbFormat = {kName, "mkfs", Sentence::kSummaryFormat,
                          "vellmark format work.img --size 100M --label Work", SetUp};

}  // namespace vellmark
