// Verbs that show bytes, structures and resources. What a structure holds is tried with them
// (tests/inspect).
#include "reading/reading_bench.hpp"
#include "session/mac_forks.hpp"

namespace vellmark {
namespace {

using test::AliasFork;
using test::Bytes;
using test::Write;

std::string Be32(std::uint64_t number) {
    return test::Be(number, 4);
}

// A fork with two resources of type `ab/c`, as the system writes them.
std::string ResourceFork() {
    const std::string data = Be32(5) + "first" + Be32(6) + "second";
    const std::string list = std::string("\0\0ab/c\0\1\0\x0A", 10);
    const std::string references = std::string("\0\x80\xFF\xFF", 4) + Be32(0) + Be32(0) +
                                   std::string("\0\x81\xFF\xFF", 4) + Be32(9) + Be32(0);
    const std::string map =
        std::string(24, '\0') + std::string("\0\x1C\0\0", 4) + list + references;
    std::string header = Be32(256) + Be32(256 + data.size()) + Be32(data.size()) + Be32(map.size());
    header.resize(256);
    return header + data + map;
}

class InspectVerbs : public test::ReadingTest {
  protected:
    InspectVerbs() {
        Write("Forks", std::string(600, 'd') + "needle");
        Write("fork", ResourceFork());
        play(R"(
0 format v.img -s 4M -l V
0 put v.img Forks fork -q
0 put v.img fork --mode resource --replace yes -q
)");
    }
};

TEST_F(InspectVerbs, DumpShowsSectorsOfImagesAndForks) {
    play(R"(
0 dump v.img => Sector 0, byte 0\n00000000  45 52 02 00
0 dump v.img Forks -s 1 => Sector 1, byte 512, sector
shows => \n00000592  64 64 64 64 64 64 64 64  6e 65 65 64 6c 65 00 00  ddddddddneedle  \n
0 dump v.img Forks -s 0x1 --base 16 => Sector 1, byte 200 => \n00000250  64
0 dump v.img Forks --count all => \n00000000  64 => \n00000512  64
0 dump v.img Forks --search needle => Found at byte 600\nSector 1,
0 dump v.img Forks --search-hex '64 6e65' --base 16 => Found at byte 257\nSector 1,
0 dump v.img Forks --search-hex 6464 --at-start -s 1 => Sector 1,
1 dump v.img Forks --search needle --at-start => No match found for needle
1 dump v.img Forks --search nothing => No match found for nothing
0 dump v.img fork --fork resource => \n00000000  00 00 01 00
1 dump v.img fork --fork data => it has no bytes
1 dump v.img Forks -s 2 => 2 is no sector: they go from 0 to 1
1 dump v.img Forks -s x => x is no sector
1 dump v.img / => / is a folder
1 dump v.img none => none
1 dump v.img '' => A PATH is empty
1 dump v.img --search '' => is no row of bytes
1 dump v.img --search ☺ => ☺ has characters that the table mac lacks
1 dump v.img --search-hex 123 => 123 is no row of bytes
2 dump v.img --search a --search-hex 61 => not both
2 dump v.img --count some => some is no number of sectors
0 dump v.img Forks --raw --count 0 ==
0 dump v.img Forks --raw --count 9
)");
    EXPECT_EQ(out_, Bytes("Forks"));
    play("0 dump v.img Forks --raw --search needle");
    EXPECT_EQ(out_, Bytes("Forks").substr(512));
    // The sector of the image that a page of a fork names holds the same bytes.
    play("0 dump v.img Forks -s 1");
    const std::string placed = out_.substr(out_.find("sector ") + 7);
    play("0 dump v.img --raw -s " + placed.substr(0, placed.find(' ')));
    EXPECT_EQ(out_.substr(0, 95), Bytes("Forks").substr(512) + '\0');
    // A disc without any tree is shown all the same.
    Write("blank.img", std::string(512, '\xE9'));
    play("0 dump blank.img --table dos => ΘΘΘΘΘΘΘΘΘΘΘΘΘΘΘΘ");
}

TEST_F(InspectVerbs, AnalyseShowsStructuresInWordsAndAsJson) {
    play(R"(
0 analyse v.img => Macintosh Device Descriptor Block (TSectER)\n => Sector Size:    512\n
0 --lang fr analyse v.img => Bloc descripteur de périphérique Macintosh
1 analyse v.img Forks => Unable to identify the sector.
0 analyse v.img Forks --as 10 => (TMBR) => 0x6464
0 analyse v.img Forks --as tmacbin => MacBinary File (TMacBin)
2 analyse v.img --as 18 => 18 is no structure
1 analyse v.img --tree => not the header of a B-tree
1 analyse v.img -s 99999 => they go from 0 to
)");
    const auto map = json({"analyse", "v.img", "-s", "2"});
    EXPECT_EQ(json({"--lang", "fr", "analyse", "v.img", "-s", "2"}), map);
    EXPECT_EQ(map["form"], "TSectPM");
    const auto& start = map["pages"][0]["fields"][2];
    EXPECT_EQ(start["key"], "start");
    EXPECT_EQ(start["offset"], 8);
    EXPECT_EQ(start["length"], 4);
    const auto header = json({"analyse", "v.img", "-s", start["links"][1]["sector"].dump()});
    EXPECT_EQ(header["code"], 2);
    const auto& catalog = header["pages"][3]["fields"][2];
    EXPECT_EQ(catalog["key"], "catalogTree1Position");
    const std::string sector = catalog["links"][0]["sector"].dump();
    EXPECT_EQ(json({"analyse", "v.img", "-s", sector})["form"], "TSectB");
    const auto nodes = json({"analyse", "v.img", "-s", sector, "--tree"})["nodes"];
    EXPECT_EQ(nodes[1]["kind"], 255);
    const auto leaf = json({"analyse", "v.img", "-s", nodes[1]["sector"].dump()});
    EXPECT_EQ(leaf["pages"][1]["list"]["rows"][2]["cells"][0], "fork");
    play("0 analyse v.img -s " + sector + " --tree => Node 1: leaf [00000001]");
}

TEST_F(InspectVerbs, ResourcesAreListedAndSaved) {
    Write("bad", ResourceFork().substr(0, 300));
    Write("twins", test::ForkOf("ab/c", {"one", "two"}));
    play(R"(
0 put v.img twins -q
0 resources v.img twins --fork data --save out
holds 'out/ab_c 0x01f5 2.bin' => two
0 resources v.img fork == ab/c\n  id=0x0080, lg=5\n  id=0x0081, lg=6\n
0 resources v.img fork --id 0x81 == ab/c\n  id=0x0081, lg=6\n
0 resources v.img fork --save out
holds 'out/ab_c 0x0080.bin' => first
holds 'out/ab_c 0x0081.bin' => second
1 resources v.img fork --save out --id 129 => exists already; --force
0 resources v.img fork --save out --id 129 --hex
has 'out/ab_c 0x0081.hex' 1 => 00000000  73 65 63 6f 6e 64
0 resources v.img fork --save out --force
0 resources v.img Forks ==
1 resources v.img fork --type none => fork has no such resource
2 resources v.img '' =>
2 resources v.img fork --hex => --hex goes with --save
2 resources v.img fork --id 65536 => 65536 is no number of a resource
0 put v.img bad -q
1! resources v.img bad --fork data => does not lie within the fork (300 bytes)
)");
    const auto listed = json({"resources", "v.img", "fork"})["resources"];
    EXPECT_EQ(listed[1]["position"], 265);
    EXPECT_EQ(listed[1]["whole"], true);
}

TEST_F(InspectVerbs, AliasShowsWhereItPoints) {
    for (const std::string format : {"", " --hfsplus"}) {
        play("0 format a.img -s 4M -l Work --force" + format +
             "\n0 mkdir a.img Docs\n0 put a.img Forks --to Docs -q");
        const std::uint32_t folder = json({"ls", "a.img"})["trees"][0]["entries"][0]["id"];
        const std::uint32_t id = json({"ls", "a.img", "Docs"})["trees"][0]["entries"][0]["id"];
        Write("near", AliasFork("Work", "Forks", folder, 9999, "Work:Docs:Forks"));
        Write("moved", AliasFork("Work", "Other", 9999, id, "Work:none"));
        Write("path", AliasFork("Work", "Forks", 9999, 9999, "Work:Docs:Forks"));
        Write("gone", AliasFork("Work", "Forks", 9999, 9999, "Work:Forks"));
        Write("far", AliasFork("Elsewhere", "Forks", folder, id, "Elsewhere:Docs:Forks"));
        Write("bad", AliasFork("Work", "Forks", folder, id, "Work:Docs:Forks").substr(0, 120));
        play(R"(
0 put a.img near moved path gone far bad fork --mode resource -q
0 alias a.img near => Target Volume: Work\nTarget Filename: Forks\nAccess Path: Work:Docs:Forks\nOn this volume: Docs/Forks\n
0 alias a.img path => On this volume: Docs/Forks\n
0 alias a.img gone => On this volume: not there\n
0 --lang fr alias a.img far => Sur ce volume : non
1 alias a.img bad => Unable to load the alias resource.
1 alias a.img fork => no resource of an alias
1 alias a.img Docs => Docs is a folder
2 alias a.img '' =>
)");
        // HFS keeps no thread for a file.
        EXPECT_EQ(json({"alias", "a.img", "moved"})["target"],
                  format.empty() ? nlohmann::json() : nlohmann::json("Docs/Forks"));
        EXPECT_EQ(json({"alias", "a.img", "near"})["folderId"], folder);
    }
}

}  // namespace
}  // namespace vellmark
