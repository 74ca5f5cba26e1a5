// Builds: what they settle, what ends them, and what they leave behind.
#include "compiler/build_project.hpp"

#include <algorithm>

#include "compiler/catalog_growth.hpp"
#include "compiler/compiler_bench.hpp"
#include "compiler/image_writer.hpp"

namespace vellmark::test {
namespace {

using namespace std::string_literals;
using BuildTest = CompilerTest;

TEST_F(BuildTest, WhatCannotBeBuiltEndsWithItsNameAndNoImage) {
    write("a.txt", "1");
    ProjectFile made = project();
    request_.tableFolder = out() + "/missing";
    expectFailure(made, CompileResult::TablesFailed, "Errors while creating temporary files");
    request_.tableFolder.clear();
    progress_.stop = true;
    expectFailure(made, CompileResult::Aborted, "aborted at your request");
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

TEST_F(BuildTest, TheKindSettlesTheModeAndALookTellsItBeforehand) {
    write(".!Background/a.txt", "first");
    using enum ImageKind;
    constexpr const char* kIsoAlone = "Disc  5 1/1 0/0";
    constexpr const char* kMacAlone = " Disc 5 0/0 1/1";
    const struct {
        ImageKind kind;
        bool plus;
        int iso, hfs;
        std::optional<CompileMode> mode;
        const char* told = "Disc Disc 5 1/1 1/1";  // labels, bytes, folders and files
    } rows[] = {{Hybrid, false, 1, 1, CompileMode::HybridHfs},
                {Hybrid, true, 1, 1, CompileMode::HybridHfsPlus},
                {Iso, true, 1, 1, CompileMode::PureIso, kIsoAlone},
                {Hfs, false, 1, 1, CompileMode::PureHfs, kMacAlone},
                {Hfs, true, 1, 1, CompileMode::PureHfsPlus, kMacAlone},
                // Only a hybrid with an empty side becomes the other alone.
                {Hybrid, false, 1, 0, CompileMode::PureIso, kIsoAlone},
                {Hybrid, false, 0, 1, CompileMode::PureHfs, kMacAlone},
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
        if (!row.mode) {
            expectFailure(made, CompileResult::Empty, "would be empty");
            continue;
        }
        Build looked(made, request_, ports_);
        ASSERT_EQ(looked.prepare(), CompileResult::Done);
        const BuildSummary told = looked.summary();
        EXPECT_EQ(told.mode, *row.mode);
        EXPECT_EQ(fmt::format("{} {} {} {}/{} {}/{}", told.isoLabel, told.macLabel,
                              told.sourceBytes, told.iso.folders, told.iso.files,
                              told.macintosh.folders, told.macintosh.files),
                  row.told);
        EXPECT_TRUE(filesInOut().empty()) << "a look writes nothing";
        ASSERT_EQ(looked.write(), CompileResult::Done);
        const std::string image = Bytes(request_.targetPath);
        EXPECT_EQ(image.size(), told.imageBytes);
        if (told.mode == CompileMode::PureIso)
            continue;
        // The partition of HFS ends with its second header, two sectors before the image.
        EXPECT_EQ(image.substr(0, 8), "ER\2\0"s + Big(image.size() / 512 - (row.plus ? 0 : 2)));
        // Behind the key of the root, where its window opens; a background folder's number.
        const std::string root = row.plus ? "\0\0\0\1\0\4\0D\0i\0s\0c"s : "\0\0\0\1\4Disc\0"s;
        EXPECT_EQ(image.substr(image.find(root) + root.size() + (row.plus ? 58 : 32), 4),
                  "\0\x70\x02\x48"s);
        const std::string folder = row.plus ? "\0\0\0\2\0\xC\0.\0!\0B\0a\0c\0k\0g\0r\0o\0u\0n\0d"s
                                            : "\0\0\0\2\xC.!Background"s;
        EXPECT_EQ(image.substr(image.find(folder) + folder.size() + (row.plus ? 8 : 7), 4),
                  Big(17));
    }
}

TEST_F(BuildTest, AnUntitledProjectIsNamedAfterItsImageWhereItsLettersAllowThat) {
    write("a.txt", "first");
    const struct {
        const char *kept, *image, *label;
        bool settled, told;
    } rows[] = {{"Untitled", "disc.2", "disc.2", true, false},
                {"Sans titre", "\u65E5\u672C", "Sans titre", false, true},
                {"", "disc", "Sans titre", false, false}};
    messages_.spoken = Language::French;
    for (const auto& row : rows) {
        ProjectFile made = project();
        made.header().setIsoLabel(row.kept);
        made.header().setHfsLabel(row.kept);
        request_.targetPath = out() + "/" + row.image + ".iso";
        messages_.shown.clear();
        EXPECT_EQ(build(made).settled.any(), row.settled) << "what was never given is not kept";
        EXPECT_EQ(made.header().isoLabel(), row.label);
        EXPECT_EQ(made.header().hfsLabel(), row.label);
        EXPECT_EQ(messages_.shown.size(), row.told ? 1u : 0u) << row.image;
    }
}

// Nor does an image of HFS alone take a fork of 2 GiB, and it has nothing to turn to.
TEST_F(BuildTest, AForkTooLargeForHfsTurnsTheProjectToHfsPlus) {
    write("huge.bin", "");
    using enum ImageKind;
    const std::tuple<std::uint64_t, ImageKind, CompileResult> rows[] = {
        {2'200'000'000, Hybrid, CompileResult::Done},
        {0x7FFFFFFF, Hfs, CompileResult::Done},
        {0x80000000, Hfs, CompileResult::CopyFailed}};
    for (const auto& [size, kind, result] : rows) {
        std::filesystem::resize_file(tree() + "/huge.bin", size);  // a hole
        ProjectFile made = project();
        request_.kind = kind;
        Build looked(made, request_, ports_);
        EXPECT_EQ(looked.prepare(), result);
        EXPECT_EQ(looked.settled().becameHfsPlus, kind == Hybrid);
        EXPECT_EQ(made.header().isHfsPlus(), kind == Hybrid);
    }
    EXPECT_NE(messages_.shown.back().find("huge.bin: A fork of 2 GiB"), std::string::npos);
}

TEST_F(BuildTest, FoldersBeyondWhatAFormatOrSomeSystemsHoldAreRefusedOrTold) {
    const struct {
        int folders;
        ImageKind kind;
        CompileResult result;
        const char* told;
    } rows[] = {{32'768, ImageKind::Hfs, CompileResult::Done, "more than 32,767 items"},
                {65'535, ImageKind::Iso, CompileResult::CopyFailed, "65536 folders"}};
    for (const auto& row : rows) {
        ProjectFile made = EmptyProject(row.kind == ImageKind::Iso);
        ProjectFile::Run folders;
        for (int i = 0; i < row.folders; ++i)
            folders.push_back(Item(1, 18 + i, std::to_string(i), 1, 1, kProjectOnlyPath));
        made.mergeChildren(kRootFolder, std::move(folders));
        request_.kind = row.kind;
        messages_.shown.clear();
        Build looked(made, request_, ports_);
        EXPECT_EQ(looked.prepare(), row.result) << row.folders;
        ASSERT_EQ(messages_.shown.size(), 1u) << row.folders;
        EXPECT_NE(messages_.shown[0].find(row.told), std::string::npos);
    }
}

TEST(CatalogGrowth, ACatalogThatDoesNotFitIsLaidOutWithMoreRoom) {
    for (const bool fits : {true, false}) {
        std::vector<std::uint32_t> tried;
        const auto build = [&](std::uint32_t leaves) {
            tried.push_back(leaves);
            return fits && leaves > 5 ? TreeResult::Done : TreeResult::Full;
        };
        EXPECT_EQ(GrowUntilItFits(1, build), fits ? TreeResult::Done : TreeResult::Full);
        EXPECT_EQ(tried.size() == 8, !fits) << "it ends";
        EXPECT_TRUE(std::is_sorted(tried.begin(), tried.end(), std::less_equal<>{}));
    }
}

TEST(ImageWriterTest, FilesGoToTheirPlacesAroundTheBuffersEnd) {
    // Sizes that make files end just before, at and behind the end of the 2 MiB buffer, and gaps
    // that end behind it. From an empty buffer on, blocks of 6144 bytes leave 2048 of it.
    const std::uint32_t sizes[] = {1,         2047, 2048,      2049, 2'000'000, 90'000, 1'900'000,
                                   2'097'152, 7,    5'000'000, 3,    2'088'960, 5,      9};
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/source";
    for (const std::uint32_t blockSize : {2048u, 6144u}) {
        PcFile image(folder.path() + "/image", PcFile::Mode::CreateTruncate);
        Progress progress;
        ImageWriter writer(image, progress);
        std::string expected;
        for (const std::uint32_t size : sizes) {
            const std::size_t place = (expected.size() / blockSize + 1) * blockSize;
            const std::string content(size, static_cast<char>('a' + size % 26));
            Write(path, content);
            PcFile source(path, PcFile::Mode::Read);
            ASSERT_EQ(writer.copyFile(source, path, place, size), CopyResult::Done);
            expected.resize(place);
            expected += content;
            EXPECT_EQ(writer.copyFile(source, path, place + size - 1, 1), CopyResult::PlaceTaken);
        }
        ASSERT_EQ(writer.finish(), CopyResult::Done);
        EXPECT_TRUE(Bytes(folder.path() + "/image") == expected) << blockSize;
    }
}

}  // namespace
}  // namespace vellmark::test
