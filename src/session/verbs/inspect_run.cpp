#include "session/verbs/inspect_run.hpp"

#include <algorithm>

#include "inspect/fork_page.hpp"
#include "session/reading_ports.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"
#include "volume/mount.hpp"

namespace vellmark {

namespace {

constexpr std::string_view kResource = "resource";

// Of one file in several trees, that of the Macintosh, which has resource forks, then of Joliet.
const FoundEntry& Preferred(const std::vector<FoundEntry>& found) {
    return *std::max_element(found.begin(), found.end(), [](const auto& a, const auto& b) {
        return a.tree->facts().kind < b.tree->facts().kind;
    });
}

}  // namespace

Option AddInspectOptions(OptionSet& arguments, InspectOptions& options, const Reason& path) {
    arguments.add(option::kImage, options.view.image).required();
    const Option place = arguments.add("PATH", options.path, path);
    arguments.add(option::kPartition, options.view.partition);
    arguments.add("--fork", options.fork, Sentence::kHelpFork)
        .oneOf({"data", std::string(kResource)});
    return place;
}

std::optional<std::uint64_t> TypedNumber(const std::string& typed) {
    return ParseNumber(
        typed, typed.starts_with("0x") || typed.starts_with("0X") ? kHexadecimal : kDecimal);
}

bool InspectRun::open(const InspectOptions& options, bool resourceByDefault) {
    if (!options.hasPath)
        return openWhole(options);
    // What a shell makes of a variable that is not set is no file.
    if (options.path.empty()) {
        run.problem(Sentence::kGetPathIsEmpty);
        return false;
    }
    return openFork(options, options.fork.empty() ? resourceByDefault : options.fork == kResource);
}

bool InspectRun::openWhole(const InspectOptions& options) {
    run.image = OpenPlainImage(options.view.image, Access::Read, run.context, run.terminal);
    if (!run.image)
        return false;
    whole_.guard = run.image->guard();
    if (!OpenImageFile(whole_, run.image->path(), Access::Read, run.terminal.messages))
        return false;
    image_ = whole_.image;
    bytes = InspectWhole(image_);
    return true;
}

bool InspectRun::openFork(const InspectOptions& options, bool resource) {
    ViewOptions view = options.view;
    if (resource)
        view.as = TreeKeyword(TreeKind::Hfs);
    if (!run.open(view))
        return false;
    const std::vector<FoundEntry> found = run.find(options.path);
    if (found.empty())
        return false;
    const FoundEntry& place = Preferred(found);
    if (place.entry.isFolder) {
        run.problem(Reason(Sentence::kFolderHasNoBytes, Printable(options.path)));
        return false;
    }
    image_ = run.view->volume().image;
    bytes = InspectEntry(*run.view, *place.tree, place.entry, resource);
    if (bytes.problem)
        run.problem(Reason(Sentence::kNamedReason, Printable(options.path), bytes.problem));
    return bytes.source != nullptr;
}

std::optional<std::uint64_t> InspectRun::sectorOf(const std::string& typed) {
    const auto sector = TypedNumber(typed);
    const std::uint64_t last = LastSector(*bytes.source);
    if (sector && *sector <= last && bytes.source->size() > 0)
        return sector;
    run.problem(bytes.source->size() == 0
                    ? Reason(Sentence::kForkIsEmpty)
                    : Reason(Sentence::kNoSuchSector, Printable(typed), last));
    return std::nullopt;
}

const InspectedImage& InspectRun::surroundings() {
    if (!surroundings_)
        surroundings_.emplace(image_);
    return *surroundings_;
}

}  // namespace vellmark
