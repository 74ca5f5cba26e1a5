#include <fmt/core.h>

#include <functional>
#include <map>
#include <utility>

#include "reading/image_view.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

std::optional<UnixSeconds> Given(UnixSeconds date) {
    return date == 0 ? std::nullopt : std::optional(date);
}

TreeFacts FactsOf(const IsoReader& reader, IsoTree tree) {
    const IsoVolumeInfo& info = reader.info(tree);
    TreeFacts facts;
    facts.kind = tree == IsoTree::Iso ? TreeKind::Iso : TreeKind::Joliet;
    facts.format = tree == IsoTree::Iso ? "ISO 9660" : "Joliet";
    facts.label = info.volumeId;
    facts.blockSize = info.blockSize;
    facts.blockCount = info.spaceSize;
    facts.created = Given(info.createdAt);
    facts.modified = Given(info.modifiedAt);
    facts.endByte = facts.sizeBytes();
    for (const auto& [key, text] :
         {std::pair<std::string_view, const std::string&>{"system", info.systemId},
          {"volumeSet", info.volumeSetId},
          {"publisher", info.publisher},
          {"preparer", info.preparer},
          {"application", info.application}})
        if (!text.empty())
            facts.texts.emplace_back(key, text);
    return facts;
}

ViewEntry EntryOf(IsoEntry record) {
    ViewEntry entry;
    entry.name = record.name;
    entry.isFolder = record.isFolder;
    entry.isHidden = record.hidden;
    entry.sizeBytes = record.isFolder ? 0 : record.sizeBytes;
    entry.modified = Given(record.modified);
    entry.id = record.extentSector;
    entry.record = std::move(record);
    return entry;
}

/// What is associated with the files of a folder, by their full names.
struct Fork {
    std::uint64_t sizeBytes = 0;
    bool hasFile = false;
};
using Forks = std::map<std::string, Fork, std::less<>>;

class IsoTreeView final : public TreeView {
  public:
    IsoTreeView(IsoReader& reader, IsoTree tree, ByteSource& image)
        : TreeView(FactsOf(reader, tree)), reader_(reader), tree_(tree), image_(image) {}

    [[nodiscard]] Result<std::unique_ptr<ByteSource>> open(const ViewEntry& file) override;

  protected:
    [[nodiscard]] Lookup findEntry(std::string_view path) override;
    [[nodiscard]] Reason eachEntry(const ViewEntry& folder, const TakeEntry& take) override;

  private:
    [[nodiscard]] Reason eachRecord(const IsoEntry& folder,
                                    const std::function<bool(IsoEntry&&)>& take);
    [[nodiscard]] Forks forksIn(const IsoEntry& folder);

    IsoReader& reader_;
    IsoTree tree_;
    ByteSource& image_;
};

Result<std::unique_ptr<ByteSource>> IsoTreeView::open(const ViewEntry& file) {
    const auto& record = std::get<IsoEntry>(file.record);
    if (record.interleaved)
        return Failed(Sentence::kIsInterleaved);
    return std::make_unique<IsoFileSource>(image_, record);
}

Lookup IsoTreeView::findEntry(std::string_view path) {
    const auto looked = reader_.find(tree_, path);
    if (!looked)
        return {std::nullopt, looked.error()};
    const std::optional<IsoEntry>& found = *looked;
    if (!found)
        return {};
    if (found->isFolder || path.empty())
        return {EntryOf(*found), {}};
    // In its folder stands also what is associated with it.
    const std::size_t slash = path.rfind('/');
    const auto folder =
        reader_.find(tree_, path.substr(0, slash == std::string_view::npos ? 0 : slash));
    if (!folder || !*folder)
        return {EntryOf(*found), {}};
    std::optional<ViewEntry> same;
    const auto isSame = [&](ViewEntry&& entry) {
        const auto& record = std::get<IsoEntry>(entry.record);
        if (record.fullName == found->fullName && record.associated == found->associated)
            same = std::move(entry);
        return !same;
    };
    Reason problem = eachEntry(EntryOf(**folder), isSame);
    return {same ? std::move(same) : EntryOf(*found), std::move(problem)};
}

Reason IsoTreeView::eachRecord(const IsoEntry& folder,
                               const std::function<bool(IsoEntry&&)>& take) {
    IsoDirectory directory = reader_.open(tree_, folder);
    IsoEntry record;
    while (directory.next(record) == IsoDirectory::Step::Entry)
        if (!take(std::move(record)))
            return {};
    return directory.problem();
}

// The forks that stand as records of their own. Few folders have any, and only those are read once
// more for the files that the forks belong to.
Forks IsoTreeView::forksIn(const IsoEntry& folder) {
    Forks forks;
    const auto noteFork = [&](IsoEntry&& record) {
        if (record.associated)
            forks[record.fullName].sizeBytes += record.sizeBytes;
        return true;
    };
    const auto noteFile = [&](IsoEntry&& record) {
        if (record.associated || record.isFolder)
            return true;
        if (const auto fork = forks.find(record.fullName); fork != forks.end())
            fork->second.hasFile = true;
        return true;
    };
    // The walk that shows the entries meets the same damage, and says so.
    (void)eachRecord(folder, noteFork);
    if (!forks.empty())
        (void)eachRecord(folder, noteFile);
    return forks;
}

// A file and its resource fork have the same name; they are shown as one.
Reason IsoTreeView::eachEntry(const ViewEntry& folder, const TakeEntry& take) {
    const auto& place = std::get<IsoEntry>(folder.record);
    const Forks forks = forksIn(place);
    const auto show = [&](IsoEntry&& record) {
        const auto fork = forks.empty() ? forks.end() : forks.find(record.fullName);
        if (fork == forks.end())
            return take(EntryOf(std::move(record)));
        if (record.associated && fork->second.hasFile)
            return true;
        const bool isFile = !record.associated && !record.isFolder;
        ViewEntry entry = EntryOf(std::move(record));
        if (isFile)
            entry.resourceBytes = fork->second.sizeBytes;
        return take(std::move(entry));
    };
    return eachRecord(place, show);
}

}  // namespace

std::unique_ptr<TreeView> MakeIsoTreeView(IsoReader& reader, IsoTree tree, ByteSource& image) {
    return std::make_unique<IsoTreeView>(reader, tree, image);
}

}  // namespace vellmark
