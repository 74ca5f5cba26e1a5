// Files and folders of the PC in a volume: what each kind of file becomes, and what is left out.
#include "transfer/copy_in.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

#include "transfer/transfer_bench.hpp"

namespace vellmark::testing {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

constexpr UnixSeconds kDate = 1'588'748'890;  // 2020-05-06 07:08:10 UTC
constexpr MacSeconds kMacDate = 3'671'593'690;
constexpr MacSeconds kNowMac = 3'082'844'800;
constexpr MacSeconds kToldDate = 0xB0000000;  // local time

Bytes MacBinaryOf(const MacFile& file, MacSeconds date = 0) {
    const Bytes finder = BytesOf(file.signature) + Be(file.flags, 2);
    return testing::MacBinaryOf(file.name, finder, file.data, file.resource, date, 0);
}

class CopyInTest : public TransferTest {
  protected:
    void write(const std::string& name, const Bytes& bytes) const {
        fs::create_directories(fs::path(pc(name)).parent_path());
        WriteFile(pc(name), bytes);
        fs::last_write_time(pc(name), std::chrono::file_clock::from_sys(
                                          std::chrono::sys_seconds(std::chrono::seconds(kDate))));
    }
    void write(const std::string& name, std::string_view text) const { write(name, BytesOf(text)); }

    CopyInResult put(const std::string& name, CopyInOptions options = {}) {
        messages_.texts.clear();
        messages_.skipped.clear();
        options.imagePath = path_;
        options.journalPath = pc("tree/journal");
        options.truncation.automatic = true;
        CopyIn batch(volume_, options, signatures_, messages_, progress_, kClock);
        return CopyItemIn(batch, pc(name), kRootFolderId);
    }
    std::string data(const std::string& path) {
        const Bytes bytes = volume_.contents(path);
        return {bytes.begin(), bytes.end()};
    }
    Lines paths() {
        Lines paths;
        EXPECT_EQ(WalkVolume(volume_, [&](const std::string& path,
                                          const CatalogItem&) { paths.push_back(path); }),
                  TreeResult::Done);
        std::sort(paths.begin(), paths.end());
        return paths;
    }
};
INSTANTIATE_TEST_SUITE_P(BothFormats, CopyInTest, ::testing::Bool(), FormatName);

const CopyInOptions kReplacing = {.existing = ExistingFiles::Replace};

TEST_P(CopyInTest, EachClassBecomesItsMacintoshFile) {
    // Its type list has a bundle alone, by which its file gets the mark of one.
    const Bytes fork = Be(256, 4) + Be(256, 4) + Be(0, 4) + Be(38, 4) + Bytes(256 + 14) +
                       BytesOf("BNDL") + Bytes(4);
    const MacFile mac = {"A/b", "APPLtest", 0x0140, Pattern(129), fork};
    const Bytes none;
    const Bytes abc = BytesOf("abc");
    const std::string zeros(8, '\0');
    const MacSeconds zone = isHfsPlus_ ? 0 : 3600;
    const MacSeconds told = isHfsPlus_ ? kToldDate - 3600 : kToldDate;
    const MacSeconds pc = kMacDate + zone;
    const MacSeconds now = kNowMac + zone;
    const CopyInOptions plain = {.containers = ContainerPolicy::Never};
    const CopyInOptions resource = {.mode = CopyMode::ResourceFork};
    const CopyInOptions typed = {.type = {{'a', 'b', 'c', ' '}}};
    const Bytes binary = MacBinaryOf(mac, kToldDate);
    const Bytes bare = MacBinaryOf({"bare", zeros, 0, {}, abc});
    const Bytes nameless = BinHexOf({"", "APPLtest", 0, abc, {}});
    const Bytes single = AppleFileOf(true, {{9, Bytes(32)}, {2, fork}, {1, abc}});
    const Bytes finder = BytesOf("APPLtest\x01\x40") + Bytes(22);
    write("._d", AppleFileOf(false, {{9, finder}, {2, fork}}));
    const struct {
        const char* pcName;
        Bytes bytes;
        CopyInOptions options;
        const char* shown;
        std::string signature;
        std::uint16_t flags;
        MacSeconds date;
        Bytes data;
        Bytes resource;
    } cases[] = {{"a.txt", abc, {}, "a.txt", "TEXTttxt", 0, pc, abc, none},
                 {".a", none, {}, ".a", "TEXT????", 0x4000, pc, none, none},
                 {"b.txt", none, typed, "b.txt", "abc ttxt", 0, pc, none, none},
                 {"r", fork, resource, "r", "TEXT????", 0x2000, pc, none, fork},
                 {"x", binary, {}, "A:b", "APPLtest", 0x2140, told, mac.data, fork},
                 {"x0", bare, {}, "bare", zeros, 0, now, none, abc},
                 {"y", binary, plain, "y", "TEXT????", 0, pc, binary, none},
                 {"x.hqx", BinHexOf(mac), {}, "A:b", "APPLtest", 0x2140, now, mac.data, fork},
                 {"n.hqx", nameless, {}, "n.hqx", "APPLtest", 0, now, abc, none},
                 {"s.txt", single, {}, "s.txt", "TEXTttxt", 0x2000, pc, abc, fork},
                 {"d", abc, {}, "d", "APPLtest", 0x2140, pc, abc, fork}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pcName);
        CopyInOptions options = c.options;
        options.existing = ExistingFiles::Replace;
        write(c.pcName, c.bytes);
        ASSERT_EQ(put(c.pcName, options), CopyInResult::Done);
        const auto item = volume_.find(c.shown);
        ASSERT_TRUE(item);
        EXPECT_EQ(std::string(item->signature.data(), 8), c.signature);
        EXPECT_EQ(item->finderFlags, c.flags);
        EXPECT_EQ(item->dates.created, c.date);
        EXPECT_EQ(item->dates.modified, c.date);
        EXPECT_TRUE(ReadFork(volume_, *item, false) == c.data);
        EXPECT_TRUE(ReadFork(volume_, *item, true) == c.resource);
    }
}

TEST_P(CopyInTest, ContainersAreTakenApartWithLeaveAndDamagedOnesAreNamed) {
    const MacFile mac = {"inside", "APPLtest", 0, Pattern(500), {}};
    Bytes binary = MacBinaryOf(mac);
    Bytes binHex = BinHexOf(mac);
    for (const bool isBinHex : {false, true}) {
        const std::string name = isBinHex ? "h" : "m";
        Bytes& bytes = isBinHex ? binHex : binary;
        write(name, bytes);
        messages_.answer = Answer::No;
        EXPECT_EQ(put(name), CopyInResult::Done);
        EXPECT_EQ(messages_.texts.size(), 1u);
        EXPECT_EQ(data(name), std::string(bytes.begin(), bytes.end()));
        bytes.resize(isBinHex ? bytes.size() / 2 : 600);  // 472 of the 500 bytes
        write(name, bytes);
        messages_.answer = Answer::Yes;
        messages_.confirms = false;
        // A MacBinary header whose lengths go beyond the file is also one of a plain file.
        EXPECT_EQ(put(name, kReplacing), isBinHex ? CopyInResult::LeftOut : CopyInResult::Done);
        ASSERT_EQ(messages_.skipped.size(), 1u);
        EXPECT_NE(messages_.skipped[0].find("data fork"), std::string::npos);
        messages_.confirms = true;
        EXPECT_EQ(put(name, kReplacing), CopyInResult::Done);
        EXPECT_EQ(messages_.texts.size(), 2u) << "what it is, and that it is damaged";
        const Bytes kept = volume_.contents("inside");
        EXPECT_GT(kept.size(), 100u);
        EXPECT_TRUE(std::equal(kept.begin(), kept.end(), mac.data.begin()));
    }
}

TEST_P(CopyInTest, ACustomIconMarksItsFolder) {
    write("icon.bin", MacBinaryOf({"Icon\r", "ICNSMACS", 0, BytesOf("icns"), {}}));
    EXPECT_EQ(put("icon.bin"), CopyInResult::Done);
    EXPECT_EQ(put(""), CopyInResult::Done);
    EXPECT_EQ(paths(), (Lines{".VolumeIcon.icns", "Icon\r", "pc", "pc/Icon\r"}));
    for (const char* name : {"Icon\r", ".VolumeIcon.icns", "pc/Icon\r"}) {
        EXPECT_EQ(volume_.find(name)->finderFlags, 0x4000) << name;
        EXPECT_EQ(data(name), "icns");
    }
    for (const char* folder : {"", "pc"})
        EXPECT_EQ(volume_.find(folder)->finderFlags & 0x0500, 0x0400) << folder;
}

TEST_P(CopyInTest, WhatIsThereStaysUnlessItMayGo) {
    const struct {
        ExistingFiles existing;
        Answer answer;
        bool isReplaced;
    } cases[] = {{ExistingFiles::Keep, Answer::Yes, false},
                 {ExistingFiles::Ask, Answer::No, false},
                 {ExistingFiles::Ask, Answer::Yes, true},
                 {ExistingFiles::Replace, Answer::No, true}};
    write("f", "old");
    ASSERT_EQ(put("f"), CopyInResult::Done);
    for (const auto& c : cases) {
        const std::string before = data("f");
        write("f", before + "er");
        messages_.answer = c.answer;
        EXPECT_EQ(put("f", {.existing = c.existing}),
                  c.isReplaced ? CopyInResult::Done : CopyInResult::LeftOut);
        EXPECT_EQ(data("f"), c.isReplaced ? before + "er" : before);
        EXPECT_EQ(messages_.texts.size(), c.existing == ExistingFiles::Ask ? 1u : 0u);
    }
    // A folder stays closed unless it may be filled; file and folder never replace each other.
    write("sub/x", "x");
    for (const CopyInOptions& options : {CopyInOptions{}, kReplacing})
        EXPECT_EQ(put("sub", options), CopyInResult::Done);
    EXPECT_EQ(put("sub"), CopyInResult::LeftOut);
    EXPECT_EQ(messages_.skipped, Lines{"sub: The folder sub\nexists already.\nAborting..."});
    fs::rename(pc("sub"), pc("other"));
    fs::rename(pc("f"), pc("sub"));
    fs::rename(pc("other"), pc("f"));
    for (const char* name : {"sub", "f"})
        EXPECT_EQ(put(name, kReplacing), CopyInResult::LeftOut);
    EXPECT_EQ(paths(), (Lines{"f", "sub", "sub/x"}));
}

TEST_P(CopyInTest, AFolderComesWithAllThatCanBeRead) {
    const Bytes companion = AppleFileOf(false, {{9, Bytes(32)}, {2, BytesOf("rsrc")}});
    for (const char* name : {"d", "a", "A", ".hid/deep/b", "journal", "._a"})
        write(std::string("tree/") + name, "plain");
    for (const char* name : {"tree/._d", "tree/._orphan"})
        write(name, companion);
    fs::create_directory_symlink("..", pc("tree/loop"));
    fs::create_directory_symlink("deep", pc("tree/.hid/again"));
    fs::create_directory_symlink("deep", pc("tree/.hid/twice"));
    fs::create_symlink("nowhere", pc("tree/broken"));
    fs::create_symlink(path_, pc("tree/image"));
    ASSERT_EQ(::mkfifo(pc("tree/pipe").c_str(), 0600), 0);
    EXPECT_EQ(put("tree"), CopyInResult::Done);
    EXPECT_EQ(paths(), (Lines{"tree", "tree/._a", "tree/._orphan", "tree/.hid", "tree/.hid/again",
                              "tree/.hid/again/b", "tree/.hid/deep", "tree/.hid/deep/b", "tree/A",
                              "tree/a-78C7", "tree/d"}))
        << "two names are one on the volume";
    EXPECT_EQ(
        messages_.skipped,
        (Lines{"twice: The folder that this link leads to has been copied through another "
               "link.",
               "broken: It is a symbolic link that leads nowhere.",
               "image: It is the image itself.", "loop: It leads back to a folder that it lies in.",
               "pipe: It is a pipe, a socket or a device."}));
    EXPECT_EQ(messages_.texts.size(), 2u) << "the two that are no companions";
    EXPECT_EQ(volume_.find("tree/.hid")->finderFlags & 0x4000, 0x4000);
    EXPECT_EQ(volume_.find("tree/d")->resource.sizeBytes, 4u);
}

TEST_P(CopyInTest, AFileThatChangesIsLeftOutAndAWishEndsAll) {
    write("log.txt", "as it was");
    ASSERT_EQ(put("log.txt"), CopyInResult::Done);
    write("log.txt", "newer");
    progress_.onChunk = [&] { WriteFile(pc("log.txt"), BytesOf("newer and longer")); };
    EXPECT_EQ(put("log.txt", kReplacing), CopyInResult::LeftOut);
    EXPECT_EQ(messages_.skipped, Lines{"log.txt: It changed while it was copied."});
    EXPECT_EQ(data("log.txt"), "as it was");
    // Root may read everything: the test is somebody else for a while.
    write("closed/in", "x");
    fs::permissions(folder_.path(), fs::perms::all);
    fs::permissions(pc("closed"), fs::perms::none);
    const bool isRoot = ::geteuid() == 0;
    ASSERT_TRUE(!isRoot || ::seteuid(65534) == 0);
    EXPECT_EQ(put("closed"), CopyInResult::LeftOut);
    ASSERT_TRUE(!isRoot || ::seteuid(0) == 0);
    fs::permissions(pc("closed"), fs::perms::owner_all);
    EXPECT_EQ(messages_.skipped, Lines{"closed: It cannot be read: Permission denied."});
    progress_.left = 1;
    write("new/stopped", "never");
    EXPECT_EQ(put("new"), CopyInResult::Stopped);
    EXPECT_EQ(paths(), (Lines{"log.txt", "new"}));
}

}  // namespace
}  // namespace vellmark::testing
