#include <fmt/core.h>

#include <memory>

#include "reading/image_walk.hpp"
#include "session/verbs/image_verbs.hpp"
#include "session/verbs/verbs.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kIndent = 2;

struct TreeOptions {
    ViewOptions view;
    std::string path;
};

class Printer final : public TreeWalker {
  public:
    explicit Printer(ViewRun& run) : run_(run) {}
    [[nodiscard]] bool putEntry(const ViewEntry& entry, std::size_t level) {
        return run_.put(fmt::format("{:{}}{}{}\n", "", level * kIndent,
                                    entry.path.empty() ? "" : Printable(entry.name),
                                    entry.isFolder ? "/" : ""));
    }

  protected:
    [[nodiscard]] Next visit(const ViewEntry& entry, std::size_t level) override {
        return putEntry(entry, level + 1) ? Next::GoOn : Next::Stop;
    }
    void problem(const Reason& reason) override { run_.problem(reason); }

  private:
    ViewRun& run_;
};

bool PutTree(ViewRun& run, const FoundEntry& found) {
    Printer printer(run);
    return printer.putEntry(found.entry, 0) &&
           (!found.entry.isFolder || printer.walk(*found.tree, found.entry));
}

int Tree(const TreeOptions& options, CommandContext& context) {
    ViewRun run(context, false);
    if (!run.open(options.view))
        return kExitFailed;
    bool first = true;
    for (const FoundEntry& found : run.find(options.path)) {
        if (run.trees.size() > 1 &&
            !run.put(fmt::format("{}{}\n", first ? "" : "\n", TreeHeading(found.tree->facts()))))
            break;
        first = false;
        if (!PutTree(run, found))
            break;
    }
    return run.exitStatus();
}

void SetUp(OptionSet& arguments, RunVerb& run) {
    const auto options = std::make_shared<TreeOptions>();
    AddViewOptions(arguments, options->view, Sentence::kHelpAnyTree);
    arguments.add("PATH", options->path, Sentence::kHelpTreePath);
    run = [options](CommandContext& context) { return Tree(*options, context); };
}

}  // namespace

const Verb kVerbTree = {"tree", "", Sentence::kSummaryTree, "vellmark tree photos.iso --as joliet",
                        SetUp};

}  // namespace vellmark
