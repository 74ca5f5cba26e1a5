// Properties of items and projects, counts, and what the views show.
#include "project/item_properties.hpp"

#include "project/item_bench.hpp"
#include "project/project_properties.hpp"
#include "support/sentences.hpp"

namespace vellmark {
namespace {

using test::EmptyProject;
using test::Put;

std::string Words(const Reason& reason) {
    return reason.words(Language::English);
}

TEST(ItemProperties, WhatIsGivenChangesAndNothingElse) {
    ProjectFile project = EmptyProject();
    Put(project, 1, 18, "Docs", "IH");
    Put(project, 1, 19, "Made", "IH", "..");
    Put(project, 18, -1, "a.txt", "IH", "/pc/Docs/");
    ProjectRecord& file = *project.findByNumber(-1);
    file.setSignature("TEXTttxt");
    file.created = 100;
    file.modified = 200;
    file.dataSize = 7;
    file.setIsoName("~");
    file.setIsoInclusion(-1);

    EXPECT_TRUE(ChangeItem(project, -1, {.creator = {{'R', '*', 'c', 'h'}}}).isNone());
    EXPECT_EQ(file.signature(), "TEXTR*ch");
    EXPECT_EQ(std::uint32_t{file.created}, 100u);
    EXPECT_TRUE(ChangeItem(project, -1, {.type = {{'A', 'P', 'P', 'L'}}, .created = 300}).isNone());
    EXPECT_EQ(file.signature(), "APPLR*ch");
    EXPECT_EQ(std::uint32_t{file.created}, 200u) << "never behind the last change";
    EXPECT_TRUE(ChangeItem(project, -1, {.modified = 50}).isNone());
    EXPECT_EQ(std::uint32_t{file.created}, 50u);
    EXPECT_TRUE(ChangeItem(project, -1, {.isHiddenInIso = true, .hidesExtension = true}).isNone());
    EXPECT_TRUE(file.hiddenInIso() && !file.hiddenInHfs() && file.hiddenExtension());
    EXPECT_TRUE(
        ChangeItem(project, 18, {.isHiddenInHfs = true, .hasCustomIcon = true, .isRefreshed = true})
            .isNone());

    EXPECT_EQ(
        Words(ChangeItem(project, 18, {.type = {{'A', 'P', 'P', 'L'}}, .isRefreshed = false})),
        "/pc/Docs is a folder, which has neither type nor creator.");
    EXPECT_EQ(Words(ChangeItem(project, 19, {.isRefreshed = true})),
              "Made is no folder of the PC, whose contents could be refreshed.");
    EXPECT_TRUE(ChangeItem(project, 19, {.isRefreshed = false}).isNone());
    EXPECT_EQ(Words(ChangeItem(project, 99, {})), "The project has no item with the number 99.");

    const ItemProperties item = PropertiesOf(project, -1).value_or(ItemProperties{});
    EXPECT_EQ(item.folder, 18);
    EXPECT_EQ(item.isoName, "") << "refused";
    EXPECT_EQ(item.hfsName, "a.txt");
    EXPECT_EQ(item.dataBytes, 7u);
    EXPECT_TRUE(item.isMissing && item.views.iso && item.views.hfs && !item.isFolder);
    const ItemProperties folder = PropertiesOf(project, 18).value_or(ItemProperties{});
    EXPECT_EQ(folder.files, 1u);
    EXPECT_EQ(folder.dataBytes, 0u);
    EXPECT_TRUE(folder.isRefreshed && folder.isHiddenInHfs && folder.hasCustomIcon);
    EXPECT_TRUE(PropertiesOf(project, 19).value_or(ItemProperties{}).isMadeHere);
    EXPECT_FALSE(PropertiesOf(project, 99));
}

TEST(ItemProperties, AnIconOfAnotherTypeIsNoIconAndExtensionsAreHiddenInTheHfsViewAlone) {
    ProjectFile project = EmptyProject();
    Put(project, 1, 18, "Docs", "IH");
    Put(project, 18, -1, "icon", "H");
    Put(project, 1, -2, "pc.txt", "I");
    ProjectRecord& icon = *project.findByNumber(-1);
    icon.setSignature("ICNSMACS");
    icon.setHfsName("Icon\r");
    project.findByNumber(18)->setCustomIcon(true);
    EXPECT_TRUE(ChangeItem(project, -1, {.creator = {{'?', '?', '?', '?'}}}).isNone());
    EXPECT_FALSE(project.findByNumber(18)->customIcon());
    EXPECT_EQ(HideExtensions(project), 2);
    EXPECT_EQ(HideExtensions(project), 0);
    EXPECT_FALSE(project.findByNumber(-2)->hiddenExtension());
}

TEST(ItemProperties, TheViewsShowTheirOwnPicturesFoldersAndCounts) {
    const struct {
        int iso;
        int hfs;
        int icon;
    } icons[] = {{1, 1, 0},   {1, 0, 1},  {0, 1, 2},  {0, 0, 3}, {-1, 1, 4},
                 {-1, -1, 4}, {1, -1, 0}, {-1, 0, 5}, {0, -1, 6}};
    for (const auto& row : icons)
        EXPECT_EQ(static_cast<int>(IconOf(test::Item(1, -1, "x", row.iso, row.hfs))), row.icon);

    ProjectFile project = EmptyProject();
    Put(project, 1, 18, "Iso", "I");
    Put(project, 18, 19, "Deep", "I");
    Put(project, 1, 20, "Both", "IH");
    Put(project, 20, 21, "Hfs", "H");
    Put(project, 20, -1, "file", "IH");
    project.findByNumber(-1)->dataSize = 1000;
    project.findByNumber(-1)->resourceSize = 24;
    EXPECT_EQ(NearestFolderIn(project, 19, ProjectView::Iso), 19);
    EXPECT_EQ(NearestFolderIn(project, 19, ProjectView::Hybrid), 19);
    EXPECT_EQ(NearestFolderIn(project, 19, ProjectView::Hfs), 1);
    EXPECT_EQ(NearestFolderIn(project, 21, ProjectView::Iso), 20);
    EXPECT_EQ(NearestFolderIn(project, 99, ProjectView::Iso), 1);

    const ProjectCounts counts = CountItems(project);
    EXPECT_EQ(counts.all.folders, 4);
    EXPECT_EQ(counts.all.files, 1);
    EXPECT_EQ(counts.iso.folders, 3);
    EXPECT_EQ(counts.hfs.folders, 2);
    EXPECT_EQ(counts.hfs.files, 1);
    const FolderContents contents = ContentsOf(project, 20, ProjectView::Iso);
    EXPECT_EQ(contents.items.folders, 0);
    EXPECT_EQ(contents.items.files, 1);
    EXPECT_EQ(contents.bytes, 1024u);
    EXPECT_EQ(ContentsOf(project, 20, ProjectView::Hybrid).items.folders, 1);
}

TEST(ProjectProperties, HfsTakesNoMoreThanItHoldsAndAnIsoPlusProjectHasNoVolume) {
    ProjectFile project = EmptyProject(true);
    ProjectFile::Run run(65'535, test::Item(1, 0, "x"));
    for (std::size_t i = 0; i < run.size(); ++i)
        run[i].number = -static_cast<std::int32_t>(i) - 1;
    project.mergeChildren(1, std::move(run));
    project.insert(test::Item(1, -70'000, "y"));
    project.findByNumber(-70'000)->setHfsInclusion(1);
    EXPECT_EQ(ChangeProject(project, {.isHfsPlus = false, .opensRoot = true}).told(), 1472);
    EXPECT_TRUE(project.header().isHfsPlus() && !project.header().openRoot());
    project.findByNumber(-70'000)->setHfsInclusion(0);
    EXPECT_TRUE(ChangeProject(project, {.isHfsPlus = false, .opensRoot = true}).isNone());
    EXPECT_TRUE(!project.header().isHfsPlus() && project.header().openRoot());
    EXPECT_TRUE(ChangeProject(project, {.rebuildsBeforeCompile = true}).isNone());
    EXPECT_TRUE(PropertiesOf(project).opensRoot && PropertiesOf(project).rebuildsBeforeCompile);

    ProjectFile isoPlus = EmptyProject(false, ProjectMode::IsoPlus);
    EXPECT_EQ(ChangeProject(isoPlus, {.isHfsPlus = true}).sentence(),
              Sentence::kIsoPlusHasNoVolume);
}

TEST(ProjectProperties, TheTextsOfTheDescriptorFillTheirFieldsAndNoMore) {
    ProjectHeader header{};
    const std::string longest(128, 'x');
    const DescriptorTexts texts = {
        std::string(32, 's'), longest,        "\xC3\x89 diteur", "", longest,
        "COPYRIGH.TXT",       "ABSTRACT.TXT", "BIBLIOGR.TXT"};
    EXPECT_TRUE(SetDescriptorTexts(header, texts).isNone());
    EXPECT_EQ(DescriptorTextsOf(header), texts);
    EXPECT_EQ(std::string(header.publisher, 9), std::string("\xC9 diteur\0", 9));
    const struct {
        std::string DescriptorTexts::*field;
        std::string text;
        const char* said;
    } wrong[] = {{&DescriptorTexts::system, std::string(33, 's'),
                  "System: it has 33 characters, and the ISO descriptor holds 32."},
                 {&DescriptorTexts::application, longest + "x",
                  "Application: it has 129 characters, and the ISO descriptor holds 128."},
                 {&DescriptorTexts::abstractFile, "ABSTRACTS.TXT",
                  "Abstract File: it has 13 characters, and the ISO descriptor holds 12."},
                 {&DescriptorTexts::publisher, "\xE6\x97\xA5",
                  "Publisher: it holds a control character or one outside Windows-1252."},
                 {&DescriptorTexts::volumeSet, "a\tb",
                  "Volume Set: it holds a control character or one outside Windows-1252."}};
    for (const auto& row : wrong) {
        DescriptorTexts other;
        other.*row.field = row.text;
        EXPECT_EQ(Words(SetDescriptorTexts(header, other)), row.said);
        EXPECT_EQ(DescriptorTextsOf(header), texts) << "nothing changes";
    }
}

}  // namespace
}  // namespace vellmark
