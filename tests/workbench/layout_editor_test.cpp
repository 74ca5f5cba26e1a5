// The editor of a disc's layout: what a person does there, and what it leaves in the project.
#include <QImage>
#include <QPainter>
#include <fstream>
#include <random>

#include "workbench/layout/background_picture.hpp"
#include "workbench/window_bench.hpp"

namespace vellmark {
namespace {

using test::Bytes;
using test::Replaced;

class LayoutEditor : public test::WindowScripts {
  protected:
    static QImage picture() {
        QImage image(600, 401, QImage::Format_RGB32);
        image.fill(Qt::blue);
        QPainter(&image).fillRect(0, 0, 600, 100, Qt::red);
        return image;
    }
    static void write(const std::string& path, const std::string& bytes) {
        std::ofstream(path, std::ios::binary) << bytes;
    }
    /// A project of three items in the Macintosh view, and two that the layout does not show.
    void makeProject(const std::string& options) {
        play(Replaced(R"(
file a.txt => a
file b.txt => b
file Sub/c.txt => c
file .secret => d
file pc.txt => e
0 new disc.vlpr OPTIONS
0 add disc.vlpr a.txt
0 add disc.vlpr b.txt
0 add disc.vlpr Sub
0 add disc.vlpr .secret
0 add disc.vlpr pc.txt --view iso
folder out
)",
                      "OPTIONS", options));
    }
};

// A label first, then HFS+, whatever the answer; then nothing, as nothing was wanted.
TEST_F(LayoutEditor, AsksForALabelAndHfsPlusFirst) {
    makeProject("");
    plays(R"(
> open $PWD/disc.vlpr
> menu dsstor | close | set LabelHFS=Kiosk | press OK | no | read Icones | press OK | cancel | cancel
! To create a .DS_Store file, you have to give the project a specific label.//Don't change it afterwards.
! Labels of both views of the hybrid CD-ROM
! The .DS_Store features should only be used with a project using the Mac OS Extended formatting scheme./The setting will be modified.
! Creating a .DS_Store file in the project root
= Sub,95,51 a.txt,279,51 b.txt,95,183
! Saving the .DS_Store file
! Creating a .DS_Store file in the project root
>> close
no window
)");
    const ProjectFile project = opened("disc.vlpr");
    EXPECT_TRUE(project.header().isHfsPlus());
    EXPECT_EQ(project.header().hfsLabel(), "Kiosk");
    EXPECT_EQ(project.childrenOf(kRootFolder).size(), 5u);
    EXPECT_TRUE(project.childrenOf(kBackgroundFolder).empty());
}

// The letter is one that HFS+ projects do not keep.
TEST_F(LayoutEditor, NoCountsWhereNamesWouldBeLost) {
    makeProject("--label Disc");
    plays(R"(
> open $PWD/disc.vlpr
> menu VM1
> rows a.txt
> key F2
> type Ω
> menu dsstor | no
! The .DS_Store features should only be used with a project using the Mac OS Extended formatting scheme./The setting will be modified.
> close
)");
    EXPECT_FALSE(opened("disc.vlpr").header().isHfsPlus());
}

TEST_F(LayoutEditor, GeometryPlacesAnewAndOrderSwapsNames) {
    makeProject("--label Disc --hfsplus");
    plays(R"(
> open $PWD/disc.vlpr
> menu dsstor | set Icones= | select 2 | keys Return | read Note | set PosVert=300 | set PosHoriz=77 | check Sauver | read Note | read Icones | check Monter | read Nom | read Icones | set PosVert=9 | check Cacher | read Icones | set Largeur=100 | read Droite | read Icones | set Hauteur=55 | read Bas | set Gauche=700 | read Largeur | set Espacement= | keys Home | read Icones | cancel
! Creating a .DS_Store file in the project root
= Save the settings by clicking the "Save" or "Hide Pane" button.
= Load another file or folder by double clicking another item in the left list./Close the right pane by clicking the "Hide Pane" button.
= Sub,95,51 a.txt,279,51 b.txt,77,300
= b.txt
= Sub,95,51 b.txt,279,51 a.txt,77,300
= Sub,95,51 b.txt,279,9 a.txt,77,300
= 200
= Sub,95,51 b.txt,95,183 a.txt,95,315
= 155
= -500
= Sub,49,51 b.txt,49,167 a.txt,49,283
> menu dsstor | drag Apercu 60 60 0 0 | read Largeur | drag Apercu 60 60 10 5 | read Gauche | read Haut | read Droite | read Bas | drag Apercu 35 40 -20 3 | read Gauche | read Largeur | drag Apercu 120 112 -5 500 | read Droite | read Bas | drag Apercu 2 2 9 9 | read Gauche | drag Apercu 60 60 900 0 | read Droite | cancel
! Creating a .DS_Store file in the project root
= 350
= 140
= 120
= 488
= 420
= 60
= 428
= 468
= 800
= 60
= 800
> close
)");
}

TEST_F(LayoutEditor, GoesIntoTheRootWithItsPicture) {
    makeProject("--label Disc --hfsplus");
    ASSERT_TRUE(picture().save("sea.jpg"));
    ASSERT_TRUE(picture().save("two.png"));
    ASSERT_TRUE(picture().save("three.tif"));
    write("cut.jpg", Bytes("sea.jpg").substr(0, 2000));
    write("cut.png", Bytes("two.png").substr(0, 600));
    plays(R"(
> open $PWD/disc.vlpr
> menu dsstor | check Parcourir | file three.tif | read Pixels | check Parcourir | file cut.jpg | close | check Parcourir | file cut.png | close | read Fond | check Parcourir | cancel | read Fond | read Pixels | check Parcourir | file sea.jpg | select 1 | check Modifier | set PosVert=222 | press OK | file sea.jpg | close | press OK | file out/.DS_Store
! Creating a .DS_Store file in the project root
! Selecting the Background Image
! Creating a .DS_Store file in the project root
= 600 x 401 pixels
! Selecting the Background Image
! $PWD/cut.jpg cannot be shown: it is no whole JPEG picture, or one of more than 64 million pixels.
! Creating a .DS_Store file in the project root
! Selecting the Background Image
! $PWD/cut.png cannot be shown: it is no whole PNG picture, or one of more than 64 million pixels.
! Creating a .DS_Store file in the project root
= $PWD/three.tif
! Selecting the Background Image
! Creating a .DS_Store file in the project root
= 
= 
! Selecting the Background Image
! Creating a .DS_Store file in the project root
! Saving the .DS_Store file
! $PWD/sea.jpg is needed as it is: the layout goes into another file.
! Creating a .DS_Store file in the project root
! Saving the .DS_Store file
> menu dsstor | read Fond | read Icones | set Droite=700 | press OK | file out/.DS_Store | no | cancel
! Creating a .DS_Store file in the project root
= $PWD/sea.jpg
= Sub,95,51 a.txt,279,222 b.txt,95,183
! Saving the .DS_Store file
! File/$PWD/out/.DS_Store/exists already on the medium./Do you want to overwrite it?
! Creating a .DS_Store file in the project root
> close
)");
    play(R"(
0 dsstore --show out/.DS_Store => Window: 100,100 to 450,400 (350 x 300)
shows => Background: sea.jpg
shows => 279,222  a.txt
0 build disc.vlpr -o disc.iso
0 ls disc.iso --as hfs => .DS_Store
shows => .!Background
0 get disc.iso .!Background/sea.jpg -o back.jpg
0 get disc.iso .DS_Store -o back.store
0 ls disc.iso --as joliet == .secret\nSub\na.txt\nb.txt\npc.txt\n
)");
    EXPECT_EQ(Bytes("back.jpg"), Bytes("sea.jpg"));
    EXPECT_EQ(Bytes("back.store"), Bytes("out/.DS_Store"));
    const ProjectFile project = opened("disc.vlpr");
    EXPECT_EQ(project.childrenOf(kBackgroundFolder).size(), 1u);
    EXPECT_EQ(project.childrenOf(kRootFolder).size(), 7u);
}

// Such names are on the disc as they are on the PC, though the project knows shorter ones alone.
TEST_F(LayoutEditor, NamesOfAllAlphabetsAreFoundAgain) {
    play(R"(
file 日本.txt => a
file 海:.jpg => b
folder 北
0 new disc.vlpr --label Disc --hfsplus
0! add disc.vlpr 日本.txt
0 dsstore disc.vlpr --background 海:.jpg --place 日本.txt=33,44 --output 北/a
0 dsstore disc.vlpr --icon-size 32 --place 日本.txt=55,66
0 dsstore --show disc.DS_Store => 55,66  日本.txt
shows => Background: 海:.jpg
0 build disc.vlpr -o disc.iso
0 ls disc.iso .!Background --as hfs => 海:.jpg
0 ls disc.iso --as hfs == .!Background\n.DS_Store\n日本.txt\n
)");
}

// What bytes say of a picture's size is no reason to make room for it.
TEST_F(LayoutEditor, PicturesAreReadWithinBounds) {
    class Nothing : public Progress {
    } progress;
    ASSERT_TRUE(picture().save("sea.jpg"));
    const auto whole = ReadBackground("sea.jpg", progress);
    ASSERT_TRUE(whole);
    EXPECT_EQ(whole->size, QSize(600, 401));
    EXPECT_EQ(whole->image.size(), QSize(300, 201));
    EXPECT_GT(whole->image.pixelColor(10, 10).red(), 240);
    EXPECT_GT(whole->image.pixelColor(10, 190).blue(), 240);
    std::string huge = Bytes("sea.jpg");
    const std::size_t head = huge.find("\xFF\xC0");
    ASSERT_NE(head, huge.npos);
    huge.replace(head + 5, 4, "\xFF\xDC\xFF\xDC");
    write("huge.jpg", huge);
    EXPECT_FALSE(ReadBackground("huge.jpg", progress));
    std::mt19937 random(3);
    for (int round = 0; round < 60; ++round) {
        std::string bytes = Bytes("sea.jpg");
        for (int i = 0; i < 1 + round % 5; ++i)
            bytes[random() % 700] = static_cast<char>(random());
        write("damaged.jpg",
              bytes.substr(0, round % 3 == 0 ? random() % bytes.size() : bytes.npos));
        (void)ReadBackground("damaged.jpg", progress);
    }
    write("plain.txt", "x");
    EXPECT_FALSE(ReadBackground("plain.txt", progress));
}

}  // namespace
}  // namespace vellmark
