// Builds: what they settle, what ends them, and what they leave behind.
#include "compiler/build_project.hpp"

#include <algorithm>

#include "compiler/catalog_growth.hpp"
#include "compiler/compiler_bench.hpp"
#include "compiler/image_writer.hpp"

namespace vellmark::test {
namespace {

class BuildTest : public CompilerTest {
  protected:
    // A build that must fail, name `named`, and leave the folder of the image as it was.
    void expectFailure(ProjectFile& made, CompileResult expected, const std::string& named) {
        const std::vector<std::string> before = filesIn(out());
        EXPECT_EQ(build(made).result, expected);
        ASSERT_FALSE(messages_.shown.empty());
        EXPECT_NE(messages_.shown.back().find(named), std::string::npos) << messages_.shown.back();
        EXPECT_EQ(filesIn(out()), before);
    }
};

TEST_F(BuildTest, WhatCannotBeBuiltEndsWithItsNameAndNoImage) {
    ProjectFile empty = project();
    expectFailure(empty, CompileResult::Empty, "contains no files");
    write("sub/goes.txt", "1");
    ProjectFile made = project();
    request_.targetPath = folder_.path() + "/tree/../test.vlpr";
    ASSERT_TRUE(made.save(messages_));
    expectFailure(made, CompileResult::TargetFailed, "would replace its own project");
    request_.targetPath = out() + "/disc.iso";
    request_.tableFolder = out() + "/missing";
    expectFailure(made, CompileResult::TablesFailed, "Errors while creating temporary files");
    progress_.onFile = [&](std::string_view) { std::filesystem::remove(tree() + "/sub/goes.txt"); };
    request_.tableFolder.clear();
    progress_.stop = true;
    expectFailure(made, CompileResult::Aborted, "aborted at your request");
    expectFailure(made, CompileResult::CopyFailed, "sub/goes.txt is not there any more");
}

TEST_F(BuildTest, AFileThatChangesWhileItIsCopiedEndsTheBuildWithItsName) {
    // Small files are read in one piece, large ones in chunks: both ways are taken. What changes
    // when another file is begun changes between the plan and its own copy.
    for (const std::size_t size : {std::size_t{5000}, std::size_t{6 << 20}})
        for (const std::size_t newSize : {std::size_t{0}, size / 2, size, size + 1})
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

TEST_F(BuildTest, TheKindSettlesTheModeAndItsSteps) {
    write("sub/a.txt", "first");
    const std::string folders = "Entry point of creation_volume;Entry point of creation_volume;";
    using enum ImageKind;
    const struct {
        ImageKind kind;
        bool plus;
        int iso, hfs;
        std::optional<CompileMode> mode;
        std::string steps = {};
    } rows[] = {
        {Hybrid, false, 1, 1, CompileMode::HybridHfs,
         "Creating the ISO file;Computing the ISO catalog;Computing the HFS catalog;Creating the "
         "temp files;Creating the hybrid image;" +
             folders + "Copying the temp. HFS files;Copying the temp. ISO files;"},
        {Hybrid, true, 1, 1, CompileMode::HybridHfsPlus,
         "Creating the ISO file;Computing the ISO catalog;Computing the HFS+ catalog;Creating the "
         "temp files;Creating the hybrid image;" +
             folders + "Copying the temp files;Copying the temp. files;"},
        {Iso, true, 1, 1, CompileMode::PureIso,
         "Creating the ISO file;Computing the ISO catalog;Creating the temp files;Creating the ISO "
         "image;" +
             folders + "Copying the temp. ISO files;"},
        {Hfs, false, 1, 1, CompileMode::PureHfs,
         "Creating the HFS file;Computing the HFS catalog;Creating the HFS image;" + folders +
             "Copying the temp. HFS files;"},
        {Hfs, true, 1, 1, CompileMode::PureHfsPlus,
         "Creating the HFS+ file;Computing the HFS+ catalog;Creating the HFS+ image;" + folders +
             "Copying the temp files;"},
        // Only a hybrid with an empty side becomes the other alone.
        {Hybrid, false, 1, 0, CompileMode::PureIso},
        {Hybrid, false, 0, 1, CompileMode::PureHfs},
        {Iso, false, 1, 0, CompileMode::PureIso},
        {Iso, false, 0, 1, std::nullopt},
        {Hfs, false, 1, 0, std::nullopt}};
    for (const auto& row : rows) {
        ProjectFile made = project(row.plus);
        made.changeRuns([&](std::span<ProjectRecord> run) {
            for (ProjectRecord& record : run) {
                record.setIsoInclusion(row.iso);
                record.setHfsInclusion(row.hfs);
            }
        });
        std::filesystem::remove(request_.targetPath);
        request_.kind = row.kind;
        progress_.steps.clear();
        const BuildOutcome outcome = build(made);
        EXPECT_EQ(outcome.result, row.mode ? CompileResult::Done : CompileResult::Empty);
        EXPECT_EQ(std::filesystem::exists(request_.targetPath), row.mode.has_value());
        if (!row.mode) {
            EXPECT_NE(messages_.shown.back().find("would be empty"), std::string::npos);
            continue;
        }
        EXPECT_EQ(outcome.summary.mode, *row.mode);
        EXPECT_EQ(std::filesystem::file_size(request_.targetPath), outcome.summary.imageBytes);
        EXPECT_TRUE(row.steps.empty() || progress_.steps == row.steps) << progress_.steps;
    }
}

TEST_F(BuildTest, ALookBeforehandTellsWhatIsBuiltAndWritesNothing) {
    write("sub/a.txt", std::string(5000, 'a'));
    write("b.txt", "second");
    ProjectFile made = project();
    made.header().setIsoLabel("Untitled");
    made.findByNumber(ByName(made, kRootFolder).at("b.txt").number)->setHfsInclusion(0);
    request_.postgap = true;
    Build looked(made, request_, ports_);
    ASSERT_EQ(looked.prepare(), CompileResult::Done);
    const BuildSummary summary = looked.summary();
    EXPECT_TRUE(filesIn(out()).empty());
    EXPECT_EQ(summary.isoLabel, "disc");
    EXPECT_EQ(summary.macLabel, "Disc");
    EXPECT_EQ(summary.sourceBytes, 5006u);
    EXPECT_EQ(summary.blockBytes, 2048u);
    EXPECT_EQ(std::pair(summary.iso.folders, summary.iso.files), std::pair(1u, 2u));
    EXPECT_EQ(std::pair(summary.macintosh.folders, summary.macintosh.files), std::pair(1u, 1u));
    EXPECT_TRUE(looked.settled().isLabelled);
    ASSERT_EQ(looked.write(), CompileResult::Done);
    EXPECT_EQ(std::filesystem::file_size(request_.targetPath), summary.imageBytes);
}

TEST_F(BuildTest, AnUntitledProjectIsNamedAfterItsImageWhereItsLettersAllowThat) {
    write("a.txt", "first");
    const struct {
        const char *kept, *image, *label;
        bool settled, told;
    } rows[] = {{"Untitled", "disc", "disc", true, false},
                {"Sans titre", "disc.2", "disc.2", true, false},
                {"Disc", "other", "Disc", false, false},
                {"Sans titre", "\u65E5\u672C", "Sans titre", false, true},
                {"Untitled", "a\nb", "Sans titre", false, true},
                {"", "disc", "Sans titre", false, false}};
    messages_.spoken = Language::French;
    for (const auto& row : rows) {
        ProjectFile made = project();
        made.header().setIsoLabel(row.kept);
        made.header().setHfsLabel(row.kept);
        request_.targetPath = out() + "/" + row.image + ".iso";
        messages_.shown.clear();
        const BuildOutcome outcome = build(made);
        ASSERT_EQ(outcome.result, CompileResult::Done);
        EXPECT_EQ(made.header().isoLabel(), row.label);
        EXPECT_EQ(made.header().hfsLabel(), row.label);
        EXPECT_EQ(outcome.settled.any(), row.settled) << "a label that was never given is not kept";
        EXPECT_EQ(messages_.shown.size(), row.told ? 1u : 0u) << row.image;
        std::filesystem::remove(request_.targetPath);
    }
}

TEST_F(BuildTest, AForkTooLargeForHfsTurnsTheProjectToHfsPlus) {
    write("huge.bin", "");
    const auto prepared = [&](std::uint64_t size, ImageKind kind) {
        std::filesystem::resize_file(tree() + "/huge.bin", size);  // a hole
        ProjectFile made = project();
        request_.kind = kind;
        Build looked(made, request_, ports_);
        EXPECT_EQ(looked.prepare(), kind == ImageKind::Hfs && size > 0x7FFFFFFF
                                        ? CompileResult::CopyFailed
                                        : CompileResult::Done);
        EXPECT_EQ(made.header().isHfsPlus(), looked.settled().becameHfsPlus);
        return looked.settled().becameHfsPlus;
    };
    EXPECT_TRUE(prepared(2'200'000'000, ImageKind::Hybrid));
    // Nor does an image of HFS alone take a fork of 2 GiB, and it has nothing to turn to.
    EXPECT_FALSE(prepared(0x7FFFFFFF, ImageKind::Hfs));
    EXPECT_FALSE(prepared(0x80000000, ImageKind::Hfs));
    EXPECT_NE(messages_.shown.back().find("huge.bin: A fork of 2 GiB"), std::string::npos);
}

TEST_F(BuildTest, FoldersBeyondWhatAFormatOrSomeSystemsHoldAreRefusedOrTold) {
    const struct {
        int folders;
        ImageKind kind;
        CompileResult result;
        const char* told;
    } rows[] = {{32'767, ImageKind::Hfs, CompileResult::Done, ""},
                {32'768, ImageKind::Hfs, CompileResult::Done, "more than 32,767 items"},
                {65'534, ImageKind::Iso, CompileResult::Done, ""},
                {65'535, ImageKind::Iso, CompileResult::CopyFailed, "65536 folders"}};
    for (const auto& row : rows) {
        ProjectFile made = EmptyProject(true);
        made.header().setHfsPlus(row.kind == ImageKind::Iso);
        ProjectFile::Run folders;
        for (int i = 1; i <= row.folders; ++i) {
            folders.push_back(Item(kRootFolder, made.giveFolderNumber("f"), std::to_string(i)));
            folders.back().setAccessPath(kProjectOnlyPath);
        }
        made.mergeChildren(kRootFolder, std::move(folders));
        request_.kind = row.kind;
        messages_.shown.clear();
        Build looked(made, request_, ports_);
        EXPECT_EQ(looked.prepare(), row.result) << row.folders;
        ASSERT_EQ(messages_.shown.size(), *row.told ? 1u : 0u) << row.folders;
        EXPECT_TRUE(!*row.told || messages_.shown[0].find(row.told) != std::string::npos)
            << messages_.shown[0];
    }
}

TEST_F(BuildTest, ACatalogThatDoesNotFitIsLaidOutWithMoreRoom) {
    for (int i = 0; i < 300; ++i)
        write(std::to_string(i) + " with a long name", "x");
    ProjectFile made = project();
    DiscPlan plan = planOf(made, CompileMode::HybridHfs);
    CompileContext context{made, request_, messages_, progress_, clock_};
    const std::uint64_t blocks = PlaceFiles(plan, 2048);
    std::vector<std::uint32_t> tried;
    HfsLayout layout;
    std::optional<MemoryNodes> nodes;
    BuiltCatalog catalog;
    EXPECT_EQ(GrowUntilItFits(1,
                              [&](std::uint32_t leaves) {
                                  tried.push_back(leaves);
                                  layout = ComputeHfsLayout(64, leaves, blocks, 2048);
                                  nodes.emplace(NewNodeSize(false));
                                  return BuildCatalog(context, plan, layout, *nodes, catalog);
                              }),
              TreeResult::Done);
    EXPECT_GT(tried.size(), 1u);
    EXPECT_TRUE(std::is_sorted(tried.begin(), tried.end(), std::less_equal<>{}));
    EXPECT_EQ(catalog.fileCount, 300u);
    int rounds = 0;
    EXPECT_EQ(GrowUntilItFits(1, [&](std::uint32_t) { return ++rounds, TreeResult::Full; }),
              TreeResult::Full);
    EXPECT_EQ(rounds, 8) << "it ends";
}

TEST(ImageWriterTest, FilesGoToTheirPlacesAroundTheBuffersEnd) {
    // Sizes that make files end just before, at and behind the end of the 2 MiB buffer, and gaps
    // that end behind it.
    const TemporaryFolder folder;
    const std::string target = folder.path() + "/image";
    const std::vector<std::uint32_t> sizes = {
        1, 2047, 2048, 2049, 2'000'000, 90'000, 1'900'000, 2'097'152, 7,
        // From an empty buffer on: blocks of 6144 bytes leave 2048 of it, and 5 of those are full.
        5'000'000, 3, 2'088'960, 5, 9};
    for (const std::uint32_t blockSize : {2048u, 6144u}) {
        PcFile image(target, PcFile::Mode::CreateTruncate);
        Progress progress;
        ImageWriter writer(image, progress);
        std::string expected(4096, '\0');
        std::uint64_t place = 4096;
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            const std::string path = folder.path() + "/" + std::to_string(i);
            const std::string content(sizes[i], static_cast<char>('a' + i));
            Write(path, content);
            PcFile source(path, PcFile::Mode::Read);
            ASSERT_EQ(writer.copyFile(source, path, place, sizes[i]), CopyResult::Done);
            expected.resize(place);
            expected += content;
            EXPECT_EQ(writer.copyFile(source, path, place + sizes[i] - 1, 1),
                      CopyResult::PlaceTaken);
            place += (sizes[i] + blockSize - 1) / blockSize * blockSize;
        }
        ASSERT_EQ(writer.finish(), CopyResult::Done);
        EXPECT_TRUE(Bytes(target) == expected) << blockSize;
    }
}

}  // namespace
}  // namespace vellmark::test
