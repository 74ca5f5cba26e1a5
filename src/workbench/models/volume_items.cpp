#include "workbench/models/volume_items.hpp"

#include "containers/finder_info.hpp"
#include "containers/names.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "workbench/messages/words.hpp"
#include "workbench/models/row_order.hpp"

namespace vellmark {

namespace {

constexpr int kTextFolder = 1011;

std::int32_t NumberOf(const CatalogItem& item) {
    return static_cast<std::int32_t>(item.id);
}

std::string_view BytesOf(const std::array<char, 8>& signature) {
    return {signature.data(), signature.size()};
}

}  // namespace

TreeFolder VolumeItems::root() const {
    std::optional<CatalogItem> item;
    (void)FindPath(volume_, "", clock_, item);
    return {static_cast<std::int32_t>(kRootFolderId),
            item ? ToQString(Printable(item->name)) : QString{},
            {Picture::Disc, PictureState::Plain},
            true};
}

std::vector<TreeFolder> VolumeItems::folders(std::int32_t folder) {
    std::vector<CatalogItem> items;
    (void)listShown(folder, items);
    std::vector<TreeFolder> folders;
    for (const CatalogItem& item : items)
        if (item.isFolder)
            folders.push_back({NumberOf(item),
                               ToQString(Printable(item.name)),
                               {Picture::Folder, PictureState::Plain},
                               item.valence > 0});
    std::sort(folders.begin(), folders.end(), [](const TreeFolder& a, const TreeFolder& b) {
        return a.name.toUtf8() < b.name.toUtf8();
    });
    return folders;
}

std::int32_t VolumeItems::parentOf(std::int32_t folder) {
    const std::uint32_t parent = static_cast<std::uint32_t>(folder) == kRootFolderId
                                     ? kRootFolderId
                                     : ParentOf(volume_, static_cast<std::uint32_t>(folder));
    return static_cast<std::int32_t>(parent < kRootFolderId ? kRootFolderId : parent);
}

void VolumeItems::list(std::int32_t folder) {
    rows_.clear();
    totals_ = {};
    const TreeResult result = listShown(folder, rows_);
    problem_ = CatalogProblem(result, Reason(Sentence::kPlaceInRootFolder));
    for (const CatalogItem& item : rows_) {
        ++(item.isFolder ? totals_.folders : totals_.files);
        totals_.bytes += item.data.sizeBytes + item.resource.sizeBytes;
    }
}

TreeResult VolumeItems::listShown(std::int32_t folder, std::vector<CatalogItem>& items) {
    const TreeResult result =
        ListFolder(volume_, static_cast<std::uint32_t>(folder), clock_, items);
    if (!showsHidden_)
        std::erase_if(items, [](const CatalogItem& item) {
            return (item.finderFlags & kFinderInvisible) != 0;
        });
    return result;
}

RowFacts VolumeItems::facts(std::size_t row) const {
    const CatalogItem& item = rows_[row];
    RowFacts facts;
    facts.number = NumberOf(item);
    facts.isFolder = item.isFolder;
    facts.name = ToQString(Printable(item.name));
    facts.created = localOf(item.dates.created);
    facts.modified = localOf(item.dates.modified);
    if (item.isFolder) {
        facts.picture.shape = Picture::Folder;
        facts.items = item.valence;
        return facts;
    }
    facts.picture.shape = PictureOfType(BytesOf(item.signature).substr(0, 4));
    facts.dataBytes = item.data.sizeBytes;
    facts.resourceBytes = item.resource.sizeBytes;
    facts.type = ToQString(NarrowToUtf8(typeOf(item)));
    facts.signature = ToQString(Printable(WideToUtf8(MacNameToWide(BytesOf(item.signature)))));
    return facts;
}

void VolumeItems::sort(Column column, bool isDescending) {
    const auto by = [&](auto keyOf) { SortRows(rows_, isDescending, keyOf); };
    switch (column) {
        case kColumnName:
            return by([](const CatalogItem& i) { return i.name; });
        case kColumnType:
            return by([&](const CatalogItem& i) {
                return i.isFolder ? Text(kTextFolder, language_) : typeOf(i);
            });
        case kColumnData:
            return by([](const CatalogItem& i) { return i.data.sizeBytes; });
        case kColumnResource:
            return by([](const CatalogItem& i) { return i.resource.sizeBytes; });
        case kColumnCreated:
            return by([](const CatalogItem& i) { return i.dates.created; });
        case kColumnModified:
            return by([](const CatalogItem& i) { return i.dates.modified; });
        case kColumnSignature:
            return by([](const CatalogItem& i) { return i.signature; });
        case kColumnCount:
            break;
    }
}

std::string_view VolumeItems::typeOf(const CatalogItem& item) const {
    const SignatureRow* row = signatures_.RowOfSignature(BytesOf(item.signature), true);
    return row ? std::string_view(row->comment) : std::string_view();
}

// HFS keeps local time, HFS+ that of Greenwich.
UnixSeconds VolumeItems::localOf(MacSeconds seconds) const {
    if (seconds == 0)
        return 0;
    const UnixSeconds at = FromMacGmt(seconds);
    return volume_.isHfsPlus ? at + clock_.zoneOffset(at) : at;
}

}  // namespace vellmark
