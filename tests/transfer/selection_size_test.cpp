#include "transfer/selection_size.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "support/pc_file.hpp"

namespace vellmark {
namespace {

// A folder counts once, however it is come to; what is stopped ends at the next item.
TEST(SelectionSize, CountsWhatACopyTakes) {
    namespace fs = std::filesystem;
    const TemporaryFolder folder;
    const fs::path root = folder.path();
    fs::create_directories(root / "a/b");
    for (const char* name : {"a/one", "a/b/two", "three"})
        std::ofstream(root / name) << std::string(100, 'x');
    fs::create_directory_symlink("../..", root / "a/b/up");
    fs::create_symlink("../three", root / "a/link");
    fs::create_symlink("nowhere", root / "dead");
    const auto count = [&](std::vector<std::string> names, int asked = 1000) {
        for (std::string& name : names)
            name = (root / name).string();
        return SelectionBytes(names, [&asked] { return --asked < 0; });
    };
    EXPECT_EQ(count({}), 0u);
    EXPECT_EQ(count({"three", "dead", "gone"}), 100u);
    EXPECT_EQ(count({"a"}), 400u);  // the link leads up to `three` beside it, through its folder
    EXPECT_EQ(count({"a", "a"}), 400u);
    EXPECT_EQ(count({"three", "three"}, 1), 100u);
}

}  // namespace
}  // namespace vellmark
