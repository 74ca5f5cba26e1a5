// Header, leaves and inner nodes of B-trees.
#include <fmt/core.h>

#include <array>

#include "inspect/field_place.hpp"
#include "inspect/sector_links.hpp"
#include "inspect/structure_table.hpp"
#include "inspect/tree_nodes.hpp"
#include "support/encoding.hpp"
#include "volume/hfs_plus_structures.hpp"

namespace vellmark {
namespace {

using Kind = FieldKind;
using Node = NodeDescriptor;
using Tree = TreeHeaderRecord;

constexpr std::size_t kTree = kNodeDescriptorSize;
constexpr int kTextThread = 3350;
constexpr std::string_view kUnknownRecord = "***";

std::optional<std::uint64_t> BusyNodes(const SectorScene& scene) {
    const auto header = scene.at<Tree>(kTree);
    return header.totalNodes >= header.freeNodes
               ? std::optional(std::uint64_t{header.totalNodes} - header.freeNodes)
               : std::nullopt;
}

constexpr std::array<Caption, 2> kHeaderPages = {3348, 3349};
constexpr std::array<FieldRow, 10> kHeaderRows = {{
    {0, "nodeSize", 3254, Kind::Big, VELLMARK_FIELD_AT(kTree, Tree, nodeSize)},
    {0, "nodeCount", 3255, Kind::Big, VELLMARK_FIELD_AT(kTree, Tree, totalNodes)},
    {0, "freeNodes", 3256, Kind::Big, VELLMARK_FIELD_AT(kTree, Tree, freeNodes)},
    {0, "busyNodes", 3263, Kind::Computed, 0, 0, LinkRule::None, "", BusyNodes},
    {0, "leafRecords", 3257, Kind::Big, VELLMARK_FIELD_AT(kTree, Tree, leafRecords)},
    {0, "height", 3261, Kind::Big, VELLMARK_FIELD_AT(kTree, Tree, depth)},
    {1, "root", 3258, Kind::Big, VELLMARK_FIELD_AT(kTree, Tree, root), LinkRule::Node, "go_racine"},
    {1, "firstLeaf", 3259, Kind::Big, VELLMARK_FIELD_AT(kTree, Tree, firstLeaf), LinkRule::Node,
     "go_prem"},
    {1, "lastLeaf", 3260, Kind::Big, VELLMARK_FIELD_AT(kTree, Tree, lastLeaf), LinkRule::Node,
     "go_dern"},
    {1, "nextMap", 3262, Kind::Big, VELLMARK_FIELD(Node, forwardLink), LinkRule::Node, "go_topo"},
}};

constexpr std::array<FieldRow, 5> kNodeRows = {{
    {0, "nodeType", 3288, Kind::Big, VELLMARK_FIELD(Node, kind)},
    {0, "level", 3289, Kind::Big, VELLMARK_FIELD(Node, height)},
    {0, "recordCount", 3290, Kind::Big, VELLMARK_FIELD(Node, recordCount)},
    {0, "upstream", 3291, Kind::Big, VELLMARK_FIELD(Node, backwardLink), LinkRule::Node,
     "go_amont"},
    {0, "downstream", 3292, Kind::Big, VELLMARK_FIELD(Node, forwardLink), LinkRule::Node,
     "go_aval"},
}};
constexpr std::array<Caption, 2> kLeafPages = {3287, 3293};
constexpr std::array<Caption, 2> kIndexPages = {3287, 3345};

template <typename Record>
std::optional<Record> As(ConstByteSpan data) {
    Record record;
    if (data.size() < sizeof record)
        return std::nullopt;
    std::memcpy(&record, data.data(), sizeof record);
    return record;
}

template <typename Extents>
std::optional<std::uint32_t> FirstBlock(const Extents& data, const Extents& resource) {
    if (data[0].blockCount != 0)
        return data[0].startBlock;
    return resource[0].blockCount != 0 ? std::optional(std::uint32_t{resource[0].startBlock})
                                       : std::nullopt;
}

/// What is shown of a leaf's record.
struct LeafItem {
    std::string name;
    std::string number;
    std::string size;
    std::optional<std::uint32_t> block;
};

std::string Number(std::uint64_t number) {
    return fmt::format("{}", number);
}

template <typename Folder>
LeafItem FolderItem(ConstByteSpan data, std::string name) {
    if (const auto folder = As<Folder>(data))
        return {std::move(name),
                Number(folder->folderId),
                fmt::format("[{}]", std::uint32_t{folder->valence}),
                {}};
    return {std::string(kUnknownRecord), {}, {}, {}};
}

LeafItem FileItem(ConstByteSpan data, std::string name, bool isHfsPlus) {
    if (isHfsPlus) {
        if (const auto file = As<HfsPlusFileRecord>(data))
            return {std::move(name), Number(file->fileId), Number(file->dataFork.logicalSize),
                    FirstBlock(file->dataFork.extents, file->resourceFork.extents)};
    } else if (const auto file = As<HfsFileRecord>(data)) {
        return {std::move(name), Number(file->fileId), Number(file->dataLogicalSize),
                FirstBlock(file->dataExtents, file->resourceExtents)};
    }
    return {std::string(kUnknownRecord), {}, {}, {}};
}

LeafItem CatalogItemOf(const NodeRecord& record, const NodeForm& form, Language language) {
    constexpr std::size_t kTypeByteHfsPlus = 1;  // of a word, most significant byte first
    const std::size_t typeAt = form.isHfsPlus ? kTypeByteHfsPlus : 0;
    const bool hasType = record.data.size() > typeAt && (typeAt == 0 || record.data[0] == 0);
    const std::uint32_t number = KeyNumber(record.key, form);
    switch (static_cast<CatalogRecordType>(hasType ? record.data[typeAt] : 0)) {
        case CatalogRecordType::Folder:
            return form.isHfsPlus
                       ? FolderItem<HfsPlusFolderRecord>(record.data, KeyName(record.key, form))
                       : FolderItem<HfsFolderRecord>(record.data, KeyName(record.key, form));
        case CatalogRecordType::File:
            return FileItem(record.data, KeyName(record.key, form), form.isHfsPlus);
        case CatalogRecordType::FolderThread:
        case CatalogRecordType::FileThread:
            return {FormatText(kTextThread, language, number), Number(number), {}, {}};
    }
    return {std::string(kUnknownRecord), {}, {}, {}};
}

// A record of an extents tree names no file; what leads on is its first run.
LeafItem ExtentsItemOf(const NodeRecord& record, const NodeForm& form) {
    LeafItem item{std::string(kUnknownRecord), Number(KeyNumber(record.key, form)), {}, {}};
    const auto show = [&](const auto& extents) {
        std::uint64_t blocks = 0;
        for (const auto& extent : extents)
            blocks += extent.blockCount;
        item.size = fmt::format("[{}]", blocks);
        item.block = FirstBlock(extents, extents);
    };
    if (form.isHfsPlus) {
        if (const auto extents = As<HfsPlusExtentRecord>(record.data))
            show(*extents);
    } else if (const auto extents = As<HfsExtentRecord>(record.data)) {
        show(*extents);
    }
    return item;
}

// The allocation block of the volume around the node.
std::optional<SectorLink> BlockLink(const SectorScene& scene, std::optional<std::uint32_t> block) {
    const InspectedVolume* volume = scene.image.volumeAt(scene.imageSector);
    if (volume == nullptr || !block)
        return std::nullopt;
    return SectorLink{
        "position", volume->blocksStart.number() + std::uint64_t{*block} * volume->sectorsPerBlock,
        StructureCode::Unknown};
}

ByteRange RangeOf(const NodeRecord& record) {
    return {record.offset, static_cast<std::uint32_t>(record.key.size() + record.data.size())};
}

void NoteMissing(const NodeRecords& found, Analysis& analysis) {
    if (found.missing > 0)
        analysis.problem = Reason(Sentence::kNodeRecordsMissing, found.missing);
}

void AddLeafList(const SectorScene& scene, Analysis& analysis) {
    const NodeForm form = FormOfNode(scene);
    const NodeRecords found = RecordsOf(scene.bytes, form);
    AnalysedList list;
    for (const int caption : {3278, 3281, 3279, 3280})
        list.columns.emplace_back(ToldText{caption});
    for (const NodeRecord& record : found.records) {
        const LeafItem item =
            form.role == TreeRole::Catalog ? CatalogItemOf(record, form, scene.language)
            : form.role == TreeRole::Extents
                ? ExtentsItemOf(record, form)
                : LeafItem{
                      std::string(kUnknownRecord), Number(KeyNumber(record.key, form)), {}, {}};
        list.rows.push_back(
            {{item.name, item.number, item.size, item.block ? Number(*item.block) : std::string{}},
             RangeOf(record),
             BlockLink(scene, item.block)});
    }
    analysis.pages[1].list = std::move(list);
    NoteMissing(found, analysis);
}

void AddIndexList(const SectorScene& scene, Analysis& analysis) {
    const NodeForm form = FormOfNode(scene);
    const NodeRecords found = RecordsOf(scene.bytes, form);
    AnalysedList list;
    for (const int caption : {3278, 3346, 3284})
        list.columns.emplace_back(ToldText{caption});
    for (const NodeRecord& record : found.records) {
        const std::uint32_t number = KeyNumber(record.key, form);
        std::string name(kUnknownRecord);
        if (form.role == TreeRole::Catalog)
            name = KeyName(record.key, form);
        if (name.empty())
            name = FormatText(kTextThread, scene.language, number);
        const auto child = As<be32>(record.data);
        AnalysedRow row{{std::move(name), Number(number), child ? Number(*child) : std::string{}},
                        RangeOf(record),
                        {}};
        if (child)
            for (SectorLink& link :
                 LinksOf(scene, analysis.code, LinkRule::Node, "position", *child))
                row.link = std::move(link);
        list.rows.push_back(std::move(row));
    }
    analysis.pages[1].list = std::move(list);
    NoteMissing(found, analysis);
}

void NoteTree(const SectorScene&, Analysis& analysis) {
    analysis.hasTree = true;
}

constexpr std::array<StructureTable, 3> kTables = {{
    {StructureCode::TreeHeader, "TSectB", 3253, kHeaderPages, kHeaderRows, ReadWholeNode, NoteTree},
    {StructureCode::LeafNode, "TSectND", 3286, kLeafPages, kNodeRows, ReadWholeNode, AddLeafList},
    {StructureCode::IndexNode, "TBranche", 3344, kIndexPages, kNodeRows, ReadWholeNode,
     AddIndexList},
}};

}  // namespace

std::span<const StructureTable> NodeTables() {
    return kTables;
}

}  // namespace vellmark
