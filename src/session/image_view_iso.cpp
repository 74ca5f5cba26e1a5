#include <fmt/core.h>

#include <algorithm>
#include <map>

#include "session/image_view.hpp"
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

ViewEntry EntryOf(const IsoEntry& record) {
    ViewEntry entry;
    entry.name = record.name;
    entry.isFolder = record.isFolder;
    entry.isHidden = record.hidden;
    entry.sizeBytes = record.isFolder ? 0 : record.sizeBytes;
    entry.modified = Given(record.modified);
    entry.id = record.extentSector;
    entry.record = record;
    return entry;
}

class IsoTreeView final : public TreeView {
  public:
    IsoTreeView(IsoReader& reader, IsoTree tree, ByteSource& image)
        : TreeView(FactsOf(reader, tree)), reader_(reader), tree_(tree), image_(image) {}

    [[nodiscard]] std::unique_ptr<ByteSource> open(const ViewEntry& file,
                                                   std::string& problem) override;

  protected:
    [[nodiscard]] std::optional<ViewEntry> findEntry(std::string_view path,
                                                     std::string& problem) override;
    [[nodiscard]] std::vector<ViewEntry> listEntries(const ViewEntry& folder,
                                                     std::string& problem) override;

  private:
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
    const std::optional<IsoEntry> found = reader_.find(tree_, path, problem);
    if (!found)
        return std::nullopt;
    if (found->isFolder || path.empty())
        return EntryOf(*found);
    // In its folder stands also what is associated with it.
    const std::size_t slash = path.rfind('/');
    const auto folder =
        reader_.find(tree_, path.substr(0, slash == std::string_view::npos ? 0 : slash), problem);
    if (!folder)
        return EntryOf(*found);
    std::vector<ViewEntry> entries = listEntries(EntryOf(*folder), problem);
    const auto same = std::find_if(entries.begin(), entries.end(), [&](const ViewEntry& entry) {
        const auto& record = std::get<IsoEntry>(entry.record);
        return record.fullName == found->fullName && record.associated == found->associated;
    });
    return same == entries.end() ? EntryOf(*found) : std::move(*same);
}

std::vector<ViewEntry> IsoTreeView::listEntries(const ViewEntry& folder, std::string& problem) {
    const auto records = reader_.list(tree_, std::get<IsoEntry>(folder.record), problem);
    if (!records)
        return {};
    // A file and its resource fork have the same name; they are shown as one.
    std::map<std::string, std::uint64_t, std::less<>> resources;
    std::map<std::string, bool, std::less<>> files;
    for (const IsoEntry& record : *records) {
        if (record.associated)
            resources[record.fullName] += record.sizeBytes;
        else if (!record.isFolder)
            files[record.fullName] = true;
    }
    std::vector<ViewEntry> entries;
    for (const IsoEntry& record : *records) {
        if (record.associated && files.contains(record.fullName))
            continue;
        ViewEntry& entry = entries.emplace_back(EntryOf(record));
        if (const auto found = resources.find(record.fullName);
            found != resources.end() && !record.associated && !record.isFolder)
            entry.resourceBytes = found->second;
    }
    return entries;
}

}  // namespace

std::unique_ptr<TreeView> MakeIsoTreeView(IsoReader& reader, IsoTree tree, ByteSource& image) {
    return std::make_unique<IsoTreeView>(reader, tree, image);
}

}  // namespace vellmark
