// What the reading verbs say about files that are no images, or that are damaged.
#include <sys/stat.h>
#include <unistd.h>

#include "reading/reading_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::ReadingTest;
using test::Write;

TEST_F(ReadingTest, WhatIsNoImageIsRefusedWithItsOwnReason) {
    std::string trailer(4096, '\0');
    trailer.replace(4096 - 512, 4, "koly");
    // A volume header whose block size is 0, so that nothing of it can be used.
    std::string header(4096, '\0');
    header.replace(1024, 2, "BD");
    play("0 format cut.img --size 2M --label V -q");
    fs::create_symlink("nowhere", "broken");
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    const struct {
        const char* name;
        std::optional<std::string> bytes;  // nothing for what is there already, or is not to be
        const char* reason;
    } cases[] = {{"null.img", "", "Null length file"},
                 {"random.img", "a" + test::Pattern(100'000), "holds no ISO 9660 tree"},
                 {"short.img", std::string(700, 'a'), "cut short"},
                 {"bzip2.img", "BZh9" + std::string(4096, 'a'), "compressed disk image"},
                 {"trailer.img", trailer, "compressed disk image, which tells of no block"},
                 {"sparse.img", "sprs" + std::string(4096, 'a'), "sparse disk image"},
                 {"header.img", header, "Macintosh volume that is damaged"},
                 {"cut.img", Bytes("cut.img").substr(0, 100'000), "ends before its volume does."},
                 {"pipe", {}, "is a pipe"},
                 {"in", {}, "is a folder"},
                 {"missing.iso", {}, "No such file"},
                 {"broken", {}, "No such file"}};
    for (const auto& c : cases) {
        if (c.bytes)
            Write(c.name, *c.bytes);
        for (const char* line : {"info %", "tree % x", "get % /", "ls % --json"}) {
            play("1 " + test::Replaced(line, "%", c.name) + " => " + c.reason);
            EXPECT_EQ(test::CountIn(err_, "\n"), 1u) << err_;
            EXPECT_GT(test::CountIn(err_, c.name), 0u) << err_;
        }
    }
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
    make("disc.iso", {"--kind", "hfs", "--hfsplus"});
    std::string image = Bytes("disc.iso");
    // The folder's name begins with four zeros, which come last in the order of names.
    const std::string typed = HfsPlusName("zzzzHFS+ Private Data");
    for (std::size_t at = image.find(typed); at != std::string::npos; at = image.find(typed, at))
        image.replace(at, 8, 8, '\0');
    // A link is a file record of a type and creator of its own, with the number of its target.
    const std::string key = HfsPlusName("the link") + std::string("\0\2", 2);
    const std::size_t record = image.find(key) + key.size() - 2;
    ASSERT_LT(record, image.size());
    image.replace(record + 44, 12, std::string("\0\0\0\x4Dhlnkhfs+", 12));
    Write("disc.iso", image);
    image[record + 47] = 78;
    Write("lost.iso", image);
    play(R"(
0 ls disc.iso 'the link' --json => "size": 22, => "name": "the link"
0 get disc.iso 'the link' -o - == what two names lead to
1 get lost.iso 'the link' -o - => hard link to a file that is not there
)");
}

TEST_F(ReadingTest, ADamagedVolumeLeavesTheOtherTrees) {
    make("pc.iso", {"--kind", "iso"});
    make("disc.iso");
    // The extents of the catalog file stand in the master directory block.
    std::string image = Bytes("disc.iso");
    image.replace(image.find("\x07My disc") - 36 + 150, 2, "\xFF\xFF");
    Write("disc.iso", image);
    play(R"(
1! ls disc.iso => Macintosh volume is damaged
shows => joliet: My disc (Joliet)\nBare\n
0 ls disc.iso --as joliet
1 ls disc.iso --as hfs => Macintosh volume is damaged
1 ls pc.iso --as hfs => pc.iso has no hfs tree; it has: iso, joliet.
2 ls pc.iso --as fat => --as
)");
}

TEST_F(ReadingTest, ACutImageIsToldAndNothingHalfIsTakenOut) {
    make("disc.iso", {"--hfsplus"});
    const std::string whole = Bytes("disc.iso");
    // Inside the contents of the largest file, which lie behind all tables.
    const std::size_t cut = whole.find(test::Pattern(70'000).substr(0, 64)) + 1000;
    ASSERT_LT(cut, whole.size());
    Write("cut.iso", whole.substr(0, cut));
    play(R"(
1! info cut.iso --as joliet => cut short
3 get cut.iso 'Sub Folder' --as joliet -o out => skipped Sub Folder/large.bin
none out/large.bin
1! get cut.iso 'Sub Folder/large.bin' --as joliet
none large.bin
)");
}

}  // namespace
}  // namespace vellmark
