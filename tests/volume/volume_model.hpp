// A volume beside a plain map that is changed in the same way: random operations on both, and what
// must be equal afterwards.
#pragma once

#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "volume/block_allocation.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/catalog_delete.hpp"
#include "volume/catalog_edit.hpp"
#include "volume/tree_bench.hpp"
#include "volume/tree_growth.hpp"
#include "volume/volume_maker.hpp"

namespace vellmark::testing {

class VolumeModel {
  public:
    VolumeModel(const std::string& path, const VolumeShape& shape) : path_(path), shape_(shape) {
        EXPECT_TRUE(MakeVolume(path, shape) && volume_.open(path));
    }

    /// Changes both sides in some way; what is wrong with its outcome, or "".
    [[nodiscard]] std::string change(std::mt19937& random) {
        // New files and folders outweigh deletions, so that the volume is mostly nearly full.
        static constexpr struct {
            std::uint32_t below;
            Outcome (VolumeModel::*carryOut)(std::mt19937& random);
        } kOperations[] = {{10, &VolumeModel::putFile},    {12, &VolumeModel::makeFolder},
                           {15, &VolumeModel::deleteItem}, {18, &VolumeModel::rename},
                           {20, &VolumeModel::move},       {21, &VolumeModel::swapForks}};
        const auto* operation = kOperations;
        for (const std::uint32_t roll = Below(random, 21); roll >= operation->below;)
            ++operation;
        // Looking at every node is most of the time that a step takes.
        const bool watches = Below(random, 4) == 0;
        const std::vector<Bytes> before = watches ? StateOf(volume_) : std::vector<Bytes>{};
        blocksWanted_ = 0;
        const Outcome outcome = (this->*operation->carryOut)(random);
        if (outcome == Outcome::Wrong)
            return "wrong result";
        if (outcome == Outcome::Done)
            return "";
        if (watches && StateOf(volume_) != before)
            return "refused, and yet something changed";
        if (outcome == Outcome::Refused)
            return "";
        ++refusals_;
        // A catalog that has to grow takes a node for each level and record at most.
        const std::uint32_t growth = 20 * GrowthUnit(volume_, volume_->catalog);
        const std::uint32_t free =
            TotalFreeBlocks(volume_.allocation().bitmap, AllocationEnd(volume_));
        return free < blocksWanted_ + (blocksWanted_ == 0 ? 2 : 1) * growth
                   ? ""
                   : fmt::format("no room, and yet {} blocks are free", free);
    }

    /// Flushes, mounts anew and compares all; what differs, or "".
    [[nodiscard]] std::string compare() {
        if (volume_.flush() != TreeResult::Done)
            return "the flush failed";
        if (!volume_.open(path_))
            return "the volume cannot be opened any more";
        std::string fault = compareFolder(kRootFolderId);
        for (auto entry = items_.begin(); entry != items_.end() && fault.empty(); ++entry)
            if (entry->second.isFolder)
                fault = compareFolder(entry->second.id);
        return fault.empty() ? FaultOfBlocks(volume_) : fault;
    }

    /// Whether the script came to the borders of the volume: refusals, a catalog that has grown,
    /// and in HFS a file in many pieces.
    [[nodiscard]] bool wasHard() {
        return refusals_ > 0 && volume_->catalog.header().totalNodes > shape_.catalogNodes &&
               (shape_.isHfsPlus || overflow_ > 0);
    }

  private:
    enum class Outcome { Done, Refused, NoRoom, Wrong };

    struct Item {
        std::string name;
        std::uint32_t id = 0;
        bool isFolder = false;
        Bytes data = {};
        Bytes resource = {};
    };
    /// Parent, and name in small letters: both formats order letters and digits alike.
    using Key = std::pair<std::uint32_t, std::string>;
    using Items = std::map<Key, Item>;

    Outcome makeFolder(std::mt19937& random) {
        const std::uint32_t parent = randomFolder(random);
        Item item{randomName(random), 0, true};
        const Key key = {parent, Folded(item.name)};
        const TreeResult result =
            CreateFolder(volume_, NameOf(volume_, item.name), parent, kClock, item.id);
        return follow(result, items_.count(key) ? TreeResult::Exists : TreeResult::Done,
                      [&] { items_[key] = item; });
    }

    Outcome putFile(std::mt19937& random) {
        const bool replaces = Below(random, 5) == 0;
        const auto old = replaces ? randomItem(random, true) : items_.end();
        const bool isNew = old == items_.end();
        Item item{isNew ? randomName(random) : old->second.name};
        item.data = randomFork(random);
        item.resource = randomFork(random);
        const bool isCut = Below(random, 10) == 0 && !item.data.empty();
        const bool isStopped = Below(random, 10) == 0 && !item.data.empty();
        CutSource data(item.data, isCut);
        CutSource resource(item.resource);
        StoppingProgress progress(isStopped ? 1 : 1000);
        NewFile file;
        file.parentId = isNew ? randomFolder(random) : old->first.first;
        file.name = NameOf(volume_, item.name);
        file.data = &data;
        file.resource = &resource;
        if (!isNew && (FindNamed(volume_, file.parentId, file.name, kClock, file.replaced) !=
                           TreeResult::Done ||
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

    Outcome deleteItem(std::mt19937& random) {
        // Whole folders go seldom, or the volume would never become full.
        const auto item = randomItem(random, Below(random, 5) != 0);
        if (item == items_.end())
            return Outcome::Refused;
        KeptMessages messages;
        StoppingProgress progress(Below(random, 5) == 0 ? 1 : 1000);
        RememberedAnswer answer;
        DeleteContext context{messages, progress, kClock, answer, false};
        const EditResult result =
            DeleteItemByName(volume_, nameOf(*item), item->first.first, context);
        const bool isStopped = result == EditResult::Stopped && progress.left <= 0;
        return follow(result, isStopped ? EditResult::Stopped : EditResult::Done,
                      [&] { forget(item); });
    }

    Outcome rename(std::mt19937& random) {
        const auto item = randomItem(random);
        if (item == items_.end())
            return Outcome::Refused;
        // Its own name in small letters changes no more than the case.
        const std::string name =
            Below(random, 3) == 0 ? Folded(item->second.name) : randomName(random);
        const Key from = item->first;
        const Key to = {from.first, Folded(name)};
        return follow(RenameItem(volume_, from.first, nameOf(*item), NameOf(volume_, name)),
                      to != from && items_.count(to) ? EditResult::Exists : EditResult::Done, [&] {
                          item->second.name = name;
                          rekey(item, to);
                      });
    }

    Outcome move(std::mt19937& random) {
        const auto item = randomItem(random);
        if (item == items_.end())
            return Outcome::Refused;
        const std::uint32_t target = randomFolder(random);
        const Key from = item->first;
        const Key to = {target, from.second};
        const bool intoItself = item->second.isFolder && liesInside(target, item->second.id);
        const EditResult expected = from == to         ? EditResult::Done
                                    : intoItself       ? EditResult::IntoItself
                                    : items_.count(to) ? EditResult::Exists
                                                       : EditResult::Done;
        return follow(MoveItem(volume_, nameOf(*item), from.first, target), expected,
                      [&] { rekey(item, to); });
    }

    Outcome swapForks(std::mt19937& random) {
        const auto item = randomItem(random, true);
        if (item == items_.end())
            return Outcome::Refused;
        const SwapResult result = SwapForks(volume_, nameOf(*item), item->first.first);
        if (result == SwapResult::DataForkOverflows || result == SwapResult::ResourceForkOverflows)
            return volume_->extents.header().leafRecords != 0 ? Outcome::Refused : Outcome::Wrong;
        std::swap(item->second.data, item->second.resource);
        return result == SwapResult::Done ? Outcome::Done : Outcome::Wrong;
    }

    /// Judges what an operation came to, and does the same to the map when it was done.
    template <typename Result, typename Change>
    static Outcome follow(Result result, Result expected, Change change) {
        if (result == NoRoomOf(result) && expected != Result::Exists)
            return Outcome::NoRoom;
        if (result != expected)
            return Outcome::Wrong;
        if (result != Result::Done)
            return Outcome::Refused;
        change();
        return Outcome::Done;
    }
    static StoreResult NoRoomOf(StoreResult) { return StoreResult::NoRoom; }
    template <typename Result>
    static Result NoRoomOf(Result) {
        return Result::Full;
    }

    static std::string Folded(std::string name) {
        for (char& c : name)
            c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
        return name;
    }
    std::string randomName(std::mt19937& random) const {
        constexpr std::string_view kLetters = "abcABCxyzXYZ0123456789";
        const std::size_t most = shape_.isHfsPlus ? 255 : 31;
        const std::size_t length = 1 + Below(random, Below(random, 2) == 0 ? 2 : most);
        std::string name;
        while (name.size() < length)
            name += kLetters[Below(random, kLetters.size())];
        return name;
    }
    Bytes randomFork(std::mt19937& random) const {
        const std::uint32_t blocks = Below(random, 12) == 0 ? 100 : Below(random, 3) == 0 ? 15 : 3;
        Bytes bytes(Below(random, 3) == 0 ? 0 : Below(random, blocks * shape_.blockSize + 1));
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        return bytes;
    }
    Items::iterator randomItem(std::mt19937& random, bool fileOnly = false) {
        if (items_.empty())
            return items_.end();
        auto item = std::next(items_.begin(), Below(random, items_.size()));
        while (fileOnly && item != items_.end() && item->second.isFolder)
            ++item;
        return item;
    }
    std::uint32_t randomFolder(std::mt19937& random) const {
        std::vector<std::uint32_t> ids = {kRootFolderId};
        for (const auto& [key, item] : items_)
            if (item.isFolder)
                ids.push_back(item.id);
        return ids[Below(random, ids.size())];
    }

    CatalogName nameOf(const Items::value_type& entry) {
        return NameOf(volume_, entry.second.name);
    }
    bool liesInside(std::uint32_t folder, std::uint32_t outer) const {
        while (folder != outer && folder != kRootFolderId)
            folder = std::find_if(items_.begin(), items_.end(), [folder](const auto& entry) {
                         return entry.second.id == folder;
                     })->first.first;
        return folder == outer;
    }
    void rekey(Items::iterator item, const Key& to) {
        auto node = items_.extract(item);
        node.key() = to;
        items_.insert(std::move(node));
    }
    void forget(Items::iterator item) {
        const Item gone = item->second;
        items_.erase(item);
        if (!gone.isFolder)
            return;
        for (auto child = items_.lower_bound({gone.id, ""});
             child != items_.end() && child->first.first == gone.id;
             child = items_.lower_bound({gone.id, ""}))
            forget(child);
    }

    std::string compareFolder(std::uint32_t id) {
        std::vector<CatalogItem> listed;
        if (ListFolder(volume_, id, kClock, listed) != TreeResult::Done)
            return fmt::format("folder {} cannot be listed", id);
        auto expected = items_.lower_bound({id, ""});
        for (const CatalogItem& got : listed) {
            if (expected == items_.end() || expected->first.first != id)
                return fmt::format("{} is too many", got.name);
            const Item& item = (expected++)->second;
            if (got.name != item.name || got.isFolder != item.isFolder)
                return got.name + " stands where " + item.name + " should";
            if (item.isFolder ? got.id != item.id || ParentOf(volume_, got.id) != id
                              : ReadFork(volume_, got, false) != item.data ||
                                    ReadFork(volume_, got, true) != item.resource)
                return item.name + " has another thread or other forks";
        }
        if (expected != items_.end() && expected->first.first == id)
            return expected->second.name + " is missing";
        return ReadValence(volume_, id) == listed.size() ? "" : fmt::format("valence of {}", id);
    }

    std::string path_;
    VolumeShape shape_;
    TestVolume volume_;
    Items items_;
    int refusals_ = 0;
    std::uint32_t overflow_ = 0;      ///< records of the extents tree, at most
    std::uint32_t blocksWanted_ = 0;  ///< by the step under way
};

}  // namespace vellmark::testing
