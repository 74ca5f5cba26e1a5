// Disk images expanded from one file into another.
#include <gtest/gtest.h>

#include <filesystem>

#include "IO/disk_image_maker.hpp"
#include "IO/expanded_image.hpp"
#include "support/words.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

TEST(ExpandImageFile, EndsAsItsCallersKnow) {
    const TemporaryFolder folder;
    const std::string out = folder.path() + "/out.img";
    Bytes boot(1024);
    boot[510] = 0x55;
    boot[511] = 0xAA;
    Bytes protective = boot;
    boot[450] = 0xAF;
    protective[450] = 0xEE;
    const Bytes good = ImageMaker().table({BlockOf(kZlibBlock, Sectors(4, 1))}).make();
    // The first block is raw, and what a disk begins with.
    const Bytes rawFirst = ImageMaker().table({BlockOf(kRawBlock, protective)}).make();
    // The trailer is that of a disk image inside the disk.
    Bytes disk = protective;
    disk.insert(disk.end(), good.begin(), good.end());
    const std::pair<Bytes, ExpandEnd> cases[] = {
        {Bytes(2048), ExpandEnd::NotBegun},    {BytesOf("sprs"), ExpandEnd::Failed},
        {protective, ExpandEnd::Failed},       {boot, ExpandEnd::Failed},
        {Bytes(2048, 'x'), ExpandEnd::Failed}, {disk, ExpandEnd::Failed},
        {rawFirst, ExpandEnd::Done},           {good, ExpandEnd::Done}};
    RecordedProgress progress;
    for (const auto& [bytes, end] : cases) {
        const std::string in = MakeFile(folder, "in", bytes);
        const ExpandResult result = ExpandImageFile(in, out, progress);
        EXPECT_EQ(result.end, end);
        EXPECT_EQ(Words(result.problem).starts_with(in), end != ExpandEnd::Done) << result.problem;
        EXPECT_EQ(std::filesystem::remove(out), end == ExpandEnd::Done);
    }
    const ExpandResult nameless = ExpandImageFile("", out, progress);
    EXPECT_EQ(nameless.end, ExpandEnd::NotBegun);
    EXPECT_EQ(Words(nameless.problem), "The image to expand needs a name.");
    EXPECT_EQ(ExpandImageFile(folder.path() + "/none", out, progress).end, ExpandEnd::NotBegun);
    EXPECT_EQ(ExpandImageFile(folder.path() + "/in", "/none/out", progress).end,
              ExpandEnd::NotBegun);
}

TEST(ExpandedImage, IsReadByItsPathAndHasNoName) {
    const TemporaryFolder folder;
    const std::string in =
        MakeFile(folder, "in.dmg", ImageMaker().table({BlockOf(kZlibBlock, Sectors(4, 1))}).make());
    RecordedProgress progress;
    ExpandResult result;
    const auto image = ExpandedImage::Open(in, progress, result);
    ASSERT_TRUE(image) << result.problem;
    EXPECT_TRUE(ReadFile(image->path()) == Sectors(4, 1));
    EXPECT_NE(std::filesystem::read_symlink(image->path()).string().find("(deleted)"),
              std::string::npos);
    EXPECT_FALSE(ExpandedImage::Open(folder.path(), progress, result));
    EXPECT_TRUE(result.problem);
}

}  // namespace
}  // namespace vellmark
