// Volumes that other programs made, read file by file.

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>

#include "volume/volume_bench.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using testing::Crc32;

struct Fork {
    std::uint32_t size;
    std::uint32_t crc;
};

// What a right reader sees; sizes and checksums come from other readers.
struct SampleFile {
    std::string_view path;
    std::string_view signature;
    Fork data;
    Fork resource;
};

constexpr Fork kNone = {0, 0};
const std::string_view kNoSignature("\0\0\0\0\0\0\0\0", 8);

const std::vector<SampleFile> kHfsBasic = {
    {"big.bin", "?\?\?\?UNIX", {70000, 0xEA35E55A}, kNone},
    {"café •", "?\?\?\?UNIX", {3000, 0x37A1B1E0}, kNone},
    {"empty", "?\?\?\?UNIX", kNone, kNone},
    {"eyeball.gif", "?\?\?\?\?\?\?\?", {2755, 0xB6DB4BBA}, kNone},
    {"unix.txt", "TEXTR*ch", {18, 0x094C5951}, kNone},
    {"Folder One/Text File", "TEXTR*ch", {21, 0x44E72DFD}, {1454, 0xC159E514}},
    {"Folder One/Deep/Exercise 4.6 App", "APPL?\?\?\?", kNone, {40102, 0xBB0DB108}},
    {"Folder One/Deep/Hands_m.eps", "EPSFART5", {49731, 0x8ABF780A}, {23096, 0x1C0BEA0F}},
};
const std::vector<SampleFile> kHfsNewfs = {
    {"unix.txt", "?\?\?\?UNIX", {18, 0x75F4D78B}, kNone},
};
// The program that copied one file in widened the bytes of its name with their signs.
const std::vector<SampleFile> kHfsPlusNewfs = {
    {"big.bin", kNoSignature, {70000, 0xEA35E55A}, kNone},
    {"empty", kNoSignature, kNone, kNone},
    {"link", "slnkrhap", {7, 0x90272C8F}, kNone},
    {"Folder One/unix.txt", kNoSignature, {18, 0x75F4D78B}, kNone},
    {"Folder One/Deep/caf\uFFC3\uFFA9 \uFFE6\uFF97\uFFA5\uFFE6\uFF9C\uFFAC",
     kNoSignature,
     {3000, 0x37A1B1E0},
     kNone},
};
const std::vector<SampleFile> kGptHfsPlus = {
    {"unix.txt", kNoSignature, {18, 0x75F4D78B}, kNone},
};

struct Sample {
    const char* file;
    const char* name;
    bool isHfsPlus;
    bool isBare;  ///< no partition map: for reading only
    const std::vector<SampleFile>* files;
};
const Sample kSamples[] = {
    {"vol/hfs_basic.img", "Basic Vol", false, true, &kHfsBasic},
    {"vol/hfs_newfs.img", "untitled", false, true, &kHfsNewfs},
    {"vol/hfsplus_newfs.img", "Plus Vol", true, true, &kHfsPlusNewfs},
    {"disk/gpt_hfsplus.img", "GptVol", true, false, &kGptHfsPlus},
};

void ExpectFork(VolumeContext& volume, const CatalogItem& item, bool resource, Fork expected) {
    const Bytes bytes = testing::ReadFork(volume, item, resource);
    EXPECT_EQ((resource ? item.resource : item.data).sizeBytes, expected.size) << item.name;
    EXPECT_EQ(bytes.size(), expected.size) << item.name;
    EXPECT_EQ(Crc32(bytes), expected.crc) << item.name << (resource ? " resource" : "");
}

TEST(ForeignVolume, SamplesOfOtherProgramsAreReadWhole) {
    const char* folder = std::getenv("VELLMARK_SAMPLES");
    if (folder == nullptr)
        GTEST_SKIP() << "VELLMARK_SAMPLES names no folder of samples";
    for (const Sample& sample : kSamples) {
        SCOPED_TRACE(sample.file);
        VolumeContext volume;
        ASSERT_TRUE(testing::Open(volume, std::string(folder) + "/" + sample.file));
        EXPECT_EQ(volume.isHfsPlus, sample.isHfsPlus);
        EXPECT_TRUE(volume.readOnlyReasons.any() || !sample.isBare);
        EXPECT_EQ(VolumeName(volume), sample.name);
        std::set<std::string> left;
        for (const SampleFile& file : *sample.files)
            left.emplace(file.path);
        Bytes many;
        const auto visit = [&](const std::string& path, const CatalogItem& item) {
            if (item.isFolder)
                return;
            if (path.starts_with("many/")) {
                const Bytes bytes = testing::ReadFork(volume, item, false);
                many.insert(many.end(), bytes.begin(), bytes.end());
                return;
            }
            EXPECT_EQ(left.erase(path), 1u) << path;
            for (const SampleFile& file : *sample.files)
                if (file.path == path) {
                    EXPECT_EQ(std::string_view(item.signature.data(), 8), file.signature);
                    ExpectFork(volume, item, false, file.data);
                    ExpectFork(volume, item, true, file.resource);
                }
        };
        EXPECT_EQ(testing::WalkVolume(volume, 1000, visit), TreeResult::Done);
        EXPECT_TRUE(left.empty()) << *left.begin();
        if (sample.files == &kHfsPlusNewfs) {
            EXPECT_EQ(many.size(), 1800u);
            EXPECT_EQ(Crc32(many), 0x82C560F4) << "300 files of 6 bytes, in the catalog's order";
        }
    }
}

// A volume made by hfsutils on the spot, with enough files for three levels of its catalog.
TEST(ForeignVolume, VolumesOfHfsutilsAreReadWhole) {
    if (!testing::IsInstalled("hformat"))
        GTEST_SKIP() << "hfsutils is not installed";
    const TemporaryFolder folder;
    const std::string image = folder.path() + "/image";
    ASSERT_TRUE(PcFile(image, PcFile::Mode::CreateNew).setSize(4 << 20));
    constexpr int kFiles = 150;
    for (int i = 0; i < kFiles; ++i) {
        PcFile file(folder.path() + "/File " + std::to_string(i), PcFile::Mode::CreateNew);
        ASSERT_TRUE(
            file.writeAt(0, Bytes(static_cast<std::size_t>(i * 37), static_cast<std::uint8_t>(i))));
    }
    const testing::CommandResult made = testing::RunCommand(
        folder.path(),
        "cd && hformat -l 'Of Others' image && hmount image && hmkdir Sub "
        "&& hmkdir :Sub:Deeper && hcd :Sub:Deeper && hcopy -r File* : && humount");
    ASSERT_EQ(made.status, 0) << made.output;
    VolumeContext volume;
    ASSERT_TRUE(testing::Open(volume, image));
    EXPECT_EQ(VolumeName(volume), "Of Others");
    EXPECT_TRUE(volume.readOnlyReasons.any());
    EXPECT_GE(volume.catalog.header().depth, 3);
    int files = 0;
    const auto visit = [&](const std::string& path, const CatalogItem& item) {
        if (item.isFolder)
            return;
        ++files;
        const std::string start = "Sub/Deeper/File ";
        ASSERT_TRUE(path.starts_with(start)) << path;
        const int number = std::stoi(path.substr(start.size()));
        EXPECT_EQ(testing::ReadFork(volume, item, false),
                  Bytes(static_cast<std::size_t>(number * 37), static_cast<std::uint8_t>(number)));
    };
    EXPECT_EQ(testing::WalkVolume(volume, 1000, visit), TreeResult::Done);
    EXPECT_EQ(files, kFiles);
    std::optional<CatalogItem> item;
    EXPECT_EQ(FindPath(volume, "SUB/deeper/fILE 77", testing::kClock, item), TreeResult::Done);
    ASSERT_TRUE(item);
    EXPECT_EQ(item->data.sizeBytes, 77u * 37);
}

}  // namespace
}  // namespace vellmark
