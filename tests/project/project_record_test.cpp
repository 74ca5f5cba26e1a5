// A record and a header against their bytes, which are found by offset and not
// by name.
#include "project/project_record.hpp"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace vellmark {
namespace {

template <typename Record>
std::string BytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

std::string Expected(const std::vector<std::pair<std::size_t, std::string>>& pieces) {
    std::string bytes(756, '\0');
    for (const auto& [offset, piece] : pieces)
        bytes.replace(offset, piece.size(), piece);
    return bytes;
}

TEST(ProjectRecord, EachFieldLiesAtItsOffset) {
    ProjectRecord record;
    record.parent = 0x04030201;
    record.number = -2;
    record.dataSize = 0x11223344;
    record.resourceSize = 5;
    record.sourceSize = 6;
    record.created = 7;
    record.modified = 8;
    record.setIsoInclusion(1);
    record.setHfsInclusion(-1);
    record.setUnicodeOnDisk(true);
    record.setAppleSingle(true);
    record.setMacBinary(true);
    record.setHiddenInHfs(true);
    record.setIsoNameLocked(true);
    record.setCustomIcon(true);
    record.setCoding(ForkCoding::BinHex);
    record.setSignature("TYPEcrea!");
    record.setAccessPath(std::string(300, 'p'));
    record.setSourceName(std::string(300, 's'));
    record.setShortName(std::string(300, 'n'));
    record.setIsoName("iso");
    record.setHfsName("hfs");
    EXPECT_EQ(BytesOf(record), Expected({{0, "\1\2\3\4\xFE\xFF\xFF\xFF"},
                                         {12, "\x01\x17\x49\x44\x44\x33\x22\x11\5"},
                                         {24, "\6"},
                                         {64, "\7"},
                                         {68, "\x08"},
                                         {102, "TYPEcrea"},
                                         {112, std::string(255, 'p')},
                                         {368, std::string(243, 's')},
                                         {612, std::string(12, 'n')},
                                         {624, "iso"},
                                         {692, "hfs"}}));
    record.setHfsInclusion(0);
    record.setUnicodeOnDisk(false);
    record.setAppleSingle(false);
    record.setAppleDouble(true);
    record.setHiddenExtension(true);
    record.setMacBinary(false);
    record.setHiddenInHfs(false);
    record.setHiddenInIso(true);
    record.setIsoNameLocked(false);
    record.setHfsNameLocked(true);
    record.setRefresh(true);
    record.setBinHex(true);
    record.setCustomIcon(false);
    record.setShortNameFlag(true);
    record.setCoding(ForkCoding::NamedStreams);
    EXPECT_EQ(BytesOf(record).substr(12, 4), "\x01\x28\xA2\x19");
    EXPECT_EQ(record.isoInclusion(), 1);
    EXPECT_TRUE(record.isIn(ProjectView::Hybrid) && !record.isIn(ProjectView::Hfs));

    // A field without an end, as a damaged file may hold it.
    std::memset(static_cast<void*>(&record), 'y', sizeof record);
    EXPECT_EQ(record.hfsName().size(), 64u);
    EXPECT_EQ(record.signature().size(), 8u);
}

TEST(ProjectHeader, EachFieldLiesAtItsOffset) {
    ProjectHeader header;
    header.lastFolder = 0x11;
    header.setHfsPlus(true);
    header.setOpenRoot(true);
    header.setRebuildBeforeCompile(true);
    header.setCustomIcon(true);
    header.rootFolders = 1;
    header.rootFiles = 2;
    header.hfsRecords = 3;
    header.isoRecords = 4;
    SetFieldText(header.system, "S");
    SetFieldText(header.volumeSet, "V");
    SetFieldText(header.publisher, "P");
    SetFieldText(header.dataPreparer, "D");
    SetFieldText(header.application, "A");
    SetFieldText(header.copyrightFile, "C");
    SetFieldText(header.abstractFile, "B");
    SetFieldText(header.bibliographicFile, "L");
    header.lastFile = 5;
    header.totalSectors = 6;
    header.setIsoLabel("I");
    header.setHfsLabel("H");
    EXPECT_EQ(BytesOf(header), Expected({{8, "\x11"},
                                         {13, "\x01\x21\x04\1"},
                                         {20, "\2"},
                                         {24, "\3"},
                                         {28, "\4"},
                                         {32, "S"},
                                         {64, "V"},
                                         {192, "P"},
                                         {320, "D"},
                                         {448, "A"},
                                         {576, "C"},
                                         {588, "B"},
                                         {600, "L"},
                                         {612, "\5"},
                                         {616, "\6"},
                                         {624, "I"},
                                         {692, "H"}}));
}

}  // namespace
}  // namespace vellmark
