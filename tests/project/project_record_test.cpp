// Each field of a record against its bytes, which are found by offset and not by name.
#include "project/project_record.hpp"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>

namespace vellmark {
namespace {

using Raw = std::array<std::uint8_t, kProjectRecordBytes>;

template <typename Record>
Raw RawOf(const Record& record) {
    Raw raw{};
    std::memcpy(raw.data(), &record, raw.size());
    return raw;
}

TEST(ProjectRecord, NumbersLieLittleEndianAtTheirOffsets) {
    struct Case {
        std::size_t offset;
        std::function<void(ProjectRecord&)> set;
    };
    const Case cases[] = {
        {0, [](ProjectRecord& r) { r.parent = 0x04030201; }},
        {4, [](ProjectRecord& r) { r.number = 0x04030201; }},
        {16, [](ProjectRecord& r) { r.dataSize = 0x04030201; }},
        {20, [](ProjectRecord& r) { r.resourceSize = 0x04030201; }},
        {24, [](ProjectRecord& r) { r.sourceSize = 0x04030201; }},
        {64, [](ProjectRecord& r) { r.created = 0x04030201; }},
        {68, [](ProjectRecord& r) { r.modified = 0x04030201; }},
    };
    for (const Case& c : cases) {
        ProjectRecord record;
        c.set(record);
        Raw expected{};
        for (std::uint8_t i = 0; i < 4; ++i)
            expected[c.offset + i] = static_cast<std::uint8_t>(i + 1);
        EXPECT_EQ(RawOf(record), expected) << "offset " << c.offset;
    }
}

TEST(ProjectRecord, EachFlagIsItsOwnBits) {
    struct Case {
        std::size_t offset;
        std::uint8_t bits;
        std::function<void(ProjectRecord&)> set;
        std::function<bool(const ProjectRecord&)> get;
    };
    using R = ProjectRecord;
    const Case cases[] = {
        {12, 0x01, [](R& r) { r.setIsoInclusion(1); },
         [](const R& r) { return r.isoInclusion() == 1; }},
        {12, 0x03, [](R& r) { r.setIsoInclusion(-1); },
         [](const R& r) { return r.isoInclusion() == -1; }},
        {13, 0x01, [](R& r) { r.setHfsInclusion(1); },
         [](const R& r) { return r.hfsInclusion() == 1; }},
        {13, 0x03, [](R& r) { r.setHfsInclusion(-1); },
         [](const R& r) { return r.hfsInclusion() == -1; }},
        {13, 0x04, [](R& r) { r.setUnicodeOnDisk(true); }, &R::unicodeOnDisk},
        {13, 0x08, [](R& r) { r.setAppleDouble(true); }, &R::appleDouble},
        {13, 0x10, [](R& r) { r.setAppleSingle(true); }, &R::appleSingle},
        {13, 0x20, [](R& r) { r.setHiddenExtension(true); }, &R::hiddenExtension},
        {14, 0x01, [](R& r) { r.setMacBinary(true); }, &R::macBinary},
        {14, 0x02, [](R& r) { r.setHiddenInIso(true); }, &R::hiddenInIso},
        {14, 0x08, [](R& r) { r.setHiddenInHfs(true); }, &R::hiddenInHfs},
        {14, 0x20, [](R& r) { r.setRefresh(true); }, &R::refresh},
        {14, 0x40, [](R& r) { r.setIsoNameLocked(true); }, &R::isoNameLocked},
        {14, 0x80, [](R& r) { r.setHfsNameLocked(true); }, &R::hfsNameLocked},
        {15, 0x01, [](R& r) { r.setBinHex(true); }, &R::binHex},
        {15, 0x04, [](R& r) { r.setCustomIcon(true); }, &R::customIcon},
        {15, 0x08, [](R& r) { r.setShortNameFlag(true); }, &R::shortNameFlag},
        {15, 0x40, [](R& r) { r.setCoding(ForkCoding::BinHex); },
         [](const R& r) { return r.coding() == ForkCoding::BinHex; }},
    };
    for (const Case& c : cases) {
        ProjectRecord record;
        EXPECT_FALSE(c.get(record));
        c.set(record);
        Raw expected{};
        expected[c.offset] = c.bits;
        EXPECT_EQ(RawOf(record), expected) << c.offset << " " << int{c.bits};
        EXPECT_TRUE(c.get(record)) << c.offset << " " << int{c.bits};

        // Among set bits all around it, the flag is still told and changes nothing else.
        Raw full{};
        full.fill(0xFF);
        std::memcpy(static_cast<void*>(&record), full.data(), full.size());
        c.set(record);
        full[c.offset] = RawOf(record)[c.offset];
        EXPECT_EQ(RawOf(record), full);
        EXPECT_TRUE(c.get(record));
    }
}

TEST(ProjectRecord, TextsLieAtTheirOffsetsAndAreCutAtTheirFields) {
    struct Case {
        std::size_t offset;
        std::size_t longest;
        std::function<void(ProjectRecord&, std::string_view)> set;
        std::function<std::string_view(const ProjectRecord&)> get;
    };
    using R = ProjectRecord;
    const Case cases[] = {
        {102, 8, &R::setSignature, &R::signature},
        {112, 255, &R::setAccessPath, &R::accessPath},
        {368, 243, &R::setSourceName, &R::sourceName},
        {612, 12, &R::setShortName, &R::shortName},
        {624, 67, &R::setIsoName, &R::isoName},
        {692, 63, &R::setHfsName, &R::hfsName},
    };
    for (const Case& c : cases) {
        ProjectRecord record;
        c.set(record, std::string(300, 'x'));
        EXPECT_EQ(c.get(record), std::string(c.longest, 'x'));
        Raw expected{};
        std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(c.offset), c.longest, 'x');
        EXPECT_EQ(RawOf(record), expected) << c.offset;
        c.set(record, "ab");
        EXPECT_EQ(c.get(record), "ab");
        EXPECT_EQ(RawOf(record)[c.offset + 2], 0) << "the rest of an older text";

        // A field without an end, as a damaged file may hold it.
        std::memset(static_cast<void*>(&record), 'y', sizeof record);
        EXPECT_LE(c.get(record).size(), 256u);
        EXPECT_GE(c.get(record).size(), c.longest);
    }
}

TEST(ProjectHeader, FieldsLieAtTheirOffsets) {
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
    Raw expected{};
    const std::pair<std::size_t, int> bytes[] = {
        {8, 0x11},  {13, 0x01}, {14, 0x21}, {15, 0x04}, {16, 1},    {20, 2},    {24, 3},
        {28, 4},    {32, 'S'},  {64, 'V'},  {192, 'P'}, {320, 'D'}, {448, 'A'}, {576, 'C'},
        {588, 'B'}, {600, 'L'}, {612, 5},   {616, 6},   {624, 'I'}, {692, 'H'}};
    for (const auto& [offset, value] : bytes)
        expected[offset] = static_cast<std::uint8_t>(value);
    EXPECT_EQ(RawOf(header), expected);
    header.setHfsPlus(false);
    header.setOpenRoot(false);
    EXPECT_FALSE(header.isHfsPlus());
    EXPECT_FALSE(header.openRoot());
    EXPECT_TRUE(header.rebuildBeforeCompile());
    EXPECT_TRUE(header.customIcon());
}

TEST(ProjectRecord, TheHybridViewIsEitherOfTheOthers) {
    for (int iso : {0, 1, -1})
        for (int hfs : {0, 1, -1}) {
            ProjectRecord record;
            record.setIsoInclusion(iso);
            record.setHfsInclusion(hfs);
            EXPECT_EQ(record.isIn(ProjectView::Iso), iso != 0);
            EXPECT_EQ(record.isIn(ProjectView::Hfs), hfs != 0);
            EXPECT_EQ(record.isIn(ProjectView::Hybrid), iso != 0 || hfs != 0);
        }
}

}  // namespace
}  // namespace vellmark
