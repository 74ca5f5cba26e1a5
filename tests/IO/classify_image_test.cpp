#include <gtest/gtest.h>

#include "IO/disk_bytes.hpp"
#include "IO/recognition.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

ImageClass Classify(Bytes bytes) {
    MemoryBytes file(std::move(bytes));
    return ClassifyImage(file);
}

TEST(ClassifyImage, LooksAtTheStartAndAtTheTrailer) {
    struct Case {
        std::string_view start;
        std::uint8_t bootType;  // 0: no boot record
        bool trailer;
        ImageClass expected;
    };
    const Case cases[] = {
        {"", 0, false, ImageClass::Plain},
        {"", 0, true, ImageClass::TrailerDiskImage},
        {"", 0xEE, false, ImageClass::ProtectiveBootRecord},
        {"", 0xEE, true, ImageClass::ProtectiveBootRecord},
        {"", 0xAF, false, ImageClass::MacintoshBootRecord},
        {"", 0x0B, false, ImageClass::Plain},
        {"x", 0, false, ImageClass::ZlibDiskImage},
        {"x\xDA", 0xEE, true, ImageClass::ZlibDiskImage},
        {"PM", 0, true, ImageClass::PartitionDiskImage},
        {"PM", 0, false, ImageClass::Plain},
        {"PM", 0xAF, false, ImageClass::Plain},
        {"BZh9", 0xAF, false, ImageClass::Bzip2DiskImage},
        {"sprs", 0, true, ImageClass::SparseImage},
        {"ER", 0xEE, false, ImageClass::Plain},
        {"ER", 0xAF, true, ImageClass::TrailerDiskImage},
    };
    for (const Case& c : cases) {
        Bytes bytes(2048);
        if (c.bootType != 0)
            PutBootEntry(bytes, 0, c.bootType, 1, 1);
        PutText(bytes, 0, c.start);
        if (c.trailer)
            PutText(bytes, bytes.size() - 512, "koly");
        EXPECT_EQ(Classify(bytes), c.expected) << c.start << " " << int{c.bootType};
    }
}

TEST(ClassifyImage, ShortFilesAreNoneOrWhatTheirFirstByteSays) {
    EXPECT_EQ(Classify({}), ImageClass::Plain);
    EXPECT_EQ(Classify({'x'}), ImageClass::ZlibDiskImage);
    EXPECT_EQ(Classify({'B', 'Z'}), ImageClass::Bzip2DiskImage);
    EXPECT_EQ(Classify(Bytes(511, 0x55)), ImageClass::Plain);
}

}  // namespace
}  // namespace vellmark
