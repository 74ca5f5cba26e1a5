#include "reading/take_out.hpp"

#include "reading/extraction.hpp"
#include "reading/tree_search.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "support/targets.hpp"

namespace vellmark {

namespace {

// The path of a name in a folder, as a person would write it.
std::string InFolder(const std::string& folder, const std::string& name) {
    return folder == "." ? name : folder + (folder.ends_with('/') ? "" : "/") + name;
}

class Taker {
  public:
    Taker(ImageView& view, const TakeOutRequest& request, const SignatureTable& signatures,
          const ReadingPorts& ports, ByteSink* output)
        : request_(request),
          messages_(ports.messages),
          output_(output),
          copyOut_(view.volume(), request.copy, signatures, messages_, ports.progress, ports.clock),
          extractor_(request.copy.existing, request.copy.keptHint, copyOut_.targets,
                     copyOut_.replaceAnswer, messages_, ports.progress) {}

    /// False when the run is at its end.
    [[nodiscard]] bool take(std::span<TreeView* const> trees, const std::string& path);
    [[nodiscard]] TakeOutOutcome outcome() const {
        return {outcome_.hasFailed || extractor_.foundDamage() || copyOut_.foundDamage,
                copyOut_.itemsLeftOut > 0 || extractor_.itemsLeftOut() > 0, outcome_.isStopped};
    }

  private:
    [[nodiscard]] CopyOutResult copy(const FoundEntry& found);
    [[nodiscard]] Extraction extract(const FoundEntry& found);
    [[nodiscard]] std::string pcName(const FoundEntry& found) {
        // The root is called like the volume.
        const bool isRoot = found.entry.path.empty();
        return PcFileName(isRoot ? found.tree->facts().label : found.entry.name, kMostPcNameBytes,
                          isRoot ? "/" : found.entry.path, messages_);
    }
    [[nodiscard]] std::string target(const std::string& name) const {
        return request_.intoFolder ? InFolder(request_.target, name) : FollowLink(request_.target);
    }

    const TakeOutRequest& request_;
    Messages& messages_;
    ByteSink* output_;
    CopyOut copyOut_;
    Extractor extractor_;
    TakeOutOutcome outcome_;
};

CopyOutResult Taker::copy(const FoundEntry& found) {
    const auto& item = std::get<CatalogItem>(found.entry.record);
    if (output_ != nullptr)
        return CopyFileToSink(copyOut_, item, found.entry.path, *output_);
    const std::optional<std::string> name = !request_.intoFolder ? std::string{}
                                            : found.entry.path.empty()
                                                ? pcName(found)
                                                : PcNameOf(copyOut_, item, found.entry.path);
    if (!name)
        return CopyOutResult::BatchEnds;
    const std::string made = target(*name);
    if (!request_.intoFolder)
        copyOut_.namedTarget = made;
    return CopyItemOut(copyOut_, item, found.entry.path, made);
}

Extraction Taker::extract(const FoundEntry& found) {
    if (output_ != nullptr)
        return extractor_.takeTo(*found.tree, found.entry, *output_);
    return extractor_.take(*found.tree, found.entry,
                           target(request_.intoFolder ? pcName(found) : std::string{}));
}

bool Taker::take(std::span<TreeView* const> trees, const std::string& path) {
    const FoundEntries all = FindInBestTree(trees, path, messages_);
    outcome_.hasFailed = outcome_.hasFailed || all.hasFailed;
    if (all.entries.empty())
        return true;
    const FoundEntry& found = all.entries.front();
    if (output_ != nullptr && found.entry.isFolder) {
        outcome_.hasFailed = true;
        messages_.showMessage(Reason(Sentence::kFolderToOutput, Printable(path)));
        return true;
    }
    bool isDone = false;
    if (found.tree->facts().kind == TreeKind::Hfs) {
        const CopyOutResult result = copy(found);
        isDone = result == CopyOutResult::Done;
        outcome_.isStopped = !isDone && result != CopyOutResult::LeftOut;
    } else {
        const Extraction result = extract(found);
        isDone = result == Extraction::Done;
        outcome_.isStopped = result == Extraction::Stopped;
    }
    // What was asked for by its name and is not there now makes the whole run fail.
    outcome_.hasFailed = outcome_.hasFailed || !isDone;
    return !outcome_.isStopped;
}

}  // namespace

TakeOutOutcome TakeOut(ImageView& view, std::span<TreeView* const> trees,
                       const TakeOutRequest& request, const SignatureTable& signatures,
                       const ReadingPorts& ports, ByteSink* output) {
    Taker taker(view, request, signatures, ports, output);
    for (const std::string& path : request.paths)
        if (!taker.take(trees, path))
            break;
    return taker.outcome();
}

}  // namespace vellmark
