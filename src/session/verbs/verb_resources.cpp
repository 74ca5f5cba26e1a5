#include <fmt/core.h>

#include <algorithm>
#include <memory>

#include "containers/resource_fork.hpp"
#include "inspect/data_segment.hpp"
#include "session/user_options.hpp"
#include "session/verbs/inspect_run.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "support/pc_targets.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kName = "resources";

struct ResourcesOptions {
    InspectOptions inspect;
    std::string type;  ///< empty: all
    std::string id;    ///< the same
    std::string folder;
    bool hexadecimal = false;
    bool force = false;
    bool json = false;
};

// The resources that are asked for.
struct Chosen {
    std::string type;
    const Resource* resource = nullptr;
};

std::vector<Chosen> Choose(const ResourceTree& tree, const ResourcesOptions& options,
                           std::optional<std::uint64_t> id) {
    std::vector<Chosen> chosen;
    for (const ResourceType& type : tree.types) {
        const std::string name = ResourceTypeName(type);
        if (!options.type.empty() && name != options.type)
            continue;
        for (const Resource& resource : type.resources)
            if (!id || *id == resource.id)
                chosen.push_back({name, &resource});
    }
    return chosen;
}

void PutJson(ViewRun& run, const std::vector<Chosen>& chosen) {
    nlohmann::ordered_json json = {{"resources", nlohmann::ordered_json::array()}};
    for (const Chosen& each : chosen)
        json["resources"].push_back({{"type", each.type},
                                     {"id", each.resource->id},
                                     {"length", each.resource->length},
                                     {"attributes", each.resource->attributes},
                                     {"position", each.resource->position},
                                     {"whole", each.resource->isWhole}});
    run.putJson(json);
}

void PutText(ViewRun& run, const std::vector<Chosen>& chosen) {
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        if (i == 0 || chosen[i].type != chosen[i - 1].type)
            (void)run.put(chosen[i].type + "\n");
        if (!run.put("  " + ResourceLabel(*chosen[i].resource) + "\n"))
            return;
    }
}

// A name that no other resource of the run has.
std::string TargetName(PcTargets& targets, const Chosen& each, bool hexadecimal) {
    const std::string_view extension = hexadecimal ? "hex" : "bin";
    const std::string stem = fmt::format("{} 0x{:04x}", each.type, each.resource->id);
    std::string name = SafePcName(fmt::format("{}.{}", stem, extension));
    for (unsigned number = 2; !targets.claimName(name); ++number)
        name = SafePcName(fmt::format("{} {}.{}", stem, number, extension));
    return name;
}

Reason Fill(PcFile& file, SliceSource& contents, const ResourcesOptions& options) {
    Progress silent;
    const DataSegment all{0, contents.size()};
    const SegmentEnd end = options.hexadecimal ? SaveSegmentAsText(contents, all, {}, file, silent)
                                               : SaveSegment(contents, all, file, 0, silent);
    return end == SegmentEnd::ReadFailed ? Reason(Sentence::kContentsCutShort) : Reason();
}

void SaveOne(InspectRun& inspect, PcTargets& targets, const Chosen& each,
             const ResourcesOptions& options) {
    ViewRun& run = inspect.run;
    const std::string path =
        targets.folder() + "/" + TargetName(targets, each, options.hexadecimal);
    const auto fail = [&](const Reason& reason) {
        run.problem(Reason(Sentence::kNamedReason, Printable(path), reason));
    };
    if (const Reason refusal = targets.refusalOf(path))
        return fail(refusal);
    if (PcTargets::exists(path) && !options.force)
        return run.problem(Reason(Sentence::kTargetExists, Printable(path)));
    SliceSource contents = each.resource->contents(*inspect.bytes.source);
    const PcWriting writing =
        targets.write({path, "", options.force, {}},
                      [&](PcFile& file, PcFile*) { return Fill(file, contents, options); });
    if (writing.problem || writing.error != 0)
        return fail(writing.problem ? writing.problem : Reason(SystemError{writing.error}));
    if (!each.resource->isWhole)
        fail(Sentence::kContentsCutShort);
}

void Save(InspectRun& inspect, const std::vector<Chosen>& chosen, const ResourcesOptions& options) {
    PcTargets targets(options.inspect.view.image);
    if (const Reason problem = targets.enter(options.folder))
        return inspect.run.problem(problem);
    for (const Chosen& each : chosen) {
        if (StopSignals::requested())
            return inspect.run.problem(Sentence::kStoppedWrittenStays);
        SaveOne(inspect, targets, each, options);
    }
    if (const Reason problem = targets.leave({}))
        inspect.run.problem(problem);
}

int Resources(const ResourcesOptions& options, CommandContext& context) {
    const auto id = TypedNumber(options.id);
    if (!options.id.empty() && (!id || *id > 0xFFFF))
        return UsageError(context, kName, Reason(Sentence::kNoResourceId, Printable(options.id)));
    // What a shell makes of a variable that is not set is no file.
    if (options.inspect.path.empty())
        return UsageError(context, kName, Sentence::kGetPathIsEmpty);
    const StopSignals signals;
    InspectRun inspect(context);
    if (!inspect.open(options.inspect, true))
        return kExitFailed;
    ByteSource& fork = *inspect.bytes.source;
    const ResourceTree tree = WalkResourceMap(fork, ResourceBaseOffset(fork));
    if (tree.problem)
        inspect.run.problem(
            Reason(Sentence::kNamedReason, Printable(options.inspect.path), tree.problem));
    const std::vector<Chosen> chosen = Choose(tree, options, id);
    if (chosen.empty() && (id || !options.type.empty()))
        inspect.run.problem(Reason(Sentence::kNoSuchResource, Printable(options.inspect.path)));
    else if (!options.folder.empty())
        Save(inspect, chosen, options);
    else if (options.json)
        PutJson(inspect.run, chosen);
    else
        PutText(inspect.run, chosen);
    return inspect.run.exitStatus();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<ResourcesOptions>();
    arguments.add(option::kImage, options->inspect.view.image).required();
    arguments.add("PATH", options->inspect.path, Sentence::kHelpResourcesPath).required();
    arguments.add(option::kPartition, options->inspect.view.partition);
    arguments.add("--fork", options->inspect.fork, Sentence::kHelpResourcesFork)
        .oneOf({"data", "resource"});
    arguments.add("--type", options->type, Sentence::kHelpResourceType);
    arguments.add("--id", options->id, Sentence::kHelpResourceId);
    arguments.add("--save", options->folder, Sentence::kHelpResourceSave);
    arguments.flag("--hex", options->hexadecimal, Sentence::kHelpResourceHex);
    arguments.flag("-f,--force", options->force, Sentence::kHelpForceFile);
    arguments.flag(option::kJson, options->json);
    run = [options](CommandContext& context) { return Resources(*options, context); };
}

}  // namespace

const Verb kVerbResources = {kName, "", Sentence::kSummaryResources,
                             "vellmark resources photos.iso Holiday/Viewer --save Pictures", SetUp};

}  // namespace vellmark
