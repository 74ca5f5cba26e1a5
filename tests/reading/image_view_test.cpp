// What the reading verbs say about files that are no images, or that are damaged.
#include <sys/stat.h>
#include <unistd.h>

#include "reading/image_view.hpp"
#include "reading/reading_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::ReadingTest;
using test::Write;

using Verbs = std::vector<std::vector<std::string>>;

class NoImageTest : public ReadingTest {
  protected:
    // Every reading verb refuses the file with its name and the reason.
    void expectRefusal(const std::string& path, const std::string& reason) {
        for (const auto& line : Verbs{{"info", path},
                                      {"ls", path},
                                      {"tree", path, "x"},
                                      {"get", path, "/"},
                                      {"ls", path, "--json"}}) {
            EXPECT_EQ(run(line), 1) << line[0];
            EXPECT_EQ(out_, "") << line[0];
            EXPECT_NE(err_.find(path), std::string::npos) << err_;
            EXPECT_NE(err_.find(reason), std::string::npos) << err_;
            EXPECT_EQ(std::count(err_.begin(), err_.end(), '\n'), 1) << err_;
        }
    }
};

TEST_F(NoImageTest, EachKindOfFileGetsItsOwnReason) {
    std::string trailer(4096, '\0');
    trailer.replace(4096 - 512, 4, "koly");
    std::string badTrailer = trailer;
    badTrailer.replace(4096 - 512 + 224, 1, "\x01");
    // A volume header whose block size is 0, so that nothing of it can be used.
    std::string header(4096, '\0');
    header.replace(1024, 2, "BD");
    EXPECT_EQ(run({"format", "whole.img", "--size", "2M", "--label", "V", "-q"}), 0) << err_;
    const std::string cut = test::Bytes("whole.img").substr(0, 100'000);
    const struct {
        const char* name;
        std::string bytes;
        const char* reason;
    } cases[] = {{"null.img", "", "Null length file"},
                 {"byte.img", "x", "begins like a compressed disk image, and does not end"},
                 {"random.img", "a" + test::Pattern(100'000), "holds no ISO 9660 tree"},
                 {"short.img", std::string(700, 'a'), "cut short"},
                 {"bzip2.img", "BZh9" + std::string(4096, 'a'), "compressed disk image"},
                 {"map.img", "PM" + trailer.substr(2), "compressed disk image"},
                 {"trailer.img", trailer, "compressed disk image, which tells of no block"},
                 {"list.img", badTrailer, "property list outside the file"},
                 {"sparse.img", "sprs" + std::string(4096, 'a'), "sparse disk image"},
                 {"header.img", header, "Macintosh volume that is damaged"},
                 {"cut.img", cut, "cut.img: The image ends before its volume does."}};
    for (const auto& c : cases) {
        Write(c.name, c.bytes);
        expectRefusal(c.name, c.reason);
    }
}

TEST_F(NoImageTest, WhatIsNoFileIsNamedAsWhatItIs) {
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    fs::create_symlink("nowhere", "broken");
    expectRefusal("pipe", "is a pipe");
    expectRefusal("in", "is a folder");
    expectRefusal("missing.iso", "No such file");
    expectRefusal("broken", "No such file");
    if (::geteuid() != 0) {
        Write("secret.iso", "x");
        fs::permissions("secret.iso", fs::perms::none);
        expectRefusal("secret.iso", "Permission denied");
    }
}

TEST_F(NoImageTest, ReadingOpensNoImageForWriting) {
    make("disc.iso");
    const std::string before = test::Bytes("disc.iso");
    const auto date = fs::last_write_time("disc.iso");
    for (const auto& line : Verbs{{"info", "disc.iso"},
                                  {"ls", "disc.iso"},
                                  {"tree", "disc.iso"},
                                  {"get", "disc.iso", "/"}})
        EXPECT_EQ(run(line), 0) << err_;
    EXPECT_EQ(test::Bytes("disc.iso"), before);
    EXPECT_EQ(fs::last_write_time("disc.iso"), date);
}

// The bytes of an ASCII text as HFS+ keeps names.
std::string HfsPlusName(std::string_view text) {
    std::string bytes;
    for (const char c : text)
        bytes.append({'\0', c});
    return bytes;
}

TEST_F(ReadingTest, AHardLinkIsShownWithTheFileItLeadsTo) {
    Write("in/zzzzHFS+ Private Data/iNode77", "what two names lead to");
    Write("in/the link", "");
    Write("in/the lost link", "");
    make("disc.iso", {"--kind", "hfs", "--hfsplus"});
    std::string image = test::Bytes("disc.iso");
    // TN1150: the folder's name begins with four zeros, which come last in the order of names.
    const std::string typed = HfsPlusName("zzzzHFS+ Private Data");
    for (std::size_t at = image.find(typed); at != std::string::npos; at = image.find(typed, at))
        image.replace(at, 8, 8, '\0');
    // A link is a file record of a type and creator of its own, with the number of its target.
    const auto makeLink = [&](std::string_view name, char number) {
        const std::string key = HfsPlusName(name) + std::string("\0\2", 2);
        const std::size_t record = image.find(key) + key.size() - 2;
        ASSERT_LT(record, image.size()) << name;
        image.replace(record + 44, 4, {'\0', '\0', '\0', number});
        image.replace(record + 48, 8, "hlnkhfs+");
    };
    makeLink("the link", 77);
    makeLink("the lost link", 78);
    Write("disc.iso", image);
    const auto entry = json({"ls", "disc.iso", "the link"})["trees"][0]["entries"][0];
    EXPECT_EQ(entry["name"], "the link");
    EXPECT_EQ(entry["size"], 22);
    EXPECT_EQ(run({"get", "disc.iso", "the link", "-o", "-"}), 0) << err_;
    EXPECT_EQ(out_, "what two names lead to");
    EXPECT_EQ(run({"get", "disc.iso", "the lost link", "-o", "-"}), 1);
    EXPECT_NE(err_.find("hard link to a file that is not there"), std::string::npos) << err_;
}

class DamagedVolumeTest : public ReadingTest {
  protected:
    // The catalog file of the HFS side is overwritten: found by the name of a file in it.
    void spoilCatalog() {
        std::string image = test::Bytes("disc.iso");
        const std::size_t at = image.find("large.bin");
        ASSERT_NE(at, std::string::npos);
        // Nodes of HFS have 512 bytes; the tree's header node is the first of the file, which
        // begins with a descriptor of kind 1.
        const std::size_t volume = image.find("\x07My disc");
        ASSERT_NE(volume, std::string::npos);
        const std::size_t mdb = volume - 36;
        const auto word = [&](std::size_t offset) {
            return static_cast<std::size_t>(static_cast<std::uint8_t>(image[mdb + offset])) * 256 +
                   static_cast<std::uint8_t>(image[mdb + offset + 1]);
        };
        const std::size_t catalog =
            mdb - 1024 + word(28) * 512 + word(150) * (word(20) * 65536 + word(22));
        image.replace(catalog, 512, 512, '\xAA');
        Write("disc.iso", image);
    }
};

TEST_F(DamagedVolumeTest, TheOtherTreesAreShownAndTheRunFails) {
    make("disc.iso");
    spoilCatalog();
    EXPECT_EQ(run({"ls", "disc.iso"}), 1);
    EXPECT_NE(err_.find("Macintosh volume is damaged"), std::string::npos) << err_;
    EXPECT_NE(out_.find("joliet: My disc (Joliet)\nBare\n"), std::string::npos) << out_;
    EXPECT_EQ(out_.find("hfs:"), std::string::npos);
    EXPECT_EQ(run({"ls", "disc.iso", "--as", "joliet"}), 0) << "not asked for, not looked at";
    EXPECT_EQ(err_, "");
    EXPECT_EQ(run({"ls", "disc.iso", "--as", "hfs"}), 1);
    EXPECT_NE(err_.find("Macintosh volume is damaged"), std::string::npos) << err_;
}

TEST_F(DamagedVolumeTest, ACutImageIsToldAndNothingHalfIsTakenOut) {
    make("disc.iso", {"--hfsplus"});
    const std::string whole = test::Bytes("disc.iso");
    // Inside the contents of the largest file, which lie behind all tables.
    const std::size_t cut = whole.find(test::Pattern(70'000).substr(0, 64)) + 1000;
    ASSERT_LT(cut, whole.size());
    Write("cut.iso", whole.substr(0, cut));
    EXPECT_EQ(run({"info", "cut.iso", "--as", "joliet"}), 1);
    EXPECT_NE(err_.find("cut short"), std::string::npos) << err_;
    EXPECT_EQ(run({"get", "cut.iso", "Sub Folder", "--as", "joliet", "-o", "out"}), 3);
    EXPECT_NE(err_.find("skipped Sub Folder/large.bin"), std::string::npos) << err_;
    EXPECT_EQ(below("out").count("./large.bin"), 0u);
    EXPECT_EQ(run({"get", "cut.iso", "Sub Folder/large.bin", "--as", "joliet"}), 1)
        << "what was named itself is not there now";
    EXPECT_FALSE(fs::exists("large.bin"));
}

TEST_F(DamagedVolumeTest, ATreeThatIsNotThereIsNamedWithThoseThatAre) {
    make("disc.iso", {"--kind", "iso"});
    EXPECT_EQ(run({"ls", "disc.iso", "--as", "hfs"}), 1);
    EXPECT_NE(err_.find("disc.iso has no hfs tree; it has: iso, joliet."), std::string::npos)
        << err_;
    EXPECT_EQ(run({"ls", "disc.iso", "--as", "fat"}), 2);
    EXPECT_NE(err_.find("--as"), std::string::npos) << err_;
}

}  // namespace
}  // namespace vellmark
