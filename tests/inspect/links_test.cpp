// Every link leads to a sector that analyses as what the link promises: on images of this program
// and of others, from the first sectors on, as far as links go.
#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <set>

#include "inspect/fork_page.hpp"
#include "inspect/structure_reader.hpp"
#include "inspect/tree_listing.hpp"
#include "reading/reading_bench.hpp"

namespace vellmark {
namespace {

using Code = StructureCode;
using namespace std::string_literals;
using test::Write;

/// What may stand where a link of that name leads.
const std::map<std::string, std::set<Code>> kPromises = {
    {"Go2", {Code::MasterDirectoryBlock, Code::HfsPlusHeader}},
    {"Go_hpp2", {Code::HfsPlusHeader}},
    {"But_Altern", {Code::MasterDirectoryBlock, Code::HfsPlusHeader}},
    {"But_MDBaltern", {Code::MasterDirectoryBlock}},
    {"But_VHBaltern", {Code::HfsPlusHeader}},
    {"go_posext1", {Code::TreeHeader}},
    {"go_poscat1", {Code::TreeHeader}},
    {"go_racine", {Code::LeafNode, Code::IndexNode}},
    {"go_prem", {Code::LeafNode}},
    {"go_dern", {Code::LeafNode}},
    {"go_amont", {Code::LeafNode, Code::IndexNode}},
    {"go_aval", {Code::LeafNode, Code::IndexNode}},
    {"go_pthtab", {Code::IsoPathTable}},
    {"go_pthtab2", {Code::IsoPathTable}},
    {"go_root", {Code::IsoDirectory}},
};

class LinksTest : public test::ReadingTest {
  protected:
    void makeBy(const std::string& program, const std::string& arguments) {
        if (std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) != 0)
            GTEST_SKIP() << program << " is not installed";
        ASSERT_EQ(std::system((program + " " + arguments + " >/dev/null 2>&1").c_str()), 0);
    }
    void look(const std::string& path) {
        auto file = std::make_shared<PcFile>(path, PcFile::Mode::Read);
        ASSERT_TRUE(file->isOpen());
        image_ = std::make_unique<InspectedImage>(file);
        whole_ = InspectWhole(file);
    }
    [[nodiscard]] Code codeAt(std::uint64_t sector) {
        const ForkPage page = ReadPage(*whole_.source, sector, {});
        return page.count == 0 ? Code::Unknown : IdentifySector(page.bytes, sector);
    }
    [[nodiscard]] std::string textAt(std::uint64_t sector, std::size_t count) {
        const ForkPage page = ReadPage(*whole_.source, sector, {});
        return {page.bytes.begin(), page.bytes.begin() + static_cast<std::ptrdiff_t>(count)};
    }
    Analysis analyse(std::uint64_t sector, Code as = Code::Unknown) {
        const auto analysis = AnalyseSector(*image_, whole_, {sector, as, Language::English});
        EXPECT_TRUE(analysis) << sector;
        EXPECT_FALSE(analysis && analysis->problem) << sector;
        return analysis ? *analysis : Analysis{};
    }

    void check(const Analysis& from, const SectorLink& link) {
        auto promise = kPromises.find(link.name);
        std::set<Code> wanted = promise == kPromises.end() ? std::set<Code>{} : promise->second;
        if (link.name == "position" && from.code == Code::IndexNode)
            wanted = {Code::LeafNode, Code::IndexNode};
        if (link.name == "position" && from.code == Code::IsoPathTable)
            wanted = {Code::IsoDirectory};
        if (from.form == "TSectPM" && !isVolume_)
            return;
        EXPECT_TRUE(wanted.empty() || wanted.count(codeAt(link.sector)) == 1)
            << from.form << " in sector " << from.sector << ": " << link.name << " to "
            << link.sector << ", which is " << static_cast<int>(codeAt(link.sector));
        const bool isOther = link.name.starts_with("But_");
        EXPECT_TRUE(!isOther || link.sector != from.sector) << from.sector;
        if (!wanted.empty() && (followsOthers_ || !isOther) && seen_.insert(link.sector).second)
            waiting_.push_back(link.sector);
    }

    /// Follows all links from these sectors on; the forms that were met.
    std::map<std::string_view, int> follow(std::vector<std::uint64_t> sectors) {
        std::map<std::string_view, int> forms;
        waiting_.assign(sectors.begin(), sectors.end());
        seen_ = {sectors.begin(), sectors.end()};
        while (!waiting_.empty()) {
            const Analysis analysis = analyse(waiting_.front());
            waiting_.pop_front();
            ++forms[analysis.form];
            isVolume_ = true;
            for (const AnalysedPage& page : analysis.pages)
                for (const AnalysedField& field : page.fields)
                    if (field.key == "type")
                        isVolume_ = field.value == "Apple_HFS";
            for (const SectorLink& link : analysis.links)
                check(analysis, link);
            for (const AnalysedPage& page : analysis.pages) {
                for (const AnalysedField& field : page.fields)
                    for (const SectorLink& link : field.links)
                        check(analysis, link);
                if (page.list)
                    for (const AnalysedRow& row : page.list->rows)
                        if (row.link)
                            check(analysis, *row.link);
                collect(analysis.form, page);
            }
        }
        return forms;
    }
    // Names of a list behind its form, with the sectors that they lead to.
    void collect(std::string_view form, const AnalysedPage& page) {
        if (page.list)
            for (const AnalysedRow& row : page.list->rows)
                if (row.link)
                    places_[std::string(form) + "/" + row.cells[0]] = row.link->sector;
    }

    /// All nodes that the headers of an image's trees count, and all their records.
    void expectWholeTrees(const std::string& path) {
        look(path);
        for (const InspectedVolume& volume : image_->volumes())
            for (const InspectedTree& tree : volume.trees) {
                const auto header = InspectedImage::NodeSector(volume, tree, 0);
                ASSERT_TRUE(header);
                const Analysis analysis = analyse(*header);
                EXPECT_TRUE(analysis.hasTree);
                std::map<std::string, std::uint64_t> told;
                for (const AnalysedField& field : analysis.pages[0].fields)
                    told[field.key] = field.number.value_or(0);
                auto listing = TreeListing::Open(*image_, whole_, *header);
                ASSERT_TRUE(listing);
                std::size_t nodes = 0;
                std::size_t records = 0;
                for (auto page = listing->next(3); !page.empty(); page = listing->next(3))
                    for (const ListedNode& node : page) {
                        EXPECT_FALSE(node.problem) << node.line().words(Language::English);
                        EXPECT_LE(page.size(), 3U);
                        ++nodes;
                        records += node.kind == 255 ? node.keys.size() : 0;
                    }
                EXPECT_EQ(nodes, told["busyNodes"]);
                EXPECT_EQ(records, told["leafRecords"]);
            }
    }

    std::unique_ptr<InspectedImage> image_;
    InspectedBytes whole_;
    std::map<std::string, std::uint64_t> places_;
    bool followsOthers_ = true;  ///< from the second header of a volume

  private:
    bool isVolume_ = true;
    std::deque<std::uint64_t> waiting_;
    std::set<std::uint64_t> seen_;
};

// So many files that the catalog has inner nodes.
void WriteMany(int count) {
    for (int i = 0; i < count; ++i)
        Write("in/Many/A file of number " + std::to_string(i), "content " + std::to_string(i));
}

TEST_F(LinksTest, OfHybridsOfThisProgram) {
    WriteMany(120);
    for (const bool plus : {false, true}) {
        make("disc.iso", plus ? std::vector<std::string>{"--hfsplus", "--free", "1M", "-f"}
                              : std::vector<std::string>{"--free", "1M", "-f"});
        look("disc.iso");
        // Driver descriptor, the entries of the map, the descriptors of the disc.
        auto forms = follow({0, 1, 2, 64, 68});
        EXPECT_EQ(forms["TSectER"], 1);
        EXPECT_EQ(forms["TSectPM"], 2);
        EXPECT_EQ(forms[plus ? "TSectHPP" : "TSectBD"], 2) << "both headers";
        EXPECT_EQ(forms["TSectB"], 2);
        EXPECT_GE(forms["TSectND"], 2);
        EXPECT_GE(forms["TBranche"], 1);
        EXPECT_EQ(forms["TSectISO"], 2);
        EXPECT_EQ(forms["TPathISO"], 4);
        EXPECT_EQ(forms["TRepISO"], 10) << "five folders in two trees";
        // All files of the folder, whose directory is longer than a sector of the disc.
        for (int i = 0; i < 120; ++i)
            for (const auto& [form, end] : {std::pair("TSectND", ""), std::pair("TRepISO", ";1")})
                EXPECT_EQ(
                    textAt(places_[form + "/A file of number "s + std::to_string(i) + end], 11)
                        .c_str(),
                    "content " + std::to_string(i))
                    << form << i;
        EXPECT_EQ(places_["TRepISO/LARGE.BIN;1"], places_["TSectND/large.bin"]);
    }
}

TEST_F(LinksTest, OfDiscsOfGenisoimage) {
    WriteMany(30);  // with more of them its catalog is wrong
    std::filesystem::remove("in/Sub Folder/Deep/caf\u00E9.txt");
    makeBy("genisoimage", "-hfs -J -l -quiet -V Theirs -hfs-volid Theirs -o disc.iso in");
    if (IsSkipped())
        return;
    look("disc.iso");
    followsOthers_ = false;  // the second header is one of an empty volume
    auto forms = follow({2, 64, 68});
    EXPECT_EQ(forms["TSectBD"], 1);
    EXPECT_EQ(forms["TSectB"], 2);
    EXPECT_GE(forms["TBranche"], 1);
    EXPECT_EQ(forms["TPathISO"], 4);
    EXPECT_EQ(textAt(places_["TSectND/A file of number 17"], 10), "content 17");
}

TEST_F(LinksTest, OfVolumesOfHformat) {
    Write("disk.img", std::string(2 << 20, '\0'));
    makeBy("hformat", "-l Theirs disk.img");
    if (IsSkipped())
        return;
    makeBy("hcopy", "'in/Read Me.txt' :");
    look("disk.img");
    EXPECT_EQ(codeAt(2), Code::MasterDirectoryBlock);
    auto forms = follow({2});
    EXPECT_EQ(forms["TSectBD"], 2);
    EXPECT_EQ(forms["TSectB"], 2);
    EXPECT_GE(forms["TSectND"], 1);
    EXPECT_EQ(textAt(places_["TSectND/Read Me"], 6), "hello\r");
}

// An HFS volume whose only contents are an HFS+ volume.
TEST_F(LinksTest, OfAWrapper) {
    run({"format", "plus.img", "-s", "2M", "-l", "Inner", "--hfsplus", "-q"});
    look("plus.img");
    ASSERT_EQ(image_->volumes().size(), 1U);
    const std::string inner = test::Bytes("plus.img").substr(image_->volumes()[0].start.byte());
    // Its place counts in blocks of the clump size, where a volume stands there.
    constexpr std::uint32_t kClump = 4096;
    for (const std::uint32_t block : {kClump, 2 * kClump}) {
        MasterDirectoryBlock mdb{};
        mdb.signature = kHfsSignature;
        mdb.bitmapStartSector = 3;
        mdb.allocationStartSector = 20;
        mdb.clumpSize = kClump;
        mdb.blockSize = block;
        mdb.totalBlocks = static_cast<std::uint16_t>(inner.size() / block + 8);
        mdb.embeddedSignature = kHfsPlusSignature;
        mdb.embeddedExtent = {5, static_cast<std::uint16_t>(inner.size() / block + 1)};
        const std::string header(reinterpret_cast<const char*>(&mdb), sizeof mdb);
        std::string disk(20 * kSectorBytes + 5 * kClump, '\0');
        disk.replace(2 * kSectorBytes, header.size(), header);
        disk += inner;
        disk.resize(20 * kSectorBytes + mdb.totalBlocks * block);
        Write("wrapped.img", disk + header + std::string(kSectorBytes, '\0'));
        look("wrapped.img");
        auto forms = follow({2});
        EXPECT_EQ(forms["TSectBD"], 2);
        EXPECT_EQ(forms["TSectHPP"], 2);
        EXPECT_EQ(forms["TSectB"], 2);
    }
}

TEST_F(LinksTest, TreesAreListedWithAllTheirNodes) {
    WriteMany(120);
    make("disc.iso");
    expectWholeTrees("disc.iso");
    // In a volume of that size the catalog has nodes of maps behind the header.
    run({"format", "large.img", "-s", "200M", "-l", "Large", "-q"});
    expectWholeTrees("large.img");
}

}  // namespace
}  // namespace vellmark
