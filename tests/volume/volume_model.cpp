#include "volume/volume_model.hpp"

#include "volume/volume_model.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <array>

#include "volume/block_allocation.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/catalog_access.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/catalog_delete.hpp"
#include "volume/catalog_edit.hpp"
#include "volume/file_store.hpp"
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

template <typename Result>
bool IsNoRoom(Result result) {
    if constexpr (std::is_same_v<Result, StoreResult>)
        return result == Result::NoRoom;
    else
        return result == Result::Full;
}

}  // namespace

std::string NameOf(const Step& step) {
    constexpr std::array<const char*, Step::Kinds> kNames = {
        "Folder", "File",    "Replace", "Delete", "Rename", "Recase",
        "Move",   "Relabel", "Swap",    "Mark",   "Share"};
    return fmt::format("{{Step::{}, {}}}", kNames[step.kind], step.seed);
}

VolumeModel::VolumeModel(const std::string& path, const VolumeShape& shape)
    : path_(path), shape_(shape) {
    if (MakeVolume(path, shape) && volume_.open(path))
        frame_ = frame();
}

std::string VolumeModel::apply(const Step& step) {
    std::mt19937 random(step.seed);
    // Looking at every node is most of the time that a step takes.
    const bool watches = step.seed % 4 == 0;
    const std::vector<Bytes> before = watches ? StateOf(volume_) : std::vector<Bytes>{};
    blocksWanted_ = 0;
    const Outcome outcome = carryOut(step, random);
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

VolumeModel::Outcome VolumeModel::carryOut(const Step& step, std::mt19937& random) {
    switch (step.kind) {
        case Step::Folder:
            return makeFolder(random);
        case Step::File:
        case Step::Replace:
            return putFile(random, step.kind == Step::Replace);
        case Step::Delete:
            return deleteItem(random);
        case Step::Rename:
        case Step::Recase:
            return rename(random, step.kind == Step::Recase);
        case Step::Move:
            return move(random);
        case Step::Relabel:
            return relabel(random);
        case Step::Share:
            return share(random);
        default:
            return swapOrMark(random, step.kind == Step::Swap);
    }
}

std::string VolumeModel::randomName(std::mt19937& random, std::size_t most) const {
    constexpr std::string_view kLetters = "abcABCxyzXYZ0123456789";
    const bool isShort = Below(random, 2) == 0;
    const std::size_t length = 1 + Below(random, static_cast<std::uint32_t>(isShort ? 2 : most));
    std::string name;
    while (name.size() < length)
        name += kLetters[random() % kLetters.size()];
    return name;
}

VolumeModel::Items::iterator VolumeModel::randomItem(std::mt19937& random, bool fileOnly) {
    if (items_.empty())
        return items_.end();
    auto item = std::next(items_.begin(), Below(random, static_cast<std::uint32_t>(items_.size())));
    while (fileOnly && item != items_.end() && item->second.isFolder)
        ++item;
    return item;
}

std::uint32_t VolumeModel::randomFolder(std::mt19937& random) const {
    std::vector<std::uint32_t> ids = {kRootFolderId};
    for (const auto& [key, item] : items_)
        if (item.isFolder)
            ids.push_back(item.id);
    return ids[random() % ids.size()];
}

bool VolumeModel::liesInside(std::uint32_t folder, std::uint32_t outer) const {
    while (folder != outer && folder != kRootFolderId)
        folder = std::find_if(items_.begin(), items_.end(), [folder](const auto& entry) {
                     return entry.second.id == folder;
                 })->first.first;
    return folder == outer;
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
    const std::string name = randomName(random, volume_->isHfsPlus ? 255 : 31);
    const bool exists = items_.count({parent, Folded(name)}) != 0;
    std::uint32_t id = 0;
    const TreeResult result = CreateFolder(volume_, NameOf(volume_, name), parent, kClock, id);
    if (result == TreeResult::Done && !exists) {
        items_[{parent, Folded(name)}] = {name, id, true, "", {}, {}};
        return Outcome::Done;
    }
    return exists && result == TreeResult::Exists ? Outcome::Refused
           : IsNoRoom(result)                     ? Outcome::NoRoom
                                                  : Outcome::Wrong;
}

VolumeModel::Outcome VolumeModel::putFile(std::mt19937& random, bool replaces) {
    std::uint32_t parent = randomFolder(random);
    std::string name = randomName(random, volume_->isHfsPlus ? 255 : 31);
    const auto old = replaces ? randomItem(random, true) : items_.end();
    NewFile file;
    if (old != items_.end()) {
        parent = old->first.first;
        name = old->second.name;
        if (FindNamed(volume_, parent, NameOf(volume_, name), kClock, file.replaced) !=
                TreeResult::Done ||
            !file.replaced)
            return Outcome::Wrong;
    }
    const bool exists = !file.replaced && items_.count({parent, Folded(name)}) != 0;
    Item item{name,
              0,
              false,
              "TEXTttxt",
              RandomFork(random, volume_->blockSize),
              RandomFork(random, volume_->blockSize)};
    const std::uint32_t size = volume_->blockSize;
    blocksWanted_ =
        static_cast<std::uint32_t>((item.data.size() + item.resource.size()) / size + 2);
    const bool isCut = Below(random, 10) == 0 && !item.data.empty();
    const bool isStopped = Below(random, 10) == 0 && !item.data.empty();
    CutSource data(item.data, isCut);
    CutSource resource(item.resource);
    StoppingProgress progress(isStopped);
    file.parentId = parent;
    file.name = NameOf(volume_, name);
    std::copy(item.signature.begin(), item.signature.end(), file.finder.signature.begin());
    file.data = &data;
    file.resource = &resource;
    const StoreResult result = AddFileToCatalog(volume_, file, kClock, progress);
    if (IsNoRoom(result))
        return Outcome::NoRoom;
    if (result == StoreResult::TooFragmented)
        return Outcome::Refused;
    overflow_ = std::max<std::uint32_t>(overflow_, volume_->extents.header().leafRecords);
    const StoreResult expected = exists      ? StoreResult::Exists
                                 : isCut     ? StoreResult::SourceFailed
                                 : isStopped ? StoreResult::Stopped
                                             : StoreResult::Done;
    if (result != expected)
        return Outcome::Wrong;
    if (result != StoreResult::Done)
        return Outcome::Refused;
    items_[{parent, Folded(name)}] = std::move(item);
    return Outcome::Done;
}

VolumeModel::Outcome VolumeModel::deleteItem(std::mt19937& random) {
    // Whole folders go seldom, or the volume would never become full.
    const auto item = randomItem(random, Below(random, 5) != 0);
    const bool none = item == items_.end();
    const std::string name = none ? "none" : item->second.name;
    KeptMessages messages;
    StoppingProgress progress(Below(random, 5) == 0);
    RememberedAnswer answer;
    DeleteContext context{messages, progress, kClock, answer, false};
    const EditResult result = DeleteItemByName(volume_, NameOf(volume_, name),
                                               none ? kRootFolderId : item->first.first, context);
    if (none || result == EditResult::Stopped)
        return result == EditResult::Missing || result == EditResult::Stopped ? Outcome::Refused
                                                                              : Outcome::Wrong;
    if (result != EditResult::Done)
        return Outcome::Wrong;
    forget(item);
    return Outcome::Done;
}

VolumeModel::Outcome VolumeModel::rename(std::mt19937& random, bool caseOnly) {
    const auto item = randomItem(random);
    if (item == items_.end())
        return Outcome::Refused;
    std::string name = randomName(random, volume_->isHfsPlus ? 255 : 31);
    if (caseOnly) {
        name = item->second.name;
        for (char& c : name)
            c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
    }
    const Key from = item->first;
    const Key to = {from.first, Folded(name)};
    const bool exists = to != from && items_.count(to) != 0;
    const EditResult result =
        RenameItem(volume_, from.first, NameOf(volume_, item->second.name), NameOf(volume_, name));
    if (result != EditResult::Done || exists)
        return exists && result == EditResult::Exists ? Outcome::Refused
               : IsNoRoom(result)                     ? Outcome::NoRoom
                                                      : Outcome::Wrong;
    auto node = items_.extract(item);
    node.key() = to;
    node.mapped().name = name;
    items_.insert(std::move(node));
    return Outcome::Done;
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
    const EditResult result =
        MoveItem(volume_, NameOf(volume_, item->second.name), from.first, target);
    if (IsNoRoom(result) && expected == EditResult::Done)
        return Outcome::NoRoom;
    if (result != expected)
        return Outcome::Wrong;
    if (result != EditResult::Done)
        return Outcome::Refused;
    auto node = items_.extract(item);
    node.key() = to;
    items_.insert(std::move(node));
    return Outcome::Done;
}

VolumeModel::Outcome VolumeModel::relabel(std::mt19937& random) {
    const std::string label = randomName(random, volume_->isHfsPlus ? 255 : 28);
    const bool isTooLong = !volume_->isHfsPlus && label.size() > 27;
    const EditResult result = RenameVolume(volume_, label);
    if (IsNoRoom(result))
        return Outcome::NoRoom;
    if (result != (isTooLong ? EditResult::BadName : EditResult::Done))
        return Outcome::Wrong;
    if (isTooLong)
        return Outcome::Refused;
    label_ = label;
    return Outcome::Done;
}

VolumeModel::Outcome VolumeModel::swapOrMark(std::mt19937& random, bool swaps) {
    const auto entry = randomItem(random, true);
    if (entry == items_.end())
        return Outcome::Refused;
    Item& item = entry->second;
    const CatalogName name = NameOf(volume_, item.name);
    if (swaps) {
        const SwapResult result = SwapForks(volume_, name, entry->first.first);
        if (result == SwapResult::DataForkOverflows || result == SwapResult::ResourceForkOverflows)
            return volume_->extents.header().leafRecords != 0 ? Outcome::Refused : Outcome::Wrong;
        std::swap(item.data, item.resource);
        return result == SwapResult::Done ? Outcome::Done : Outcome::Wrong;
    }
    AttributeChange change;
    change.type = {'A', 'P', 'P', static_cast<char>('0' + Below(random, 10))};
    std::copy(change.type->begin(), change.type->end(), item.signature.begin());
    return ChangeAttributes(volume_, entry->first.first, name, change, kClock) == EditResult::Done
               ? Outcome::Done
               : Outcome::Wrong;
}

// A disc whose PC side shows what lies at some files of the volume, and at some free places.
VolumeModel::Outcome VolumeModel::share(std::mt19937& random) {
    if (!shape_.hasPcSide || pcFiles_.size() > 30 || volume_.flush() != TreeResult::Done)
        return shape_.hasPcSide && pcFiles_.size() <= 30 ? Outcome::Wrong : Outcome::Refused;
    std::vector<BlockRun> places = {{Below(random, volume_->totalBlocks() - 9), Below(random, 9)}};
    const auto entry = randomItem(random, true);
    if (entry != items_.end()) {
        std::optional<CatalogItem> item;
        std::vector<BlockRun> runs;
        if (FindNamed(volume_, entry->first.first, NameOf(volume_, entry->second.name), kClock,
                      item) != TreeResult::Done ||
            !item || ForkRuns(volume_, *item, false, runs) != TreeResult::Done)
            return Outcome::Wrong;
        places.insert(places.end(), runs.begin(), runs.end());
    }
    PcFile image(path_, PcFile::Mode::ReadWrite);
    for (const BlockRun& run : places) {
        const std::uint64_t from = BlockToSector(volume_, run.startBlock) / 4 * 2048;
        Bytes file(std::uint64_t{run.blockCount} * volume_->blockSize);
        const std::uint64_t first = volume_->volumeOffset * kSectorBytes;
        const auto block = [&](std::uint64_t at) { return (at - first) / volume_->blockSize; };
        const auto meets = [&](const BlockRun& r) {
            return block(from) < r.startBlock + r.blockCount &&
                   r.startBlock <= block(from + file.size());
        };
        bool isFree = from >= std::max(first, kPcTableEnd) && !file.empty() &&
                      block(from + file.size()) + 8 < volume_->totalBlocks();
        for (const auto* nodes : {volume_->catalogNodes.get(), volume_->extentsNodes.get()})
            isFree = isFree && std::none_of(nodes->runs().begin(), nodes->runs().end(), meets);
        if (isFree && image.readExactly(from, file))
            pcFiles_.try_emplace(static_cast<std::uint32_t>(from / 2048), file);
    }
    if (!WritePcTable(image, pcFiles_))
        return Outcome::Wrong;
    return volume_.open(path_) ? Outcome::Done : Outcome::Wrong;
}

std::string VolumeModel::comparePcSide() const {
    PcFile image(path_, PcFile::Mode::Read);
    for (const auto& [sector, bytes] : pcFiles_)
        if (BytesAt(path_, sector * 2048ull, bytes.size()) != bytes)
            return fmt::format("the PC's file at sector {} was changed", sector);
    return "";
}

Bytes VolumeModel::frame() const {
    Bytes bytes = testing::BytesAt(path_, 0, shape_.frontBytes());
    const std::uint64_t end = PcFile(path_, PcFile::Mode::Read).size();
    const Bytes tail = testing::BytesAt(path_, end - shape_.tailBytes(), shape_.tailBytes());
    bytes.insert(bytes.end(), tail.begin(), tail.end());
    return bytes;
}

std::string VolumeModel::compare() {
    if (volume_.flush() != TreeResult::Done)
        return "the flush failed";
    if (!volume_.open(path_))
        return "the volume cannot be opened any more";
    if (VolumeName(volume_) != label_)
        return "the label is " + VolumeName(volume_);
    std::string fault = compareFolder(kRootFolderId);
    for (auto entry = items_.begin(); entry != items_.end() && fault.empty(); ++entry)
        if (entry->second.isFolder)
            fault = compareFolder(entry->second.id);
    if (fault.empty())
        fault = comparePcSide();
    if (fault.empty() && frame() != frame_)
        fault = "what lies around the volume was changed";
    if (fault.empty())
        fault = FaultOfBlocks(volume_);
    return fault.empty() ? compareCounts() : fault;
}

std::string VolumeModel::compareFolder(std::uint32_t id) {
    std::vector<CatalogItem> listed;
    if (ListFolder(volume_, id, kClock, listed) != TreeResult::Done)
        return fmt::format("folder {} cannot be listed", id);
    auto expected = items_.lower_bound({id, ""});
    for (const CatalogItem& got : listed) {
        if (expected == items_.end() || expected->first.first != id)
            return fmt::format("{} is too many", got.name);
        if (const std::string fault = compareItem(got, expected->first, expected->second);
            !fault.empty())
            return fault;
        ++expected;
    }
    if (expected != items_.end() && expected->first.first == id)
        return expected->second.name + " is missing";
    return ReadValence(volume_, id) == listed.size() ? "" : fmt::format("valence of {}", id);
}

std::string VolumeModel::compareItem(const CatalogItem& got, const Key& key, const Item& item) {
    if (got.name != item.name || got.isFolder != item.isFolder ||
        (item.isFolder && got.id != item.id))
        return got.name + " stands where " + item.name + " should";
    std::optional<ThreadFacts> thread;
    if (ReadThread(volume_, got.id, thread) != TreeResult::Done ||
        thread.has_value() != (item.isFolder || volume_->isHfsPlus))
        return "thread of " + item.name;
    if (thread && (thread->parentId != key.first || thread->name != got.catalogName))
        return "what the thread tells of " + item.name;
    if (item.isFolder)
        return "";
    if (std::string(got.signature.begin(), got.signature.end()) != item.signature)
        return "signature of " + item.name;
    for (const bool resource : {false, true})
        if (ReadFork(volume_, got, resource) != (resource ? item.resource : item.data))
            return (resource ? "resource fork of " : "data fork of ") + item.name;
    return "";
}

std::string VolumeModel::compareCounts() {
    std::array<std::uint32_t, 4> counts{};  // files, folders, and those of the root
    for (const auto& [key, item] : items_) {
        const std::size_t kind = item.isFolder ? 1 : 0;
        ++counts[kind];
        counts[kind + 2] += key.first == kRootFolderId ? 1 : 0;
    }
    const MasterDirectoryBlock& mdb = volume_->mdb;
    const VolumeHeader& vhb = volume_->vhb;
    const bool right = volume_->isHfsPlus
                           ? vhb.fileCount == counts[0] && vhb.folderCount == counts[1]
                           : mdb.fileCount == counts[0] && mdb.folderCount == counts[1] &&
                                 mdb.rootFileCount == counts[2] && mdb.rootFolderCount == counts[3];
    const std::uint32_t threads = 1 + counts[1] + (volume_->isHfsPlus ? counts[0] : 0);
    if (volume_->catalog.header().leafRecords != 1 + counts[0] + counts[1] + threads)
        return "number of leaf records";
    return right ? "" : "counts of files and folders";
}

}  // namespace vellmark::testing
