// A person looks into files of a volume, and into the image around them.
#include "session/mac_forks.hpp"
#include "workbench/window_bench.hpp"

namespace vellmark {
namespace {

using test::WindowScripts;

// Three sectors; a word stands across the first border, and once more in the last sector.
std::string Pages() {
    std::string bytes(1040, 'x');
    for (std::size_t at = 0; at < 512; at += 16)
        bytes.replace(at, 3, std::to_string(100 + at / 16));
    return bytes.replace(509, 6, "border").replace(1030, 6, "border");
}

TEST_F(WindowScripts, TurnsThePagesOfAFork) {
    test::Write("long", Pages());
    play(R"(
0 format disk.hfs --size 1M --label Disk
file empty => 
file short => 0123
folder inner
0 put disk.hfs long empty short inner
)");
    plays(R"(
> open $PWD/disk.hfs
> rows empty long short
> menu Aff1 | close | keys PgDown | read PanneauSecteur | read PanneauImage | give Prec | read PanneauSecteur | give Prec | give Fin | read PanneauOctet | keys PgDown | read PanneauSecteur | keys Home | keys Up | read PanneauSecteur | give Dret1 | read PanneauImage | cancel
! Null length file./Aborting.
! long (Data, length: 1040 bytes)[Vellmark]
= 1
= 628
= 0
= 1024
= 2
= 0
! short (Data, length: 4 bytes)[Vellmark]
= 630
> rows long
> menu Aff1 | give Go1 | set Secteur=+1 | press OK | give Go1 | set Secteur=+2 | press OK | give Hex1 | give Go1 | set Secteur=-1 | press OK | give Fin | read PanneauOctet | give Go1 | set Secteur=zz | press OK | read PanneauOctet | give Prec | read PanneauSecteur | cancel
! long (Data, length: 1040 bytes)[Vellmark]
! Select the Sector
! long (Data, length: 1040 bytes)[Vellmark]
! Select the Sector
! long (Data, length: 1040 bytes)[Vellmark]
! Select the Sector
! long (Data, length: 1040 bytes)[Vellmark]
= 400
! Select the Sector
! long (Data, length: 1040 bytes)[Vellmark]
= 400
= 0
> menu Aff1 | give Image | give Go1 | set Secteur=2 | press OK | read PanneauImage | give Reculer | give Reculer | read PanneauImage | give Avancer | give Avancer | read PanneauOctet | cancel
! long (Data, length: 1040 bytes)[Vellmark]
! Select the Sector
! disk.hfs (Whole Image, length: 1108480 bytes)[Vellmark]
= 2
= 627
= 1024
> rows inner
>> menu AffPart
disk.hfs [Vellmark]
  tree Disk .*inner
  list
  bar  [Mode: PART.] [] [] [Empty folder] []
)");
}

TEST_F(WindowScripts, SearchesAForkAndKeepsPiecesOfIt) {
    test::Write("long", Pages());
    play("0 format disk.hfs --size 1M --label Disk\n0 put disk.hfs long");
    plays(R"(
> open $PWD/disk.hfs
> rows long
> menu Aff1 | give Ch1 | set Chaine=border | press Rechercher | read PanneauSecteur | read Page | give Reb1 | read PanneauOctet | read Page | give Reb1 | close | read PanneauSecteur | give Reb1 | read PanneauSecteur | cancel
! long (Data, length: 1040 bytes)[Vellmark]
! Search for a Character String
! long (Data, length: 1040 bytes)[Vellmark]
= 0
= bor
= 1024
= border
! No match found for border
! long (Data, length: 1040 bytes)[Vellmark]
= 2
! Reb1 is off
= 2
> menu Aff1 | give Ch1 | set Chaine=7878 | check Chiffres | check DebutSecteur | press Rechercher | read PanneauSecteur | give Ch1 | set Chaine=7 | check Chiffres | press Rechercher | close | give Co | pick 6 | cancel
! long (Data, length: 1040 bytes)[Vellmark]
! Search for a Character String
! long (Data, length: 1040 bytes)[Vellmark]
= 2
! Search for a Character String
! No match found for 7
! long (Data, length: 1040 bytes)[Vellmark]
! Font Size Selection
! long (Data, length: 1040 bytes)[Vellmark]
> menu Aff1 | keys PgDown | give Act2 | press Executer | file one | give Act2 | check SuiteSecteurs | press Executer | file rest | give Act2 | check SegmentDonnees | set Debut=509 | set Fin=514 | check SauveHexa | press Executer | file word | give Act2 | check SegmentDonnees | set Fin=1040 | press Executer | close | cancel | give Act2 | press Executer | file disk.hfs | close | give co1 | cancel
! long (Data, length: 1040 bytes)[Vellmark]
! Saving a Data Segment
! Save the Data Segment in a File.
! long (Data, length: 1040 bytes)[Vellmark]
! Saving a Data Segment
! Save the Data Segment in a File.
! long (Data, length: 1040 bytes)[Vellmark]
! Saving a Data Segment
! Save the Data Segment in a File.
! long (Data, length: 1040 bytes)[Vellmark]
! Saving a Data Segment
! Begin and end are no numbers of what is shown.
! Saving a Data Segment
! long (Data, length: 1040 bytes)[Vellmark]
! Saving a Data Segment
! Save the Data Segment in a File.
! $PWD/disk.hfs is the image itself.
! long (Data, length: 1040 bytes)[Vellmark]
)");
    EXPECT_EQ(test::Bytes("one"), Pages().substr(512, 512));
    EXPECT_EQ(test::Bytes("rest"), Pages().substr(512));
    EXPECT_EQ(test::Bytes("word"),
              "00000509  62 6f 72 64 65 72" + std::string(33, ' ') + "border          \n\n");
    EXPECT_EQ(settings_.values["Corps"], "12");
    EXPECT_EQ(QApplication::clipboard()->text().left(76).toStdString(),
              "00000512  64 65 72 78 78 78 78 78  78 78 78 78 78 78 78 78  derxxxxxxxxxxxxx");
}

TEST_F(WindowScripts, SavesResourcesAndFollowsStructures) {
    test::Write("rsrc", test::ForkOf("TEXT", {"hello"}));
    play(R"(
0 format disk.hfs --size 1M --label Disk
0 put disk.hfs rsrc
0 swap disk.hfs rsrc
)");
    std::filesystem::create_directory("all");
    plays(R"(
> open $PWD/disk.hfs
> rows rsrc
> menu Aff1 | give Arb | keys Down | give SBin | file one.res | give SHex | file one.hex | give SVue | file one.txt | give TVue | file all | close | give Ress | give SVue | cancel
! rsrc (Resource, length: 75 bytes)[Vellmark]
! Binary Resource Saving
! rsrc (Resource, length: 75 bytes)[Vellmark]
! Hexadecimal Resource Saving
! rsrc (Resource, length: 75 bytes)[Vellmark]
! Save Picture or Text
! rsrc (Resource, length: 75 bytes)[Vellmark]
! Save All Resources
! Resources saved in $PWD/all: 1
! rsrc (Resource, length: 75 bytes)[Vellmark]
! SVue is off
> rows
> menu Aff1 | give Att1 | give Comme16 | press go_racine | press MessFermer | press MessFermer | read PanneauSecteur | cancel
! disk.hfs (Whole Image, length: 1108480 bytes)[Vellmark]
! Att1 is off
! EFI/GPT-style Partition
! GUID Partition Entries
! EFI/GPT-style Partition
! disk.hfs (Whole Image, length: 1108480 bytes)[Vellmark]
= 0
> rows rsrc
> menu Aff1 | give Act1 | close | give Image | give Act1 | close | give Go1 | set Secteur=2 | press OK | give Act1 | press Go2 | give Act1 | press go_poscat1 | read PanneauSecteur | give Act1 | press AffTree | press go_racine | read PanneauSecteur | give Act1 | close | give Reculer | give Reculer | read PanneauSecteur | cancel
! rsrc (Resource, length: 75 bytes)[Vellmark]
! Unable to identify the sector.
! rsrc (Resource, length: 75 bytes)[Vellmark]
! Macintosh Device Descriptor Block
! disk.hfs (Whole Image, length: 1108480 bytes)[Vellmark]
! Select the Sector
! disk.hfs (Whole Image, length: 1108480 bytes)[Vellmark]
! Partition Table Item
! disk.hfs (Whole Image, length: 1108480 bytes)[Vellmark]
! HFS Descriptor Block
! disk.hfs (Whole Image, length: 1108480 bytes)[Vellmark]
= 371
! B-Tree Header
! B-Tree Header
! disk.hfs (Whole Image, length: 1108480 bytes)[Vellmark]
= 372
! B-Tree Leaf Node
! disk.hfs (Whole Image, length: 1108480 bytes)[Vellmark]
= 98
)");
    EXPECT_EQ(test::Bytes("one.res"), "hello");
    EXPECT_EQ(test::Bytes("one.txt"), "hello");
    EXPECT_EQ(test::Bytes("all/TEXT 0x01f5.txt"), "hello");
    EXPECT_EQ(test::Bytes("one.hex").substr(0, 25), "00000000  68 65 6c 6c 6f ");
}

}  // namespace
}  // namespace vellmark
