#include "workbench/models/project_items.hpp"

#include "containers/names.hpp"
#include "project/item_names.hpp"
#include "project/item_views.hpp"
#include "project/project_properties.hpp"
#include "support/encoding.hpp"
#include "workbench/messages/words.hpp"
#include "workbench/models/row_order.hpp"

namespace vellmark {

namespace {

constexpr int kTextFolder = 1011;

PictureState StateOf(const ProjectRecord& record) {
    switch (IconOf(record)) {
        case ItemIcon::BothViews:
            return PictureState::BothViews;
        case ItemIcon::IsoAlone:
            return PictureState::IsoAlone;
        case ItemIcon::HfsAlone:
            return PictureState::HfsAlone;
        case ItemIcon::NoView:
            return PictureState::NoView;
        case ItemIcon::MissingInBoth:
            return PictureState::MissingInBoth;
        case ItemIcon::MissingInIso:
            return PictureState::MissingInIso;
        case ItemIcon::MissingInHfs:
            return PictureState::MissingInHfs;
    }
    return PictureState::Plain;
}

// The seconds of a record are local time already.
UnixSeconds LocalOf(MacSeconds seconds) {
    return seconds == 0 ? 0 : static_cast<UnixSeconds>(seconds) - kMacEpochOffset;
}

QString SignatureWords(std::string_view signature) {
    return ToQString(Printable(WideToUtf8(MacNameToWide(signature))));
}

}  // namespace

TreeFolder ProjectItems::root() const {
    const bool isMacintosh = view_ == ProjectView::Hfs && project_.mode() == ProjectMode::Hybrid;
    return {kRootFolder,
            ToQString(LabelOf(project_, isMacintosh ? LabelSide::Hfs : LabelSide::Iso)),
            {Picture::Disc, PictureState::Plain},
            true};
}

std::vector<TreeFolder> ProjectItems::folders(std::int32_t folder) {
    std::vector<TreeFolder> folders;
    for (const ProjectRecord& record : project_.childrenOf(folder))
        if (record.isFolder() && record.isIn(view_))
            folders.push_back({record.number,
                               ToQString(Printable(ShownItemName(project_, record, view_))),
                               pictureOf(record), record.dataSize > 0});
    std::sort(folders.begin(), folders.end(), [](const TreeFolder& a, const TreeFolder& b) {
        return a.name.toUtf8() < b.name.toUtf8();
    });
    return folders;
}

std::int32_t ProjectItems::parentOf(std::int32_t folder) {
    const std::int32_t parent = project_.parentOf(folder);
    return parent == 0 ? kRootFolder : parent;
}

void ProjectItems::list(std::int32_t folder) {
    rows_.clear();
    totals_ = {};
    for (const ProjectRecord& record : project_.childrenOf(folder))
        if (record.isIn(view_)) {
            rows_.push_back(&record);
            ++(record.isFolder() ? totals_.folders : totals_.files);
            if (!record.isFolder())
                totals_.bytes += std::uint64_t{record.dataSize} + record.resourceSize;
        }
}

RowFacts ProjectItems::facts(std::size_t row) const {
    const ProjectRecord& record = *rows_[row];
    RowFacts facts;
    facts.number = record.number;
    facts.isFolder = record.isFolder();
    facts.name = ToQString(Printable(ShownItemName(project_, record, view_)));
    facts.picture = pictureOf(record);
    facts.created = LocalOf(record.created);
    facts.modified = LocalOf(record.modified);
    if (facts.isFolder) {
        facts.items = std::int64_t{record.dataSize} + record.resourceSize;
        return facts;
    }
    facts.dataBytes = record.dataSize;
    facts.resourceBytes = record.resourceSize;
    facts.type = ToQString(NarrowToUtf8(typeOf(record)));
    facts.signature = SignatureWords(record.signature());
    return facts;
}

void ProjectItems::sort(Column column, bool isDescending) {
    const auto by = [&](auto keyOf) {
        SortRows(rows_, isDescending, [&](const ProjectRecord* row) { return keyOf(*row); });
    };
    const auto size = [](const ProjectRecord& record, std::uint32_t bytes) {
        return record.isFolder() ? 0 : bytes;
    };
    switch (column) {
        case kColumnName:
            return by([&](const ProjectRecord& r) { return ShownItemName(project_, r, view_); });
        case kColumnType:
            return by([&](const ProjectRecord& r) {
                return r.isFolder() ? Text(kTextFolder, language_) : typeOf(r);
            });
        case kColumnData:
            return by([&](const ProjectRecord& r) { return size(r, r.dataSize); });
        case kColumnResource:
            return by([&](const ProjectRecord& r) { return size(r, r.resourceSize); });
        case kColumnCreated:
            return by([](const ProjectRecord& r) { return std::uint32_t{r.created}; });
        case kColumnModified:
            return by([](const ProjectRecord& r) { return std::uint32_t{r.modified}; });
        case kColumnSignature:
            return by([](const ProjectRecord& r) { return r.signature(); });
        case kColumnCount:
            break;
    }
}

ItemPicture ProjectItems::pictureOf(const ProjectRecord& record) const {
    const bool isHybrid = view_ == ProjectView::Hybrid && project_.mode() == ProjectMode::Hybrid;
    const PictureState state = isHybrid ? StateOf(record) : PictureState::Plain;
    if (record.isFolder())
        return {Picture::Folder, state};
    return {view_ == ProjectView::Hfs ? PictureOfType(record.signature().substr(0, 4))
                                      : PictureOfName(record.sourceName()),
            state};
}

std::string_view ProjectItems::typeOf(const ProjectRecord& record) const {
    const SignatureRow* row = signatures_.RowOfSignature(record.signature(), true);
    return row ? std::string_view(row->comment) : std::string_view();
}

}  // namespace vellmark
