#include "compiler/compile.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "compiler/compiler_bench.hpp"
#include "compiler/image_writer.hpp"
#include "support/texts.hpp"

namespace vellmark::test {
namespace {

class CompileTest : public CompilerTest {
  protected:
    // A compile that must fail, name `named`, and leave the folder of the image as it was.
    void expectFailure(ProjectFile& made, CompileResult expected, const std::string& named) {
        const std::vector<std::string> before = filesIn(out());
        CompileContext request = context(made);
        EXPECT_EQ(CompileProject(request), expected);
        ASSERT_FALSE(messages_.shown.empty());
        EXPECT_NE(messages_.shown.back().find(named), std::string::npos) << messages_.shown.back();
        EXPECT_EQ(filesIn(out()), before);
    }
};

TEST_F(CompileTest, AProjectWithoutItemsIsRefused) {
    ProjectFile made = project();
    expectFailure(made, CompileResult::Empty, "contains no files");
}

TEST_F(CompileTest, AFileThatIsGoneEndsTheCompileWithItsName) {
    write("stays.txt", "1");
    write("sub/goes.txt", "2");
    ProjectFile made = project();
    std::filesystem::remove(tree() + "/sub/goes.txt");
    expectFailure(made, CompileResult::CopyFailed, "sub/goes.txt");
}

TEST_F(CompileTest, AFileThatShrinksWhileItIsCopiedEndsTheCompileWithItsName) {
    // Small files are read in one piece, large ones in chunks: both ways are taken.
    for (const std::size_t size : {std::size_t{5000}, std::size_t{6 << 20}}) {
        write("a.txt", "first");
        write("shrinks.bin", std::string(size, 'x'));
        ProjectFile made = project();
        progress_.onFile = [&](std::string_view name) {
            if (name.ends_with("shrinks.bin"))
                std::filesystem::resize_file(tree() + "/shrinks.bin", size / 2);
        };
        expectFailure(made, CompileResult::CopyFailed, "shrinks.bin");
    }
}

TEST_F(CompileTest, AFileThatVanishesWhileItIsCopiedEndsTheCompileWithItsName) {
    write("a.txt", "first");
    write("vanishes.txt", "second");
    ProjectFile made = project();
    progress_.onFile = [&](std::string_view name) {
        if (name.ends_with("a.txt"))
            std::filesystem::remove(tree() + "/vanishes.txt");
    };
    expectFailure(made, CompileResult::CopyFailed, "vanishes.txt");
}

TEST_F(CompileTest, AStopLeavesTheOlderImage) {
    write("a.txt", "first");
    std::ofstream(image()) << "the older image";
    ProjectFile made = project();
    progress_.stop = true;
    CompileContext request = context(made);
    request.replace = true;
    EXPECT_EQ(CompileProject(request), CompileResult::Aborted);
    EXPECT_EQ(filesIn(out()), std::vector<std::string>{"disc.iso"});
    EXPECT_EQ(std::filesystem::file_size(image()), std::string("the older image").size());
}

TEST_F(CompileTest, AnExistingImageIsNotReplacedUnasked) {
    write("a.txt", "first");
    std::ofstream(image()) << "the older image";
    ProjectFile made = project();
    expectFailure(made, CompileResult::TargetFailed, "disc.iso");
}

TEST_F(CompileTest, AMissingTargetFolderIsNamed) {
    write("a.txt", "first");
    ProjectFile made = project();
    CompileContext request = context(made);
    request.targetPath = out() + "/missing/disc.iso";
    EXPECT_EQ(CompileProject(request), CompileResult::TargetFailed);
    EXPECT_NE(messages_.shown.back().find("missing/disc.iso"), std::string::npos);
}

TEST_F(CompileTest, TablesThatCannotBeMadeEndTheCompile) {
    write("a.txt", "first");
    ProjectFile made = project();
    CompileContext request = context(made);
    request.tableFolder = out() + "/missing";
    EXPECT_EQ(CompileProject(request), CompileResult::TablesFailed);
    EXPECT_EQ(messages_.shown.back(), Text(1500));
    EXPECT_TRUE(filesIn(out()).empty());
}

TEST_F(CompileTest, TheImageBeingReplacedIsNoPartOfItself) {
    write("a.txt", "first");
    write("disc.iso", std::string(5'000'000, 'i'));
    ProjectFile made = project();
    CompileContext request = context(made);
    request.targetPath = tree() + "/disc.iso";
    request.replace = true;
    ASSERT_EQ(CompileProject(request), CompileResult::Done);
    EXPECT_LT(std::filesystem::file_size(request.targetPath), 2'000'000u);
}

TEST_F(CompileTest, AnEmptySideLeadsToTheOtherAlone) {
    write("a.txt", "first");
    struct Row {
        int iso;
        int hfs;
        CompileMode mode;
    };
    for (const Row& row : {Row{1, 0, CompileMode::PureIso}, Row{0, 1, CompileMode::PureHfs},
                           Row{1, 1, CompileMode::HybridHfs}}) {
        ProjectFile made = project();
        made.setViewFlagsDown(kRootFolder, row.iso, row.hfs);
        CompileContext request = context(made);
        request.replace = true;
        ASSERT_EQ(CompileProject(request), CompileResult::Done);
        EXPECT_EQ(request.mode, row.mode);
    }
}

TEST_F(CompileTest, AnUntitledProjectIsNamedAfterItsImage) {
    write("a.txt", "first");
    ProjectFile made = project();
    made.header().setIsoLabel("Untitled");
    made.header().setHfsLabel("Untitled");
    ASSERT_TRUE(made.save(messages_));
    CompileContext request = context(made);
    ASSERT_EQ(CompileProject(request), CompileResult::Done);
    EXPECT_EQ(made.header().isoLabel(), "disc");
    EXPECT_EQ(made.header().hfsLabel(), "disc");
    std::optional<ProjectFile> again;
    ASSERT_EQ(ProjectFile::Open(made.path(), ProjectMode::Hybrid, messages_, again),
              ProjectOpened::Opened);
    EXPECT_EQ(again->header().isoLabel(), "disc");
}

TEST_F(CompileTest, AForkTooLargeForHfsTurnsTheProjectToHfsPlus) {
    write("huge.bin", "");
    std::filesystem::resize_file(tree() + "/huge.bin", 2'200'000'000);  // a hole
    ProjectFile made = project();
    CompileContext request = context(made);
    // Stopped at the file: its two gigabytes are not what is tested.
    progress_.stop = true;
    EXPECT_EQ(CompileProject(request), CompileResult::Aborted);
    EXPECT_EQ(request.mode, CompileMode::HybridHfsPlus);
    EXPECT_TRUE(made.header().isHfsPlus());
}

TEST_F(CompileTest, ThePostgapIsBehindTheVolume) {
    write("a.txt", "first");
    ProjectFile made = project();
    CompileContext request = context(made);
    ASSERT_EQ(CompileProject(request), CompileResult::Done);
    const auto plain = std::filesystem::file_size(image());
    request.postgap = true;
    request.replace = true;
    ASSERT_EQ(CompileProject(request), CompileResult::Done);
    EXPECT_EQ(std::filesystem::file_size(image()), plain + 150 * 2048);
    PcFile file(image(), PcFile::Mode::Read);
    le32 spaceSize;
    ASSERT_TRUE(file.readRecord(16 * 2048 + 80, spaceSize));
    EXPECT_EQ(spaceSize * std::uint64_t{2048}, plain);
}

TEST(ImageWriterTest, FilesFollowOneAnotherOnBlocksAroundTheBuffersEnd) {
    // Sizes that make files end just before, at and behind the end of the 2 MiB buffer.
    const TemporaryFolder folder;
    const std::string target = folder.path() + "/image";
    const std::vector<std::uint32_t> sizes = {
        1, 2047, 2048, 2049, 2'000'000, 90'000, 1'900'000, 2'097'152, 7, 5'000'000, 3};
    for (const std::uint32_t blockSize : {2048u, 6144u}) {
        PcFile image(target, PcFile::Mode::CreateTruncate);
        Progress progress;
        ImageWriter writer(image, 4096, progress);
        std::string expected(4096, '\0');
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            const std::string path = folder.path() + "/" + std::to_string(i);
            const std::string content(sizes[i], static_cast<char>('a' + i));
            std::ofstream(path, std::ios::binary) << content;
            ASSERT_EQ(writer.copyFile(path, path, sizes[i], blockSize), CopyResult::Done);
            expected += content;
            expected.resize(4096 +
                            (expected.size() - 4096 + blockSize - 1) / blockSize * blockSize);
        }
        ASSERT_EQ(writer.finish(), CopyResult::Done);
        ASSERT_TRUE(image.setSize(expected.size()));
        std::vector<std::uint8_t> bytes(expected.size());
        ASSERT_TRUE(image.readExactly(0, bytes));
        EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), expected.begin(), [](auto a, char b) {
            return a == static_cast<std::uint8_t>(b);
        })) << blockSize;
    }
}

}  // namespace
}  // namespace vellmark::test
