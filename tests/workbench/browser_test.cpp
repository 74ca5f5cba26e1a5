// Files of the PC chosen for a volume: what is copied, and what is kept for the next time.
#include "workbench/window_bench.hpp"

namespace vellmark {
namespace {

using test::WindowScripts;

// The room of the volume is asked for before anything is copied: all of it can be taken, and not a
// byte more.
TEST_F(WindowScripts, FilesAreChosenForAVolume) {
    play(R"(
file pc/In/a.txt => a
file pc/In/Deep/b.txt => bb
file pc/.hidden => h
file pc/c.txt => c
link pc/In/Deep/up ..
folder pc/Empty
0 format disk.hfs --size 1M --label Disk
)");
    const auto freeBytes = [this] {
        const VolumeContext& volume = window().documents().partition->volume();
        return std::uintmax_t{volume.freeBlocks()} * volume.blockSize;
    };
    does("open $PWD/disk.hfs");
    std::ofstream("pc/large.bin").close();
    std::filesystem::resize_file("pc/large.bin", freeBytes() + 1);
    plays(R"(
> menu PCM1 | set cmbPath=$PWD/pc | keys Return | select large.bin | give TBCop | close | select In Empty | give VIS1 | select In | give CalcSel | give tlbtnList | select In Empty | give Mcop1 | close
! Copy to the Macintosh Volume
! Not enough free space/on the target volume./Selection size: 768.0 KB/for 768.0 KB free./Aborting.
! Copy to the Macintosh Volume
! skipped $PWD/pc/In/Deep/up: It leads back to a folder that it lies in./
> menu PC2Mac | give tlbtnUp | select pc | keys Return | give tlbtnUp | give Q
! Copy to the Macintosh Volume
)");
    std::filesystem::resize_file("pc/large.bin", freeBytes());
    EXPECT_EQ(settings_.values["WReper"], std::filesystem::current_path().string() + "/");
    EXPECT_TRUE(settings_.values["WinVLV"].ends_with(",2")) << settings_.values["WinVLV"];
    does("close");
    settings_.values["Options"] = "256";
    does("open $PWD/disk.hfs");
    does("menu PCM1 | set cmbPath=$PWD/pc | keys Return | select .hidden | give Mcop1 | gone");
    does("menu PCM1 | select large.bin | give Mcop1 | close");
    does("close");
    play(R"(
0 ls -R disk.hfs => Deep/b.txt
shows => .hidden
shows => Empty
)");
}

}  // namespace
}  // namespace vellmark
