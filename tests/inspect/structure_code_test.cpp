#include "inspect/structure_code.hpp"

#include <gtest/gtest.h>

#include "inspect/inspect_bench.hpp"
#include "inspect/structure_table.hpp"

namespace vellmark {
namespace {

using Code = StructureCode;
using testing::Bytes;

struct Put {
    std::size_t at;
    std::vector<int> bytes;
};

struct Case {
    Code code;
    std::vector<Put> puts;  ///< into a sector of zeros
    std::uint64_t sector = 5;
};

Bytes SectorOf(const Case& each) {
    Bytes sector(512);
    for (const Put& put : each.puts) {
        std::size_t at = put.at;
        for (const int byte : put.bytes)
            sector[at++] = static_cast<std::uint8_t>(byte);
    }
    return sector;
}

// For each test the smallest sector that meets it, then the nearest that does not.
const std::vector<Case> kCases = {
    {Code::HfsPlusHeader, {{0, {'H', '+'}}}},
    {Code::HfsPlusHeader, {{0, {'H', 'X'}}}},
    {Code::Unknown, {{0, {'H', 'Y'}}}},
    {Code::Unknown, {{0, {'h', '+'}}}},
    {Code::MasterDirectoryBlock, {{0, {'B', 'D'}}}},
    {Code::Unknown, {{0, {'B', 'E'}}}},
    {Code::DriverDescriptor, {{0, {'E', 'R', 2, 0}}}},
    {Code::DriverDescriptor, {{0, {'E', 'R', 8, 0}}}},
    {Code::DriverDescriptor, {{0, {'E', 'R', 0, 0}}}},
    {Code::Unknown, {{0, {'E', 'R', 2, 1}}}},
    {Code::Unknown, {{0, {'E', 'R', 1, 0}}}},
    {Code::PartitionMapEntry, {{0, {'P', 'M'}}}},
    {Code::Unknown, {{0, {'T', 'S'}}}},
    {Code::TreeHeader, {{8, {1, 0, 0, 3}}}},
    {Code::TreeHeader, {{8, {1, 9, 9, 3}}}},
    {Code::Unknown, {{8, {1, 0, 3, 0}}}},
    {Code::Unknown, {{8, {2, 0, 0, 3}}}},
    {Code::LeafNode, {{8, {255, 1, 0, 1}}}},
    {Code::LeafNode, {{8, {255, 8, 1, 0}}}},
    {Code::Unknown, {{8, {255, 0, 0, 1}}}},
    {Code::Unknown, {{8, {255, 9, 0, 1}}}},
    {Code::Unknown, {{8, {255, 1, 0, 0}}}},
    {Code::IndexNode, {{8, {0, 1, 0, 1}}}},
    {Code::IndexNode, {{8, {0, 8, 1, 0}}}},
    {Code::Unknown, {{8, {0, 9, 0, 1}}}},
    {Code::Unknown, {{8, {3, 1, 0, 1}}}},
    {Code::IsoDescriptor, {{0, {1, 'C', 'D', '0', '0', '1'}}}},
    {Code::IsoDescriptor, {{0, {2, 'C', 'D', '0', '0', '1'}}}},
    {Code::Unknown, {{0, {3, 'C', 'D', '0', '0', '1'}}}},
    {Code::Unknown, {{0, {1, 'C', 'D', '0', '0', '2'}}}},
    {Code::IsoPathTable, {{0, {1, 0, 20}}, {6, {1, 0}}}},
    {Code::IsoPathTable, {{0, {1, 0, 0, 0, 0, 20}}, {6, {0, 1}}}},
    {Code::Unknown, {{0, {1, 0, 20}}, {6, {0, 1}}}},
    {Code::Unknown, {{0, {1, 0, 0, 0, 0, 20}}, {6, {1, 0}}}},
    {Code::Unknown, {{0, {2, 0, 20}}, {6, {1, 0}}}},
    {Code::IsoDirectory, {{0, {34}}, {34, {34}}}},
    {Code::Unknown, {{0, {34}}, {34, {36}}}},
    {Code::Unknown, {{0, {34}}, {33, {34}}}},
    {Code::BootSector, {{2, {0x90}}, {510, {0x55, 0xAA}}}},
    {Code::BootSector, {{2, {0x90}}, {510, {0x55, 0xAA}}}, 0},
    {Code::Unknown, {{2, {0x90}}, {510, {0xAA, 0x55}}}},
    {Code::MasterBootRecord, {{2, {0x91}}, {510, {0x55, 0xAA}}}, 0},
    {Code::Unknown, {{2, {0x91}}, {510, {0x55, 0xAA}}}, 1},
    {Code::Unknown, {{510, {0xAA, 0x55}}}, 0},
    {Code::Unknown, {}, 0},
    // Where two tests hold, the first decides.
    {Code::HfsPlusHeader, {{0, {'H', '+'}}, {8, {1, 0, 0, 3}}}},
    {Code::PartitionMapEntry, {{0, {'P', 'M'}}, {8, {255, 1, 0, 1}}}},
    {Code::TreeHeader, {{0, {1, 'C', 'D', '0', '0', '1', 0, 0, 1, 0, 0, 3}}}},
    {Code::LeafNode, {{0, {1, 0, 20}}, {6, {1, 0, 255, 1, 0, 1}}}},
    {Code::IndexNode, {{0, {1, 0, 20}}, {6, {1, 0, 0, 1, 0, 1}}}},
    {Code::IsoDescriptor, {{0, {1, 'C', 'D', '0', '0', '1', 1, 0}}}},
    {Code::IsoDirectory, {{0, {34, 0, 0x90}}, {34, {34}}, {510, {0x55, 0xAA}}}, 0},
    {Code::TreeHeader, {{8, {1, 0, 0, 3}}, {510, {0x55, 0xAA}}}, 0}};

TEST(StructureCodeTest, TheFirstTestThatHoldsDecides) {
    for (const Case& each : kCases)
        EXPECT_EQ(IdentifySector(SectorOf(each), each.sector), each.code)
            << "case " << &each - kCases.data();
    Bytes shortSector = SectorOf(kCases[0]);
    shortSector.pop_back();
    EXPECT_EQ(IdentifySector(shortSector, 0), Code::Unknown);
}

TEST(StructureCodeTest, EveryStructureHasATableUnderItsNumberAndItsForm) {
    const std::array<std::string_view, kStructureCodes> forms = {
        "",        "TSectHPP", "TSectBD",  "TSectER",  "TSectPM", "TSectB",
        "TSectND", "TSectISO", "TPathISO", "TRepISO",  "TMBR",    "TBoot",
        "TMacBin", "TAS",      "TAD",      "TBranche", "Tefi",    "Tgptguid"};
    for (unsigned code = 1; code < kStructureCodes; ++code) {
        EXPECT_EQ(StructureNamed(std::to_string(code)), static_cast<Code>(code));
        EXPECT_EQ(StructureNamed(forms[code]), static_cast<Code>(code));
        EXPECT_EQ(TableOf(static_cast<Code>(code)).form, forms[code]);
    }
    EXPECT_EQ(StructureNamed("tsectbd"), Code::MasterDirectoryBlock);
    for (const char* wrong : {"", "0", "18", "7x", "TSect", "256"})
        EXPECT_EQ(StructureNamed(wrong), std::nullopt) << wrong;
}

// Rows of the tables lie within their structure, and captions are texts that there are.
TEST(StructureCodeTest, TablesDescribeBytesOfTheSector) {
    for (unsigned code = 1; code < kStructureCodes; ++code)
        for (unsigned page = 0; const FieldRow& row : TableOf(static_cast<Code>(code)).fields) {
            EXPECT_LE(page, row.page) << row.key << ": fields of a page stand together";
            page = row.page;
            EXPECT_LE(row.offset + row.width, 512) << row.key;
            EXPECT_LT(row.page, TableOf(static_cast<Code>(code)).pages.size()) << row.key;
            EXPECT_NE(row.caption.reason().words(Language::English), "") << row.key;
            EXPECT_NE(row.caption.reason().words(Language::French), "") << row.key;
            EXPECT_EQ(row.compute != nullptr, row.kind == FieldKind::Computed) << row.key;
        }
}

}  // namespace
}  // namespace vellmark
