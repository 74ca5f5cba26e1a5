// Files and folders of a volume on the PC: what each form holds, byte by byte, and what is left
// out.
#include "transfer/copy_out.hpp"

#include <gtest/gtest.h>

#include <map>

#include "support/pc_folder.hpp"
#include "transfer/transfer_bench.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/catalog_name.hpp"

namespace vellmark::testing {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using Files = std::map<std::string, Bytes>;

// Seconds since 1904, as the records have them.
constexpr MacSeconds kCreated = 0xB0000001;
constexpr MacSeconds kModified = 0xB0000002;
constexpr MacSeconds kBackedUp = 0xB0000003;
constexpr UnixSeconds kModifiedGmt = 0xB0000002 - kMacEpochOffset;
constexpr std::uint32_t kZone = 3600;  // of kClock

// Both halves of the Finder's information.
const Bytes kFinder =
    BytesOf(std::string_view("TEXTttxt\x21\x00\x00\x11\x00\x22\x00\x33@ABCDEFGHIJKLMNO", 32));

class CopyOutTest : public TransferTest {
  protected:
    void SetUp() override {
        TransferTest::SetUp();
        ASSERT_EQ(CreateFolder(volume_, "f", kRootFolderId, kClock, folderId_), TreeResult::Done);
    }
    // Puts a file into the folder "f".
    void add(const std::string& name, const Bytes& data, const Bytes& resource) {
        MemoryBytes dataSource(data);
        MemoryBytes resourceSource(resource);
        NewFile file;
        file.parentId = folderId_;
        file.name = NameOf(volume_, name);
        std::memcpy(&file.finder, kFinder.data(), sizeof file.finder);
        file.created = kCreated;
        file.modified = kModified;
        file.backedUp = kBackedUp;
        file.data = &dataSource;
        file.resource = &resourceSource;
        Progress progress;
        ASSERT_EQ(AddFileToCatalog(volume_, file, kClock, progress), StoreResult::Done) << name;
    }
    // Makes a field of a record something that this program would not write.
    void change(const std::string& path, std::size_t at, const Bytes& field) {
        const auto item = volume_.find(path).value();
        TreeCursor& catalog = volume_->catalog;
        bool found = false;
        ASSERT_EQ(FindKey(catalog, ItemKey(volume_, item.parentId, item.catalogName), found),
                  TreeResult::Done);
        const ByteSpan record = catalog.view().data(catalog.index);
        std::copy(field.begin(), field.end(), record.data() + at);
        ASSERT_TRUE(catalog.store->write(catalog.node, catalog.nodeBuffer));
    }

    // Copies the folder "f" to one of the same name.
    CopyOutResult get(CopyMode mode, NamingPolicy policy = NamingPolicy::Catalog,
                      ExistingFiles existing = ExistingFiles::Keep) {
        messages_.texts.clear();
        messages_.skipped.clear();
        CopyOutOptions options;
        options.mode = mode;
        options.naming.policy = policy;
        options.existing = existing;
        options.imagePath = path_;
        options.freeBytes = freeBytes_;
        CopyOut batch(volume_, options, signatures_, messages_, progress_, kClock);
        const CopyOutResult result = CopyItemOut(batch, volume_.find("f").value(), "f", pc("f"));
        foundDamage_ = batch.foundDamage;
        return result;
    }
    // Everything in the target folder, temporary files too.
    [[nodiscard]] Files made() const {
        Files made;
        for (const auto& entry : fs::recursive_directory_iterator(pc("f")))
            made[fs::relative(entry.path(), pc("f")).string()] =
                entry.is_directory() ? Bytes{} : ReadFile(entry.path());
        return made;
    }
    void clear() const {
        fs::remove_all(pc());
        fs::create_directory(pc());
    }

    std::uint32_t folderId_ = 0;
    std::function<std::uint64_t(const std::string&)> freeBytes_ = FreeBytes;
    bool foundDamage_ = false;
    const UnixSeconds modified_ = kModifiedGmt - (isHfsPlus_ ? 0 : kZone);
};
INSTANTIATE_TEST_SUITE_P(BothFormats, CopyOutTest, ::testing::Bool(), FormatName);

TEST_P(CopyOutTest, EachFormHoldsWhatItsFormatSays) {
    const Bytes data = Pattern(129, 1);
    const Bytes resource = Pattern(3000, 2);
    add("Note", data, resource);
    if (isHfsPlus_)
        change("f/Note", 24, Be(0xB0000004, 4));  // the last access
    const std::uint32_t zone = isHfsPlus_ ? kZone : 0;
    const Bytes binary = MacBinaryOf("Note", {kFinder.begin(), kFinder.begin() + 14}, data,
                                     resource, kCreated + zone, kModified + zone);
    const Bytes dates = Be(kCreated, 4) + Be(kModified, 4) +
                        Be(isHfsPlus_ ? 0xB0000004 : 0x80000000, 4) + Be(kBackedUp, 4);
    const Bytes single = AppleFileOf(true, {{8, dates}, {9, kFinder}, {2, resource}, {1, data}});
    const Bytes companion = AppleFileOf(false, {{8, dates}, {9, kFinder}, {2, resource}});
    const struct {
        std::uint32_t word;  // as settings keep the mode
        Files made;
    } cases[] = {{1, {{"Note", data}}},         {256 + 2, {{"Note", resource}}},
                 {512 + 4, {{"Note", binary}}}, {8, {{"Note", data}, {"._Note", companion}}},
                 {32, {{"Note", single}}},      {2 + 4, {{"Note", data}}}};
    for (const auto& c : cases) {
        clear();
        EXPECT_EQ(get(CopyModeOf(c.word)), CopyOutResult::Done) << c.word;
        EXPECT_TRUE(made() == c.made) << c.word;
        for (const auto& [name, bytes] : c.made)
            EXPECT_EQ(PcFactsOf(pc("f/" + name)).modified, modified_) << name;
    }
}

TEST_P(CopyOutTest, AFileWithoutTheWantedForkIsNamedOnceAndNotMade) {
    add("both", {1}, {2});
    add("data", {1}, {});
    add("none", {}, {});
    add("resource", {}, {2});
    EXPECT_EQ(get(CopyMode::DataFork), CopyOutResult::Done);
    EXPECT_TRUE((made() == Files{{"both", {1}}, {"data", {1}}, {"none", {}}}));
    EXPECT_EQ(messages_.texts, Lines{"File\nf/resource\nhas no data fork."});
    clear();
    messages_.hides = true;
    EXPECT_EQ(get(CopyMode::ResourceFork), CopyOutResult::Done);
    EXPECT_TRUE((made() == Files{{"both", {2}}, {"resource", {2}}}));
    EXPECT_EQ(messages_.texts, Lines{"File\nf/data\nhas no resource fork."}) << "not the second";
}

TEST_P(CopyOutTest, AFolderComesWithItsTreeItsNamesAndItsDate) {
    std::uint32_t inner = 0;
    ASSERT_EQ(CreateFolder(volume_, "back", folderId_, kClock, inner), TreeResult::Done);
    change("f/back", isHfsPlus_ ? 8 : 6, Be(folderId_, 4));  // leads back up
    change("f", isHfsPlus_ ? 16 : 14, Be(kModified, 4));
    std::uint8_t number = 0;
    for (const char* name : {"..", "a", "._a", "p.", "p.jpeg", "s:h"})
        add(name, {++number}, {});
    EXPECT_EQ(get(CopyMode::DataFork, NamingPolicy::OwnExtension), CopyOutResult::Done);
    const Files expected = {{"..TXT", {1}}, {"._a", {3}},    {"a.TXT", {2}},
                            {"p.TXT", {4}}, {"p.jpeg", {5}}, {"s:h.TXT", {6}}};
    EXPECT_TRUE(made() == expected);
    EXPECT_TRUE(foundDamage_) << "the folder in itself";
    EXPECT_EQ(PcFactsOf(pc("f")).modified, modified_);
    // The name of a companion is given away only once, and a damaged fork is left out alone.
    clear();
    change("f/p.", isHfsPlus_ ? 88 : 26, Be(1'000'000, isHfsPlus_ ? 8 : 4));  // in its one block
    EXPECT_EQ(get(CopyMode::AppleDouble), CopyOutResult::Done);
    ASSERT_EQ(messages_.skipped.size(), 2u);
    EXPECT_EQ(messages_.skipped[0],
              "a: Its second file would be ._a, a name that another item of its "
              "folder has on the PC.");
    EXPECT_TRUE(messages_.skipped[1].starts_with("p.: ")) << messages_.skipped[1];
    EXPECT_TRUE(made().contains("s:h"));
}

TEST_P(CopyOutTest, APairIsKeptOrReplacedAsOne) {
    add("a", {1}, {2});
    for (const auto existing : {ExistingFiles::Keep, ExistingFiles::Replace}) {
        clear();
        fs::create_directory(pc("f"));
        WriteFile(pc("f/._a"), {9});
        EXPECT_EQ(get(CopyMode::AppleDouble, NamingPolicy::Catalog, existing), CopyOutResult::Done);
        const bool isReplaced = existing == ExistingFiles::Replace;
        EXPECT_EQ(made().contains("a"), isReplaced);
        EXPECT_EQ(made().at("._a").size() > 1, isReplaced);
        EXPECT_EQ(messages_.skipped.size(), isReplaced ? 0u : 1u);
    }
}

TEST_P(CopyOutTest, NothingHalfWrittenStaysBehind) {
    add("a", {1}, Pattern(100'000));
    freeBytes_ = [](const std::string&) { return std::uint64_t{100'000}; };
    EXPECT_EQ(get(CopyMode::AppleDouble), CopyOutResult::BatchEnds) << "one byte is missing";
    EXPECT_EQ(messages_.texts, Lines{"Not enough free space\non the target disk.\nAborting."});
    EXPECT_TRUE(made().empty());
    freeBytes_ = FreeBytes;
    for (int left = 1; left < 4; ++left) {
        progress_.left = left;
        EXPECT_EQ(get(CopyMode::AppleDouble), CopyOutResult::Stopped);
        EXPECT_TRUE(made().empty()) << "stopped at step " << left;
    }
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
}

TEST(PcTargetName, FollowsThePolicy) {
    const SignatureTable table =
        SignatureTable::Parse("GIF,GIFfogle,\r\n,JPEGxxxx,\r\n\xC9T\xC9,ETE yyyy,\r\n", false);
    constexpr NamingPolicy kOwn = NamingPolicy::OwnExtension;
    constexpr NamingPolicy kAppend = NamingPolicy::Append;
    const struct {
        const char* name;
        const char* signature;
        NamingPolicy policy;
        bool extendsUnknown;
        const char* expected;
    } cases[] = {{"a", "GIFfogle", NamingPolicyOf(8 + 1), false, "a.GIF"},
                 {"a.b", "GIFfogle", kOwn, false, "a.b"},
                 {"a.b", "GIFfogle", NamingPolicyOf(32 + 6), false, "a.b.GIF"},
                 {"a", "ETE yyyy", kAppend, false, "a.\u00C9T\u00C9"},
                 {"a", "TEXT?\?\?\?", kOwn, false, "a.EXT"},
                 {"a", "zzzzzzzz", kOwn, true, "a.EXT"},
                 {"..", "zzzzzzzz", kOwn, false, "__"}};
    for (const auto& c : cases) {
        std::array<char, 8> signature;
        std::copy_n(c.signature, 8, signature.begin());
        EXPECT_EQ(PcTargetName(c.name, signature, {c.policy, "EXT", c.extendsUnknown}, table),
                  c.expected);
    }
}

}  // namespace
}  // namespace vellmark::testing
