#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "containers/name_order.hpp"
#include "layout/ds_store.hpp"
#include "support/endian.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kBase = 4;  // that offsets of blocks are counted from
constexpr std::uint32_t kAddressesARound = 256;
constexpr std::uint32_t kPageBytes = 4096;
// Nodes of several are filled so far; any record has room behind that.
constexpr std::size_t kFillBytes = kPageBytes / 2;
constexpr std::uint32_t kNodeHeadBytes = 8;
constexpr unsigned kSizes = 32;

// The place of each kind of block; the numbers of the first two are always these.
constexpr std::uint32_t kHeaderOrder = 5;
constexpr std::uint32_t kTreePlace = 0x40;
constexpr std::uint32_t kTreeOrder = 5;
constexpr std::uint32_t kOneNodePlace = 0x400;
constexpr std::uint32_t kOneNodeOrder = 10;
constexpr std::uint32_t kAllocatorPlace = 0x1000;
constexpr std::uint32_t kAllocatorOrder = 11;
constexpr std::uint32_t kNodesPlace = 0x2000;
constexpr std::uint32_t kPageOrder = 12;
constexpr std::uint32_t kFirstNode = 2;

struct Block {
    std::uint32_t place = 0;
    std::uint32_t order = 0;  ///< its size is two to the power of it

    [[nodiscard]] std::uint64_t end() const { return place + (std::uint64_t{1} << order); }
    [[nodiscard]] std::uint32_t address() const { return place | order; }
};

class Writing {
  public:
    void number(std::uint32_t value) {
        const be32 stored = value;
        const auto* const from = reinterpret_cast<const std::uint8_t*>(&stored);
        bytes.insert(bytes.end(), from, from + sizeof stored);
    }
    void letters(std::string_view text) { bytes.insert(bytes.end(), text.begin(), text.end()); }

    std::vector<std::uint8_t> bytes;
};

std::vector<std::uint8_t> RecordBytes(const StoreRecord& record) {
    Writing out;
    out.number(static_cast<std::uint32_t>(record.name.size()));
    for (const char16_t unit : record.name) {
        out.bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
        out.bytes.push_back(static_cast<std::uint8_t>(unit));
    }
    out.letters(record.id);
    out.letters(record.type);
    if (record.type == "blob")
        out.number(static_cast<std::uint32_t>(record.value.size()));
    else if (record.type == "ustr")
        out.number(static_cast<std::uint32_t>(record.value.size() / 2));
    out.bytes.insert(out.bytes.end(), record.value.begin(), record.value.end());
    return std::move(out.bytes);
}

using RecordList = std::vector<std::vector<std::uint8_t>>;

/// Nodes of a tree, from its leaves up: between two nodes of a level one record goes up.
class TreeMaker {
  public:
    explicit TreeMaker(RecordList records) : count_(records.size()) {
        std::vector<std::uint32_t> children;
        const std::size_t most = (1u << kOneNodeOrder) - kNodeHeadBytes;
        std::size_t bytes = 0;
        for (const auto& record : records)
            bytes += record.size();
        isOneNode_ = bytes <= most;
        while (!isOneNode_ && sizeOf(records, children) > kPageBytes) {
            splitLevel(records, children);
            ++levels_;
        }
        addNode(records, children);
    }

    [[nodiscard]] bool isOneNode() const { return isOneNode_; }
    [[nodiscard]] std::size_t count() const { return count_; }
    [[nodiscard]] std::uint32_t levels() const { return levels_; }
    [[nodiscard]] std::uint32_t root() const {
        return kFirstNode + static_cast<std::uint32_t>(nodes_.size()) - 1;
    }
    [[nodiscard]] const std::vector<std::vector<std::uint8_t>>& nodes() const { return nodes_; }

  private:
    static std::size_t sizeOf(const RecordList& records,
                              const std::vector<std::uint32_t>& children) {
        std::size_t size = kNodeHeadBytes;
        for (const auto& record : records)
            size += record.size() + (children.empty() ? 0 : sizeof(be32));
        return size;
    }

    // Puts a level into nodes; the records between them, and the nodes, are the level above.
    void splitLevel(RecordList& records, std::vector<std::uint32_t>& children) {
        RecordList above;
        std::vector<std::uint32_t> made;
        RecordList held;
        std::vector<std::uint32_t> heldChildren;
        for (std::size_t i = 0; i < records.size(); ++i) {
            if (!children.empty())
                heldChildren.push_back(children[i]);
            const std::size_t more = records[i].size() + sizeof(be32);
            // The last record stays: what is between two nodes has one on either side.
            if (held.empty() || i + 1 == records.size() ||
                sizeOf(held, heldChildren) + more <= kFillBytes) {
                held.push_back(std::move(records[i]));
                continue;
            }
            made.push_back(addNode(held, heldChildren));
            above.push_back(std::move(records[i]));
            held.clear();
            heldChildren.clear();
        }
        if (!children.empty())
            heldChildren.push_back(children.back());
        made.push_back(addNode(held, heldChildren));
        records = std::move(above);
        children = std::move(made);
    }

    // Its children are those before each record and one behind the last.
    std::uint32_t addNode(const RecordList& records, const std::vector<std::uint32_t>& children) {
        Writing out;
        out.number(children.empty() ? 0 : children.back());
        out.number(static_cast<std::uint32_t>(records.size()));
        for (std::size_t i = 0; i < records.size(); ++i) {
            if (!children.empty())
                out.number(children[i]);
            out.bytes.insert(out.bytes.end(), records[i].begin(), records[i].end());
        }
        nodes_.push_back(std::move(out.bytes));
        return root();
    }

    std::size_t count_;
    bool isOneNode_ = false;
    std::uint32_t levels_ = 0;
    std::vector<std::vector<std::uint8_t>> nodes_;
};

// Puts the free blocks of a part of the space into the list of their size.
void FindFree(const std::vector<Block>& used, Block part,
              std::array<std::vector<std::uint32_t>, kSizes>& free) {
    const bool isUsed = std::any_of(used.begin(), used.end(), [&](const Block& each) {
        return each.place < part.end() && part.place < each.end();
    });
    if (!isUsed) {
        free[part.order].push_back(part.place);
        return;
    }
    const bool isWhole = std::any_of(used.begin(), used.end(), [&](const Block& each) {
        return each.place <= part.place && each.end() >= part.end();
    });
    if (isWhole || part.order == 0)
        return;
    const std::uint32_t half = part.order - 1;
    FindFree(used, {part.place, half}, free);
    FindFree(used, {part.place + (1u << half), half}, free);
}

std::vector<std::uint8_t> AllocatorBytes(const std::vector<Block>& blocks,
                                         const std::vector<Block>& used) {
    Writing out;
    out.number(static_cast<std::uint32_t>(blocks.size()));
    out.number(0);
    for (const Block& block : blocks)
        out.number(block.address());
    while ((out.bytes.size() - kNodeHeadBytes) % (kAddressesARound * sizeof(be32)) != 0)
        out.number(0);
    out.number(1);
    out.bytes.push_back(4);
    out.letters("DSDB");
    out.number(1);
    std::array<std::vector<std::uint32_t>, kSizes> free;
    FindFree(used, {0, kSizes - 1}, free);
    for (const auto& places : free) {
        out.number(static_cast<std::uint32_t>(places.size()));
        for (const std::uint32_t place : places)
            out.number(place);
    }
    return std::move(out.bytes);
}

std::vector<std::uint8_t> TreeBytes(const TreeMaker& tree) {
    Writing out;
    out.number(tree.root());
    out.number(tree.levels());
    out.number(static_cast<std::uint32_t>(tree.count()));
    out.number(static_cast<std::uint32_t>(tree.nodes().size()));
    out.number(kPageBytes);
    return std::move(out.bytes);
}

// What stores of one node have in blocks that are free: an older state of their own tables. It
// means nothing, and readers that compare whole files find it.
void PutRemains(std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t kOldSizes = 44;
    constexpr std::size_t kOldTable = 2052;
    constexpr std::size_t kOldLists = 0xC24;
    const auto put = [&](std::size_t place, std::uint32_t value) {
        const be32 stored = value;
        std::memcpy(bytes.data() + place, &stored, sizeof stored);
    };
    put(kOldSizes, 0x800);
    put(kOldSizes + 4, 0x800);
    put(kOldTable, 1);
    put(kOldTable + 8, 0x80B);
    std::size_t place = kOldLists;
    for (unsigned order = kHeaderOrder; order + 1 < kSizes; ++order) {
        if (order != kAllocatorOrder) {
            put(place, 1);
            put(place + 4, 1u << order);
            place += 4;
        }
        place += 4;
    }
}

// The allocator's block, that of the tree's head, and the nodes.
std::vector<Block> BlocksOf(const TreeMaker& tree) {
    std::vector<Block> blocks = {{kAllocatorPlace, kAllocatorOrder}, {kTreePlace, kTreeOrder}};
    for (std::size_t i = 0; i < tree.nodes().size(); ++i)
        blocks.push_back(
            tree.isOneNode()
                ? Block{kOneNodePlace, kOneNodeOrder}
                : Block{kNodesPlace + static_cast<std::uint32_t>(i) * kPageBytes, kPageOrder});
    const std::size_t rounds = (blocks.size() + kAddressesARound - 1) / kAddressesARound;
    if (rounds > 1) {
        // Its free lists take less than a kilobyte beside the addresses.
        const auto order = static_cast<std::uint32_t>(std::bit_width((rounds + 1) * 1024 - 1));
        const std::uint32_t size = 1u << order;
        const auto nodesEnd = static_cast<std::uint32_t>(blocks.back().end());
        blocks.front() = {(nodesEnd + size - 1) / size * size, order};
    }
    return blocks;
}

}  // namespace

std::vector<std::uint8_t> StoreBytes(std::vector<StoreRecord> records) {
    std::stable_sort(records.begin(), records.end(),
                     [](const StoreRecord& a, const StoreRecord& b) {
                         const int order = CompareHfsPlusNames(a.name, b.name);
                         return order != 0 ? order < 0 : a.id < b.id;
                     });
    RecordList all;
    all.reserve(records.size());
    for (const StoreRecord& record : records)
        all.push_back(RecordBytes(record));
    const TreeMaker tree(std::move(all));
    const std::vector<Block> blocks = BlocksOf(tree);
    std::vector<Block> used = blocks;
    used.push_back({0, kHeaderOrder});
    const std::vector<std::uint8_t> allocator = AllocatorBytes(blocks, used);

    std::uint64_t end = 0;
    for (const Block& block : blocks)
        end = std::max(end, block.end());
    std::vector<std::uint8_t> bytes(kBase + static_cast<std::size_t>(end));
    Writing head;
    head.number(1);
    head.letters("Bud1");
    head.number(blocks.front().place);
    head.number(1u << blocks.front().order);
    head.number(blocks.front().place);
    head.number(blocks[tree.root()].address());
    const auto put = [&](std::size_t place, const std::vector<std::uint8_t>& part) {
        std::copy(part.begin(), part.end(), bytes.begin() + static_cast<std::ptrdiff_t>(place));
    };
    put(0, head.bytes);
    put(kBase + blocks[0].place, allocator);
    put(kBase + blocks[1].place, TreeBytes(tree));
    for (std::size_t i = 0; i < tree.nodes().size(); ++i)
        put(kBase + blocks[kFirstNode + i].place, tree.nodes()[i]);
    if (tree.isOneNode())
        PutRemains(bytes);
    return bytes;
}

}  // namespace vellmark
