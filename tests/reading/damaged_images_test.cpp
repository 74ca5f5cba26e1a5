// Whatever an image says, reading it ends: with the whole result, with a sentence, and never in a
// crash, for ever, or outside the folder that was named.
#include <algorithm>
#include <random>

#include "reading/reading_bench.hpp"

// Behind the other, where its namespace hides nothing.
#include "IO/iso_image.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::ReadingTest;
using test::Write;

constexpr int kRounds = 20;

class DamagedImageTest : public ReadingTest {
  protected:
    // Every verb once; what it leaves on the PC stays below `out`.
    void readAll(const std::string& what) {
        const std::vector<std::vector<std::string>> lines = {
            {"info", "bad.iso"},
            {"ls", "bad.iso", "-R", "--json"},
            {"tree", "bad.iso"},
            {"get", "bad.iso", "/", "-o", "out/joliet", "--as", "joliet"},
            {"get", "bad.iso", "/", "Sub Folder/Deep", "-o", "out"}};
        fs::remove_all("out");
        fs::create_directories("out");
        for (const auto& line : lines) {
            const int status = run(line);
            EXPECT_TRUE(status == 0 || status == 1 || status == 3) << what << status;
            EXPECT_EQ(status == 0, err_.empty()) << what << ": " << err_;
            if (line.back() == "--json" && !out_.empty()) {
                EXPECT_TRUE(nlohmann::json::accept(out_)) << what;
            }
        }
        for (const auto& [folder, count] : {std::pair{fs::path("."), 4}, std::pair{root(), 2}}) {
            const fs::directory_iterator all(folder);
            EXPECT_EQ(std::distance(begin(all), end(all)), count) << what << " in " << folder;
        }
    }
};

TEST_F(DamagedImageTest, FlippedBytesOfAHybrid) {
    std::mt19937 random(19'840'124);
    Write("in/Sub Folder/large.bin", "few bytes, as damage is to meet the tables");
    for (const char* format : {"--postgap", "--hfsplus"}) {
        make("disc.iso", {"--force", format});
        const std::string whole = Bytes("disc.iso");
        // Bytes that are 0 mostly fill up.
        std::vector<std::size_t> places;
        for (std::size_t at = 0; at < whole.size(); ++at)
            if (whole[at] != 0)
                places.push_back(at);
        for (int round = 0; round < kRounds; ++round) {
            std::string bad = whole;
            std::string what = format + (" round " + std::to_string(round)) + " bytes";
            for (auto flips = 1 + random() % 6; flips > 0; --flips) {
                const std::size_t at = places[random() % places.size()] + random() % 3;
                const auto value = static_cast<char>(random() % 3 == 0 ? 0xFF : random() % 256);
                if (at < bad.size())
                    bad[at] = value;
                what += " " + std::to_string(at);
            }
            Write("bad.iso", bad);
            readAll(what);
        }
    }
}

// Each directory has records of folders that begin within it and go on to the end of the disc, of
// itself and of the root: more ways than any walk could go.
TEST_F(DamagedImageTest, DirectoriesThatOverlapAreReadOnce) {
    constexpr std::uint32_t kSectors = 400;
    testing::Bytes disc(kSectors * testing::kDiscSector);
    testing::PutDescriptorOfTree(disc, testing::kPrimaryAt, 1, 18, "OVERLAP");
    testing::Put(disc, testing::kPrimaryAt + 166, both32((kSectors - 18) * 2048));
    disc[17 * testing::kDiscSector] = 255;
    testing::PutText(disc, 17 * testing::kDiscSector + 1, "CD001\1");
    for (std::uint32_t sector = 18; sector < kSectors; ++sector) {
        testing::DiscFolder folder(disc, sector * testing::kDiscSector, sector, 18);
        folder.add("ROOT", 2, 18, 2048);
        for (std::uint32_t first = sector; first < std::min(sector + 40, kSectors); ++first)
            folder.add("F" + std::to_string(first), 2, first, (kSectors - first) * 2048);
    }
    Write("bad.iso", {reinterpret_cast<const char*>(disc.data()), disc.size()});
    for (const char* line : {"1! info bad.iso", "1! tree bad.iso", "1! get bad.iso /"})
        play(line + std::string(" => in bytes of another folder => the rest is left out"));
}

}  // namespace
}  // namespace vellmark
