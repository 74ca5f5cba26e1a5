#include "reading/tree_search.hpp"

#include <array>

#include "reading/image_walk.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

// Adds what one tree has to what the others have.
void AddFrom(TreeView& tree, const std::string& path, FoundEntries& found, Messages& messages) {
    Lookup looked = tree.find(path);
    if (looked.entry)
        found.entries.push_back({&tree, std::move(*looked.entry)});
    if (!looked.problem)
        return;
    messages.showMessage(looked.problem);
    found.hasFailed = true;
}

void TellMissing(const std::string& path, FoundEntries& found, Messages& messages) {
    found.hasFailed = true;
    messages.showMessage(Reason(Sentence::kImageHasNo, Printable(path)));
}

// The files and folders of a tree that does not store their number.
class Counter final : public TreeWalker {
  public:
    explicit Counter(Messages& messages) : messages_(messages) {}
    std::uint64_t files = 0;
    std::uint64_t folders = 0;
    bool foundDamage = false;

  protected:
    [[nodiscard]] Next visit(const ViewEntry& entry, std::size_t) override {
        ++(entry.isFolder ? folders : files);
        return Next::GoOn;
    }
    void problem(const Reason& reason) override {
        foundDamage = true;
        messages_.showMessage(reason);
    }

  private:
    Messages& messages_;
};

}  // namespace

FoundEntries FindInTrees(std::span<TreeView* const> trees, const std::string& path,
                         Messages& messages) {
    FoundEntries found;
    for (TreeView* tree : trees)
        AddFrom(*tree, path, found, messages);
    if (found.entries.empty() && !found.hasFailed)
        TellMissing(path, found, messages);
    return found;
}

FoundEntries FindInBestTree(std::span<TreeView* const> trees, const std::string& path,
                            Messages& messages) {
    constexpr std::array kPreference = {TreeKind::Hfs, TreeKind::Joliet, TreeKind::Iso};
    FoundEntries found;
    for (const TreeKind kind : kPreference)
        for (TreeView* tree : trees)
            if (tree->facts().kind == kind && found.entries.empty())
                AddFrom(*tree, path, found, messages);
    if (found.entries.empty())
        TellMissing(path, found, messages);
    return found;
}

WholeFacts WholeFactsOf(const ImageView& view, TreeView& tree, Messages& messages) {
    WholeFacts whole{tree.facts()};
    TreeFacts& facts = whole.facts;
    if (facts.endByte > view.sizeBytes()) {
        whole.isDamaged = true;
        messages.showMessage(
            Reason(Sentence::kImageIsCutShort, facts.format, facts.endByte, view.sizeBytes()));
    }
    if (facts.fileCount)
        return whole;
    const Lookup root = tree.find({});
    Counter counter(messages);
    if (root.entry)
        (void)counter.walk(tree, *root.entry);
    facts.fileCount = counter.files;
    facts.folderCount = counter.folders;
    whole.isDamaged = whole.isDamaged || counter.foundDamage;
    return whole;
}

}  // namespace vellmark
