// Files and folders of the PC in a volume: what each kind of file becomes, and what is left out.
#include "transfer/copy_in.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <chrono>

#include "transfer/transfer_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using testing::AppleFileOf;
using testing::Bytes;
using testing::BytesOf;
using Lines = std::vector<std::string>;

constexpr UnixSeconds kDate = 1'588'748'890;  // 2020-05-06 07:08:10 UTC
constexpr MacSeconds kMacDate = 3'671'593'690;
constexpr MacSeconds kNowMac = 3'082'844'800;
constexpr MacSeconds kToldDate = 0xB0000000;  // local time

// A resource fork whose type list has that type alone.
Bytes ForkWithType(std::string_view type) {
    Bytes fork;
    for (const std::uint64_t field : {256, 256, 0, 38})
        testing::Append(fork, testing::Be(field, 4));
    fork.resize(256 + 30);
    testing::Append(fork, BytesOf(type));
    fork.resize(256 + 38);
    return fork;
}

Bytes FinderOf(std::string_view signature, std::uint16_t flags, std::size_t size) {
    Bytes finder = BytesOf(signature);
    testing::Append(finder, testing::Be(flags, 2));
    finder.resize(size);
    return finder;
}
Bytes MacBinaryOf(const testing::MacFile& file, MacSeconds date = 0) {
    return testing::MacBinaryOf(file.name, FinderOf(file.signature, file.flags, 10), file.data,
                                file.resource, date, 0);
}

class CopyInTest : public ::testing::TestWithParam<bool> {
  protected:
    const bool isHfsPlus_ = GetParam();

    void SetUp() override {
        path_ = testing::FormatSmall(folder_, isHfsPlus_);
        ASSERT_TRUE(volume_.open(path_));
        fs::create_directory(in());
    }
    [[nodiscard]] std::string in(const std::string& name = "") const {
        return folder_.path() + "/in" + (name.empty() ? "" : "/" + name);
    }
    void write(const std::string& name, const Bytes& bytes) const {
        fs::create_directories(fs::path(in(name)).parent_path());
        testing::WriteFile(in(name), bytes);
        fs::last_write_time(in(name), std::chrono::file_clock::from_sys(
                                          std::chrono::sys_seconds(std::chrono::seconds(kDate))));
    }
    void write(const std::string& name, std::string_view text) const { write(name, BytesOf(text)); }

    CopyInResult put(const std::string& name, CopyInOptions options = {}) {
        messages_.texts.clear();
        messages_.skipped.clear();
        options.imagePath = path_;
        options.journalPath = in("tree/journal");
        options.truncation.automatic = true;
        CopyIn batch(volume_, options, signatures_, messages_, progress_, testing::kClock);
        const CopyInResult result = CopyItemIn(batch, in(name), kRootFolderId);
        copied_ = batch.filesCopied;
        return result;
    }
    std::string data(const std::string& path) {
        const auto item = volume_.find(path);
        const Bytes bytes = item ? testing::ReadFork(volume_, *item, false) : BytesOf("nothing");
        return {bytes.begin(), bytes.end()};
    }
    Lines paths() {
        Lines paths;
        EXPECT_EQ(testing::WalkVolume(volume_, [&](const std::string& path,
                                                   const CatalogItem&) { paths.push_back(path); }),
                  TreeResult::Done);
        std::sort(paths.begin(), paths.end());
        return paths;
    }
    void expectSound() {
        ASSERT_EQ(volume_.flush(), TreeResult::Done);
        testing::ExpectReadersFindNoFault(path_);
    }

    TemporaryFolder folder_;
    std::string path_;
    testing::TestVolume volume_;
    SignatureTable signatures_ = SignatureTable::Parse("TXT,TEXTttxt,\r\nHQX,TEXTBnHq,\r\n", false);
    testing::ScriptedMessages messages_;
    testing::StoppingProgress progress_;
    std::uint64_t copied_ = 0;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, CopyInTest, ::testing::Bool(), testing::FormatName);

const CopyInOptions kReplacing = {.existing = ExistingFiles::Replace};

TEST_P(CopyInTest, EachClassBecomesItsMacintoshFile) {
    const testing::MacFile mac = {"A/b", "APPLtest", 0x0140, testing::Pattern(129),
                                  ForkWithType("BNDL")};
    const testing::MacFile bare = {"bare", std::string(8, '\0'), 0, {}, ForkWithType("CODE")};
    const MacSeconds zone = isHfsPlus_ ? 0 : 3600;
    const MacSeconds told = isHfsPlus_ ? kToldDate - 3600 : kToldDate;
    const MacSeconds pc = kMacDate + zone;
    const MacSeconds now = kNowMac + zone;
    const CopyInOptions plain = {.containers = ContainerPolicy::Never};
    const CopyInOptions resource = {.mode = CopyMode::ResourceFork};
    const CopyInOptions typed = {.type = {{'a', 'b', 'c', ' '}}};
    const Bytes binary = MacBinaryOf(mac, kToldDate);
    const Bytes none;
    const Bytes abc = BytesOf("abc");
    const Bytes finder = FinderOf(mac.signature, mac.flags, 32);
    const Bytes one = AppleFileOf(true, {{9, finder}, {2, mac.resource}, {1, mac.data}});
    const Bytes bareOne = AppleFileOf(true, {{9, Bytes(32)}, {2, bare.resource}});
    const Bytes beside = AppleFileOf(false, {{9, finder}, {2, mac.resource}});
    const Bytes& fork = mac.resource;
    const std::string text = "TEXT????";
    const std::string test = "APPLtest";
    const struct {
        const char* pcName;
        Bytes bytes;
        Bytes companion;
        CopyInOptions options;
        const char* shown;
        std::string signature;
        std::uint16_t flags;
        MacSeconds date;
        Bytes data;
        Bytes resource;
    } cases[] = {
        {"a.txt", abc, none, {}, "a.txt", "TEXTttxt", 0, pc, abc, none},
        {"a.xyz", none, none, {}, "a.xyz", text, 0, pc, none, none},
        {".a", none, none, {}, ".a", text, 0x4000, pc, none, none},
        {"b.txt", none, none, typed, "b.txt", "abc ttxt", 0, pc, none, none},
        {"r", fork, none, resource, "r", text, 0x2000, pc, none, fork},
        {"x", binary, none, {}, "A:b", test, 0x2140, told, mac.data, fork},
        {"x0", MacBinaryOf(bare), none, {}, "bare", bare.signature, 0, now, none, bare.resource},
        {"y", binary, none, plain, "y", text, 0, pc, binary, none},
        {"x.hqx", testing::BinHexOf(mac), none, {}, "A:b", test, 0x2140, now, mac.data, fork},
        {"s", one, none, {}, "s", test, 0x2140, pc, mac.data, fork},
        {"s.txt", bareOne, none, {}, "s.txt", "TEXTttxt", 0, pc, none, bare.resource},
        {"d", abc, beside, {}, "d", test, 0x2140, pc, abc, fork},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pcName);
        CopyInOptions options = c.options;
        options.existing = ExistingFiles::Replace;
        write(c.pcName, c.bytes);
        if (!c.companion.empty())
            write("._" + std::string(c.pcName), c.companion);
        ASSERT_EQ(put(c.pcName, options), CopyInResult::Done);
        const auto item = volume_.find(c.shown);
        ASSERT_TRUE(item);
        EXPECT_EQ(std::string(item->signature.data(), 8), c.signature);
        EXPECT_EQ(item->finderFlags, c.flags);
        EXPECT_EQ(item->dates.created, c.date);
        EXPECT_EQ(item->dates.modified, c.date);
        EXPECT_TRUE(testing::ReadFork(volume_, *item, false) == c.data);
        EXPECT_TRUE(testing::ReadFork(volume_, *item, true) == c.resource);
    }
    expectSound();
}

TEST_P(CopyInTest, StreamsOfAServerAreForks) {
    const auto set = [&](const char* name, const Bytes& value) {
        return ::setxattr(in("a.txt").c_str(), name, value.data(), value.size(), 0) == 0;
    };
    Bytes info = BytesOf(std::string("AFP\0\0\1\0\0\0\0\0\0\0\0\0\0APPLtest\x40", 25));
    info.resize(60);
    write("a.txt", "data");
    if (!set("user.AFP_Resource", ForkWithType("CODE")))
        GTEST_SKIP() << "the file system keeps no attributes of users";
    for (const char* signature : {"TEXTttxt", "APPLtest"}) {
        EXPECT_EQ(put("a.txt", kReplacing), CopyInResult::Done);
        const CatalogItem item = volume_.find("a.txt").value();
        EXPECT_EQ(std::string(item.signature.data(), 8), signature);
        EXPECT_EQ(item.finderFlags, 0) << "the server's flags stay outside";
        EXPECT_TRUE(testing::ReadFork(volume_, item, true) == ForkWithType("CODE"));
        EXPECT_EQ(data("a.txt"), "data");
        ASSERT_TRUE(set("user.AFP_AfpInfo", info));
    }
}

TEST_P(CopyInTest, AContainerIsTakenApartOnlyWithLeave) {
    const testing::MacFile mac = {"inside", "APPLtest", 0, testing::Pattern(500), {}};
    write("m", MacBinaryOf(mac));
    write("h.hqx", testing::BinHexOf(mac));
    messages_.answer = Answer::No;
    EXPECT_EQ(put(""), CopyInResult::Done);
    EXPECT_EQ(paths(), (Lines{"in", "in/h.hqx", "in/m"}));
    EXPECT_EQ(messages_.texts,
              (Lines{"File\nh.hqx\nis a BinHex file.\nDo you want to convert it?",
                     "File\nm\nis a MacBinary file.\nDo you want to break up the container?"}));
    write("plain", "text");
    EXPECT_EQ(put("plain", {.mode = CopyMode::MacBinary}), CopyInResult::LeftOut);
    EXPECT_NE(messages_.skipped.at(0).find("is not a MacBinary file"), std::string::npos);
}

TEST_P(CopyInTest, DamagedContainersAreOfferedAndNamed) {
    const testing::MacFile mac = {"inside", "APPLtest", 0, testing::Pattern(500), {}};
    Bytes cut = MacBinaryOf(mac);
    cut.resize(600);  // 472 of 500 bytes
    Bytes wrong = testing::BinHexOf({"wrong", "APPLtest", 0, mac.data, {}});
    wrong.resize(wrong.size() / 2);
    const struct {
        const char* name;
        Bytes bytes;
        const char* shown;
        CopyInResult refused;
        std::string left;  // under its own name
    } cases[] = {          // A header whose lengths go beyond the file is one of a plain file.
                 {"m", cut, "inside", CopyInResult::Done, std::string(cut.begin(), cut.end())},
                 {"h", wrong, "wrong", CopyInResult::LeftOut, "nothing"}};
    for (const auto& c : cases) {
        write(c.name, c.bytes);
        messages_.confirms = false;
        EXPECT_EQ(put(c.name), c.refused);
        ASSERT_EQ(messages_.skipped.size(), 1u);
        EXPECT_NE(messages_.skipped[0].find("data fork"), std::string::npos);
        EXPECT_EQ(data(c.name), c.left);
        EXPECT_FALSE(volume_.find(c.shown));
        messages_.confirms = true;
        EXPECT_EQ(put(c.name), CopyInResult::Done);
        EXPECT_EQ(messages_.texts.size(), 2u) << "what it is, and that it is damaged";
        const Bytes kept = volume_.contents(c.shown);
        EXPECT_GT(kept.size(), 100u);
        EXPECT_TRUE(std::equal(kept.begin(), kept.end(), mac.data.begin()));
        EXPECT_EQ(put(c.name,
                      {.containers = ContainerPolicy::Always, .existing = ExistingFiles::Replace}),
                  CopyInResult::Done);
        EXPECT_EQ(messages_.texts.size(), 1u) << "a remark";
    }
    // A companion that is cut leaves the file beside it whole, and is named.
    Bytes companion = AppleFileOf(false, {{2, Bytes(200)}});
    write("d.txt", "data");
    messages_.confirms = false;
    for (const std::size_t size : {38, 20}) {
        companion.resize(size);
        write("._d.txt", companion);
        EXPECT_EQ(put("d.txt", kReplacing), CopyInResult::Done);
        EXPECT_EQ(data("d.txt"), "data");
        EXPECT_EQ(messages_.skipped.size(), 1u) << "it comes without forks";
    }
    const std::string quote = "This file must be converted with BinHex 4.0, :they say";
    write("quote", quote);
    EXPECT_EQ(put("quote"), CopyInResult::Done);
    EXPECT_EQ(data("quote"), quote);
    EXPECT_EQ(messages_.skipped.size(), 1u);
    // BinHex without a name takes that of the PC.
    write("nameless.hqx", testing::BinHexOf({"", "APPLtest", 0, BytesOf("forks"), {}}));
    EXPECT_EQ(put("nameless.hqx", {.containers = ContainerPolicy::Always}), CopyInResult::Done);
    EXPECT_EQ(data("nameless.hqx"), "forks");
}

TEST_P(CopyInTest, ACustomIconMarksItsFolder) {
    write("icon.bin", MacBinaryOf({"Icon\r", "ICNSMACS", 0, BytesOf("icns"), {}}));
    EXPECT_EQ(put("icon.bin"), CopyInResult::Done);
    EXPECT_EQ(put(""), CopyInResult::Done);
    EXPECT_EQ(paths(), (Lines{".VolumeIcon.icns", "Icon\r", "in", "in/Icon\r"}));
    for (const char* name : {"Icon\r", ".VolumeIcon.icns", "in/Icon\r"}) {
        EXPECT_EQ(volume_.find(name)->finderFlags, 0x4000) << name;
        EXPECT_EQ(data(name), "icns");
    }
    for (const char* folder : {"", "in"})
        EXPECT_EQ(volume_.find(folder)->finderFlags & 0x0500, 0x0400) << folder;
}

TEST_P(CopyInTest, WhatIsThereStaysUnlessItMayGo) {
    const struct {
        ExistingFiles existing;
        Answer answer;
        CopyInResult result;
        const char* contents;
    } cases[] = {
        {ExistingFiles::Keep, Answer::Yes, CopyInResult::LeftOut, "old"},
        {ExistingFiles::Ask, Answer::No, CopyInResult::LeftOut, "old"},
        {ExistingFiles::Ask, Answer::Yes, CopyInResult::Done, "new"},
        {ExistingFiles::Replace, Answer::No, CopyInResult::Done, "newer"},
    };
    write("f", "old");
    ASSERT_EQ(put("f"), CopyInResult::Done);
    for (const auto& c : cases) {
        write("f", c.contents == std::string("old") ? "never" : c.contents);
        messages_.answer = c.answer;
        EXPECT_EQ(put("f", {.existing = c.existing}), c.result);
        EXPECT_EQ(data("f"), c.contents);
        EXPECT_EQ(messages_.texts.size(), c.existing == ExistingFiles::Ask ? 1u : 0u);
    }
    // A folder stays closed unless it may be filled; file and folder never replace each other.
    fs::create_directory(in("sub"));
    EXPECT_EQ(put("sub"), CopyInResult::Done);
    write("sub/x", "x");
    EXPECT_EQ(put("sub"), CopyInResult::LeftOut);
    EXPECT_EQ(messages_.skipped, Lines{"sub: The folder sub\nexists already.\nAborting..."});
    EXPECT_EQ(put("sub", kReplacing), CopyInResult::Done);
    fs::remove_all(in("sub"));
    write("sub", "a file");
    EXPECT_EQ(put("sub", kReplacing), CopyInResult::LeftOut);
    fs::remove(in("f"));
    fs::create_directory(in("f"));
    EXPECT_EQ(put("f", kReplacing), CopyInResult::LeftOut);
    EXPECT_EQ(paths(), (Lines{"f", "sub", "sub/x"}));
}

TEST_P(CopyInTest, AFolderComesWithAllThatCanBeRead) {
    const Bytes companion = AppleFileOf(false, {{9, Bytes(32)}, {2, BytesOf("rsrc")}});
    write("tree/a", "a");
    write("tree/A", "A");  // the same name on the volume
    write("tree/.hid/deep/b", "b");
    write("tree/d", "data");
    write("tree/._d", companion);
    write("tree/journal", "never");
    write("tree/._orphan", companion);
    write("tree/._a", "no companion");
    fs::create_directory_symlink("..", in("tree/loop"));
    fs::create_directory_symlink("deep", in("tree/.hid/again"));
    fs::create_directory_symlink("deep", in("tree/.hid/twice"));
    fs::create_symlink("nowhere", in("tree/broken"));
    fs::create_symlink(path_, in("tree/image"));
    ASSERT_EQ(::mkfifo(in("tree/pipe").c_str(), 0600), 0);
    EXPECT_EQ(put("tree"), CopyInResult::Done);
    EXPECT_EQ(paths(), (Lines{"tree", "tree/._a", "tree/._orphan", "tree/.hid", "tree/.hid/again",
                              "tree/.hid/again/b", "tree/.hid/deep", "tree/.hid/deep/b", "tree/A",
                              "tree/a-78C7", "tree/d"}));
    EXPECT_EQ(
        messages_.skipped,
        (Lines{"twice: The folder that this link leads to has been copied through another "
               "link.",
               "broken: It is a symbolic link that leads nowhere.",
               "image: It is the image itself.", "loop: It leads back to a folder that it lies in.",
               "pipe: It is a pipe, a socket or a device."}));
    EXPECT_EQ(messages_.texts.size(), 2u) << "the two that are no companions";
    EXPECT_EQ(data("tree/A"), "A");
    EXPECT_EQ(volume_.find("tree/.hid")->finderFlags & 0x4000, 0x4000);
    EXPECT_EQ(volume_.find("tree/d")->resource.sizeBytes, 4u);
    EXPECT_EQ(copied_, 7u);
    EXPECT_EQ(
        put("tree", {.containers = ContainerPolicy::Never, .existing = ExistingFiles::Replace}),
        CopyInResult::Done);
    EXPECT_TRUE(volume_.find("tree/._d")) << "a file like others";
    expectSound();
}

TEST_P(CopyInTest, AFileThatChangesOrCannotBeReadIsLeftOutAndAWishEndsAll) {
    write("log.txt", "as it was");
    ASSERT_EQ(put("log.txt"), CopyInResult::Done);
    write("log.txt", "newer");
    progress_.onChunk = [&] { testing::WriteFile(in("log.txt"), BytesOf("newer and longer")); };
    EXPECT_EQ(put("log.txt", kReplacing), CopyInResult::LeftOut);
    EXPECT_EQ(messages_.skipped, Lines{"log.txt: It changed while it was copied."});
    EXPECT_EQ(data("log.txt"), "as it was");
    // The memory of a process has nothing at its first byte: the system's own file whose reads
    // fail.
    fs::create_symlink("/proc/self/mem", in("failing"));
    EXPECT_EQ(put("failing"), CopyInResult::LeftOut);
    EXPECT_EQ(messages_.skipped, Lines{"failing: It cannot be read: Input/output error."});
    progress_.left = 1;
    write("new/stopped", "never");
    EXPECT_EQ(put("new"), CopyInResult::Stopped);
    EXPECT_EQ(paths(), (Lines{"log.txt", "new"}));
}

}  // namespace
}  // namespace vellmark
