// What an argument names, and which names of the PC a record can hold.
#include "project/pc_sources.hpp"

#include <gtest/gtest.h>

#include "project/project_bench.hpp"

namespace vellmark {
namespace {

using test::Write;

TEST(MatchesPattern, StarAndQuestionMark) {
    const struct {
        std::string_view name;
        std::string_view pattern;
        bool fits;
    } cases[] = {
        {"a.txt", "*", true},
        {"noext", "*.*", true},
        {".hidden", "*", true},
        {"a.txt", "*.txt", true},
        {"a.TXT", "*.txt", false},
        {"a.txt.bak", "*.txt", false},
        {"abc", "a?c", true},
        {"ac", "a?c", false},
        {"\xC3\xA9t", "?t", true},
        {"aXbXc", "a*b*c", true},
        {"aXbX", "a*b*c", false},
        {"[a]", "[a]", true},
        {"a", "[a]", false},
        {"a", "a**", true},
        {"", "?", false},
        {"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", "*a*a*a*a*a*a*a*a*a*b", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(MatchesPattern(c.name, c.pattern), c.fits) << c.name << " " << c.pattern;
}

TEST(SelectOnPc, TakesBothSeparatorsAndAPathAsItStandsFirst) {
    const TemporaryFolder scratch;
    const std::string base = std::filesystem::canonical(scratch.path()).string() + "/";
    Write(base + "dir/sub/file");
    Write(base + "dir/sta*r");
    Write(base + "dir\\back");
    std::filesystem::create_directory_symlink(base + "dir/sub", base + "link");
    const struct {
        std::string given;
        std::string folder;  // below base; "-" when nothing is named
        std::string name;
        bool isPattern;
    } cases[] = {
        {"dir/sub/file", "dir/sub/", "file", false},
        {"dir\\sub\\file", "dir/sub/", "file", false},
        {"dir\\back", "", "dir\\back", false},
        {"dir/sub/", "dir/", "sub", false},
        {"dir//./sub", "dir/", "sub", false},
        {"dir/sub/..", "", "dir", false},
        {"link/../sub", "dir/", "sub", false},
        {"link/file", "link/", "file", false},
        {"dir/sub/*", "dir/sub/", "*", true},
        {"dir\\sub\\*.*", "dir/sub/", "*.*", true},
        {"dir/sta*r", "dir/", "sta*r", false},
        {"dir/absent", "-", "", false},
        {"absent/*", "-", "", false},
        {"dir/sub/file/*", "-", "", false},
    };
    for (const auto& c : cases) {
        const auto selection = SelectOnPc(base + c.given);
        ASSERT_EQ(selection.has_value(), c.folder != "-") << c.given;
        if (!selection)
            continue;
        EXPECT_EQ(selection->folder, base + c.folder) << c.given;
        EXPECT_EQ(selection->name, c.name) << c.given;
        EXPECT_EQ(selection->isPattern, c.isPattern) << c.given;
    }
    EXPECT_FALSE(SelectOnPc(""));
    EXPECT_FALSE(SelectOnPc("/")) << "the root has no name";
    EXPECT_TRUE(SelectOnPc("/*"));
}

TEST(PcListings, PathsOutsideTheCharacterSetAreFoundAgain) {
    const TemporaryFolder scratch;
    const std::string base = std::filesystem::canonical(scratch.path()).string() + "/";
    const std::string deep = base + "\xC3\xA9t\xC3\xA9/\xE6\x97\xA5\xE6\x9C\xAC/\xCE\xA9/";
    Write(deep + "file");
    PcListings listings;
    const std::string accessPath = listings.accessPathOf(deep);
    EXPECT_TRUE(accessPath.starts_with(base + "\xE9t\xE9/")) << "accents are in the set";
    EXPECT_EQ(accessPath.find('?'), std::string::npos);
    PcPathResolver resolver;
    EXPECT_EQ(resolver.resolve(accessPath, "file"), deep + "file");
    EXPECT_EQ(listings.find(deep, "absent").facts.kind, PcKind::Missing);
}

}  // namespace
}  // namespace vellmark
