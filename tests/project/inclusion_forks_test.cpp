// Inclusion of Macintosh files and their companions, of lists, and of what is
// dropped.
#include "project/drop.hpp"
#include "project/inclusion_bench.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::ByName;
using test::EmptyProject;
using test::InclusionTest;
using test::Write;

// The icon of a folder, in MacBinary: a name, type and creator, and 5 bytes of
// data.
std::string IconFile(std::string_view name) {
    std::string file(133, 'd');
    file.replace(0, 128, 128, '\0');
    file[1] = static_cast<char>(name.size());
    file.replace(2, name.size(), name);
    file.replace(65, 8, "ICNSMACS");
    file[86] = 5;
    return file;
}

TEST_F(InclusionTest, CompanionsComeWithTheirFilesOrAreNamed) {
    const std::string sidecar = std::string("\0\x05\x16\x07\0\x02\0\0", 8) + std::string(18, '\0');
    for (const char* name : {"a", "sub/b"})
        Write(tree_ + name, "data");
    for (const char* name : {"._a", "sub/._b", "._sub", "._lost", "sub/._"})
        Write(tree_ + name, sidecar);
    options_.answers = kYesToAll;
    EXPECT_EQ(include(base_ + "tree").files, 2);
    EXPECT_EQ(skippedNames(), (std::set<std::string>{"._lost", "._"}));
    EXPECT_TRUE(ByName(project_, 18).at("a").appleDouble());

    messages_.skipped.clear();
    EXPECT_EQ(include(tree_ + "._a").skipped, 1) << "a companion that is named is told of";
    EXPECT_EQ(include(tree_ + "a").files, 1);
    EXPECT_EQ(ByName(project_, 1).at("a").coding(), ForkCoding::AppleFiles);
}

TEST_F(InclusionTest, AFileIsKeptWhateverIsWrongWithItsForks) {
    const std::string quote = "(This file must be converted with BinHex 4.0) :said the manual";
    const std::string lie = std::string("\0\x05\x16\x00\0\x02\0\0", 8) + std::string(17, '\0') +
                            std::string("\1\0\0\0\1\0\0\0\x26\0\0\x10\0", 13);
    Write(tree_ + "cut", IconFile("x").substr(0, 132));
    Write(tree_ + "quote", quote);
    Write(tree_ + "single", lie);
    Write(tree_ + "pair", "data");
    Write(tree_ + "._pair", std::string("\0\x05\x16\x07", 4));
    options_.answers.macContainer = {Remembered::NoToAll};
    options_.answers.appleContainer = {Remembered::NoToAll};
    const InclusionResult result = include(tree_ + "*");
    EXPECT_EQ(result.files, 4);
    EXPECT_EQ(result.skipped, 4) << "each is named";
    EXPECT_EQ(skippedNames(), (std::set<std::string>{"cut", "pair", "quote", "single"}));
    for (const auto& [name, record] : ByName(project_, 1)) {
        EXPECT_TRUE(record.isIn(ProjectView::Iso) && record.isIn(ProjectView::Hfs)) << name;
        EXPECT_EQ(record.dataSize, record.sourceSize) << name;
        EXPECT_EQ(record.coding() == ForkCoding::None, name == "cut" || name == "quote") << name;
    }
}

TEST_F(InclusionTest, ACustomIconMarksItsFolderOrBecomesTheVolumes) {
    Write(tree_ + "sub/Icon.bin", IconFile("Icon\r"));
    Write(tree_ + "Icon.bin", IconFile("Icon\r"));
    Write(tree_ + "Other.bin", IconFile("Icon\r"));
    options_.answers = kYesToAll;
    EXPECT_EQ(include(tree_ + "*").files, 3);
    const auto items = ByName(project_, 1);
    EXPECT_EQ(items.size(), 3u) << "one record for the icon";
    EXPECT_TRUE(items.at("sub").customIcon());
    const ProjectRecord inSub = ByName(project_, 18).at("Icon.bin");
    EXPECT_EQ(inSub.hfsName(), "Icon\r");
    EXPECT_FALSE(inSub.hfsNameLocked());
    EXPECT_EQ(inSub.isoInclusion(), 1);

    const ProjectRecord& icon = items.at("Icon.bin");
    EXPECT_TRUE(project_.header().customIcon());
    EXPECT_EQ(icon.hfsName(), ".VolumeIcon.icns");
    EXPECT_TRUE(icon.hfsNameLocked());
    EXPECT_EQ(icon.isoInclusion(), 0);
    EXPECT_EQ(icon.hfsInclusion(), 1);
    EXPECT_EQ(items.at("Other.bin").hfsName(), "Icon\r") << "a volume has one icon";
    EXPECT_EQ(items.at("Other.bin").isoInclusion(), 1);

    project_ = EmptyProject();
    Write(tree_ + ".VolumeIcon.icns", "icns");
    EXPECT_EQ(include(tree_ + "*").files, 4);
    EXPECT_FALSE(project_.header().customIcon()) << "the name is taken";
}

class Holder final : public DropTarget {
  public:
    ProjectFile* project = nullptr;
    ProjectFile* openProject() override { return project; }
};

TEST_F(InclusionTest, ADropTellsOfConflictsAndTakesTheOthers) {
    Write(tree_ + "a");
    Write(tree_ + "b");
    Write(base_ + "other/a");
    const std::vector<std::string> paths = {tree_ + "a", base_ + "other/a", tree_ + "a",
                                            tree_ + "b"};
    Holder holder;
    EXPECT_FALSE(AddDropped(holder, paths, kRootFolder, options_, messages_, progress_));
    EXPECT_TRUE(messages_.shown.empty());

    holder.project = &project_;
    options_.view = ProjectView::Iso;
    project_.insert(test::Item(1, 18, "folder", 0, 1));
    const auto result = AddDropped(holder, paths, 18, options_, messages_, progress_);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->files, 2);
    ASSERT_EQ(messages_.shown.size(), 2u);
    EXPECT_NE(messages_.shown[0].find("only be included in different views"), std::string::npos);
    EXPECT_NE(messages_.shown[1].find("already exists in the same folder"), std::string::npos);
    EXPECT_EQ(ByName(project_, 18).at("b").isoInclusion(), 0) << "the folder's view";
    EXPECT_EQ(project_.folderView(18), ProjectView::Hybrid) << "it comes into the view too";
    EXPECT_EQ(project_.findByNumber(18)->resourceSize, 2u);
    const auto again = AddDropped(holder, {}, 99, options_, messages_, progress_);
    EXPECT_EQ(again->status, InclusionStatus::NoSuchFolder);
}

}  // namespace
}  // namespace vellmark
