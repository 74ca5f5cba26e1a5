// Verbs that make images and show or take out what they hold. What becomes of an item in each form
// is tried with the copies (tests/transfer) and the takes (tests/reading).
#include <sys/stat.h>

#include "reading/reading_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::Write;

class ImageVerbs : public test::ReadingTest {};

TEST_F(ImageVerbs, MakeBuildsTheSidesOfItsKindFromAFolder) {
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    play(R"(
0 make in -o out.iso => ISO 9660 + Joliet + HFS,
sides out.iso => IM
has out.iso 1 => hello
0 make in -o out.iso -f --hfsplus => ISO 9660 + Joliet + HFS+,
0 make in -o out.iso -f --kind iso => ISO 9660 + Joliet,
sides out.iso => I
0 make in -o out.iso -f -k hfs --hfsplus => : HFS+,
sides out.iso => M
# A pattern is the name of a file like another.
file make/* => a file whose name is a pattern
# The image is never its own source, and a link to it stays a link.
move out.iso make/out.iso
link link.iso make/out.iso
0! make make -o link.iso --force
has make/out.iso 1 => whose name is a pattern
link dangling.iso nowhere
file old.iso => an image of last year
folder none
1 make in -o old.iso => old.iso exists already; --force
1 make in -o dangling.iso => dangling.iso exists already
1 make none -o x.iso => contains no files
1 make in -o nope/x.iso => there is no folder nope
1 make in -o none => none names a folder
1 make in -o pipe --force => pipe is a pipe
1 make in -o x.iso --label 'A name of twenty-eight chars' => 28 letters; HFS takes
1 make in -o x.iso --hfsplus --label 12345678901234567890123456789012345678901234567890123456789012 => 61
0 make in -o label.iso --label 'Größe is a label of letters'
0 info label.iso => iso: GROS_E_IS_A_ (ISO 9660) => joliet: Größe is a label (Joliet)
shows => hfs: Größe is a label of letters (HFS)
0 make in -o -
)");
    EXPECT_TRUE(fs::is_symlink("link.iso"));
    const std::string shown = out_;
    play("0 make in -o in.iso\nnone -");
    EXPECT_TRUE(shown == Bytes("in.iso")) << "the standard output has the same bytes alone";
}

TEST_F(ImageVerbs, FormatTakesWholeMegabytesBlocksAndLabelsOfTheFormat) {
    play(R"(
0 format v.img -s 2048kb -l Été => v.img: empty HFS volume
0 info v.img => hfs: Été (HFS)\n  size         2097152 bytes
0 format v.img -s 1G -l V --hfsplus -f
0 info v.img => 1073741824 bytes
0 format v.img -s 33M -l V -f -b 1536
0 info v.img => blocks of 1536
0 format v.img -s 1 -l a/b -f -b smallest -q ==
2 format v.img -s 33M -l V -f -b 512 => Try: vellmark format --help
2 format v.img -s 33M -l V -f -b smallest --hfsplus => --block
2 format v.img -s 0 -l V -f => not 0
2 format v.img -s '' -l V -f => Try
2 format v.img -s 4294967297 -l V -f => 4294967297
1 format v.img -s 1 -l V => v.img exists already
1 format in -s 1 -l V -f => in names a folder
1 format v.img -f -s 1 -l 1234567890123456789012345678 => 27
)");
}

TEST_F(ImageVerbs, ListingsShowEachTreeUnderItsHeading) {
    make("disc.iso");
    play(R"(
0 ls disc.iso => iso: MY_DISC (ISO 9660)\n
shows => \njoliet: My disc (Joliet)\nBare\nRead Me.txt\nSub Folder\nempty\n
shows => \nhfs: My disc (HFS)\nBare\nempty\nRead Me.txt\nSub Folder\n
0 dir disc.iso '//Sub Folder//' --as hfs == Deep\nlarge.bin\n
0 ls disc.iso 'sub folder/LARGE.BIN' --as hfs == large.bin\n
0 ls disc.iso 'Read Me.txt' == joliet: My disc (Joliet)\nRead Me.txt\n\nhfs: My disc (HFS)\nRead Me.txt\n
1 ls disc.iso 'Sub Folder/Missing/x' => has no Sub Folder/Missing/x.
0 tree disc.iso --as hfs == /\n  Bare/\n  empty\n  Read Me.txt\n  Sub Folder/\n    Deep/\n      café.txt\n    large.bin\n
0 tree disc.iso 'Sub Folder/Deep' --as joliet == Deep/\n  café.txt\n
0 ls disc.iso 'Sub Folder' -lR --as hfs
shows => file        9  0  2020-05-06 07:08  TEXT/????  Sub Folder/Deep/café.txt\n
shows => file    70000  0  2020-05-06 07:08  TEXT/????  Sub Folder/large.bin\n
shows => folder      -  -
0 info disc.iso => \nhfs: My disc (HFS)\n
shows => files        4\n  folders      3\n  created      2001-09-09 01:46\n
shows => changes      possible\n
0 info disc.iso --as iso => created      2001-09-09 01:00\n  modified     -\n
0 ls disc.iso empty -l --as joliet => 2020-05-06 07:08
0 info disc.iso --json => "tree": "joliet"
0 ls disc.iso 'Sub Folder/large.bin' --as hfs --json
shows => "kind": "file" => "size": 70000 => "modified": "2020-05-06T07:08:10Z" => "id": 
0 ls disc.iso empty --as joliet --json => "sector": 
)");
}

TEST_F(ImageVerbs, GetTakesToAFolderANameOrTheOutput) {
    make("disc.iso");
    play(R"(
folder there
0 cp disc.iso 'Read Me.txt'
holds 'Read Me.txt' => hello\n
0 get disc.iso 'Read Me.txt' -o there/ -f
holds 'there/Read Me.txt' => hello\n
0 get disc.iso 'Read Me.txt' -o there/new
holds there/new => hello\n
0 get disc.iso 'Read Me.txt' -o - == hello\n
# Settings name files where no option does.
0 config set naming append
0 get disc.iso 'Read Me.txt'
holds 'Read Me.txt.TXT' => hello\n
types => new/name\n
0! get disc.iso 'Read Me.txt' --naming ask
holds new_name => hello\n
types
1 get disc.iso 'Read Me.txt' --naming ask => No name was given
)");
}

TEST_F(ImageVerbs, GetSaysWhatCannotBeDone) {
    Write("in/disc.iso", "a file of the same name");
    Write("in/a/same.txt", "first");
    Write("in/b/same.txt", "second");
    make("disc.iso");
    make("pc.iso", {"--kind", "iso"});
    fs::create_directories("out");
    ASSERT_EQ(::mkfifo("out/Read Me.txt", 0600), 0);
    play(R"(
file 'out/Sub Folder/large.bin' => mine
file 'out/Sub Folder/Deep' => a file where a folder is to be
folder out/empty
1 get disc.iso empty 'Read Me.txt' -o missing => There is no folder missing.
2 get disc.iso '' -o none => the whole tree is called /
1 get disc.iso 'Sub Folder' -o - => Sub Folder is a folder
3 get disc.iso 'Sub Folder' -o out => skipped Sub Folder/Deep
1 get disc.iso 'Sub Folder/large.bin' -o 'out/Sub Folder' => exists already; --force
1 get disc.iso empty -o out --force => skipped empty
1 get disc.iso 'Read Me.txt' -o out --force => pipe
1 get disc.iso disc.iso --force => is the image itself
2 get disc.iso 'Read Me.txt' --mode macbinary --as joliet => Joliet tree
2 get disc.iso 'Read Me.txt' --mode appledouble -o - => two files
2 get disc.iso 'Read Me.txt' --naming ask => needs a terminal
2 get pc.iso 'Read Me.txt' --mode applesingle => pc.iso has none
1 get disc.iso 'Read Me.txt' --mode resource => has no resource fork
1! get disc.iso a/same.txt b/same.txt -o out -f => skipped b/same.txt
holds out/same.txt => first
0 get disc.iso 'Sub Folder/large.bin' -o 'out/Sub Folder' --force
)");
    EXPECT_TRUE(Bytes("out/Sub Folder/large.bin") == test::Pattern(70'000));
}

TEST_F(ImageVerbs, APersonIsAskedWhatMayBeReplaced) {
    make("disc.iso");
    for (const std::string tree : {"joliet", "hfs"}) {
        play("folder out\n0 get disc.iso / --as " + tree + " -o out");
        const std::string get = " get disc.iso / -o out --as " + tree + " => already exists.\n";
        for (const auto& [typed, status, left] : {std::tuple{"n\\n", "3", " => mine"},
                                                  {"N\\n", "3", " => mine"},
                                                  {"y\\ny\\ny\\ny\\n", "0!", ""},
                                                  {"Y\\n", "0!", ""}})
            play(std::string("file 'out/My disc/empty' => mine\ntypes => ") + typed + "\n" +
                 status + get + "holds 'out/My disc/empty'" + left);
        play("nobody\nremove out");
    }
}

}  // namespace
}  // namespace vellmark
