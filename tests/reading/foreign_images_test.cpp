// Images that other programs made: what is listed and taken out is what went in.
#include "reading/reading_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::ReadingTest;
using test::Write;

class ForeignImageTest : public ReadingTest {
  protected:
    void expectSource(const std::string& image, const char* tree) {
        const std::string out = image + "." + tree;
        EXPECT_EQ(run({"get", image, "/", "--as", tree, "-o", out}), 0) << err_;
        EXPECT_EQ(err_, "");
        expectSame(out, "in");
    }
};

TEST_F(ForeignImageTest, HybridsOfGenisoimage) {
    if (!test::HasProgram("genisoimage"))
        GTEST_SKIP() << "genisoimage is not installed";
    fs::remove("in/Sub Folder/Deep/caf\u00E9.txt");  // it knows no UTF-8
    ASSERT_TRUE(
        test::Shell("genisoimage -hfs -J -l -quiet -V Theirs "
                    "-hfs-volid Theirs -o disc.iso in"));
    expectSource("disc.iso", "joliet");
    EXPECT_EQ(run({"ls", "disc.iso", "Sub Folder", "--as", "hfs"}), 0) << err_;
    EXPECT_EQ(out_, "Deep\nlarge.bin\n");
    EXPECT_EQ(run({"get", "disc.iso", "Sub Folder/large.bin", "--as", "hfs", "-o", "a"}), 0);
    EXPECT_EQ(run({"get", "disc.iso", "SUB_FOLDER/LARGE.BIN", "--as", "iso", "-o", "b"}), 0);
    EXPECT_TRUE(test::Bytes("a") == test::Pattern(70'000));
    EXPECT_TRUE(test::Bytes("b") == test::Pattern(70'000));
    EXPECT_EQ(run({"info", "disc.iso"}), 0) << err_;
    EXPECT_NE(out_.find("hfs: Theirs (HFS)"), std::string::npos) << out_;
}

TEST_F(ForeignImageTest, HybridsOfXorriso) {
    if (!test::HasProgram("xorriso"))
        GTEST_SKIP() << "xorriso is not installed";
    ASSERT_TRUE(test::Shell(
        "LC_ALL=C.UTF-8 xorriso -as mkisofs -J -joliet-long -hfsplus -V Theirs -o disc.iso in"));
    expectSource("disc.iso", "joliet");
    expectSource("disc.iso", "hfs");
}

TEST_F(ForeignImageTest, AnAssociatedFileIsTheResourceForkOfItsFile) {
    if (!test::HasProgram("genisoimage"))
        GTEST_SKIP() << "genisoimage is not installed";
    // AppleDouble: the second file holds entry 2, the resource fork, of 5 bytes.
    Write("ad/note.txt", "data");
    Write("ad/._note.txt",
          std::string("\x00\x05\x16\x07\x00\x02\x00\x00", 8) + std::string(16, '\0') +
              std::string("\x00\x01\x00\x00\x00\x02\x00\x00\x00\x26\x00\x00\x00\x05", 14) +
              "forky");
    ASSERT_TRUE(test::Shell("genisoimage -apple -r --osx-double -quiet -o ad.iso ad"));
    const auto entries = json({"ls", "ad.iso", "--as", "iso"})["trees"][0]["entries"];
    ASSERT_EQ(entries.size(), 1u) << entries;
    EXPECT_EQ(entries[0]["size"], 4);
    EXPECT_EQ(entries[0]["resourceSize"], 5);
    EXPECT_EQ(json({"ls", "ad.iso", "NOTE.TXT"})["trees"][0]["entries"], entries)
        << "by its name it is shown the same";
    EXPECT_EQ(run({"get", "ad.iso", "NOTE.TXT", "-o", "-"}), 0) << err_;
    EXPECT_EQ(out_, "data");
}

// Images that are not part of the sources: a row is a path, the size of the data fork, that of the
// resource fork, and type and creator.
struct SampleRow {
    const char* path;
    std::uint64_t size;
    std::uint64_t resourceSize;
    const char* letters;
};

class SampleTest : public ReadingTest {
  protected:
    void expectRows(const std::string& name, const std::vector<SampleRow>& rows,
                    std::size_t fileCount) {
        const char* samples = std::getenv("VELLMARK_SAMPLES");
        if (samples == nullptr || !fs::exists(samples + ("/" + name)))
            GTEST_SKIP() << "VELLMARK_SAMPLES names no folder with " << name;
        std::map<std::string, nlohmann::json> files;
        const std::string path = samples + ("/" + name);
        const auto listing = json({"ls", path, "-R", "--as", "hfs"});
        for (const auto& entry : listing["trees"][0]["entries"])
            if (entry["kind"] == "file")
                files[entry["path"]] = entry;
        EXPECT_EQ(files.size(), fileCount);
        for (const SampleRow& row : rows) {
            ASSERT_EQ(files.count(row.path), 1u) << row.path;
            const auto& file = files[row.path];
            EXPECT_EQ(file["size"], row.size) << row.path;
            EXPECT_EQ(file["resourceSize"], row.resourceSize) << row.path;
            const std::string letters =
                file["type"].is_null()
                    ? ""
                    : file["type"].get<std::string>() + file["creator"].get<std::string>();
            EXPECT_EQ(letters, row.letters) << row.path;
        }
    }
};

TEST_F(SampleTest, AVolumeOfHfsutils) {
    expectRows("vol/hfs_basic.img",
               {{"big.bin", 70000, 0, "????UNIX"},
                {"caf\u00E9 \u2022", 3000, 0, "????UNIX"},
                {"empty", 0, 0, "????UNIX"},
                {"eyeball.gif", 2755, 0, "????????"},
                {"unix.txt", 18, 0, "TEXTR*ch"},
                {"Folder One/Text File", 21, 1454, "TEXTR*ch"},
                {"Folder One/Deep/Exercise 4.6 App", 0, 40102, "APPL????"},
                {"Folder One/Deep/Hands_m.eps", 49731, 23096, "EPSFART5"}},
               8);
}

TEST_F(SampleTest, AnHfsPlusVolumeWithLongLists) {
    expectRows("vol/hfsplus_newfs.img",
               {{"big.bin", 70000, 0, ""},
                {"empty", 0, 0, ""},
                {"link", 7, 0, "slnkrhap"},
                {"Folder One/unix.txt", 18, 0, ""},
                {"many/many files number 000.txt", 6, 0, ""},
                {"many/many files number 024.txt", 6, 0, ""}},
               305);
}

TEST_F(SampleTest, AnHfsPlusVolumeInAGuidTable) {
    expectRows("disk/gpt_hfsplus.img", {{"unix.txt", 18, 0, ""}}, 1);
}

}  // namespace
}  // namespace vellmark
