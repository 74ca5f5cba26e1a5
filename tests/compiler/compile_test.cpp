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

TEST_F(CompileTest, AFileThatChangesWhileItIsCopiedEndsTheCompileWithItsName) {
    // Small files are read in one piece, large ones in chunks: both ways are taken. What changes
    // when another file is begun changes between the plan and its own copy.
    for (const std::size_t size : {std::size_t{5000}, std::size_t{6 << 20}})
        for (const std::size_t newSize : {size / 2, size, size + 1})
            for (const std::string_view when : {"a.txt", "changes.bin"}) {
                write("a.txt", "first");
                write("changes.bin", std::string(size, 'x'));
                const std::string path = tree() + "/changes.bin";
                std::filesystem::last_write_time(path, {});
                ProjectFile made = project();
                progress_.onFile = [&](std::string_view name) {
                    if (name.ends_with(when))
                        write("changes.bin", std::string(newSize, 'y'));
                };
                expectFailure(made, CompileResult::CopyFailed, "changes.bin");
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

TEST_F(CompileTest, TablesThatCannotBeMadeEndTheCompile) {
    write("a.txt", "first");
    ProjectFile made = project();
    CompileContext request = context(made);
    request.tableFolder = out() + "/missing";
    EXPECT_EQ(CompileProject(request), CompileResult::TablesFailed);
    EXPECT_EQ(messages_.shown.back(), Text(1500));
    EXPECT_TRUE(filesIn(out()).empty());
}

TEST_F(CompileTest, OnlyAHybridWithAnEmptySideBecomesTheOtherAlone) {
    write("a.txt", "first");
    using enum ImageKind;
    const struct {
        ImageKind kind;
        int iso, hfs;
        std::optional<CompileMode> mode;
    } rows[] = {{Hybrid, 1, 1, CompileMode::HybridHfs},
                {Hybrid, 1, 0, CompileMode::PureIso},
                {Hybrid, 0, 1, CompileMode::PureHfs},
                {Iso, 1, 0, CompileMode::PureIso},
                {Hfs, 0, 1, CompileMode::PureHfs},
                {Iso, 0, 1, std::nullopt},
                {Hfs, 1, 0, std::nullopt}};
    for (const auto& row : rows) {
        ProjectFile made = project();
        made.setViewFlagsDown(kRootFolder, row.iso, row.hfs);
        if (!row.mode)
            std::filesystem::remove(image());
        CompileContext request = context(made);
        request.kind = row.kind;
        request.replace = true;
        EXPECT_EQ(CompileProject(request), row.mode ? CompileResult::Done : CompileResult::Empty);
        EXPECT_EQ(std::filesystem::exists(image()), row.mode.has_value());
        if (row.mode)
            EXPECT_EQ(request.mode, *row.mode);
        else
            EXPECT_NE(messages_.shown.back().find("would be empty"), std::string::npos);
    }
}

TEST_F(CompileTest, TheJournalNamesTheStepsThatTheKindOfImageHas) {
    write("sub/a.txt", "first");
    const std::string folders = "Entry point of creation_volume;Entry point of creation_volume;";
    const struct {
        ImageKind kind;
        bool plus;
        std::string lines;
    } rows[] = {
        {ImageKind::Hybrid, false,
         "Creating the ISO file;Computing the ISO catalog;Computing the HFS catalog;Creating the "
         "temp files;Creating the hybrid image;" +
             folders + "Copying the temp. HFS files;Copying the temp. ISO files;"},
        {ImageKind::Hybrid, true,
         "Creating the ISO file;Computing the ISO catalog;Computing the HFS+ catalog;Creating the "
         "temp files;Creating the hybrid image;" +
             folders + "Copying the temp files;Copying the temp. files;"},
        {ImageKind::Iso, true,
         "Creating the ISO file;Computing the ISO catalog;Creating the temp files;Creating the ISO "
         "image;" +
             folders + "Copying the temp. ISO files;"},
        {ImageKind::Hfs, false,
         "Creating the HFS file;Computing the HFS catalog;Creating the HFS image;" + folders +
             "Copying the temp. HFS files;"},
        {ImageKind::Hfs, true,
         "Creating the HFS+ file;Computing the HFS+ catalog;Creating the HFS+ image;" + folders +
             "Copying the temp files;"}};
    for (const auto& row : rows) {
        ProjectFile made = project(row.plus);
        CompileContext request = context(made);
        request.kind = row.kind;
        request.replace = true;
        progress_.journalLines.clear();
        ASSERT_EQ(CompileProject(request), CompileResult::Done);
        std::string lines;
        for (const std::string& line : progress_.journalLines)
            if (line.starts_with("==>"))
                lines += line.substr(3, line.find("./") - 3) + ";";
        EXPECT_EQ(lines, row.lines);
    }
}

TEST_F(CompileTest, AnUntitledProjectIsNamedAfterItsImageWhereItsLettersAllowThat) {
    write("a.txt", "first");
    const struct {
        const char *kept, *image, *label;
        bool told;
    } rows[] = {{"Untitled", "disc", "disc", false},
                {"Sans titre", "disc.2", "disc.2", false},
                {"Disc", "other", "Disc", false},
                {"Sans titre", "\u65E5\u672C", "Sans titre", true},
                {"Untitled", "a\nb", "Sans titre", true},
                {"", "disc", "Sans titre", false}};
    messages_.spoken = Language::French;
    for (const auto& row : rows) {
        ProjectFile made = project();
        made.header().setIsoLabel(row.kept);
        made.header().setHfsLabel(row.kept);
        ASSERT_TRUE(made.save(messages_));
        CompileContext request = context(made);
        request.targetPath = out() + "/" + row.image + ".iso";
        messages_.shown.clear();
        ASSERT_EQ(CompileProject(request), CompileResult::Done);
        EXPECT_EQ(made.header().isoLabel(), row.label);
        EXPECT_EQ(made.header().hfsLabel(), row.label);
        EXPECT_EQ(messages_.shown.size(), row.told ? 1u : 0u) << row.image;
        std::filesystem::remove(request.targetPath);
    }
    std::optional<ProjectFile> again;
    ASSERT_EQ(
        ProjectFile::Open(folder_.path() + "/test.vlpr", ProjectMode::Hybrid, messages_, again),
        ProjectOpened::Opened);
    EXPECT_EQ(again->header().isoLabel(), "") << "a label that was never given is not saved";
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
    // Nor does an image of HFS alone take a fork of 2 GiB, and it has nothing to turn to.
    for (const std::uint64_t size : {0x7FFFFFFFull, 0x80000000ull}) {
        std::filesystem::resize_file(tree() + "/huge.bin", size);
        progress_.stop = false;
        ProjectFile again = project();
        progress_.stop = true;
        CompileContext alone = context(again);
        alone.kind = ImageKind::Hfs;
        const bool isTooLong = size > 0x7FFFFFFF;
        EXPECT_EQ(CompileProject(alone),
                  isTooLong ? CompileResult::CopyFailed : CompileResult::Aborted);
        EXPECT_EQ(messages_.shown.back().find("huge.bin: A fork of 2 GiB") != std::string::npos,
                  isTooLong);
    }
}

TEST_F(CompileTest, AFolderThatSomeSystemsShowInPartIsToldOf) {
    for (const int count : {32'767, 32'768}) {
        ProjectFile made = EmptyProject();
        ProjectFile::Run folders;
        for (int i = 1; i <= count; ++i) {
            folders.push_back(Item(kRootFolder, made.giveFolderNumber("f"), std::to_string(i)));
            folders.back().setAccessPath(kProjectOnlyPath);
        }
        made.mergeChildren(kRootFolder, std::move(folders));
        CompileContext request = context(made);
        request.kind = ImageKind::Hfs;
        request.replace = true;
        messages_.shown.clear();
        EXPECT_EQ(CompileProject(request), CompileResult::Done);
        EXPECT_EQ(messages_.shown.size(), count > 32'767 ? 1u : 0u) << messages_.shown.back();
    }
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
            PcFile source(path, PcFile::Mode::Read);
            ASSERT_EQ(writer.copyFile(source, path, sizes[i], blockSize), CopyResult::Done);
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
