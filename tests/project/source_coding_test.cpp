// What the record of a file in a container holds: containers made by hand, byte
// by byte, each in both kinds of project.
#include "project/source_coding.hpp"

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include "containers/codec_bench.hpp"
#include "project/project_bench.hpp"

namespace vellmark {
namespace {

using test::Write;
using testing::Be;
using testing::BinHexOf;

constexpr std::uint32_t kOnDisk = 3'000'000'000;

std::string Field(std::uint64_t value, int width) {
    const testing::Bytes bytes = Be(value, width);
    return {bytes.begin(), bytes.end()};
}

std::string Zeros(std::size_t count) {
    return std::string(count, '\0');
}

struct MacBinaryBytes {
    std::string name = "Na:\x8Es";
    std::string signature = "TYPEcrea";
    std::uint32_t created = 0;
    std::uint32_t modified = 0;
    std::string data = "12345";
    std::string resource = "123";

    [[nodiscard]] std::string bytes() const {
        const std::string told = '\0' + Field(name.size(), 1) + name + Zeros(63 - name.size()) +
                                 signature + Zeros(10) + Field(data.size(), 4) +
                                 Field(resource.size(), 4) + Field(created, 4) + Field(modified, 4);
        return told + Zeros(128 - told.size()) + data + Zeros(128 - data.size()) + resource;
    }
};

struct Entry {
    std::uint32_t id;
    std::string bytes;
};

// A file of RFC 1740.
std::string AppleFile(std::uint32_t magic, const std::vector<Entry>& entries) {
    std::string table =
        Field(magic, 4) + Field(0x00020000, 4) + Zeros(16) + Field(entries.size(), 2);
    std::string bodies;
    const std::size_t start = 26 + 12 * entries.size();
    for (const Entry& entry : entries) {
        table +=
            Field(entry.id, 4) + Field(start + bodies.size(), 4) + Field(entry.bytes.size(), 4);
        bodies += entry.bytes;
    }
    return table + bodies;
}

std::string Finder(const std::string& signature, std::uint16_t flags) {
    return signature + Field(flags, 2) + Zeros(22);
}

std::string InfoStream(const std::string& signature) {
    return std::string("AFP\0\0\1\0\0", 8) + Zeros(8) + signature + Zeros(36);
}

class SourceCodingTest : public ::testing::Test {
  protected:
    // The record of the file `n.txt`; `damage_` is what is wrong with its forks.
    ProjectRecord record(bool isHfsPlus) {
        PcItem item;
        item.name = "n.txt";
        item.facts = PcFactsOf(path_);
        item.facts.modified = kOnDisk - kMacEpochOffset;
        Progress progress;
        const SourceCoding source = FindSourceCoding(path_, item.facts.sizeBytes, true, progress);
        EXPECT_FALSE(source.refusal);
        damage_ = source.damage.words(Language::English);
        ProjectRecord filled;
        filled.setSourceName("n.txt");
        FillFileRecord(
            filled, source, item, isHfsPlus,
            [](std::string_view) { return std::string("EXTNname"); }, FixedClock{0});
        return filled;
    }
    bool setStream(const char* name, const std::string& value) {
        return ::setxattr(path_.c_str(), name, value.data(), value.size(), 0) == 0;
    }

    TemporaryFolder folder_;
    std::string path_ = folder_.path() + "/n.txt";
    std::string companion_ = folder_.path() + "/._n.txt";
    std::string damage_;
};

std::string FlagsOf(const ProjectRecord& record) {
    std::string flags;
    const std::pair<bool, char> all[] = {
        {record.appleDouble(), 'D'},  {record.appleSingle(), 'S'},
        {record.macBinary(), 'M'},    {record.binHex(), 'B'},
        {record.customIcon(), 'c'},   {record.hiddenInHfs(), 'h'},
        {record.hiddenInIso(), 'i'},  {record.hiddenExtension(), 'x'},
        {record.unicodeOnDisk(), 'u'}};
    for (const auto& [isSet, letter] : all)
        flags += isSet ? std::string(1, letter) : "";
    return flags;
}

TEST_F(SourceCodingTest, EachContainerFillsTheRecord) {
    const std::string sidecar =
        AppleFile(0x00051607, {{9, Finder("TYPEcrea", 0x4410)}, {3, "a name"}, {2, "resource"}});
    const std::string single =
        AppleFile(0x00051600, {{1, "data"}, {2, "resource"}, {9, Finder("TYPEcrea", 0)}});
    const std::string macBinary = MacBinaryBytes{}.bytes();
    const testing::Bytes text =
        BinHexOf({"Te\x8Et", "TYPEcrea", 0x4400, testing::Pattern(700), testing::Pattern(30)});
    const std::string binHex(text.begin(), text.end());
    const struct {
        const char* what;
        std::string file;
        std::string companion;
        ForkCoding coding;
        std::string flags;
        std::uint32_t dataSize;
        std::uint32_t resourceSize;
        std::string signature;
        std::string hfsName;  // "" for what the PC's name gives
        std::string hfsPlusName;
    } cases[] = {
        {"nothing", "12345", "", ForkCoding::None, "", 5, 0, "EXTNname", "", ""},
        {"a companion that is none", "12345", "text", ForkCoding::None, "", 5, 0, "EXTNname", "",
         ""},
        {"AppleDouble", "12345", sidecar, ForkCoding::AppleFiles, "Dchx", 5, 8, "TYPEcrea", "", ""},
        {"no type and creator", "12345", AppleFile(0x00051607, {{9, Finder(Zeros(8), 0)}}),
         ForkCoding::AppleFiles, "D", 5, 0, "EXTNname", "", ""},
        {"AppleSingle", single, "", ForkCoding::AppleFiles, "S", 4, 8, "TYPEcrea", "", ""},
        {"AppleSingle in a pair is read by its own entries", single, sidecar,
         ForkCoding::AppleFiles, "DS", 4, 8, "TYPEcrea", "", ""},
        {"MacBinary", macBinary, "", ForkCoding::MacBinary, "M", 5, 3, "TYPEcrea", "Na_\x8Es",
         "Na_\xE9s"},
        {"a long name", MacBinaryBytes{.name = std::string(40, 'n')}.bytes(), "",
         ForkCoding::MacBinary, "M", 5, 3, "TYPEcrea", std::string(31, 'n'), std::string(40, 'n')},
        {"BinHex", binHex, "", ForkCoding::BinHex, "Bh", 700, 30, "TYPEcrea", "Te\x8Et", "Te\xE9t"},
    };
    for (const auto& c : cases) {
        std::filesystem::remove(companion_);
        Write(path_, c.file);
        if (!c.companion.empty())
            Write(companion_, c.companion);
        for (const bool isHfsPlus : {false, true}) {
            SCOPED_TRACE(c.what + std::string(isHfsPlus ? ", HFS+" : ", HFS"));
            const ProjectRecord found = record(isHfsPlus);
            EXPECT_EQ(damage_, "");
            EXPECT_EQ(found.coding(), c.coding);
            EXPECT_EQ(FlagsOf(found), c.flags);
            EXPECT_EQ(found.dataSize, c.dataSize);
            EXPECT_EQ(found.resourceSize, c.resourceSize);
            EXPECT_EQ(found.sourceSize, c.file.size());
            EXPECT_EQ(found.signature(), c.signature);
            EXPECT_EQ(found.hfsName(), isHfsPlus ? c.hfsPlusName : c.hfsName);
            EXPECT_EQ(found.modified, kOnDisk);
            EXPECT_EQ(found.created, kOnDisk);
        }
    }
}

TEST_F(SourceCodingTest, NamedStreamsCountWhenTheyTellSomething) {
    Write(path_, "12345");
    if (!setStream("user.AFP_AfpInfo", InfoStream("TEXTLMAN")))
        GTEST_SKIP() << "the file system keeps no attributes of users";
    EXPECT_EQ(record(false).coding(), ForkCoding::None) << "it never was on a Macintosh";
    ASSERT_TRUE(setStream("user.AFP_Resource", "resource"));
    EXPECT_EQ(record(false).coding(), ForkCoding::NamedStreams) << "a fork is not lost";
    EXPECT_EQ(record(false).signature(), "EXTNname");
    ASSERT_TRUE(setStream("user.AFP_AfpInfo", InfoStream("TYPEcrea")));
    for (const bool isHfsPlus : {false, true}) {
        const ProjectRecord found = record(isHfsPlus);
        EXPECT_EQ(found.signature(), "TYPEcrea");
        EXPECT_EQ(found.resourceSize, 8u);
        EXPECT_EQ(found.dataSize, 5u);
        EXPECT_EQ(found.hfsName(), "n.txt");
        EXPECT_EQ(FlagsOf(found), isHfsPlus ? "u" : "");
    }
    Write(companion_, AppleFile(0x00051607, {}));
    EXPECT_EQ(record(false).coding(), ForkCoding::AppleFiles) << "a companion comes first";
}

}  // namespace
}  // namespace vellmark
