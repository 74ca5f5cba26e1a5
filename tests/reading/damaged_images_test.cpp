// Whatever an image says, reading it ends: with the whole result, with a sentence, and never in a
// crash, for ever, or outside the folder that was named.
#include <algorithm>
#include <numeric>
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
            {"ls", "bad.iso", "-lR"},
            {"ls", "bad.iso", "-R", "--json"},
            {"tree", "bad.iso"},
            {"get", "bad.iso", "/", "-o", "out/joliet", "--as", "joliet"},
            {"get", "bad.iso", "/", "Sub Folder/Deep", "-o", "out"}};
        fs::remove_all("out");
        fs::create_directories("out");
        for (const auto& line : lines) {
            const int status = run(line);
            EXPECT_TRUE(status == 0 || status == 1 || status == 3) << what << status << line[0];
            EXPECT_EQ(status == 0, err_.empty()) << what << ": " << err_;
            if (line.back() == "--json" && !out_.empty()) {
                EXPECT_TRUE(nlohmann::json::accept(out_)) << what;
            }
        }
        EXPECT_EQ(names("."), "bad.iso disc.iso in out ") << what;
        EXPECT_EQ(names(root()), "lock work ") << what;
    }

  private:
    static std::string names(const fs::path& folder) {
        std::set<std::string> sorted;
        for (const auto& entry : fs::directory_iterator(folder))
            sorted.insert(entry.path().filename().string() + " ");
        return std::accumulate(sorted.begin(), sorted.end(), std::string());
    }
};

TEST_F(DamagedImageTest, FlippedBytesOfAHybrid) {
    constexpr unsigned seed = 19'840'124;
    std::mt19937 random(seed);
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
            std::string what = "seed " + std::to_string(seed) + " " + format + " round " +
                               std::to_string(round) + " bytes";
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
        for (std::uint32_t i = 0; i < 40; ++i) {
            const std::uint32_t first = std::min(sector + i, kSectors - 1);
            folder.add("F" + std::to_string(100 * sector + i), 2, first, (kSectors - first) * 2048);
        }
    }
    Write("bad.iso", {reinterpret_cast<const char*>(disc.data()), disc.size()});
    for (const char* line : {"info bad.iso", "ls bad.iso -lR", "ls bad.iso -R --json",
                             "tree bad.iso", "get bad.iso /"}) {
        play("1! " + std::string(line) + " => in bytes of another folder");
        play("says => the rest is left out");
        EXPECT_LT(out_.size(), 200'000u) << line;
    }
}

TEST_F(DamagedImageTest, AnImageCutAnywhere) {
    make("disc.iso", {"--hfsplus"});
    const std::string whole = Bytes("disc.iso");
    for (std::size_t cut = 1; cut < whole.size(); cut += 1 + whole.size() / 15) {
        Write("bad.iso", whole.substr(0, cut));
        readAll("cut at " + std::to_string(cut));
    }
}

}  // namespace
}  // namespace vellmark
