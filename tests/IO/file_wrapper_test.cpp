#include "IO/file_wrapper.hpp"

#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "IO/io_bench.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using testing::BytesOf;
using testing::MakeFile;
using testing::Pattern;
using testing::ReadFile;
using testing::RecordedProgress;

class FileWrapper : public ::testing::Test {
  protected:
    FileHandle open(const Bytes& bytes, const std::string& name = "file") {
        return FileHandle(
            std::make_shared<PcFile>(MakeFile(folder_, name, bytes), PcFile::Mode::ReadWrite));
    }
    Bytes contents(const std::string& name = "file") {
        return ReadFile(folder_.path() + "/" + name);
    }
    TemporaryFolder folder_;
};

TEST_F(FileWrapper, SeeksFromThreeOriginsAndRefusesWhatLiesBeforeTheStart) {
    FileHandle handle = open(Pattern(100));
    EXPECT_EQ(FileSeek64(handle, 40, SeekOrigin::Start), 40);
    EXPECT_EQ(FileSeek64(handle, -15, SeekOrigin::Current), 25);
    EXPECT_EQ(FileSeek64(handle, -1, SeekOrigin::End), 99);
    EXPECT_EQ(FileSeek64(handle, 0x1'2345'6789, SeekOrigin::End), 0x1'2345'6789 + 100);
    EXPECT_EQ(FileSeek64(handle, -101, SeekOrigin::End), -1);
    EXPECT_EQ(FileSeek64(handle, std::numeric_limits<std::int64_t>::max(), SeekOrigin::End), -1);
    EXPECT_EQ(FileTell64(handle), 0x1'2345'6789 + 100) << "a refused seek moves nothing";
    FileRewind(handle);
    EXPECT_EQ(FileTell64(handle), 0);
    EXPECT_EQ(FileSize64(handle), 100);
}

TEST_F(FileWrapper, AClosedHandleGivesFailuresAndNoBytes) {
    FileHandle handle(std::make_shared<PcFile>(folder_.path() + "/none", PcFile::Mode::Read));
    std::array<char, 8> line{};
    EXPECT_EQ(FileSize64(handle), -1);
    EXPECT_EQ(FileTell64(handle), -1);
    EXPECT_EQ(FileSeek64(handle, 0, SeekOrigin::Start), -1);
    EXPECT_EQ(FileReadByte(handle), -1);
    EXPECT_FALSE(FileReadLine(line, handle));
    EXPECT_EQ(FileFindString(handle, "a"), -1);
    EXPECT_EQ(FileWriteString("a", handle), 0u);
    EXPECT_FALSE(FileMoveWithin(handle, 0, 1));
    EXPECT_FALSE(FileSetSize64(handle, 1));
    EXPECT_FALSE(FileFlush(handle));
}

TEST_F(FileWrapper, ReadAndWriteReturnTheBytesDividedByTheCount) {
    FileHandle handle = open(BytesOf("0123456789"));
    Bytes buffer(20);
    EXPECT_EQ(FileRead(buffer, 4, 1, handle), 4u) << "a count of 1 gives bytes";
    EXPECT_EQ(FileRead(buffer, 2, 2, handle), 2u) << "a count of n gives the size";
    EXPECT_EQ(FileRead(buffer, 4, 2, handle), 1u) << "2 bytes read, divided by 2";
    EXPECT_EQ(FileRead(buffer, 4, 0, handle), 0u);
    EXPECT_EQ(FileRead(buffer, 21, 1, handle), 0u) << "more than the buffer holds";
    EXPECT_EQ(FileRead(buffer, std::numeric_limits<std::size_t>::max() / 2 + 1, 2, handle), 0u);
    EXPECT_EQ(FileWrite(BytesOf("abcdef"), 3, 2, handle), 3u);
    EXPECT_EQ(FileWriteString("xyz", handle), 3u);
    EXPECT_TRUE(FileFlush(handle));
    EXPECT_EQ(contents(), BytesOf("0123456789abcdefxyz"));
}

TEST_F(FileWrapper, WritingToAFileOpenForReadingReportsNothingWritten) {
    FileHandle handle(
        std::make_shared<PcFile>(MakeFile(folder_, "r", BytesOf("old")), PcFile::Mode::Read));
    EXPECT_EQ(FileWriteString("new", handle), 0u);
    EXPECT_EQ(FileTell64(handle), 0);
    EXPECT_NE(handle.file().error(), 0);
}

TEST_F(FileWrapper, SetSizeKeepsAPositionBeforeTheNewEndOnly) {
    FileHandle handle = open(Pattern(100));
    handle.position = 30;
    EXPECT_TRUE(FileSetSize64(handle, 50));
    EXPECT_EQ(FileTell64(handle), 30);
    EXPECT_TRUE(FileSetSize64(handle, 20));
    EXPECT_EQ(FileTell64(handle), 20);
    EXPECT_TRUE(FileSetSize64(handle, 60));
    EXPECT_EQ(FileTell64(handle), 20);
    EXPECT_EQ(FileSize64(handle), 60);
    EXPECT_FALSE(FileSetSize64(handle, std::numeric_limits<std::uint64_t>::max()));
}

TEST_F(FileWrapper, LinesEndAtEveryKindOfEnding) {
    struct Case {
        std::string_view text;
        std::vector<std::string_view> lines;
    };
    const std::string longLine(1000, 'a');
    const std::string longText = longLine + "\r\nz";
    const std::string longFirst = longLine + "\r\n";
    // An ending whose second byte is the first of the next piece that is read.
    const std::string atPiece = std::string(255, 'b') + "\r\nq";
    const std::string atPieceFirst = std::string(255, 'b') + "\r\n";
    const std::vector<Case> cases = {
        {"a\nb", {"a\n", "b"}},
        {"a\r\nb\r\n", {"a\r\n", "b\r\n"}},
        {"a\n\rb", {"a\n\r", "b"}},
        {"a\rb", {"a\r", "b"}},
        {"\n\nb", {"\n", "\n", "b"}},
        {"\r\r\n", {"\r", "\r\n"}},
        {"", {}},
        {longText, {longFirst, "z"}},
        {atPiece, {atPieceFirst, "q"}},
    };
    for (const Case& c : cases) {
        FileHandle handle = open(BytesOf(c.text));
        std::vector<char> buffer(2048);
        std::vector<std::string> lines;
        while (const auto line = FileReadLine(buffer, handle)) {
            EXPECT_EQ(buffer[line->size()], '\0');
            lines.emplace_back(*line);
        }
        EXPECT_EQ(lines, std::vector<std::string>(c.lines.begin(), c.lines.end())) << c.text;
    }
}

TEST_F(FileWrapper, ALineLongerThanTheBufferComesInParts) {
    FileHandle handle = open(BytesOf("abcdef\n"));
    std::array<char, 4> buffer{};
    EXPECT_EQ(FileReadLine(buffer, handle), "abc");
    EXPECT_EQ(FileReadLine(buffer, handle), "def");
    EXPECT_EQ(FileReadLine(buffer, handle), "\n");
    EXPECT_EQ(FileReadLine(buffer, handle), std::nullopt);
    EXPECT_EQ(FileReadLine(std::span(buffer).first(1), handle), std::nullopt);
}

TEST_F(FileWrapper, ReadsSingleBytesToTheEnd) {
    FileHandle handle = open({0xFF, 0});
    EXPECT_EQ(FileReadByte(handle), 0xFF);
    EXPECT_EQ(FileReadByte(handle), 0);
    EXPECT_EQ(FileReadByte(handle), -1);
}

TEST_F(FileWrapper, FindsATextThatLiesAcrossTwoPieces) {
    for (const std::size_t at : {0u, 5u, 65'533u, 65'535u, 65'536u, 131'070u}) {
        Bytes bytes(200'000, 'k');
        testing::PutText(bytes, at, "koly");
        FileHandle handle = open(bytes);
        EXPECT_EQ(FileFindString(handle, "koly"), static_cast<std::int64_t>(at));
        EXPECT_EQ(FileTell64(handle), static_cast<std::int64_t>(at));
        handle.position = at + 1;
        EXPECT_EQ(FileFindString(handle, "koly"), -1) << "behind the only one";
        EXPECT_EQ(FileTell64(handle), 200'000);
    }
    // A first byte that matches in vain must not hide the occurrence that begins behind it.
    FileHandle handle = open(BytesOf("kkoly"));
    EXPECT_EQ(FileFindString(handle, "koly"), 1);
}

// The model is a copy in memory. An overlap is where a plain forward copy would read its own
// output, and the size is taken beyond one piece of the copy.
TEST_F(FileWrapper, MovesRangesWhicheverWayTheyOverlap) {
    constexpr std::size_t kSize = (2u << 20) + 777;
    struct Case {
        std::size_t target, source;
    };
    for (const Case c : {Case{0, 1000}, Case{1000, 0}, Case{10, 1'500'000}, Case{5, kSize},
                         Case{kSize, kSize - 5}, Case{1'500'000, 10}}) {
        const Bytes before = Pattern(kSize);
        FileHandle handle = open(before);
        ASSERT_TRUE(FileMoveWithin(handle, c.target, c.source));
        Bytes expected = before;
        const Bytes moved(before.begin() + static_cast<std::ptrdiff_t>(c.source), before.end());
        expected.resize(std::max(expected.size(), c.target + moved.size()));
        std::copy(moved.begin(), moved.end(),
                  expected.begin() + static_cast<std::ptrdiff_t>(c.target));
        EXPECT_TRUE(contents() == expected) << c.target << " <- " << c.source;
        EXPECT_EQ(handle.position, c.target + moved.size());
    }
}

TEST(CopyPiece, GrowsWithTheTotal) {
    struct Case {
        std::uint64_t total;
        std::size_t piece;
    };
    for (const Case c : {Case{1, 256u << 10}, Case{524'288, 256u << 10}, Case{524'289, 512u << 10},
                         Case{1'048'577, 1u << 20}, Case{4'194'305, 2u << 20},
                         Case{8'388'609, 3u << 20}, Case{1ull << 40, 3u << 20}})
        EXPECT_EQ(CopyPieceBytes(c.total), c.piece) << c.total;
}

TEST_F(FileWrapper, CopiesFromPositionToPosition) {
    FileHandle source = open(Pattern(1000), "source");
    FileHandle target = open(BytesOf("head"), "target");
    source.position = 100;
    target.position = 4;
    RecordedProgress progress;
    EXPECT_EQ(FileCopyStream(source, target, 600, progress), StreamResult::Done);
    EXPECT_EQ(progress.steps, 0) << "a short copy has no chunks";
    EXPECT_EQ(progress.counted, 600u);
    const Bytes copied = contents("target");
    ASSERT_EQ(copied.size(), 604u);
    EXPECT_TRUE(std::equal(copied.begin() + 4, copied.end(), Pattern(1000).begin() + 100));
    EXPECT_EQ(FileCopyStream(source, target, 301, progress), StreamResult::ShortRead)
        << "the source holds 300 more";
    EXPECT_EQ(contents("target").size(), 904u) << "what was there is copied";
}

TEST_F(FileWrapper, ALongCopyTellsItsChunksAndCanBeStopped) {
    constexpr std::uint64_t kTotal = 10 * (3u << 20) + 1;
    auto sparse = std::make_shared<PcFile>(folder_.path() + "/s", PcFile::Mode::CreateNew);
    ASSERT_TRUE(sparse->setSize(kTotal));
    FileHandle source(sparse);
    FileHandle target = open({}, "t");
    RecordedProgress progress;
    EXPECT_EQ(FileCopyStream(source, target, kTotal, progress), StreamResult::Done);
    EXPECT_EQ(progress.steps, 11);
    EXPECT_EQ(progress.counted, kTotal);
    EXPECT_EQ(FileSize64(target), static_cast<std::int64_t>(kTotal));
    FileRewind(source);
    RecordedProgress stopping(2);
    EXPECT_EQ(FileCopyStream(source, target, kTotal, stopping), StreamResult::Stopped);
    EXPECT_EQ(stopping.chunks, 2);
}

TEST_F(FileWrapper, ACopyOntoAFileThatTakesNothingIsAShortWrite) {
    FileHandle source = open(Pattern(10), "source");
    FileHandle target(std::make_shared<PcFile>(MakeFile(folder_, "r", {}), PcFile::Mode::Read));
    RecordedProgress progress;
    EXPECT_EQ(FileCopyStream(source, target, 10, progress), StreamResult::ShortWrite);
}

}  // namespace
}  // namespace vellmark
