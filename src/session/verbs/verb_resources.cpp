#include <algorithm>
#include <memory>

#include "containers/resource_fork.hpp"
#include "inspect/resource_export.hpp"
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
    bool shown = false;
    bool force = false;
    bool json = false;

    [[nodiscard]] ResourceForm form() const {
        if (hexadecimal)
            return ResourceForm::Hexadecimal;
        return shown ? ResourceForm::Shown : ResourceForm::Bytes;
    }
};

// The resources that are asked for.
struct Chosen {
    const ResourceType* type = nullptr;
    const Resource* resource = nullptr;
};

std::vector<Chosen> Choose(const ResourceTree& tree, const ResourcesOptions& options,
                           std::optional<std::uint64_t> id) {
    std::vector<Chosen> chosen;
    for (const ResourceType& type : tree.types) {
        if (!options.type.empty() && ResourceTypeName(type) != options.type)
            continue;
        for (const Resource& resource : type.resources)
            if (!id || *id == resource.id)
                chosen.push_back({&type, &resource});
    }
    return chosen;
}

void PutJson(InspectRun& inspect, const ResourceTree& tree, const std::vector<Chosen>& chosen,
             bool shown) {
    nlohmann::ordered_json json = {{"resources", nlohmann::ordered_json::array()}};
    for (const Chosen& each : chosen) {
        const Resource& resource = *each.resource;
        nlohmann::ordered_json row = {{"type", ResourceTypeName(*each.type)},
                                      {"id", resource.id},
                                      {"length", resource.length},
                                      {"attributes", resource.attributes},
                                      {"position", resource.position},
                                      {"whole", resource.isWhole}};
        if (shown) {
            const ShownResource look =
                ShowResource(*inspect.bytes.source, tree, *each.type, resource);
            if (look.picture)
                row["picture"] = {{"width", look.picture->width}, {"height", look.picture->height}};
            if (!look.texts.empty())
                row["texts"] = look.texts;
        }
        json["resources"].push_back(std::move(row));
    }
    inspect.run.putJson(json);
}

// Below its line what a resource shows.
std::string LinesOf(const ShownResource& look, Language language) {
    if (look.picture)
        return "    " +
               Reason(Sentence::kPictureOfPixels, look.picture->width, look.picture->height)
                   .words(language) +
               "\n";
    std::string lines;
    for (const std::string& text : look.texts)
        for (std::size_t at = 0; at <= text.size();) {
            const std::size_t end = std::min(text.find('\n', at), text.size());
            lines += "    " + text.substr(at, end - at) + "\n";
            at = end + 1;
        }
    return lines;
}

void PutText(InspectRun& inspect, const ResourceTree& tree, const std::vector<Chosen>& chosen,
             bool shown) {
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        if (i == 0 || chosen[i].type != chosen[i - 1].type)
            (void)inspect.run.put(ResourceTypeName(*chosen[i].type) + "\n");
        std::string lines = "  " + ResourceLabel(*chosen[i].resource) + "\n";
        if (shown)
            lines += LinesOf(
                ShowResource(*inspect.bytes.source, tree, *chosen[i].type, *chosen[i].resource),
                inspect.run.context.language);
        if (!inspect.run.put(lines))
            return;
    }
}

void Save(InspectRun& inspect, const ResourceTree& tree, const std::vector<Chosen>& chosen,
          const ResourcesOptions& options) {
    PcTargets targets(options.inspect.view.image);
    if (const Reason problem = targets.enter(options.folder))
        return inspect.run.problem(problem);
    ResourceExport files(*inspect.bytes.source, tree, options.form());
    if (options.force)
        files.setMayReplace([](const std::string&) { return true; });
    Progress silent;
    for (const Chosen& each : chosen) {
        if (StopSignals::requested())
            return inspect.run.problem(Sentence::kStoppedWrittenStays);
        if (const Reason problem = files.save(targets, *each.type, *each.resource, silent))
            inspect.run.problem(problem);
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
    if (options.hexadecimal && options.shown)
        return UsageError(context, kName, Sentence::kHexOrShown);
    if (options.hexadecimal && options.folder.empty())
        return UsageError(context, kName, Sentence::kHexNeedsSave);
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
        Save(inspect, tree, chosen, options);
    else if (options.json)
        PutJson(inspect, tree, chosen, options.shown);
    else
        PutText(inspect, tree, chosen, options.shown);
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
    arguments.flag("--shown", options->shown, Sentence::kHelpResourceShown);
    arguments.flag("-f,--force", options->force, Sentence::kHelpForceFile);
    arguments.flag(option::kJson, options->json);
    run = [options](CommandContext& context) { return Resources(*options, context); };
}

}  // namespace

const Verb kVerbResources = {kName, "", Sentence::kSummaryResources,
                             "vellmark resources photos.iso Holiday/Viewer --save Pictures", SetUp};

}  // namespace vellmark
