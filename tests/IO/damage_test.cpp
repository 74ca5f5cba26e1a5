// Readers of foreign bytes, given bytes that are wrong: each ends, goes no further than the bytes
// allow (the sanitizers see that), and names the reason where it refuses them.
#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "IO/apple_map.hpp"
#include "IO/boot_areas.hpp"
#include "IO/disk_bytes.hpp"
#include "IO/disk_image.hpp"
#include "IO/disk_image_maker.hpp"
#include "IO/iso_coverage.hpp"
#include "IO/iso_image.hpp"
#include "IO/iso_reader.hpp"
#include "IO/raw_image.hpp"
#include "support/words.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

/// What a reader made of the bytes: so many things, none of them without end, or a reason.
struct Reading {
    std::size_t count = 0;
    bool isRefused = false;
    Reason reason = {};
};

Bytes GptDisk() {
    Bytes disk(80 * 512);
    PutBootEntry(disk, 0, 0xEE, 1, 79);
    PutGptHeader(disk, 2, 128);
    PutGptEntry(disk, 1024, kHfsGuidBytes, 40, 50, u"n");
    return disk;
}

Bytes MappedDisk() {
    Bytes disk(48 * 512);
    PutDescriptor(disk, 512, 48);
    for (std::uint32_t i = 1; i <= 3; ++i)
        PutMapEntry(disk, 512 * i, "n", "Apple_HFS", 10 * i, 10, 3);
    return disk;
}

Reading Scan(const Bytes& bytes) {
    const TemporaryFolder folder;
    MediumContext context;
    std::vector<PartitionEntry> list;
    EXPECT_EQ(OpenImage(context, MakeFile(folder, "disk", bytes)).result, OpenResult::Opened);
    const int result = ScanMedium(context, list);
    EXPECT_TRUE(result >= kNothingRecognised || result == kNoMacintoshPartition);
    MemoryBytes image(bytes);
    (void)FirstGptPartition(image);
    return {list.size()};
}

Reading WalkDisc(const Bytes& bytes) {
    MemoryBytes image(bytes);
    Reading reading{CoverIso(image).ranges.size()};
    (void)FindDiscForm(image);
    (void)FindBootAreas(image);
    const auto reader = IsoReader::Open(image);
    for (const IsoTree tree : {IsoTree::Iso, IsoTree::Joliet}) {
        if (!reader || (tree == IsoTree::Joliet && !reader->hasJoliet()))
            continue;
        IsoWalkGuard guard;
        std::vector<std::pair<IsoEntry, std::size_t>> open = {{reader->root(tree), 0}};
        while (!open.empty()) {
            const auto [folder, level] = std::move(open.back());
            open.pop_back();
            if (!guard.enter(folder, level))
                continue;
            const auto entries = reader->list(tree, folder);
            if (!entries) {
                reading.isRefused = true;
                reading.reason = entries.error();
                continue;
            }
            reading.count += entries->size();
            for (const IsoEntry& entry : *entries) {
                Bytes some(16);
                (void)IsoFileSource(image, entry).readAt(0, some);
                if (entry.isFolder)
                    open.emplace_back(entry, level + 1);
            }
        }
    }
    return reading;
}

Reading Expand(const Bytes& bytes) {
    const TemporaryFolder folder;
    MemoryBytes source(bytes);
    RecordedProgress progress;
    PcFile target(folder.path() + "/plain", PcFile::Mode::CreateNew);
    const ExpandResult result = ExpandImage(source, target, progress, {.threads = 2});
    EXPECT_LE(progress.counted, 200u << 20);
    (void)ImageRefusal(source);
    return {0, result.end != ExpandEnd::Done, result.problem};
}

Bytes DiskImage() {
    ImageMaker maker;
    for (const std::uint32_t type : {kRawBlock, kAdcBlock, kZlibBlock, kBzip2Block, kLzmaBlock})
        maker.table({BlockOf(type, Sectors(2, type)), {kZeroBlock, 3}});
    return maker.make();
}

Bytes FolderInsideItself() {
    Bytes disc = SmallDisc();
    Put(disc, kIsoRootAt + 68 + 2, both32(19));
    return disc;
}

TEST(Damage, EndsBoundedAndNamesTheReason) {
    const struct {
        std::string_view name;
        Bytes whole;
        std::function<Reading(const Bytes&)> read;
        std::size_t from, to;  ///< bytes of which each is changed
        std::size_t step;
        std::size_t most;  ///< that may be found
    } readers[] = {
        {"Apple map", MappedDisk(), Scan, 0, 2048, 7, kMostMapEntries},
        {"GUID table", GptDisk(), Scan, 440, 1400, 5, 512},
        {"ISO 9660", SmallDisc(), WalkDisc, kPrimaryAt, 23 * kDiscSector, 3, 2000},
        {"a folder inside itself", FolderInsideItself(), WalkDisc, kPrimaryAt, kPrimaryAt, 1, 20},
        {"disk image", DiskImage(), Expand, 0, ~std::size_t{0}, 19, 0},
    };
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (const auto& reader : readers) {
        const auto expectBounded = [&](const Bytes& bytes, std::size_t at) {
            const Reading reading = reader.read(bytes);
            ASSERT_LE(reading.count, reader.most) << reader.name << " at " << at;
            ASSERT_EQ(reading.isRefused, !reading.reason.isNone()) << reader.name << " at " << at;
        };
        expectBounded(reader.whole, 0);
        const std::size_t end = std::min(reader.to, reader.whole.size());
        for (std::size_t at = reader.from + random() % reader.step; at < end; at += reader.step) {
            Bytes bytes = reader.whole;
            // Filler far behind the last record is only tried with one value.
            const auto here = bytes.begin() + static_cast<std::ptrdiff_t>(at);
            const bool isFiller =
                at > 48 && std::all_of(here - 47, here + 1, [](std::uint8_t b) { return b == 0; });
            const int right = bytes[at];
            for (const int value : {0xFF, 0x00, 0x01, 0x7F, 0x80, right ^ 0x02, right ^ 0x20}) {
                bytes[at] = static_cast<std::uint8_t>(value);
                expectBounded(bytes, at);
                if (isFiller)
                    break;
            }
            if (at % 16 == 0)
                expectBounded(Bytes(reader.whole.begin(),
                                    reader.whole.begin() + static_cast<std::ptrdiff_t>(at)),
                              at);
        }
        for (int turn = 0; turn < 60; ++turn) {
            Bytes bytes = reader.whole;
            for (unsigned i = 0; i < 2 + random() % 30; ++i)
                bytes[reader.from + random() % (bytes.size() - reader.from)] =
                    static_cast<std::uint8_t>(random());
            expectBounded(bytes, 0);
        }
    }
}

}  // namespace
}  // namespace vellmark
