// Dialogs that change files and settings outside of a document: signatures, kinds of files.
#include "workbench/window_bench.hpp"

namespace vellmark {
namespace {

using test::Bytes;
using test::WindowScripts;

TEST_F(WindowScripts, SignaturesAreEditedAndUsed) {
    play(R"(
file a.sig => # h\r\nTXT,TEXTttxt,Text\r\n# p\r\nJPG,JPEGogle,Picture\r\n#[1]\r\nTXT,TEXTttxt,Texte\r\n
0 format disk.hfs --size 1M --label Disk
file x.pic => x
file y.pic => y
)");
    const std::string before = Bytes("a.sig");
    plays(R"(
> open $PWD/disk.hfs
> menu Registre1 | press Parcourir | file a.sig | press OK
! Signature File in the Registry
! Open a signature file
! Signature File in the Registry
> menu Sign1 | select 1 | give Editer | set Extension=a.b | press OK | close | set Extension=PIC | set Type=PIX | press OK | select 0 1 | give Monter | give Nouveau | cancel | select 1 | give Monter | give Ajouter | set Extension=A | set Type=a | set Createur=b | press OK | give Nouveau | yes | cancel
! a.sig [Signature Editor]
! Editing a Signature Item
! a.b is no extension: it has no full stop, comma or number sign.
! Editing a Signature Item
! a.sig* [Signature Editor]
! Do you want to save the current file?
! a.sig* [Signature Editor]
! Creating a New Signature Item
! a.sig* [Signature Editor]
! Do you want to save the current file?
! Signature Editor
> drop list - x.pic
> menu Fr1
> menu Sign1 | select 0 | give Couper | give Coller | give Copier | give Coller | give EnregistrerSous | file b | head 0 | head 0 | give Inscrire | press OK | give Quitter | press MessNon
! a.sig [Éditeur de signatures]
! Enregistrer un fichier de signatures
! b.sig [Éditeur de signatures]
! Inscription du fichier de signatures dans la base de registre
! b.sig* [Éditeur de signatures]
! Voulez-vous enregistrer le fichier en cours ?
> menu En2
> menu Rech1 | page 1 | press TableSign | select 1 | press OK | press Rechercher | pick 0
! Locate file
! Signature Table
! Locate file
! Select a file
)");
    const std::string head =
        "# h\r\nPIC,PIX ogle,Picture\r\n# p\r\nTXT,TEXTttxt,Text\r\n"
        "A,a   b   ,\r\n#[1]\r\n";
    const std::string french = "TXT,TEXTttxt,Texte\r\n";
    EXPECT_EQ(Bytes("a.bak"), before);
    EXPECT_EQ(Bytes("a.sig"), head + french);
    EXPECT_EQ(Bytes("b.sig"), head + french + french);
    EXPECT_EQ(settings_.values["Sign"], std::filesystem::absolute("b.sig").string());
    does("close");
    play(R"(
0 ls disk.hfs --json => x.pic
shows => "type": "PIX "
)");
}

// A file that is there keeps its own surroundings, and no backup takes the place of another file;
// what cannot be written stays open, and the file stays as it was.
TEST_F(WindowScripts, ASignatureFileThatIsThereIsKept) {
    play(R"(
file a.sig => A,AAAAaaaa,a\n
file b.sig => # b\nB,BBBBbbbb,b\n#[1]\nC,CCCCcccc,c
file b.bak => mine
file d/c.sig => # c
)");
    openWindow();
    settings_.values["Sign"] = std::filesystem::absolute("a.sig").string();
    does("menu Sign1 | give EnregistrerSous | file b.sig | yes | give Quitter");
    EXPECT_EQ(Bytes("b.sig"), "# b\nA,AAAAaaaa,a\n#[1]\nC,CCCCcccc,c");
    EXPECT_EQ(Bytes("b.bak"), "mine");
    EXPECT_EQ(Bytes("b.bak.1"), "# b\nB,BBBBbbbb,b\n#[1]\nC,CCCCcccc,c");
    std::filesystem::permissions(root(), std::filesystem::perms(0755));
    std::filesystem::permissions("d", std::filesystem::perms(0555));
    {
        const test::Nobody nobody;
        EXPECT_NE(
            does("menu Sign1 | give EnregistrerSous | file d/c.sig | yes | close | give Quitter")
                .find("cannot be written"),
            std::string::npos);
    }
    std::filesystem::permissions("d", std::filesystem::perms(0755));
    EXPECT_EQ(Bytes("d/c.sig"), "# c");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator("d"), {}), 1);
}

// The boxes show what is known, and take it out again.
TEST_F(WindowScripts, FileTypesComeAndGo) {
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/");  // no tools of this desktop
    openWindow();
    EXPECT_EQ(does("menu RFT | check TypeVlpr | check TypeVlso | press OK"),
              "! Registering Filetypes in the Windows Registry\n");
    const std::string entry = (root() / "applications/vellmark-file-types.desktop").string();
    EXPECT_NE(Bytes(entry).find("-project;application/x-vellmark-isoplus;\n"), std::string::npos);
    const std::string picture =
        "icons/hicolor/scalable/mimetypes/application-x-vellmark-project.svg";
    EXPECT_NE(Bytes(root() / picture).find("<svg"), std::string::npos);
    does("menu RFT | check TypeVlpr | press OK");
    EXPECT_FALSE(std::filesystem::exists(root() / picture));
    does("menu RFT | check TypeVlso | press OK");
    EXPECT_FALSE(std::filesystem::exists(entry));
    qputenv("PATH", path);
}

}  // namespace
}  // namespace vellmark
