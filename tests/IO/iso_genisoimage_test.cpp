// Discs that another program made, compared with the folder they were made from.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>

#include "IO/iso_image.hpp"
#include "IO/iso_reader.hpp"
#include "IO/sector_io.hpp"
#include "support/encoding.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using testing::Pattern;

/// Path to contents; folders have a "/" at their end and no contents.
using TreeModel = std::map<std::string, Bytes>;

void Gather(ByteSource& image, const IsoReader& reader, IsoTree tree, const IsoEntry& folder,
            const std::string& path, TreeModel& model) {
    std::string error;
    const auto entries = reader.list(tree, folder, error);
    ASSERT_TRUE(entries) << error;
    for (const IsoEntry& entry : *entries) {
        if (entry.isFolder) {
            model[path + entry.name + "/"];
            Gather(image, reader, tree, entry, path + entry.name + "/", model);
            continue;
        }
        Bytes contents(entry.sizeBytes);
        EXPECT_EQ(IsoFileSource(image, entry).readAt(0, contents), contents.size()) << entry.name;
        model[path + entry.name] = std::move(contents);
    }
}

TreeModel TreeOf(ByteSource& image, const IsoReader& reader, IsoTree tree) {
    TreeModel model;
    Gather(image, reader, tree, reader.root(tree), "", model);
    return model;
}

// Names that both trees can hold as they are, apart from their case in the ISO tree.
TreeModel SourceModel() {
    TreeModel model = {{"sub/", {}},
                       {"sub/deeper/", {}},
                       {"many/", {}},
                       {"readme.txt", Pattern(11)},
                       {"empty", {}},
                       {"sub/big.bin", Pattern(100'000)},
                       {"sub/deeper/x.y", Pattern(2048)}};
    for (int i = 100; i < 300; ++i)
        model["many/file" + std::to_string(i)] = Pattern(static_cast<std::size_t>(i));
    return model;
}

class OtherProgram : public ::testing::Test {
  protected:
    void SetUp() override {
        if (std::system("command -v genisoimage >/dev/null") != 0)
            GTEST_SKIP() << "genisoimage is not installed";
    }
    std::string make(const TreeModel& model, const std::string& options) {
        const std::string tree = folder_.path() + "/tree/";
        std::filesystem::create_directory(tree);
        for (const auto& [path, contents] : model) {
            const std::filesystem::path target = tree + path;
            std::filesystem::create_directories(target.parent_path());
            if (target.has_filename()) {
                PcFile file(target.string(), PcFile::Mode::CreateNew);
                EXPECT_TRUE(file.writeAt(0, contents)) << target;
            }
        }
        std::string image = folder_.path() + "/disc.iso";
        const std::string command =
            "genisoimage -quiet " + options + " -o " + image + " " + tree + " 2>/dev/null";
        EXPECT_EQ(std::system(command.c_str()), 0);
        return image;
    }
    TemporaryFolder folder_;
};

TEST_F(OtherProgram, BothTreesHoldWhatTheFolderHeld) {
    const TreeModel source = SourceModel();
    PcFile image(make(source, "-J -V LABEL -publisher 'SOME ONE'"), PcFile::Mode::Read);
    const auto reader = IsoReader::Open(image);
    ASSERT_TRUE(reader);
    ASSERT_TRUE(reader->hasJoliet());
    EXPECT_EQ(reader->info(IsoTree::Iso).volumeId, "LABEL");
    EXPECT_EQ(reader->info(IsoTree::Joliet).volumeId, "LABEL");
    EXPECT_EQ(reader->info(IsoTree::Iso).publisher, "SOME ONE");
    EXPECT_EQ(std::uint64_t{reader->info(IsoTree::Iso).spaceSize} * 2048, image.size());
    EXPECT_TRUE(TreeOf(image, *reader, IsoTree::Joliet) == source);
    TreeModel upper;
    for (const auto& [path, contents] : source)
        upper[AsciiUpper(path)] = contents;
    EXPECT_TRUE(TreeOf(image, *reader, IsoTree::Iso) == upper);
}

TEST_F(OtherProgram, JolietNamesComeInEveryScript) {
    const TreeModel source = {{"Voil\u00E0 \u65E5\u672C.txt", Pattern(3)},
                              {"a name of more than thirty-one characters.text", Pattern(4)}};
    PcFile image(make(source, "-J -joliet-long -input-charset utf-8"), PcFile::Mode::Read);
    const auto reader = IsoReader::Open(image);
    ASSERT_TRUE(reader);
    EXPECT_TRUE(TreeOf(image, *reader, IsoTree::Joliet) == source);
}

TEST_F(OtherProgram, ADiscWithoutJolietAndWithHiddenFiles) {
    PcFile image(make({{"seen", {}}, {"unseen", {}}}, "-hidden unseen"), PcFile::Mode::Read);
    const auto reader = IsoReader::Open(image);
    ASSERT_TRUE(reader);
    EXPECT_FALSE(reader->hasJoliet());
    std::string error;
    EXPECT_FALSE(reader->find(IsoTree::Iso, "seen", error)->hidden);
    EXPECT_TRUE(reader->find(IsoTree::Iso, "unseen", error)->hidden);
}

// A disc of another origin; the 2048 bytes of contents of each raw sector begin at byte 16.
TEST(OtherOrigin, ADiscReadFromARawImage) {
    const char* samples = std::getenv("VELLMARK_SAMPLES");
    const std::string path = std::string(samples ? samples : "") + "/raw/isofs-m1.bin";
    if (samples == nullptr || !std::filesystem::exists(path))
        GTEST_SKIP() << "VELLMARK_SAMPLES does not name a folder with raw/isofs-m1.bin";
    const Bytes raw = testing::ReadFile(path);
    Bytes cooked;
    for (std::size_t at = 0; at + 2352 <= raw.size(); at += 2352)
        cooked.insert(cooked.end(), raw.begin() + static_cast<std::ptrdiff_t>(at + 16),
                      raw.begin() + static_cast<std::ptrdiff_t>(at + 16 + 2048));
    MemoryBytes image(cooked);
    const auto reader = IsoReader::Open(image);
    ASSERT_TRUE(reader);
    // Names and sizes as `isoinfo -l` tells them.
    std::map<std::string, std::size_t> sizes;
    for (const auto& [name, contents] : TreeOf(image, *reader, IsoTree::Iso))
        sizes[name] = contents.size();
    EXPECT_EQ(sizes, (std::map<std::string, std::size_t>{
                         {"COPYING", 17992}, {"DOC/", 0}, {"DOC/README.TXT", 648}}));
}

}  // namespace
}  // namespace vellmark
