// What may be written where on the PC, and what stays when a pair of files cannot be whole.
#include "support/pc_targets.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace vellmark {
namespace {

namespace fs = std::filesystem;

TEST(SafePcName, NoNameLeavesItsFolder) {
    const struct {
        std::string name;
        std::string safe;
    } cases[] = {{"", "_"},
                 {".", "_"},
                 {"..", "__"},
                 {"...", "..."},
                 {"../../etc/passwd", ".._.._etc_passwd"},
                 {"/", "_"},
                 {std::string("\0\0x", 3), "__x"},
                 {"Icon\r", "Icon\r"},
                 {"a:b", "a:b"}};
    for (const auto& c : cases)
        EXPECT_EQ(SafePcName(c.name), c.safe) << c.name;
}

std::string Contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// A pair of files whose second one cannot get its name leaves the first as it was.
TEST(WritePcTarget, APairAppearsAsAWholeOrNotAtAll) {
    const FillTarget fill = [](PcFile& file, PcFile* sidecar) {
        const std::uint8_t byte = 'n';
        return file.writeAt(0, {&byte, 1}) && sidecar != nullptr && sidecar->writeAt(0, {&byte, 1})
                   ? ""
                   : "not written";
    };
    for (const bool isOlderThere : {true, false}) {
        const TemporaryFolder folder;
        const PcTarget target{folder.path() + "/a", folder.path() + "/._a", true, 1'000'000'000};
        if (isOlderThere)
            std::ofstream(target.sidecar) << "older";
        fs::create_directories(target.path + "/in the way");
        EXPECT_NE(WritePcTarget(target, fill).error, 0);
        EXPECT_EQ(Contents(target.sidecar), isOlderThere ? "older" : "");
        EXPECT_EQ(PcTargets::exists(target.sidecar), isOlderThere);
        fs::remove_all(target.path);
        EXPECT_EQ(WritePcTarget(target, fill).problem, "");
        EXPECT_EQ(Contents(target.path) + Contents(target.sidecar), "nn");
        EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 2)
            << "no temporary file stays";
    }
}

}  // namespace
}  // namespace vellmark
