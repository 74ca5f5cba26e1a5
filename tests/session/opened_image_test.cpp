// The image that a verb opens: what is refused, and what is asked about a compressed one.
#include "reading/reading_bench.hpp"
#include "session/volume_options.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/opened_volume.hpp"

// Behind the others, which know only one namespace called testing.
#include "IO/disk_image_maker.hpp"

namespace vellmark {
namespace {

using test::Bytes;
using test::Write;

class OpenedImage : public test::ReadingTest {
  protected:
    OpenedImage() {
        play("0 format v.img --size 1 --label V -q");
        plain_ = Bytes("v.img");
    }
    std::string plain_;
};

TEST_F(OpenedImage, WhatMayNotBeChangedIsChangedOnRequestAlone) {
    // The volume alone, cut out of its partition.
    const auto row = json({"info", "v.img"})["partitions"][0];
    Write("bare.img", plain_.substr(row["startSector"].get<std::size_t>() * 512,
                                    row["sectorCount"].get<std::size_t>() * 512));
    play(R"(
0 label bare.img
1 mkdir bare.img a => bare.img cannot be changed. It is a bare volume => --writable
0 info bare.img => changes      It is a bare volume
0 mkdir --writable bare.img a
0 attr v.img / --locked yes
1 mkdir v.img a => locked
0 mkdir v.img --writable a
1 attr v.img / --set invisible => locked
0 attr v.img / --locked no
0 mkdir v.img b
0 info v.img => partition [1] V (Type MacOS, size 1 MB): sector
0 tree v.img --partition 1
)");
}

// Catches a count that wraps round, a full folder that is called a full catalog, and a warning for
// each item.
TEST_F(OpenedImage, AnHfsFolderTakesAsManyItemsAsItCanCount) {
    play("0 mkdir v.img Full Other\nfile f => x\nfile g => x\nfile h => x");
    std::istringstream input;
    std::ostringstream output;
    CommandContext context{input, output, output, clock_};
    Terminal terminal(context, {});
    const std::pair<std::int32_t, std::string> cases[] = {
        {32'766, "0 mkdir v.img Full/a"},
        {0, "0! put v.img f g --to Full => more than 32,767 items"},
        {32'765, "0! mkdir v.img Full/b => more than 32,767 items"},
        {0, "1! mkdir v.img Full/c => The folder has 65,535 items"},
        {0, "1! mv v.img Other --to Full => The folder has 65,535 items"},
        {0, "1! put v.img h --to Full/d --parents -q => The folder has 65,535 items"},
        {0, "0 put v.img f --to Full --force -q"}};
    for (const auto& [more, line] : cases) {
        const auto opened = ChangedVolume::Open({"v.img"}, {}, terminal.messages);
        std::optional<CatalogItem> folder;
        ASSERT_EQ(FindPath(opened->volume(), "Full", clock_, folder), TreeResult::Done);
        ASSERT_EQ(AddToValence(opened->volume(), more, folder->id), TreeResult::Done);
        (void)opened->close(clock_);
        play(line);
        EXPECT_LE(test::CountIn(err_, " items"), 1) << err_;
    }
}

TEST_F(OpenedImage, ClosingWritesBackAndSaysWhenItCouldNot) {
    std::istringstream input;
    std::ostringstream output;
    CommandContext context{input, output, output, clock_};
    Terminal terminal(context, {});
    const auto change = [&] { return ChangedVolume::Open({"v.img"}, {}, terminal.messages); };
    ASSERT_TRUE(change());
    EXPECT_TRUE(Bytes("v.img") == plain_) << "let go, not closed";
    EXPECT_FALSE(change()->close(clock_));
    EXPECT_FALSE(Bytes("v.img") == plain_) << "the count of writes";
    const auto fail = [](VolumeContext& volume) {
        std::vector<std::uint8_t> sector(kSectorBytes);
        const Sector512 behind(volume.image->size() / kSectorBytes);
        EXPECT_NE(ReadSectors(volume.transferSlot, behind, sector), 0);
    };
    const auto changed = change();
    fail(changed->volume());
    EXPECT_TRUE(changed->close(clock_));
    const auto read = ReadVolume::Open({"v.img"}, {}, terminal.messages);
    fail(read->volume());
    EXPECT_TRUE(read->close());
}

TEST_F(OpenedImage, ACompressedOneIsExpandedAndKeptAsThePersonWants) {
    testing::ImageMaker maker;
    maker.table({testing::BlockOf(testing::kZlibBlock, testing::BytesOf(plain_))});
    const testing::Bytes made = maker.make();
    const std::string image(made.begin(), made.end());
    Write("d.dmg", image);
    maker.sectorCount = plain_.size() / 512 + 9;
    const testing::Bytes lacking = maker.make();
    Write("l.dmg", {reinterpret_cast<const char*>(lacking.data()), lacking.size()});
    play(R"(
3 ls l.dmg => l.dmg: Its tables leave out 9 of its
3 expand l.dmg l.img -q => Its tables leave out 9 of its
3 /DC l.dmg m.img => Its tables leave out 9 of its
1 rm d.dmg x => the verb expand makes a plain image
types => n\n
1! label d.dmg => Image d.dmg is compressed. Do you want to uncompress
types => y\nn\n
0! label d.dmg => Do you want to save the uncompressed image?
types => y\ny\nd.img\n
0! ls d.dmg => Name for d.img?
1! ls d.dmg => d.img exists already on the medium
types => y\ny\nd.img\ny\n
0! ls d.dmg => Do you want to overwrite it?
types => y\ny\nd.dmg\n
1! ls d.dmg => d.dmg is the compressed image itself
types => y\ny\nother\ny\n
0! label d.dmg New
types => y\nn\n
1! label d.dmg New => the verb expand makes a plain image
nobody
0 label other == New\n
)");
    EXPECT_TRUE(Bytes("d.dmg") == image && Bytes("d.img") == plain_);
}

}  // namespace
}  // namespace vellmark
