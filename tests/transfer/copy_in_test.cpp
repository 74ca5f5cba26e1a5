// Files and folders of the PC in a volume: what each kind of file becomes, and what is left out.
// Containers are made by hand after their published formats.
#include "transfer/copy_in.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <tuple>

#include "containers/codec_bench.hpp"
#include "volume/volume_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using testing::Append;
using testing::Be;
using testing::Bytes;
using testing::BytesOf;
using testing::kClock;

constexpr UnixSeconds kDate = 1'588'748'890;  // 2020-05-06 07:08:10 UTC
constexpr MacSeconds kMacDate = 3'671'593'690;
constexpr MacSeconds kNowMac = 3'082'844'800;
constexpr MacSeconds kToldDate = 0xB0000000;  // local time

Bytes MacBinaryOf(const testing::MacFile& file, MacSeconds created, MacSeconds modified) {
    Bytes bytes = {0, static_cast<std::uint8_t>(file.name.size())};
    Append(bytes, BytesOf(file.name));
    bytes.resize(65);
    Append(bytes, BytesOf(file.signature));
    Append(bytes, Be(file.flags, 2));
    bytes.resize(83);
    for (const std::uint64_t field :
         {file.data.size(), file.resource.size(), std::size_t{created}, std::size_t{modified}})
        Append(bytes, Be(field, 4));
    bytes.resize(128);
    Append(bytes, file.data);
    if (!file.resource.empty())
        bytes.resize((bytes.size() + 127) / 128 * 128);
    Append(bytes, file.resource);
    return bytes;
}

// Finder's information, resource fork, and the data fork of AppleSingle.
Bytes AppleFileOf(const testing::MacFile& file, bool isSingle) {
    Bytes bytes = Be(isSingle ? 0x00051600 : 0x00051607, 4);
    Append(bytes, Be(0x00020000, 4));
    bytes.resize(24);
    Append(bytes, Be(3, 2));
    const std::size_t lengths[] = {32, file.resource.size(), file.data.size()};
    const std::uint64_t ids[] = {9, 2, 1};
    std::size_t offset = 62;
    for (std::size_t i = 0; i < 3; ++i) {
        Append(bytes, Be(ids[i], 4));
        Append(bytes, Be(offset, 4));
        Append(bytes, Be(lengths[i], 4));
        offset += lengths[i];
    }
    Append(bytes, BytesOf(file.signature));
    Append(bytes, Be(file.flags, 2));
    bytes.resize(62 + 32);
    Append(bytes, file.resource);
    Append(bytes, file.data);
    return bytes;
}

// A resource fork whose type list has that type alone.
Bytes ForkWithType(std::string_view type) {
    Bytes fork;
    for (const std::uint64_t field : {256, 256, 0, 38})
        Append(fork, Be(field, 4));
    fork.resize(256 + 28);
    Append(fork, Be(0, 2));
    Append(fork, BytesOf(type));
    fork.resize(256 + 38);
    return fork;
}

class AskedMessages final : public testing::KeptMessages {
  public:
    void itemSkipped(std::string_view item, std::string_view reason) override {
        skipped.push_back(fs::path(item).filename().string() + ": " + std::string(reason));
    }
    [[nodiscard]] bool askYesNo(std::string_view question) override {
        texts.emplace_back(question);
        return confirms;
    }
    [[nodiscard]] Answer askYesNoRemember(std::string_view question) override {
        texts.emplace_back(question);
        return answer;
    }
    Answer answer = Answer::Yes;
    bool confirms = true;
    std::vector<std::string> skipped;
};

class StoppingProgress final : public Progress {
  public:
    [[nodiscard]] bool chunk(std::uint64_t) override {
        if (onChunk)
            onChunk();
        return --left > 0;
    }
    int left = 1'000'000;
    std::function<void()> onChunk;
};

class CopyInTest : public ::testing::TestWithParam<bool> {
  protected:
    const bool isHfsPlus_ = GetParam();

    void SetUp() override {
        path_ = testing::FormatSmall(folder_, isHfsPlus_);
        open();
        fs::create_directory(in());
    }
    void open() { ASSERT_TRUE(volume_.open(path_)); }
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
        CopyIn batch(volume_, options, signatures_, messages_, progress_, kClock);
        const CopyInResult result = CopyItemIn(batch, in(name), kRootFolderId);
        copied_ = batch.filesCopied;
        return result;
    }
    std::optional<CatalogItem> find(std::string_view path) {
        std::optional<CatalogItem> item;
        EXPECT_EQ(FindPath(volume_, path, kClock, item), TreeResult::Done) << path;
        return item;
    }
    std::string data(const std::string& path) {
        const auto item = find(path);
        if (!item)
            return "nothing";
        const Bytes bytes = testing::ReadFork(volume_, *item, false);
        return {bytes.begin(), bytes.end()};
    }
    std::vector<std::string> paths() {
        std::vector<std::string> paths;
        EXPECT_EQ(testing::WalkVolume(
                      volume_, 1000,
                      [&](const std::string& path, const CatalogItem&) { paths.push_back(path); }),
                  TreeResult::Done);
        std::sort(paths.begin(), paths.end());
        return paths;
    }
    [[nodiscard]] MacSeconds local(MacSeconds gmt) const { return isHfsPlus_ ? gmt : gmt + 3600; }

    TemporaryFolder folder_;
    std::string path_;
    testing::TestVolume volume_;
    SignatureTable signatures_ = SignatureTable::Parse("TXT,TEXTttxt,\r\nHQX,TEXTBnHq,\r\n", false);
    AskedMessages messages_;
    StoppingProgress progress_;
    std::uint64_t copied_ = 0;
};

TEST_P(CopyInTest, EachClassBecomesItsMacintoshFile) {
    const testing::MacFile mac = {"A/b", "APPLtest", 0x0140, testing::Pattern(129),
                                  ForkWithType("BNDL")};
    const testing::MacFile bare = {"bare", std::string(8, '\0'), 0, {}, ForkWithType("CODE")};
    const MacSeconds told = isHfsPlus_ ? kToldDate - 3600 : kToldDate;
    const MacSeconds pc = local(kMacDate);
    const MacSeconds now = local(kNowMac);
    const CopyInOptions plain = {.containers = ContainerPolicy::Never};
    const CopyInOptions resource = {.mode = CopyMode::ResourceFork};
    const CopyInOptions typed = {.type = {{'a', 'b', 'c', ' '}}};
    const Bytes binary = MacBinaryOf(mac, kToldDate, 0);
    const Bytes none;
    const Bytes abc = BytesOf("abc");
    const Bytes undated = MacBinaryOf(bare, 0, 0);
    const Bytes hex = testing::BinHexOf(mac);
    const Bytes one = AppleFileOf(mac, true);
    const Bytes bareOne = AppleFileOf(bare, true);
    const Bytes beside = AppleFileOf(mac, false);
    const Bytes& fork = mac.resource;
    const std::string zero = bare.signature;
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
        MacSeconds created;
        Bytes data;
        Bytes resource;
    } cases[] = {
        {"a.txt", abc, none, {}, "a.txt", "TEXTttxt", 0, pc, abc, none},
        {"a.xyz", none, none, {}, "a.xyz", text, 0, pc, none, none},
        {".a", none, none, {}, ".a", text, 0x4000, pc, none, none},
        {"b.txt", none, none, typed, "b.txt", "abc ttxt", 0, pc, none, none},
        {"r", fork, none, resource, "r", text, 0x2000, pc, none, fork},
        {"x", binary, none, {}, "A:b", test, 0x2140, told, mac.data, fork},
        {"x0", undated, none, {}, "bare", zero, 0, now, none, bare.resource},
        {"y", binary, none, plain, "y", text, 0, pc, binary, none},
        {"x.hqx", hex, none, {}, "A:b", test, 0x2140, now, mac.data, fork},
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
        const auto item = find(c.shown);
        ASSERT_TRUE(item);
        EXPECT_EQ(std::string(item->signature.data(), 8), c.signature);
        EXPECT_EQ(item->finderFlags, c.flags);
        EXPECT_EQ(item->dates.created, c.created);
        EXPECT_EQ(item->dates.modified, c.created);
        EXPECT_TRUE(testing::ReadFork(volume_, *item, false) == c.data);
        EXPECT_TRUE(testing::ReadFork(volume_, *item, true) == c.resource);
    }
    ASSERT_EQ(volume_.flush(), TreeResult::Done);
    testing::ExpectReadersFindNoFault(path_);
}

TEST_P(CopyInTest, StreamsOfAServerAreForks) {
    write("a.txt", "data");
    const auto set = [&](const char* name, const Bytes& value) {
        return ::setxattr(in("a.txt").c_str(), name, value.data(), value.size(), 0) == 0;
    };
    const Bytes fork = ForkWithType("CODE");
    if (!set("user.AFP_Resource", fork))
        GTEST_SKIP() << "the file system keeps no attributes of users";
    Bytes info = BytesOf(std::string("AFP\0\0\1\0\0\0\0\0\0\0\0\0\0APPLtest\x40", 25));
    info.resize(60);
    for (const char* signature : {"TEXTttxt", "APPLtest"}) {
        EXPECT_EQ(put("a.txt", {.existing = ExistingFiles::Replace}), CopyInResult::Done);
        const auto item = find("a.txt");
        ASSERT_TRUE(item);
        EXPECT_EQ(std::string(item->signature.data(), 8), signature);
        EXPECT_EQ(item->finderFlags, 0) << "the server's flags stay outside";
        EXPECT_TRUE(testing::ReadFork(volume_, *item, true) == fork);
        EXPECT_EQ(data("a.txt"), "data");
        ASSERT_TRUE(set("user.AFP_AfpInfo", info));
    }
}

TEST_P(CopyInTest, AContainerIsTakenApartOnlyWithLeave) {
    const testing::MacFile mac = {"inside", "APPLtest", 0, testing::Pattern(500), {}};
    write("m", MacBinaryOf(mac, 0, 0));
    write("h.hqx", testing::BinHexOf(mac));
    messages_.answer = Answer::No;
    EXPECT_EQ(put("", {}), CopyInResult::Done);
    EXPECT_EQ(paths(), (std::vector<std::string>{"in", "in/h.hqx", "in/m"}));
    ASSERT_EQ(messages_.texts.size(), 2u);
    EXPECT_EQ(messages_.texts[0], "File\nh.hqx\nis a BinHex file.\nDo you want to convert it?");
    EXPECT_EQ(messages_.texts[1],
              "File\nm\nis a MacBinary file.\nDo you want to break up the container?");
    write("plain", "text");
    EXPECT_EQ(put("plain", {.mode = CopyMode::MacBinary}), CopyInResult::LeftOut);
    EXPECT_NE(messages_.skipped.at(0).find("is not a MacBinary file"), std::string::npos);
}

TEST_P(CopyInTest, DamagedContainersAreOfferedAndNamed) {
    const testing::MacFile mac = {"inside", "APPLtest", 0, testing::Pattern(500), {}};
    Bytes cut = MacBinaryOf(mac, 0, 0);
    cut.resize(600);  // 472 of 500 bytes
    Bytes wrong = testing::BinHexOf({"wrong", "APPLtest", 0, testing::Pattern(500), {}});
    wrong.resize(wrong.size() / 2);
    for (const auto& [name, shown, bytes] :
         {std::tuple{"m", "inside", cut}, {"h", "wrong", wrong}}) {
        write(name, bytes);
        messages_.confirms = false;
        // A header whose lengths go beyond the file is one of a plain file.
        EXPECT_EQ(put(name), bytes == cut ? CopyInResult::Done : CopyInResult::LeftOut);
        ASSERT_EQ(messages_.skipped.size(), 1u);
        EXPECT_NE(messages_.skipped[0].find("data fork"), std::string::npos);
        EXPECT_EQ(data(name), bytes == cut ? std::string(cut.begin(), cut.end()) : "nothing");
        EXPECT_FALSE(find(shown));
        messages_.confirms = true;
        EXPECT_EQ(put(name), CopyInResult::Done);
        EXPECT_EQ(messages_.texts.size(), 2u) << "what it is, and that it is damaged";
        const std::string kept = data(shown);
        EXPECT_GT(kept.size(), 100u);
        EXPECT_TRUE(BytesOf(kept) == Bytes(mac.data.begin(), mac.data.begin() + kept.size()));
        EXPECT_EQ(
            put(name, {.containers = ContainerPolicy::Always, .existing = ExistingFiles::Replace}),
            CopyInResult::Done);
        EXPECT_EQ(messages_.texts.size(), 1u) << "a remark";
    }
    // A companion that is cut leaves the file beside it whole, and is named.
    write("d.txt", "data");
    Bytes companion = AppleFileOf(mac, false);
    companion.resize(40);
    write("._d.txt", companion);
    EXPECT_EQ(put("d.txt", {.containers = ContainerPolicy::Always}), CopyInResult::Done);
    EXPECT_EQ(data("d.txt"), "data");
    ASSERT_EQ(messages_.texts.size(), 1u);
    EXPECT_NE(messages_.texts[0].find("._d.txt: The header"), std::string::npos);
    companion[25] = 1;
    companion[26 + 3] = 2;
    companion[26 + 11] = 200;
    companion.resize(38);  // a resource fork of 200 bytes that is not there
    write("._d.txt", companion);
    messages_.confirms = false;
    const std::string quote = "This file must be converted with BinHex 4.0, :they say";
    for (const char* name : {"d.txt", "quote"}) {
        write("quote", quote);
        EXPECT_EQ(put(name, {.existing = ExistingFiles::Replace}), CopyInResult::Done);
        EXPECT_EQ(data(name), std::string(name) == "quote" ? quote : "data");
        EXPECT_EQ(messages_.skipped.size(), 1u) << name << " comes without forks";
    }
    // BinHex without a name takes that of the PC.
    write("nameless.hqx", testing::BinHexOf({"", "APPLtest", 0, BytesOf("forks"), {}}));
    EXPECT_EQ(put("nameless.hqx", {.containers = ContainerPolicy::Always}), CopyInResult::Done);
    EXPECT_EQ(data("nameless.hqx"), "forks");
}

TEST_P(CopyInTest, ACustomIconMarksItsFolder) {
    write("icon.bin", MacBinaryOf({"Icon\r", "ICNSMACS", 0, BytesOf("icns"), {}}, 0, 0));
    EXPECT_EQ(put("icon.bin"), CopyInResult::Done);
    for (const char* name : {"Icon\r", ".VolumeIcon.icns"}) {
        ASSERT_TRUE(find(name)) << name;
        EXPECT_EQ(find(name)->finderFlags, 0x4000);
        EXPECT_EQ(data(name), "icns");
    }
    EXPECT_EQ(find("")->finderFlags & 0x0500, 0x0400);
    EXPECT_EQ(put(""), CopyInResult::Done);
    EXPECT_EQ(data("in/Icon\r"), "icns");
    EXPECT_EQ(data("in/.VolumeIcon.icns"), "nothing");
    EXPECT_EQ(find("in")->finderFlags & 0x0500, 0x0400);
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
    write("more", "more");
    fs::create_directory(in("sub"));
    EXPECT_EQ(put("sub"), CopyInResult::Done);
    write("sub/x", "x");
    EXPECT_EQ(put("sub"), CopyInResult::LeftOut);
    EXPECT_EQ(messages_.skipped.at(0), "sub: The folder sub\nexists already.\nAborting...");
    EXPECT_EQ(put("sub", {.existing = ExistingFiles::Replace}), CopyInResult::Done);
    EXPECT_EQ(data("sub/x"), "x");
    fs::remove_all(in("sub"));
    write("sub", "a file");
    EXPECT_EQ(put("sub", {.existing = ExistingFiles::Replace}), CopyInResult::LeftOut);
    fs::remove(in("f"));
    fs::create_directory(in("f"));
    EXPECT_EQ(put("f", {.existing = ExistingFiles::Replace}), CopyInResult::LeftOut);
    EXPECT_EQ(paths(), (std::vector<std::string>{"f", "sub", "sub/x"}));
}

TEST_P(CopyInTest, AFolderComesWithAllThatCanBeRead) {
    write("tree/a", "a");
    write("tree/A", "A");  // the same name on the volume
    write("tree/.hid/deep/b", "b");
    write("tree/d", "data");
    write("tree/._d", AppleFileOf({"", "APPLtest", 0, {}, BytesOf("rsrc")}, false));
    write("tree/journal", "never");
    write("tree/._orphan", AppleFileOf({"", "APPLtest", 0, {}, BytesOf("rsrc")}, false));
    write("tree/._a", "no companion");
    fs::create_directory_symlink("..", in("tree/loop"));
    fs::create_directory_symlink("deep", in("tree/.hid/again"));
    fs::create_directory_symlink("deep", in("tree/.hid/twice"));
    fs::create_symlink("nowhere", in("tree/broken"));
    fs::create_symlink(path_, in("tree/image"));
    ASSERT_EQ(::mkfifo(in("tree/pipe").c_str(), 0600), 0);
    EXPECT_EQ(put("tree"), CopyInResult::Done);
    EXPECT_EQ(paths(),
              (std::vector<std::string>{"tree", "tree/._a", "tree/._orphan", "tree/.hid",
                                        "tree/.hid/again", "tree/.hid/again/b", "tree/.hid/deep",
                                        "tree/.hid/deep/b", "tree/A", "tree/a-78C7", "tree/d"}));
    EXPECT_EQ(
        messages_.skipped,
        (std::vector<std::string>{
            "twice: The folder that this link leads to has been copied through another link.",
            "broken: It is a symbolic link that leads nowhere.", "image: It is the image itself.",
            "loop: It leads back to a folder that it lies in.",
            "pipe: It is a pipe, a socket or a device."}));
    EXPECT_EQ(messages_.texts.size(), 2u) << "the two that are no companions";
    EXPECT_EQ(data("tree/A"), "A");
    EXPECT_EQ(find("tree/.hid")->finderFlags & 0x4000, 0x4000);
    EXPECT_EQ(find("tree/d")->resource.sizeBytes, 4u);
    EXPECT_EQ(copied_, 7u);
    EXPECT_EQ(find("tree")->valence, 6u);
    ASSERT_EQ(volume_.flush(), TreeResult::Done);
    testing::ExpectReadersFindNoFault(path_);
}

TEST_P(CopyInTest, AFileThatChangesWhileItIsCopiedIsLeftOut) {
    write("log.txt", "as it was");
    ASSERT_EQ(put("log.txt"), CopyInResult::Done);
    write("log.txt", "newer");
    progress_.onChunk = [&] { testing::WriteFile(in("log.txt"), BytesOf("newer and longer")); };
    EXPECT_EQ(put("log.txt", {.existing = ExistingFiles::Replace}), CopyInResult::LeftOut);
    EXPECT_EQ(messages_.skipped,
              std::vector<std::string>{"log.txt: It changed while it was copied."});
    EXPECT_EQ(data("log.txt"), "as it was");
}

// The memory of a process has nothing at its first byte: the system's own file whose reads fail.
TEST_P(CopyInTest, AFileWhoseHeadCannotBeReadIsNoPlainFile) {
    fs::create_symlink("/proc/self/mem", in("failing"));
    EXPECT_EQ(put("failing"), CopyInResult::LeftOut);
    EXPECT_EQ(messages_.skipped,
              std::vector<std::string>{"failing: It cannot be read: Input/output error."});
}

TEST_P(CopyInTest, AFullVolumeOrAWishEndsTheBatch) {
    write("t/1", "small");
    write("t/2", Bytes(3'000'000));
    write("t/3", "small");
    EXPECT_EQ(put("t"), CopyInResult::BatchEnds);
    EXPECT_EQ(paths(), (std::vector<std::string>{"t", "t/1"}));
    EXPECT_EQ(messages_.skipped.at(0), "2: Not enough free space\non the target disk.\nAborting.");
    fs::remove(in("t/2"));
    progress_.left = 2;
    EXPECT_EQ(put("t", {.existing = ExistingFiles::Replace}), CopyInResult::Stopped);
    EXPECT_EQ(paths(), (std::vector<std::string>{"t", "t/1"}));
    ASSERT_EQ(volume_.flush(), TreeResult::Done);
    testing::ExpectReadersFindNoFault(path_);
}

INSTANTIATE_TEST_SUITE_P(BothFormats, CopyInTest, ::testing::Bool());

}  // namespace
}  // namespace vellmark
