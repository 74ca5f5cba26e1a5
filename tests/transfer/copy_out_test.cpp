// Files and folders of a volume on the PC: what each form holds, byte by byte, and what is left
// out. Catalog records and forks are made by hand.
#include "transfer/copy_out.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "containers/codec_bench.hpp"
#include "support/pc_folder.hpp"
#include "volume/volume_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using testing::Append;
using testing::Be;
using testing::Bytes;
using testing::BytesOf;
using testing::kClock;

// Seconds since 1904, as the records have them.
constexpr MacSeconds kCreated = 0xB0000001;
constexpr MacSeconds kModified = 0xB0000002;
constexpr MacSeconds kBackedUp = 0xB0000003;
constexpr MacSeconds kAccessed = 0xB0000004;
constexpr UnixSeconds kModifiedGmt = 0xB0000002 - kMacEpochOffset;
constexpr std::uint32_t kZone = 3600;  // of kClock

const Bytes kFInfo = BytesOf(std::string_view("TEXTttxt\x21\x00\x00\x11\x00\x22\x00\x33", 16));
const Bytes kFXInfo = BytesOf("@ABCDEFGHIJKLMNO");

void Put(Bytes& record, std::size_t at, const Bytes& bytes) {
    std::copy(bytes.begin(), bytes.end(), record.begin() + static_cast<std::ptrdiff_t>(at));
}

class CopyMessages final : public testing::KeptMessages {
  public:
    void itemSkipped(std::string_view item, std::string_view reason) override {
        skipped.push_back(std::string(item) + ": " + std::string(reason));
    }
    [[nodiscard]] bool showRememberable(std::string_view text) override {
        texts.emplace_back(text);
        return hides;
    }
    [[nodiscard]] Answer askYesNoRemember(std::string_view question) override {
        texts.emplace_back(question);
        return answer;
    }
    [[nodiscard]] std::optional<std::string> askFileName(std::string_view proposal) override {
        texts.emplace_back(proposal);
        return name;
    }
    bool hides = false;
    Answer answer = Answer::No;
    std::optional<std::string> name;
    std::vector<std::string> skipped;
};

class StoppingProgress final : public Progress {
  public:
    [[nodiscard]] bool chunk(std::uint64_t) override { return --left > 0; }
    int left = 1'000'000;
};

class CopyOutTest : public ::testing::TestWithParam<bool> {
  protected:
    const bool isHfsPlus_ = GetParam();
    const std::uint32_t blockSize_ = isHfsPlus_ ? 2048 : 512;

    void SetUp() override {
        path_ = testing::FormatSmall(folder_, isHfsPlus_);
        ASSERT_TRUE(testing::Open(volume_, path_));
        ASSERT_EQ(LoadNodeBitmap(volume_.catalog), TreeResult::Done);
        fs::create_directory(out());
    }
    [[nodiscard]] std::string out(const std::string& name = "") const {
        return folder_.path() + "/out" + (name.empty() ? "" : "/" + name);
    }

    void insert(std::uint32_t parent, std::u16string_view name, const Bytes& record) {
        const std::string narrow(name.begin(), name.end());
        const TreeKey key =
            isHfsPlus_ ? HfsPlusCatalogKey(parent, name) : HfsCatalogKey(parent, narrow);
        ASSERT_EQ(InsertTreeRecord(volume_.catalog, key, record), TreeResult::Done) << narrow;
    }
    // Writes a fork behind those before and tells of it in the record.
    void putFork(Bytes& record, bool resource, const Bytes& bytes) {
        const auto count = static_cast<std::uint32_t>((bytes.size() + blockSize_ - 1) / blockSize_);
        const std::uint64_t start = isHfsPlus_ ? 64 * 512 : (96 + 19) * 512;
        if (count > 0)
            testing::WriteAt(path_, start + std::uint64_t{nextBlock_} * blockSize_, bytes);
        const std::size_t at = isHfsPlus_ ? (resource ? 168 : 88) : (resource ? 36 : 26);
        Put(record, at, Be(bytes.size(), isHfsPlus_ ? 8 : 4));
        if (isHfsPlus_)
            Put(record, at + 12, Be(count, 4));
        const int width = isHfsPlus_ ? 4 : 2;
        const std::size_t extents = isHfsPlus_ ? at + 16 : (resource ? 86 : 74);
        Put(record, extents, Be(nextBlock_, width));
        Put(record, extents + static_cast<std::size_t>(width), Be(count, width));
        nextBlock_ += count;
    }
    // `change` may make the record something that no system wrote.
    void addFile(
        std::uint32_t parent, std::u16string_view name, const Bytes& data, const Bytes& resource,
        const std::function<void(Bytes&)>& change = [](Bytes&) {}) {
        Bytes record(isHfsPlus_ ? 248 : 102);
        record[isHfsPlus_ ? 1 : 0] = 2;
        Put(record, isHfsPlus_ ? 8 : 20, Be(nextId_++, 4));
        Put(record, isHfsPlus_ ? 48 : 4, kFInfo);
        Put(record, isHfsPlus_ ? 64 : 56, kFXInfo);
        const std::size_t dates = isHfsPlus_ ? 12 : 44;
        Put(record, dates, Be(kCreated, 4));
        Put(record, dates + 4, Be(kModified, 4));
        Put(record, isHfsPlus_ ? 28 : 52, Be(kBackedUp, 4));
        if (isHfsPlus_)
            Put(record, 24, Be(kAccessed, 4));
        putFork(record, false, data);
        putFork(record, true, resource);
        change(record);
        insert(parent, name, record);
    }
    void addFolder(std::uint32_t parent, std::u16string_view name, std::uint32_t id) {
        Bytes record(isHfsPlus_ ? 88 : 70);
        record[isHfsPlus_ ? 1 : 0] = 1;
        Put(record, isHfsPlus_ ? 8 : 6, Be(id, 4));
        Put(record, isHfsPlus_ ? 16 : 14, Be(kModified, 4));
        insert(parent, name, record);
    }

    CopyOutResult get(const std::string& path, const std::string& name,
                      CopyOutOptions options = {}) {
        messages_.texts.clear();
        messages_.skipped.clear();
        std::optional<CatalogItem> item;
        EXPECT_EQ(FindPath(volume_, path, kClock, item), TreeResult::Done);
        options.imagePath = path_;
        CopyOut batch(volume_, options, signatures_, messages_, progress_, kClock);
        const CopyOutResult result = CopyItemOut(batch, item.value(), path, out(name));
        leftOut_ = batch.itemsLeftOut;
        foundDamage_ = batch.foundDamage;
        return result;
    }
    CopyOutResult get(const std::string& path, CopyMode mode) {
        CopyOutOptions options;
        options.mode = mode;
        return get(path, path, options);
    }
    // Everything in the target folder, temporary files too.
    [[nodiscard]] std::map<std::string, Bytes> made() const {
        std::map<std::string, Bytes> made;
        for (const auto& entry : fs::recursive_directory_iterator(out()))
            made[fs::relative(entry.path(), out()).string() + (entry.is_directory() ? "/" : "")] =
                entry.is_directory() ? Bytes{}
                                     : testing::BytesAt(entry.path(), 0, entry.file_size());
        return made;
    }
    void clear() const {
        fs::remove_all(out());
        fs::create_directory(out());
    }

    TemporaryFolder folder_;
    std::string path_;
    VolumeContext volume_;
    SignatureTable signatures_ = SignatureTable::Parse("TXT,TEXTttxt,\r\n", false);
    CopyMessages messages_;
    StoppingProgress progress_;
    std::uint64_t leftOut_ = 0;
    bool foundDamage_ = false;

  private:
    std::uint32_t nextBlock_ = 520;
    std::uint32_t nextId_ = 100;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, CopyOutTest, ::testing::Bool(), [](const auto& test) {
    return std::string(test.param ? "HfsPlus" : "Hfs");
});

TEST_P(CopyOutTest, EachFormHoldsWhatItsFormatSays) {
    const Bytes data = testing::Pattern(129, 1);
    const Bytes resource = testing::Pattern(3000, 2);
    addFile(2, u"Note", data, resource);

    const std::uint32_t local = isHfsPlus_ ? kZone : 0;
    Bytes binary = {0, 4, 'N', 'o', 't', 'e'};
    binary.resize(65);
    Append(binary, {kFInfo.begin(), kFInfo.begin() + 14});
    binary.resize(83);
    for (const std::uint64_t field :
         {std::uint32_t{129}, std::uint32_t{3000}, kCreated + local, kModified + local})
        Append(binary, Be(field, 4));
    binary.resize(128);
    Append(binary, data);
    binary.resize(384);
    Append(binary, resource);
    binary.resize(3456);

    Bytes dates;
    for (const std::uint32_t date :
         {kCreated, kModified, isHfsPlus_ ? kAccessed : 0x80000000, kBackedUp})
        Append(dates, Be(date, 4));
    const auto appleFile = [&](std::uint64_t magic, const std::vector<std::uint64_t>& entries) {
        Bytes bytes = Be(magic, 4);
        Append(bytes, Be(0x00020000, 4));
        bytes.resize(24);
        Append(bytes, Be(entries.size() / 3, 2));
        for (const std::uint64_t field : entries)
            Append(bytes, Be(field, 4));
        for (const Bytes& part : {dates, kFInfo, kFXInfo, resource})
            Append(bytes, part);
        return bytes;
    };
    Bytes single = appleFile(0x00051600, {8, 74, 16, 9, 90, 32, 2, 122, 3000, 1, 3122, 129});
    Append(single, data);
    const Bytes sidecar = appleFile(0x00051607, {8, 62, 16, 9, 78, 32, 2, 110, 3000});

    const struct {
        std::uint32_t word;  // as settings keep the mode
        std::map<std::string, Bytes> made;
    } cases[] = {{1, {{"Note", data}}},         {256 + 2, {{"Note", resource}}},
                 {512 + 4, {{"Note", binary}}}, {8, {{"Note", data}, {"._Note", sidecar}}},
                 {32, {{"Note", single}}},      {0, {{"Note", data}}},
                 {2 + 4, {{"Note", data}}}};
    for (const auto& c : cases) {
        clear();
        EXPECT_EQ(get("Note", CopyModeOf(c.word)), CopyOutResult::Done) << c.word;
        EXPECT_TRUE(made() == c.made) << c.word;
        for (const auto& [name, bytes] : c.made)
            EXPECT_EQ(PcFactsOf(out(name)).modified, kModifiedGmt - (isHfsPlus_ ? 0 : kZone))
                << name;
    }
}

TEST_P(CopyOutTest, AFileWithoutTheWantedForkIsNamedOnceAndNotMade) {
    addFolder(2, u"f", 50);
    addFile(50, u"both", {1}, {2});
    addFile(50, u"data", {1}, {});
    addFile(50, u"none", {}, {});
    addFile(50, u"resource", {}, {2});
    addFile(50, u"resource too", {}, {2});
    const struct {
        CopyMode mode;
        std::map<std::string, Bytes> made;
        std::uint64_t leftOut;
        const char* first;
    } cases[] = {{CopyMode::DataFork,
                  {{"f/", {}}, {"f/both", {1}}, {"f/data", {1}}, {"f/none", {}}},
                  2,
                  "File\nf/resource\nhas no data fork."},
                 {CopyMode::ResourceFork,
                  {{"f/", {}}, {"f/both", {2}}, {"f/resource", {2}}, {"f/resource too", {2}}},
                  2,
                  "File\nf/data\nhas no resource fork."}};
    for (const bool hides : {false, true})
        for (const auto& c : cases) {
            clear();
            messages_.hides = hides;
            EXPECT_EQ(get("f", c.mode), CopyOutResult::Done);
            EXPECT_TRUE(made() == c.made);
            EXPECT_EQ(leftOut_, c.leftOut);
            ASSERT_EQ(messages_.texts.size(), hides ? 1u : 2u);
            EXPECT_EQ(messages_.texts[0], c.first);
        }
    clear();
    EXPECT_EQ(get("f", CopyMode::MacBinary), CopyOutResult::Done);
    EXPECT_EQ(made().size(), 6u) << "a container holds any file";
}

TEST_P(CopyOutTest, AFolderComesWithItsTreeItsNamesAndItsDate) {
    addFolder(2, u"Fold/er", 50);
    addFolder(50, u"Deep", 51);
    addFolder(51, u"again", 50);  // leads back up
    addFile(51, u"..", {1}, {});
    addFile(51, u"a", {2}, {});
    addFile(51, u"._a", {3}, {});
    addFile(51, u"p.", {4}, {});
    addFile(51, u"p.jpeg", {5}, {});
    CopyOutOptions options;
    options.naming.policy = NamingPolicy::OwnExtension;
    EXPECT_EQ(get("Fold:er", "x", options), CopyOutResult::Done);
    EXPECT_TRUE((made() == std::map<std::string, Bytes>{{"x/", {}},
                                                        {"x/Deep/", {}},
                                                        {"x/Deep/..TXT", {1}},
                                                        {"x/Deep/._a", {3}},
                                                        {"x/Deep/a.TXT", {2}},
                                                        {"x/Deep/p.TXT", {4}},
                                                        {"x/Deep/p.jpeg", {5}}}));
    EXPECT_TRUE(foundDamage_) << "the folder in itself";
    EXPECT_EQ(PcFactsOf(out("x/Deep")).modified, kModifiedGmt - (isHfsPlus_ ? 0 : kZone));
    EXPECT_EQ(PcFactsOf(out("x")).modified, kModifiedGmt - (isHfsPlus_ ? 0 : kZone));
    // The name of a sidecar is given away only once.
    clear();
    options.mode = CopyMode::AppleDouble;
    options.naming.policy = NamingPolicy::Catalog;
    EXPECT_EQ(get("Fold:er/Deep", "x", options), CopyOutResult::Done);
    ASSERT_EQ(messages_.skipped.size(), 1u);
    EXPECT_EQ(messages_.skipped[0],
              "Fold:er/Deep/a: Its second file would be ._a, a name that another item of its "
              "folder has on the PC.");
}

TEST_P(CopyOutTest, WhatExistsIsKeptReplacedOrAskedFor) {
    addFolder(2, u"f", 50);
    addFile(50, u"a", {1}, {2});
    const struct {
        ExistingFiles existing;
        NamingPolicy policy;
        Answer answer;
        CopyOutResult result;
        bool isReplaced;
        std::size_t texts;
        std::size_t skipped;
    } cases[] = {
        {ExistingFiles::Keep, NamingPolicy::Catalog, Answer::Yes, CopyOutResult::Done, false, 0, 1},
        {ExistingFiles::Replace, NamingPolicy::Ask, Answer::No, CopyOutResult::Done, true, 1, 0},
        {ExistingFiles::Ask, NamingPolicy::Catalog, Answer::No, CopyOutResult::Done, false, 1, 0},
        {ExistingFiles::Ask, NamingPolicy::Catalog, Answer::Yes, CopyOutResult::Done, true, 1, 0},
        // A name that a person has just chosen and that is taken ends the batch.
        {ExistingFiles::Ask, NamingPolicy::Ask, Answer::Yes, CopyOutResult::BatchEnds, false, 2,
         0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(static_cast<int>(&c - cases));
        clear();
        for (const char* name : {"f/a", "f/._a"}) {
            fs::create_directory(out("f"));
            testing::WriteFile(out(name), {9});
        }
        CopyOutOptions options;
        options.mode = CopyMode::AppleDouble;
        options.existing = c.existing;
        options.naming.policy = c.policy;
        messages_.answer = c.answer;
        messages_.name = "a";
        EXPECT_EQ(get("f", "f", options), c.result);
        EXPECT_EQ(made().at("f/a") == Bytes{1}, c.isReplaced);
        EXPECT_EQ(made().at("f/._a").size() > 1, c.isReplaced);
        EXPECT_EQ(messages_.texts.size(), c.texts);
        EXPECT_EQ(messages_.skipped.size(), c.skipped);
    }
    messages_.name.reset();
    CopyOutOptions options;
    options.naming.policy = NamingPolicy::Ask;
    clear();
    EXPECT_EQ(get("f", "f", options), CopyOutResult::BatchEnds) << "no name was given";
}

TEST_P(CopyOutTest, NothingHalfWrittenStaysBehind) {
    addFolder(2, u"f", 50);
    addFile(50, u"a", {1}, testing::Pattern(100'000));
    addFile(50, u"b", {1}, {});
    CopyOutOptions options;
    options.mode = CopyMode::AppleDouble;
    options.freeBytes = [](const std::string&) { return std::uint64_t{100'000}; };
    EXPECT_EQ(get("f", "f", options), CopyOutResult::BatchEnds) << "one byte is missing";
    ASSERT_EQ(messages_.texts.size(), 1u);
    EXPECT_EQ(messages_.texts[0], "Not enough free space\non the target disk.\nAborting.");
    EXPECT_EQ(made().size(), 1u);
    options.freeBytes = FreeBytes;
    for (int left = 1; left < 4; ++left) {
        progress_.left = left;
        EXPECT_EQ(get("f", "f", options), CopyOutResult::Stopped);
        EXPECT_EQ(made().size(), 1u) << "stopped at step " << left;
    }
}

TEST_P(CopyOutTest, ADamagedForkIsNamedAndTheRestGoesOn) {
    addFolder(2, u"f", 50);
    const auto longer = [&](Bytes& record) {  // than its blocks
        Put(record, isHfsPlus_ ? 88 : 26, Be(1'000'000, isHfsPlus_ ? 8 : 4));
    };
    addFile(50, u"a", {1}, {2}, longer);
    addFile(50, u"b", {1}, {2});
    EXPECT_EQ(get("f", CopyMode::DataFork), CopyOutResult::Done);
    ASSERT_EQ(messages_.skipped.size(), 1u);
    EXPECT_TRUE(messages_.skipped[0].starts_with("f/a: ")) << messages_.skipped[0];
    EXPECT_EQ(made().size(), 2u);
    clear();
    EXPECT_EQ(get("f", CopyMode::ResourceFork), CopyOutResult::Done);
    EXPECT_EQ(made().size(), 3u) << "the other fork is whole";
}

TEST_P(CopyOutTest, ContentsThatAreStoredCompressedAreNamed) {
    if (!isHfsPlus_)
        GTEST_SKIP() << "HFS has no such files";
    const auto compressed = [](Bytes& record) {
        record[41] = 0x20;
        Put(record, 42, Be(0100644, 2));
    };
    const auto neverFilledIn = [](Bytes& record) { record[41] = 0x20; };
    addFile(2, u"packed", {}, {2}, compressed);
    addFile(2, u"plain", {1}, {2}, neverFilledIn);
    EXPECT_EQ(get("packed", CopyMode::AppleDouble), CopyOutResult::Done);
    ASSERT_EQ(messages_.texts.size(), 1u);
    EXPECT_NE(messages_.texts[0].find("packed: Its contents are stored compressed"),
              std::string::npos);
    EXPECT_EQ(get("plain", CopyMode::AppleDouble), CopyOutResult::Done);
    EXPECT_TRUE(messages_.texts.empty());
}

// The checksums are those of a table-driven CRC-16/XMODEM over the whole names, low digit first.
TEST(PcFileName, ANameThatIsTooLongIsCutAtACharacterAndKeepsItsExtension) {
    const std::string letters(200, 'n');
    std::string accents;
    for (int i = 0; i < 130; ++i)
        accents += "\u00E9";
    EXPECT_EQ(PcFileName(letters + letters), letters + std::string(50, 'n') + "-E703");
    EXPECT_EQ(PcFileName(accents + ".txt", 254), accents.substr(0, 244) + "-43B6.txt");
    EXPECT_EQ(PcFileName(accents + ".pages", 254), accents.substr(0, 248) + "-9C06");
    EXPECT_EQ(PcFileName(letters + "\r", 203), letters + "\uF00D");
    EXPECT_NE(PcFileName(letters + letters + "1"), PcFileName(letters + letters + "2"));
}

TEST(PcTargetName, FollowsThePolicy) {
    const SignatureTable table =
        SignatureTable::Parse("GIF,GIFfogle,\r\n,JPEGxxxx,\r\n\xC9T\xC9,ETE yyyy,\r\n", false);
    constexpr std::array<char, 8> kGif = {'G', 'I', 'F', 'f', 'o', 'g', 'l', 'e'};
    constexpr std::array<char, 8> kJpeg = {'J', 'P', 'E', 'G', 'x', 'x', 'x', 'x'};
    constexpr std::array<char, 8> kAccents = {'E', 'T', 'E', ' ', 'y', 'y', 'y', 'y'};
    constexpr std::array<char, 8> kGeneric = {'T', 'E', 'X', 'T', '?', '?', '?', '?'};
    constexpr std::array<char, 8> kUnknown = {'z', 'z', 'z', 'z', 'z', 'z', 'z', 'z'};
    const struct {
        const char* name;
        std::array<char, 8> signature;
        NamingPolicy policy;
        bool extendsUnknown;
        const char* expected;
    } cases[] = {{"a", kGif, NamingPolicy::OwnExtension, false, "a.GIF"},
                 {"a", kGif, NamingPolicyOf(8 + 1), false, "a.GIF"},
                 {"a.", kGif, NamingPolicy::OwnExtension, false, "a.GIF"},
                 {"a.b", kGif, NamingPolicy::OwnExtension, false, "a.b"},
                 {"a.b", kGif, NamingPolicyOf(32 + 6), false, "a.b.GIF"},
                 {"a", kGif, NamingPolicy::Catalog, true, "a"},
                 {"a", kGif, NamingPolicy::Ask, true, "a"},
                 {"a", kJpeg, NamingPolicy::Append, true, "a"},
                 {"a", kAccents, NamingPolicy::Append, false, "a.\u00C9T\u00C9"},
                 {"a", kGeneric, NamingPolicy::OwnExtension, false, "a.EXT"},
                 {"a", kUnknown, NamingPolicy::OwnExtension, false, "a"},
                 {"a", kUnknown, NamingPolicy::OwnExtension, true, "a.EXT"},
                 {"..", kUnknown, NamingPolicy::OwnExtension, false, "__"}};
    for (const auto& c : cases)
        EXPECT_EQ(PcTargetName(c.name, c.signature, {c.policy, "EXT", c.extendsUnknown}, table),
                  c.expected)
            << c.name << " " << static_cast<int>(c.policy);
}

}  // namespace
}  // namespace vellmark
