// `ls`, `tree` and `info`: what they show of images, against the folder that went in.
#include "reading/reading_bench.hpp"

namespace vellmark {
namespace {

using test::Names;
using test::ReadingTest;

class ListingTest : public ReadingTest {};

TEST_F(ListingTest, EveryTreeIsListedUnderItsHeading) {
    make("disc.iso");
    EXPECT_EQ(run({"ls", "disc.iso"}), 0) << err_;
    EXPECT_NE(out_.find("iso: MY_DISC (ISO 9660)\n"), std::string::npos) << out_;
    EXPECT_NE(out_.find("\njoliet: My disc (Joliet)\nBare\nRead Me.txt\nSub Folder\nempty\n"),
              std::string::npos)
        << out_;
    EXPECT_NE(out_.find("\nhfs: My disc (HFS)\nBare\nempty\nRead Me.txt\nSub Folder\n"),
              std::string::npos)
        << out_;
    EXPECT_EQ(run({"dir", "disc.iso", "--as", "hfs"}), 0) << err_;
    EXPECT_EQ(out_, "Bare\nempty\nRead Me.txt\nSub Folder\n") << "one tree has no heading";
}

TEST_F(ListingTest, APathMayBeWrittenInAnyWayAndMayNameAFile) {
    make("disc.iso", {"--hfsplus"});
    for (const char* path : {"Sub Folder", "/Sub Folder", "Sub Folder/", "//Sub Folder//"}) {
        EXPECT_EQ(run({"ls", "disc.iso", path, "--as", "hfs"}), 0) << err_;
        EXPECT_EQ(out_, "Deep\nlarge.bin\n") << path;
    }
    EXPECT_EQ(run({"ls", "disc.iso", "sub folder/LARGE.BIN", "--as", "hfs"}), 0) << err_;
    EXPECT_EQ(out_, "large.bin\n") << "as the volume compares names";
    EXPECT_EQ(run({"ls", "disc.iso", "Read Me.txt"}), 0) << err_;
    EXPECT_EQ(out_, "joliet: My disc (Joliet)\nRead Me.txt\n\nhfs: My disc (HFS+)\nRead Me.txt\n")
        << "the ISO tree has no such name";
    for (const char* path : {"Missing", "Read Me.txt/x", "Sub Folder/Missing/x"}) {
        EXPECT_EQ(run({"ls", "disc.iso", path}), 1);
        EXPECT_EQ(out_, "");
        EXPECT_NE(err_.find(std::string("has no ") + path + "."), std::string::npos) << err_;
    }
}

TEST_F(ListingTest, DetailsStandInColumns) {
    make("disc.iso", {"--kind", "hfs", "--hfsplus"});
    EXPECT_EQ(run({"ls", "disc.iso", "Sub Folder", "-lR"}), 0) << err_;
    std::istringstream lines(out_);
    Names names;
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("file"))
            names.push_back(line);
    EXPECT_EQ(names,
              (Names{"file        9  0  2020-05-06 07:08  TEXT/????  Sub Folder/Deep/caf\u00E9.txt",
                     "file    70000  0  2020-05-06 07:08  TEXT/????  Sub Folder/large.bin"}));
}

TEST_F(ListingTest, JsonTellsTheSameOfEveryTree) {
    for (const char* format : {"--hfsplus", "--postgap"}) {
        make("disc.iso", {"--force", format});
        for (const char* tree : {"joliet", "hfs"}) {
            const auto all = json({"ls", "disc.iso", "-R", "--as", tree});
            ASSERT_EQ(all["trees"].size(), 1u);
            EXPECT_EQ(all["trees"][0]["tree"], tree);
            Disk found;
            for (const auto& entry : all["trees"][0]["entries"]) {
                const bool folder = entry["kind"] == "folder";
                const std::string path = "./" + entry["path"].get<std::string>();
                EXPECT_TRUE(path.ends_with("/" + entry["name"].get<std::string>()));
                found[path + (folder ? "/" : "")] =
                    folder ? "" : std::to_string(entry["size"].get<std::uint64_t>());
                if (!folder) {
                    EXPECT_EQ(entry["modified"], "2020-05-06T07:08:10Z") << path;
                }
            }
            Disk expected = below("in");
            for (auto& [path, contents] : expected)
                contents = path.ends_with('/') ? "" : std::to_string(contents.size());
            EXPECT_EQ(found, expected) << tree << format;
        }
    }
}

TEST_F(ListingTest, TheTreeIsIndentedByLevels) {
    make("disc.iso");
    EXPECT_EQ(run({"tree", "disc.iso", "--as", "hfs"}), 0) << err_;
    EXPECT_EQ(out_,
              "/\n  Bare/\n  empty\n  Read Me.txt\n  Sub Folder/\n    Deep/\n      caf\u00E9.txt\n"
              "    large.bin\n");
    EXPECT_EQ(run({"tree", "disc.iso", "Sub Folder/Deep", "--as", "joliet"}), 0) << err_;
    EXPECT_EQ(out_, "Deep/\n  caf\u00E9.txt\n");
}

TEST_F(ListingTest, InfoCountsWhatIsThere) {
    make("disc.iso", {"--hfsplus"});
    const auto info = json({"info", "disc.iso"});
    EXPECT_EQ(info["sizeBytes"], std::filesystem::file_size("disc.iso"));
    EXPECT_EQ(info["partitions"].size(), 1u);
    ASSERT_EQ(info["trees"].size(), 3u);
    const char* formats[] = {"ISO 9660", "Joliet", "HFS+"};
    for (std::size_t i = 0; i < 3; ++i) {
        const auto& tree = info["trees"][i];
        EXPECT_EQ(tree["format"], formats[i]);
        EXPECT_EQ(tree["label"], i == 0 ? "MY_DISC" : "My disc");
        EXPECT_EQ(tree["files"], 4);
        EXPECT_EQ(tree["folders"], 3);
        EXPECT_EQ(tree["sizeBytes"], tree["blocks"].get<int>() * tree["blockSize"].get<int>());
    }
    EXPECT_EQ(info["trees"][2]["created"], "2001-09-09T01:46:40Z") << "the clock of the test";
    EXPECT_EQ(run({"info", "disc.iso", "--as", "hfs"}), 0);
    EXPECT_NE(out_.find("hfs: My disc (HFS+)"), std::string::npos) << out_;
    EXPECT_EQ(out_.find("joliet"), std::string::npos) << out_;
}

// A stream that takes no more, as a pipe whose reader went away.
class FullBuffer final : public std::stringbuf {
  protected:
    int_type overflow(int_type) override { return traits_type::eof(); }
    std::streamsize xsputn(const char*, std::streamsize) override {
        errno = error;
        return 0;
    }
    int sync() override {
        errno = error;
        return -1;
    }

  public:
    int error = 0;
};

TEST_F(ListingTest, AReaderThatWentAwayIsNoErrorButAFullDiskIs) {
    make("disc.iso");
    for (const int error : {EPIPE, ENOSPC})
        for (const char* verb : {"ls", "tree", "info"}) {
            FullBuffer buffer;
            buffer.error = error;
            std::ostream output(&buffer);
            std::ostringstream errors;
            std::istringstream input;
            CommandContext context{
                .input = input, .output = output, .errors = errors, .clock = clock_};
            const std::string line[] = {verb, "disc.iso"};
            EXPECT_EQ(RunProgram(line, context), 1);
            EXPECT_EQ(errors.str(),
                      error == EPIPE
                          ? ""
                          : "vellmark: The result cannot be written to standard output: No "
                            "space left on device.\n");
        }
}

}  // namespace
}  // namespace vellmark
