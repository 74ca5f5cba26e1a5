// Disk images expanded from one file into another.
#include <gtest/gtest.h>

#include <filesystem>

#include "IO/disk_image_maker.hpp"
#include "IO/expanded_image.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

TEST(ExpandImageFile, GivesTheCodesThatItsCallersKnow) {
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
    const std::pair<Bytes, std::int64_t> cases[] = {{Bytes(2048), kFileNotExpanded},
                                                    {BytesOf("sprs"), kExpansionFailed},
                                                    {protective, 6},
                                                    {boot, 7},
                                                    {Bytes(2048, 'x'), -1},
                                                    {disk, 6},
                                                    {rawFirst, kFileExpanded},
                                                    {good, kFileExpanded}};
    RecordedProgress progress;
    for (const auto& [bytes, code] : cases) {
        const std::string in = MakeFile(folder, "in", bytes);
        const ExpandResult result = ExpandImageFile(in, out, progress);
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.problem.starts_with(in), code != kFileExpanded) << result.problem;
        EXPECT_EQ(std::filesystem::remove(out), code == kFileExpanded);
    }
    const ExpandResult nameless = ExpandImageFile("", out, progress);
    EXPECT_EQ(nameless.code, kFileNotExpanded);
    EXPECT_EQ(nameless.problem, "The image to expand needs a name.");
    EXPECT_EQ(ExpandImageFile(folder.path() + "/none", out, progress).code, kFileNotExpanded);
    EXPECT_EQ(ExpandImageFile(folder.path() + "/in", "/none/out", progress).code, kFileNotExpanded);
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
    EXPECT_NE(result.problem, "");
}

}  // namespace
}  // namespace vellmark
