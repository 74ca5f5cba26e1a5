#include "volume/volume_model.hpp"

#include <fmt/core.h>

#include <algorithm>

#include "volume/block_allocation.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/catalog_delete.hpp"
#include "volume/catalog_edit.hpp"
#include "volume/tree_bench.hpp"
#include "volume/tree_growth.hpp"

namespace vellmark::testing {

namespace {

std::string Folded(std::string name) {
    for (char& c : name)
        c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
    return name;
}

Bytes RandomFork(std::mt19937& random, std::uint32_t blockSize) {
    const std::uint32_t blocks = Below(random, 12) == 0 ? 100 : Below(random, 3) == 0 ? 15 : 3;
    Bytes bytes(Below(random, 3) == 0 ? 0 : Below(random, blocks * blockSize + 1));
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    return bytes;
}

bool IsNoRoom(StoreResult result) {
    return result == StoreResult::NoRoom;
}
template <typename Result>
bool IsNoRoom(Result result) {
    return result == Result::Full;
}

}  // namespace

// New files and folders outweigh deletions, so that the volume is mostly nearly full.
const std::vector<VolumeModel::Kind> VolumeModel::kKinds = {
    {"folder", 2, &VolumeModel::makeFolder}, {"file", 10, &VolumeModel::putFile},
    {"delete", 3, &VolumeModel::deleteItem}, {"rename", 3, &VolumeModel::rename},
    {"move", 2, &VolumeModel::move},         {"relabel", 1, &VolumeModel::relabel},
    {"swap", 1, &VolumeModel::swapForks},    {"mark", 1, &VolumeModel::mark},
    {"share", 0, &VolumeModel::share}};

Script RandomScript(unsigned seed, std::size_t steps, bool hasPcSide) {
    std::mt19937 random(seed);
    std::vector<std::size_t> kinds;
    for (std::size_t kind = 0; kind < VolumeModel::kKinds.size(); ++kind)
        kinds.insert(kinds.end(), VolumeModel::kKinds[kind].weight, kind);
    Script script;
    while (script.size() < steps) {
        const bool shares = hasPcSide && script.size() % 40 == 39;
        script.push_back(
            {shares ? VolumeModel::kKinds.size() - 1 : kinds[Below(random, kinds.size())],
             static_cast<std::uint32_t>(random())});
    }
    return script;
}

std::string NameOf(const Step& step) {
    return fmt::format("{{{}, {}}} ({})", step.kind, step.seed,
                       VolumeModel::kKinds[step.kind].name);
}

VolumeModel::VolumeModel(const std::string& path, const VolumeShape& shape)
    : path_(path), shape_(shape) {
    if (MakeVolume(path, shape) && volume_.open(path))
        surroundings_ = surroundings();
}

std::string VolumeModel::apply(const Step& step) {
    std::mt19937 random(step.seed);
    // Looking at every node is most of the time that a step takes.
    const bool watches = step.seed % 4 == 0;
    const std::vector<Bytes> before = watches ? StateOf(volume_) : std::vector<Bytes>{};
    blocksWanted_ = 0;
    const Outcome outcome = (this->*kKinds[step.kind].carryOut)(random);
    if (outcome == Outcome::Wrong)
        return "wrong result";
    if (outcome == Outcome::Done)
        return "";
    if (watches && StateOf(volume_) != before)
        return "refused, and yet something changed";
    if (outcome == Outcome::NoRoom) {
        ++refusals_;
        // A catalog that has to grow takes a node for each level and record at most.
        const std::uint32_t growth = 20 * GrowthUnit(volume_, volume_->catalog);
        const std::uint32_t free =
            TotalFreeBlocks(volume_.allocation().bitmap, AllocationEnd(volume_));
        if (free >= blocksWanted_ + (blocksWanted_ == 0 ? 2 : 1) * growth)
            return fmt::format("no room, and yet {} blocks are free", free);
    }
    return "";
}

bool VolumeModel::wasHard() {
    return refusals_ > 0 && volume_->catalog.header().totalNodes > shape_.catalogNodes &&
           (shape_.isHfsPlus || overflow_ > 0);
}

template <typename Result, typename Change>
VolumeModel::Outcome VolumeModel::follow(Result result, Result expected, Change change) {
    if (IsNoRoom(result) && expected != Result::Exists)
        return Outcome::NoRoom;
    if (result != expected)
        return Outcome::Wrong;
    if (result != Result::Done)
        return Outcome::Refused;
    change();
    return Outcome::Done;
}

std::string VolumeModel::randomName(std::mt19937& random, std::size_t mostOfHfs) const {
    constexpr std::string_view kLetters = "abcABCxyzXYZ0123456789";
    const std::size_t most = shape_.isHfsPlus ? 255 : mostOfHfs;
    const std::size_t length = 1 + Below(random, Below(random, 2) == 0 ? 2 : most);
    std::string name;
    while (name.size() < length)
        name += kLetters[Below(random, kLetters.size())];
    return name;
}

VolumeModel::Items::iterator VolumeModel::randomItem(std::mt19937& random, bool fileOnly) {
    if (items_.empty())
        return items_.end();
    auto item = std::next(items_.begin(), Below(random, items_.size()));
    while (fileOnly && item != items_.end() && item->second.isFolder)
        ++item;
    return item;
}

std::uint32_t VolumeModel::randomFolder(std::mt19937& random) const {
    std::vector<std::uint32_t> ids = {kRootFolderId};
    for (const auto& [key, item] : items_)
        if (item.isFolder)
            ids.push_back(item.id);
    return ids[Below(random, ids.size())];
}

bool VolumeModel::liesInside(std::uint32_t folder, std::uint32_t outer) const {
    while (folder != outer && folder != kRootFolderId)
        folder = std::find_if(items_.begin(), items_.end(), [folder](const auto& entry) {
                     return entry.second.id == folder;
                 })->first.first;
    return folder == outer;
}

void VolumeModel::rekey(Items::iterator item, const Key& to) {
    auto node = items_.extract(item);
    node.key() = to;
    items_.insert(std::move(node));
}

void VolumeModel::forget(Items::iterator item) {
    const Item gone = item->second;
    items_.erase(item);
    if (!gone.isFolder)
        return;
    for (auto child = items_.lower_bound({gone.id, ""});
         child != items_.end() && child->first.first == gone.id;
         child = items_.lower_bound({gone.id, ""}))
        forget(child);
}

VolumeModel::Outcome VolumeModel::makeFolder(std::mt19937& random) {
    const std::uint32_t parent = randomFolder(random);
    Item item{randomName(random), 0, true};
    const Key key = {parent, Folded(item.name)};
    const TreeResult result =
        CreateFolder(volume_, NameOf(volume_, item.name), parent, kClock, item.id);
    return follow(result, items_.count(key) ? TreeResult::Exists : TreeResult::Done,
                  [&] { items_[key] = item; });
}

VolumeModel::Outcome VolumeModel::putFile(std::mt19937& random) {
    const bool replaces = Below(random, 5) == 0;
    const auto old = replaces ? randomItem(random, true) : items_.end();
    const bool isNew = old == items_.end();
    Item item{isNew ? randomName(random) : old->second.name};
    item.data = RandomFork(random, volume_->blockSize);
    item.resource = RandomFork(random, volume_->blockSize);
    const bool isCut = Below(random, 10) == 0 && !item.data.empty();
    const bool isStopped = Below(random, 10) == 0 && !item.data.empty();
    CutSource data(item.data, isCut);
    CutSource resource(item.resource);
    StoppingProgress progress(isStopped ? 1 : 1000);
    NewFile file;
    file.parentId = isNew ? randomFolder(random) : old->first.first;
    file.name = NameOf(volume_, item.name);
    std::copy(item.signature.begin(), item.signature.end(), file.finder.signature.begin());
    file.data = &data;
    file.resource = &resource;
    if (!isNew &&
        (FindNamed(volume_, file.parentId, file.name, kClock, file.replaced) != TreeResult::Done ||
         !file.replaced))
        return Outcome::Wrong;
    blocksWanted_ = static_cast<std::uint32_t>(
        (item.data.size() + item.resource.size()) / volume_->blockSize + 2);
    const Key key = {file.parentId, Folded(item.name)};
    const StoreResult expected = isNew && items_.count(key) ? StoreResult::Exists
                                 : isCut                    ? StoreResult::SourceFailed
                                 : isStopped                ? StoreResult::Stopped
                                                            : StoreResult::Done;
    const StoreResult result = AddFileToCatalog(volume_, file, kClock, progress);
    overflow_ = std::max<std::uint32_t>(overflow_, volume_->extents.header().leafRecords);
    if (result == StoreResult::TooFragmented)
        return Outcome::Refused;
    return follow(result, expected, [&] { items_[key] = std::move(item); });
}

VolumeModel::Outcome VolumeModel::deleteItem(std::mt19937& random) {
    // Whole folders go seldom, or the volume would never become full.
    const auto item = randomItem(random, Below(random, 5) != 0);
    const bool none = item == items_.end();
    KeptMessages messages;
    StoppingProgress progress(Below(random, 5) == 0 ? 1 : 1000);
    RememberedAnswer answer;
    DeleteContext context{messages, progress, kClock, answer, false};
    const EditResult result =
        DeleteItemByName(volume_, none ? NameOf(volume_, "none") : nameOf(*item),
                         none ? kRootFolderId : item->first.first, context);
    const bool isStopped = result == EditResult::Stopped && progress.left <= 0;
    return follow(result,
                  none        ? EditResult::Missing
                  : isStopped ? EditResult::Stopped
                              : EditResult::Done,
                  [&] { forget(item); });
}

VolumeModel::Outcome VolumeModel::rename(std::mt19937& random) {
    const auto item = randomItem(random);
    if (item == items_.end())
        return Outcome::Refused;
    // Its own name in small letters changes no more than the case.
    const std::string name = Below(random, 3) == 0 ? Folded(item->second.name) : randomName(random);
    const Key from = item->first;
    const Key to = {from.first, Folded(name)};
    return follow(RenameItem(volume_, from.first, nameOf(*item), NameOf(volume_, name)),
                  to != from && items_.count(to) ? EditResult::Exists : EditResult::Done, [&] {
                      item->second.name = name;
                      rekey(item, to);
                  });
}

VolumeModel::Outcome VolumeModel::move(std::mt19937& random) {
    const auto item = randomItem(random);
    if (item == items_.end())
        return Outcome::Refused;
    const std::uint32_t target = randomFolder(random);
    const Key from = item->first;
    const Key to = {target, from.second};
    const EditResult expected = from == to ? EditResult::Done
                                : item->second.isFolder && liesInside(target, item->second.id)
                                    ? EditResult::IntoItself
                                : items_.count(to) != 0 ? EditResult::Exists
                                                        : EditResult::Done;
    return follow(MoveItem(volume_, nameOf(*item), from.first, target), expected,
                  [&] { rekey(item, to); });
}

VolumeModel::Outcome VolumeModel::relabel(std::mt19937& random) {
    const std::string label = randomName(random, 28);
    const bool isTooLong = !shape_.isHfsPlus && label.size() > 27;
    return follow(RenameVolume(volume_, label), isTooLong ? EditResult::BadName : EditResult::Done,
                  [&] { label_ = label; });
}

VolumeModel::Outcome VolumeModel::swapForks(std::mt19937& random) {
    const auto item = randomItem(random, true);
    if (item == items_.end())
        return Outcome::Refused;
    const SwapResult result = SwapForks(volume_, nameOf(*item), item->first.first);
    if (result == SwapResult::DataForkOverflows || result == SwapResult::ResourceForkOverflows)
        return volume_->extents.header().leafRecords != 0 ? Outcome::Refused : Outcome::Wrong;
    std::swap(item->second.data, item->second.resource);
    return result == SwapResult::Done ? Outcome::Done : Outcome::Wrong;
}

VolumeModel::Outcome VolumeModel::mark(std::mt19937& random) {
    const auto item = randomItem(random, true);
    if (item == items_.end())
        return Outcome::Refused;
    AttributeChange change;
    change.type = {'A', 'P', 'P', static_cast<char>('0' + Below(random, 10))};
    return follow(ChangeAttributes(volume_, item->first.first, nameOf(*item), change, kClock),
                  EditResult::Done, [&] {
                      std::copy(change.type->begin(), change.type->end(),
                                item->second.signature.begin());
                  });
}

// A disc whose PC side shows what lies at some files of the volume, and at some free places.
VolumeModel::Outcome VolumeModel::share(std::mt19937& random) {
    if (pcFiles_.size() > 30)
        return Outcome::Refused;
    if (volume_.flush() != TreeResult::Done || surroundings() != surroundings_)
        return Outcome::Wrong;
    std::vector<BlockRun> places = {{Below(random, volume_->totalBlocks() - 9), Below(random, 9)}};
    std::optional<CatalogItem> item;
    const auto entry = randomItem(random, true);
    if (entry != items_.end() &&
        FindNamed(volume_, entry->first.first, nameOf(*entry), kClock, item) == TreeResult::Done)
        places.insert(places.end(), item.value().data.runs.begin(), item.value().data.runs.end());
    const std::uint64_t first = volume_->volumeOffset * kSectorBytes;
    PcFile image(path_, PcFile::Mode::ReadWrite);
    for (const BlockRun& run : places) {
        // Files of the PC begin with its sectors, and none lies where the trees do.
        const std::uint64_t from = BlockToSector(volume_, run.startBlock) / 4 * 2048;
        Bytes file(std::uint64_t{run.blockCount} * volume_->blockSize);
        const std::uint64_t end = (from + file.size() - first) / volume_->blockSize;
        bool isFree = from >= std::max(first, kPcTableEnd) && !file.empty() &&
                      end + 8 < volume_->totalBlocks();
        for (const auto* nodes : {volume_->catalogNodes.get(), volume_->extentsNodes.get()})
            for (const BlockRun& tree : nodes->runs())
                isFree = isFree && ((from - first) / volume_->blockSize >=
                                        tree.startBlock + tree.blockCount ||
                                    tree.startBlock > end);
        if (isFree && image.readExactly(from, file))
            pcFiles_.try_emplace(static_cast<std::uint32_t>(from / 2048), file);
    }
    const bool isShared = WritePcTable(image, pcFiles_) && volume_.open(path_);
    surroundings_ = surroundings();
    return isShared ? Outcome::Done : Outcome::Wrong;
}

Bytes VolumeModel::surroundings() const {
    Bytes bytes = BytesAt(path_, 0, shape_.frontBytes());
    const std::uint64_t end = PcFile(path_, PcFile::Mode::Read).size();
    std::vector<Bytes> parts = {BytesAt(path_, end - shape_.tailBytes(), shape_.tailBytes())};
    for (const auto& [sector, file] : pcFiles_)
        parts.push_back(BytesAt(path_, sector * 2048ull, file.size()));
    for (const Bytes& part : parts)
        bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

std::string VolumeModel::compare() {
    if (volume_.flush() != TreeResult::Done)
        return "the flush failed";
    if (!volume_.open(path_))
        return "the volume cannot be opened any more";
    if (VolumeName(volume_) != label_)
        return "the label is " + VolumeName(volume_);
    if (surroundings() != surroundings_)
        return "what is not of the volume was changed";
    std::string fault = compareFolder(kRootFolderId);
    for (auto entry = items_.begin(); entry != items_.end() && fault.empty(); ++entry)
        if (entry->second.isFolder)
            fault = compareFolder(entry->second.id);
    return fault.empty() ? FaultOfBlocks(volume_) : fault;
}

std::string VolumeModel::compareFolder(std::uint32_t id) {
    std::vector<CatalogItem> listed;
    if (ListFolder(volume_, id, kClock, listed) != TreeResult::Done)
        return fmt::format("folder {} cannot be listed", id);
    auto expected = items_.lower_bound({id, ""});
    for (const CatalogItem& got : listed) {
        if (expected == items_.end() || expected->first.first != id)
            return fmt::format("{} is too many", got.name);
        if (const std::string fault = compareItem(got, expected->second); !fault.empty())
            return fault;
        ++expected;
    }
    if (expected != items_.end() && expected->first.first == id)
        return expected->second.name + " is missing";
    return ReadValence(volume_, id) == listed.size() ? "" : fmt::format("valence of {}", id);
}

std::string VolumeModel::compareItem(const CatalogItem& got, const Item& item) {
    if (got.name != item.name || got.isFolder != item.isFolder ||
        (item.isFolder && got.id != item.id))
        return got.name + " stands where " + item.name + " should";
    if (item.isFolder)
        return ParentOf(volume_, got.id) == got.parentId ? "" : "thread of " + item.name;
    if (std::string(got.signature.begin(), got.signature.end()) != item.signature)
        return "signature of " + item.name;
    for (const bool resource : {false, true})
        if (ReadFork(volume_, got, resource) != (resource ? item.resource : item.data))
            return (resource ? "resource fork of " : "data fork of ") + item.name;
    return "";
}

}  // namespace vellmark::testing
