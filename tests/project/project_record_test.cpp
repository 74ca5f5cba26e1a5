// Marks, fields and their limits against the bytes of a record and of a header. Where a field lies
// is checked where it is declared.
#include "project/project_record.hpp"

#include "project/project_bench.hpp"

namespace vellmark {
namespace {

template <typename Record>
std::string BytesOf(const Record& record, std::size_t from, std::size_t count) {
    return {reinterpret_cast<const char*>(&record) + from, count};
}

TEST(ProjectRecord, EachMarkHasItsBitAndEachTextItsLimit) {
    ProjectRecord record = test::Item(0x04030201, -2, std::string(300, 's'), 1, -1);
    record.setUnicodeOnDisk(true);
    record.setAppleSingle(true);
    record.setMacBinary(true);
    record.setHiddenInHfs(true);
    record.setIsoNameLocked(true);
    record.setCustomIcon(true);
    record.setCoding(ForkCoding::BinHex);
    record.setSignature("TYPEcrea!");
    record.setAccessPath(std::string(300, 'p'));
    EXPECT_EQ(BytesOf(record, 0, 8), "\1\2\3\4\xFE\xFF\xFF\xFF");
    EXPECT_EQ(BytesOf(record, 12, 4), "\x01\x17\x49\x44");
    EXPECT_EQ(BytesOf(record, 102, 10), "TYPEcrea" + test::Zeros(2));
    EXPECT_EQ(BytesOf(record, 112, 256), std::string(255, 'p') + test::Zeros(1));
    EXPECT_EQ(BytesOf(record, 368, 256), std::string(243, 's') + '\0' + std::string(12, 's'));
    EXPECT_EQ(test::MarksOf(record), "IhlukSMm");

    record = test::Item(1, -2, "x", 1, 0);
    record.setAppleDouble(true);
    record.setHiddenExtension(true);
    record.setHiddenInIso(true);
    record.setHfsNameLocked(true);
    record.setRefresh(true);
    record.setBinHex(true);
    record.setShortNameFlag(true);
    record.setCoding(ForkCoding::NamedStreams);
    EXPECT_EQ(BytesOf(record, 12, 4), "\x01\x28\xA2\x19");
    EXPECT_EQ(test::MarksOf(record), "ILDBpx");
    // A field without an end, as a damaged file may hold it.
    std::fill_n(reinterpret_cast<char*>(&record), sizeof record, 'y');
    EXPECT_EQ(record.hfsName().size(), 64u);
    EXPECT_EQ(record.signature().size(), 8u);

    ProjectHeader header;
    header.setHfsPlus(true);
    header.setOpenRoot(true);
    header.setRebuildBeforeCompile(true);
    header.setCustomIcon(true);
    EXPECT_EQ(BytesOf(header, 13, 3), "\x01\x21\x04");
}

}  // namespace
}  // namespace vellmark
