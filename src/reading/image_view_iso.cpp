#include <fmt/core.h>

#include <functional>
#include <map>
#include <utility>

#include "reading/image_view.hpp"
#include "support/encoding.hpp"

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

    [[nodiscard]] std::unique_ptr<ByteSource> open(const ViewEntry& file,
                                                   std::string& problem) override;

  protected:
    [[nodiscard]] std::optional<ViewEntry> findEntry(std::string_view path,
                                                     std::string& problem) override;
    void eachEntry(const ViewEntry& folder, const TakeEntry& take, std::string& problem) override;

  private:
    void eachRecord(const IsoEntry& folder, const std::function<bool(IsoEntry&&)>& take,
                    std::string& problem);
    [[nodiscard]] Forks forksIn(const IsoEntry& folder, std::string& problem);

    IsoReader& reader_;
    IsoTree tree_;
    ByteSource& image_;
};

std::unique_ptr<ByteSource> IsoTreeView::open(const ViewEntry& file, std::string& problem) {
    problem.clear();
    const auto& record = std::get<IsoEntry>(file.record);
    if (!record.interleaved)
        return std::make_unique<IsoFileSource>(image_, record);
    problem = "It is interleaved, that is, written with gaps, and cannot be read.";
    return nullptr;
}

std::optional<ViewEntry> IsoTreeView::findEntry(std::string_view path, std::string& problem) {
    problem.clear();
    const auto looked = reader_.find(tree_, path);
    if (!looked)
        problem = looked.error().words(Language::English);
    const std::optional<IsoEntry> found = looked.value_or(std::nullopt);
    if (!found)
        return std::nullopt;
    if (found->isFolder || path.empty())
        return EntryOf(*found);
    // In its folder stands also what is associated with it.
    const std::size_t slash = path.rfind('/');
    const auto folder =
        reader_.find(tree_, path.substr(0, slash == std::string_view::npos ? 0 : slash));
    if (!folder || !*folder)
        return EntryOf(*found);
    std::optional<ViewEntry> same;
    const auto isSame = [&](ViewEntry&& entry) {
        const auto& record = std::get<IsoEntry>(entry.record);
        if (record.fullName == found->fullName && record.associated == found->associated)
            same = std::move(entry);
        return !same;
    };
    eachEntry(EntryOf(**folder), isSame, problem);
    return same ? std::move(same) : EntryOf(*found);
}

void IsoTreeView::eachRecord(const IsoEntry& folder, const std::function<bool(IsoEntry&&)>& take,
                             std::string& problem) {
    IsoDirectory directory = reader_.open(tree_, folder);
    IsoEntry record;
    problem.clear();
    while (directory.next(record) == IsoDirectory::Step::Entry)
        if (!take(std::move(record)))
            return;
    problem = directory.problem().words(Language::English);
}

// The forks that stand as records of their own. Few folders have any, and only those are read once
// more for the files that the forks belong to.
Forks IsoTreeView::forksIn(const IsoEntry& folder, std::string& problem) {
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
    eachRecord(folder, noteFork, problem);
    if (!forks.empty())
        eachRecord(folder, noteFile, problem);
    return forks;
}

// A file and its resource fork have the same name; they are shown as one.
void IsoTreeView::eachEntry(const ViewEntry& folder, const TakeEntry& take, std::string& problem) {
    const auto& place = std::get<IsoEntry>(folder.record);
    const Forks forks = forksIn(place, problem);
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
    eachRecord(place, show, problem);
}

}  // namespace

std::unique_ptr<TreeView> MakeIsoTreeView(IsoReader& reader, IsoTree tree, ByteSource& image) {
    return std::make_unique<IsoTreeView>(reader, tree, image);
}

}  // namespace vellmark
