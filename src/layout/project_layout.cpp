#include "layout/project_layout.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <string_view>

#include "containers/hfs_plus_name.hpp"
#include "containers/names.hpp"
#include "containers/pc_name.hpp"
#include "layout/background_alias.hpp"
#include "layout/picture_format.hpp"
#include "project/include_contents.hpp"
#include "project/item_deletion.hpp"
#include "project/item_names.hpp"
#include "project/pc_sources.hpp"
#include "project/project_properties.hpp"
#include "project/view_names.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextNotValid = 1538;

std::string HfsNameOf(const ProjectFile& project, const ProjectRecord& record) {
    return ShownItemName(project, record, ProjectView::Hfs);
}

// The name that the item will have on the disc, which the record may only have a copy of.
std::u16string CatalogNameOf(const ProjectRecord& record, PcPathResolver& resolver) {
    if (IsNamedByDisk(record, true) && !HasNameInContainer(record)) {
        const std::string path = resolver.resolve(record.accessPath(), record.sourceName());
        if (!path.empty())
            return PcToHfsPlusName(Utf8ToWide(path.substr(path.find_last_of('/') + 1))).units;
    }
    return AnsiToHfsPlusName(ReplaceChars(record.hfsName(), kMacForbiddenChars));
}
std::string ShownCatalogName(const ProjectRecord& record) {
    PcPathResolver resolver;
    return WideToUtf8(HfsPlusNameToWide(CatalogNameOf(record, resolver)));
}

const ProjectRecord* ItemNamed(const ProjectFile& project, std::int32_t folder,
                               std::string_view name) {
    for (const ProjectRecord& record : project.childrenOf(folder))
        if (record.isIn(ProjectView::Hfs) && HfsNameOf(project, record) == name)
            return &record;
    return nullptr;
}

// Where it is, or was when nothing of the name is there.
std::string PathOnPc(const ProjectRecord& record) {
    const std::string path = PcPathResolver().resolve(record.accessPath(), record.sourceName());
    return path.empty()
               ? NarrowToUtf8(std::string(record.accessPath()) + std::string(record.sourceName()))
               : path;
}

std::vector<PlacedItem> ItemsOfRoot(const ProjectFile& project) {
    std::vector<PlacedItem> items;
    PcPathResolver resolver;
    for (const ProjectRecord& record : project.childrenOf(kRootFolder))
        if (record.isIn(ProjectView::Hfs) && !HfsNameOf(project, record).starts_with('.'))
            items.push_back({CatalogNameOf(record, resolver), record.isFolder(), 0, 0});
    return items;
}

// What the file says of items that are there; the others stay where the grid has them.
void TakePlaces(DsStoreLayout& layout, const std::vector<PlacedItem>& stored) {
    PlaceIcons(layout);
    std::map<std::u16string_view, const PlacedItem*> byName;
    for (const PlacedItem& each : stored)
        byName[each.name] = &each;
    for (PlacedItem& item : layout.items)
        if (const auto found = byName.find(item.name); found != byName.end()) {
            item.x = found->second->x;
            item.y = found->second->y;
        }
}

bool WriteFile(const std::string& path, std::span<const std::uint8_t> bytes, Messages& messages) {
    const int error = WriteWholeFile(path, bytes);
    if (error != 0)
        FileOpenError(messages, path, SystemError{error});
    return error == 0;
}

bool Remove(ProjectFile& project, std::string_view name, const Ports& ports) {
    const ProjectRecord* const record = ItemNamed(project, kRootFolder, name);
    if (!record)
        return true;
    RememberedAnswer yes{Remembered::YesToAll};
    const std::array<std::int32_t, 1> numbers = {record->number};
    const DeletionResult result =
        DeleteItems(project, numbers, yes, ports.messages, ports.progress);
    if (result.refusal)
        ports.messages.showMessage(result.refusal);
    return !result.refusal;
}

bool Include(ProjectFile& project, const std::string& path, const std::string& folder,
             const Ports& ports) {
    InclusionOptions options{ports.clock, ProjectView::Hfs};
    options.truncation = kShortenAll;
    const InclusionResult result =
        IncludeContents(project, {.paths = {path}, .target = folder}, options, ports);
    return result.status == InclusionStatus::Done && result.files == 1;
}

// On the disc the file has the name by which the Finder knows it, whatever it is called on the PC.
bool NameStore(ProjectFile& project, const std::string& path, Messages& messages) {
    const auto selection = SelectOnPc(path);
    if (!selection)
        return false;
    PcListings listings;
    const std::string folder = listings.accessPathOf(selection->folder);
    const std::string name = SourceNameOf(listings.find(selection->folder, selection->name));
    for (const ProjectRecord& record : project.childrenOf(kRootFolder)) {
        if (record.sourceName() != name || record.accessPath() != folder ||
            HfsNameOf(project, record) == kStoreName)
            continue;
        const Reason refusal = RenameItem(project, record.number, kStoreName, ProjectView::Hfs);
        if (refusal)
            messages.showMessage(refusal);
        return !refusal;
    }
    return true;
}

// Nothing else can be a picture, and of other things none is included, or many are.
Reason RefuseOtherThanFile(const std::string& path) {
    const PcFacts facts = PcFactsOf(path);
    if (facts.kind == PcKind::Missing)
        return Reason(Sentence::kCannotBeOpened, Printable(path), SystemError{ENOENT});
    if (facts.kind != PcKind::File)
        return Reason(Sentence::kPictureNoFile, Printable(path));
    return {};
}

// The picture in its folder, and the alias that leads to it; empty without a picture.
std::optional<std::vector<std::uint8_t>> IncludeBackground(ProjectFile& project,
                                                           const std::string& path,
                                                           const Ports& ports) {
    if (path.empty())
        return std::vector<std::uint8_t>();
    const std::string folder(kBackgroundFolderName);
    if (const Reason refusal = RefuseOtherThanFile(path)) {
        ports.messages.showMessage(refusal);
        return std::nullopt;
    }
    if (!Include(project, path, folder, ports))
        return std::nullopt;
    const auto& pictures = project.childrenOf(kBackgroundFolder);
    if (pictures.empty())
        return std::nullopt;
    const ProjectRecord& picture = pictures.front();
    BackgroundFile file{.volume = LabelOf(project, LabelSide::Hfs),
                        .now = ToMacLocal(ports.clock.now(), ports.clock),
                        .folder = folder,
                        .folderNumber = static_cast<std::uint32_t>(kBackgroundFolder),
                        .name = ShownCatalogName(picture),
                        .created = picture.created};
    std::copy(std::begin(picture.signature_), std::end(picture.signature_), file.signature.begin());
    return BackgroundAlias(file);
}

}  // namespace

Result<std::vector<StoreRecord>> ReadStoreFile(const std::string& path) {
    PcFile file(path, PcFile::Mode::Read);
    if (!file.isOpen())
        return Failed(file.failure());
    std::vector<std::uint8_t> bytes(
        static_cast<std::size_t>(std::min(file.size(), kMostStoreBytes)));
    bytes.resize(file.readAt(0, bytes));
    return ReadStore(bytes);
}

ProjectLayout LayoutOfProject(const ProjectFile& project, Messages& messages) {
    ProjectLayout now;
    now.layout.items = ItemsOfRoot(project);
    PlaceIcons(now.layout);
    const ProjectRecord* const file = ItemNamed(project, kRootFolder, kStoreName);
    if (!file)
        return now;
    const std::string path = PathOnPc(*file);
    const auto records = ReadStoreFile(path);
    if (!records) {
        const Sentence said = records.error().sentence();
        if (said == Sentence::kNoStore || said == Sentence::kStoreDamaged)
            messages.showMessage(Reason::Told(kTextNotValid));
        else
            FileOpenError(messages, path, records.error());
        return now;
    }
    StoredLayout stored = LayoutOf(*records);
    std::vector<PlacedItem> places = std::move(stored.layout.items);
    stored.layout.items = std::move(now.layout.items);
    now.layout = std::move(stored.layout);
    TakePlaces(now.layout, places);
    now.file = path;
    const std::string background = FileOfAlias(stored.background);
    for (const ProjectRecord& picture : project.childrenOf(kBackgroundFolder)) {
        std::string name = ShownCatalogName(picture);
        std::replace(name.begin(), name.end(), '/', ':');
        if (picture.isIn(ProjectView::Hfs) && name == background)
            now.background = PathOnPc(picture);
    }
    return now;
}

Reason BackgroundRefusal(const std::string& path) {
    if (Reason refusal = RefuseOtherThanFile(path))
        return refusal;
    if (!PictureFormatOf(path))
        return Reason(Sentence::kPictureOfNoKind, Printable(path));
    if (PcFactsOf(path).sizeBytes == 0)
        return Reason(Sentence::kNamedReason, Printable(path), Sentence::kIsEmpty);
    return {};
}

bool SetLayout(ProjectFile& project, const ProjectLayout& wanted, const std::string& path,
               const Ports& ports) {
    if (!Remove(project, kStoreName, ports) || !Remove(project, kBackgroundFolderName, ports))
        return false;
    const auto alias = IncludeBackground(project, wanted.background, ports);
    if (!alias)
        return false;
    const std::vector<std::uint8_t> bytes = StoreBytes(RecordsOf(wanted.layout, *alias));
    if (!WriteFile(path, bytes, ports.messages) || !Include(project, path, "", ports))
        return false;
    return NameStore(project, path, ports.messages);
}

}  // namespace vellmark
