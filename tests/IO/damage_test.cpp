// Readers of foreign bytes, given bytes that are wrong: each ends, and goes no further than the
// bytes allow (the sanitizers see that).
#include <gtest/gtest.h>

#include <functional>

#include "IO/boot_areas.hpp"
#include "IO/disk_bytes.hpp"
#include "IO/disk_image.hpp"
#include "IO/disk_image_maker.hpp"
#include "IO/iso_coverage.hpp"
#include "IO/iso_image.hpp"
#include "IO/raw_image.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

// Each gives how many things it found, or bytes it wrote.
std::size_t Scan(const Bytes& bytes) {
    const TemporaryFolder folder;
    MediumContext context;
    std::vector<PartitionEntry> list;
    EXPECT_EQ(OpenImage(context, MakeFile(folder, "disk", bytes)).result, OpenResult::Opened);
    (void)ScanMedium(context, list);
    MemoryBytes image(bytes);
    (void)FirstGptPartition(image);
    return list.size();
}

std::size_t Cover(const Bytes& bytes) {
    MemoryBytes image(bytes);
    (void)FindDiscForm(image);
    (void)FindBootAreas(image);
    return CoverIso(image).ranges.size();
}

std::size_t Expand(const Bytes& bytes) {
    const TemporaryFolder folder;
    MemoryBytes source(bytes);
    RecordedProgress progress;
    PcFile target(folder.path() + "/plain", PcFile::Mode::CreateNew);
    const ExpandResult result = ExpandImage(source, target, progress, {.threads = 2});
    EXPECT_EQ(result.end != ExpandEnd::Done, !result.problem.isNone());
    (void)ImageRefusal(source);
    return progress.counted;
}

TEST(Damage, EndsBounded) {
    Bytes mapped(48 * 512), guids(80 * 512);
    PutDescriptor(mapped, 512, 48);
    for (std::uint32_t i = 1; i <= 3; ++i)
        PutMapEntry(mapped, 512 * i, "n", "Apple_HFS", 10 * i, 10, 3);
    PutBootEntry(guids, 0, 0xEE, 1, 79);
    PutGptHeader(guids, 2, 128);
    PutGptEntry(guids, 1024, kHfsGuidBytes, 40, 50, u"n");
    ImageMaker image;
    for (const std::uint32_t type : {kRawBlock, kAdcBlock, kZlibBlock, kBzip2Block, kLzmaBlock})
        image.table({BlockOf(type, Sectors(2, type)), {kZeroBlock, 3}});
    const struct {
        Bytes whole;
        std::function<std::size_t(const Bytes&)> read;
        std::size_t from, to;  // bytes of which some are changed
        std::size_t most;      // that may be found or written
    } readers[] = {{mapped, Scan, 0, 2048, 512},
                   {guids, Scan, 440, 1400, 512},
                   {SmallDisc(), Cover, kPrimaryAt, 23 * kDiscSector, 2000},
                   {image.make(), Expand, 0, ~std::size_t{0}, 200u << 20}};
    for (const auto& reader : readers)
        for (std::size_t at = reader.from; at < std::min(reader.to, reader.whole.size()); at += 7) {
            Bytes bytes = reader.whole;
            for (const int value : {0xFF, 0x00, 0x7F, bytes[at] ^ 0x02}) {
                bytes[at] = static_cast<std::uint8_t>(value);
                ASSERT_LE(reader.read(bytes), reader.most) << at;
            }
            ASSERT_LE(reader.read(Slice(reader.whole, 0, at)), reader.most) << at;
        }
}

}  // namespace
}  // namespace vellmark
