// Properties of items and projects, counts, and what the views show.
#include "project/item_properties.hpp"

#include "project/project_bench.hpp"
#include "project/project_properties.hpp"
#include "support/sentences.hpp"

namespace vellmark {
namespace {

using test::EmptyProject;
using test::Item;

std::string Words(const Reason& reason) {
    return reason.words(Language::English);
}

std::string Counts(const ItemCounts& counts) {
    return fmt::format("{}/{}", counts.folders, counts.files);
}

TEST(ItemProperties, WhatIsGivenChangesAndNothingElse) {
    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "Docs"));
    project.insert(Item(1, 19, "Made", 1, 1, ".."));
    project.insert(Item(18, -1, "icon", -1, 1, "/pc/Docs/"));
    project.insert(Item(1, -2, "pc.txt", 1, 0));
    project.addCounters(18, 0, 1);
    ProjectRecord& file = *project.findByNumber(-1);
    file.setSignature("ICNSMACS");
    file.setHfsName("Icon\r");
    file.setIsoName("~");
    file.created = 100;
    file.modified = 200;
    file.dataSize = 7;
    project.findByNumber(18)->setCustomIcon(true);
    const struct {
        std::int32_t number;
        ItemChanges changes;
        const char* expected;  // marks and signature, dates; or what is said
    } rows[] = {{-1, {.created = 300}, "iH ICNSMACS 200 200"},  // never behind the last change
                {-1, {.modified = 50}, "iH ICNSMACS 50 50"},
                {-1, {.isHiddenInIso = true, .hidesExtension = true}, "iHpx ICNSMACS 50 50"},
                {18, {.isHiddenInHfs = true, .isRefreshed = true}, "IHkm  0 0"},
                {-1, {.creator = {{'R', '*', 'c', 'h'}}}, "iHpx ICNSR*ch 50 50"},
                {18, {.hidesExtension = false}, "IHm  0 0"},  // an icon of another type is no icon
                {18, {.hasCustomIcon = true}, "IHkm  0 0"},
                {19, {.isRefreshed = false}, "IH  0 0"},
                {19,
                 {.isRefreshed = true},
                 "Made is no folder of the PC, whose contents could be refreshed."},
                {18,
                 {.type = {{'A', 'P', 'P', 'L'}}, .isRefreshed = false},
                 "/pc/Docs is a folder, which has neither type nor creator."},
                {99, {}, "The project has no item with the number 99."}};
    for (const auto& row : rows) {
        std::string said = Words(ChangeItem(project, row.number, row.changes));
        if (const ProjectRecord* now = project.findByNumber(row.number); said.empty())
            said = fmt::format("{} {} {} {}", test::MarksOf(*now), now->signature(),
                               std::uint32_t{now->created}, std::uint32_t{now->modified});
        EXPECT_EQ(said, row.expected);
    }
    const ItemProperties item = *PropertiesOf(project, -1);
    EXPECT_EQ(item.isoName, "") << "refused";
    EXPECT_EQ(item.dataBytes, 7u);
    EXPECT_TRUE(item.folder == 18 && item.isMissing && item.views.iso && !item.isFolder);
    const ItemProperties folder = *PropertiesOf(project, 18);
    EXPECT_EQ(folder.files, 1u);
    EXPECT_EQ(folder.dataBytes, 0u);
    EXPECT_TRUE(folder.isRefreshed && folder.isHiddenInHfs && folder.hasCustomIcon);
    EXPECT_TRUE(PropertiesOf(project, 19)->isMadeHere && !PropertiesOf(project, -2)->isMissing);
    EXPECT_EQ(HideExtensions(project), 2) << "those of the HFS view that are shown";
    EXPECT_EQ(test::MarksOf(*project.findByNumber(-2)), "I");
}

TEST(ItemProperties, TheViewsShowTheirOwnPicturesFoldersAndCounts) {
    const int icons[][3] = {{1, 1, 0},   {1, 0, 1},  {0, 1, 2},  {0, 0, 3}, {-1, 1, 4},
                            {-1, -1, 4}, {1, -1, 0}, {-1, 0, 5}, {0, -1, 6}};
    for (const auto& [iso, hfs, icon] : icons)
        EXPECT_EQ(static_cast<int>(IconOf(Item(1, -1, "x", iso, hfs))), icon);

    ProjectFile project = EmptyProject();
    project.insert(Item(1, 18, "Iso", 1, 0));
    project.insert(Item(18, 19, "Deep", 1, 0));
    project.insert(Item(1, 20, "Both"));
    project.insert(Item(20, 21, "Hfs", 0, 1));
    project.insert(Item(20, -1, "file"));
    project.findByNumber(-1)->dataSize = 1000;
    project.findByNumber(-1)->resourceSize = 24;
    using enum ProjectView;
    const std::tuple<std::int32_t, ProjectView, std::int32_t> nearest[] = {
        {19, Iso, 19}, {19, Hybrid, 19}, {19, Hfs, 1}, {21, Iso, 20}, {99, Iso, 1}};
    for (const auto& [folder, view, expected] : nearest)
        EXPECT_EQ(NearestFolderIn(project, folder, view), expected) << folder;
    const ProjectCounts counts = CountItems(project);
    EXPECT_EQ(Counts(counts.all) + " " + Counts(counts.iso) + " " + Counts(counts.hfs),
              "4/1 3/1 2/1");
    EXPECT_EQ(Counts(ContentsOf(project, 20, Iso).items), "0/1");
    EXPECT_EQ(Counts(ContentsOf(project, 20, Hybrid).items), "1/1");
    EXPECT_EQ(ContentsOf(project, 20, Iso).bytes, 1024u);
}

TEST(ProjectProperties, HfsTakesNoMoreThanItHoldsAndAnIsoPlusProjectHasNoVolume) {
    ProjectFile project = EmptyProject(true);
    ProjectFile::Run run(65'536, Item(1, 0, "x"));
    for (std::size_t i = 0; i < run.size(); ++i)
        run[i].number = -static_cast<std::int32_t>(i) - 1;
    project.mergeChildren(1, std::move(run));
    EXPECT_EQ(ChangeProject(project, {.isHfsPlus = false, .opensRoot = true}).told(), 1472);
    EXPECT_TRUE(project.header().isHfsPlus() && !project.header().openRoot());
    project.findByNumber(-1)->setHfsInclusion(0);
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
    const DescriptorTexts texts = {std::string(32, 's'), longest,        "É diteur",    "", longest,
                                   "COPYRIGH.TXT",       "ABSTRACT.TXT", "BIBLIOGR.TXT"};
    EXPECT_TRUE(SetDescriptorTexts(header, texts).isNone());
    EXPECT_EQ(DescriptorTextsOf(header), texts);
    EXPECT_EQ(std::string(header.publisher, 9), std::string("\xC9 diteur\0", 9));
    const std::tuple<std::string DescriptorTexts::*, std::string, const char*> wrong[] = {
        {&DescriptorTexts::application, longest + "x",
         "Application: it has 129 characters, and the ISO descriptor holds 128."},
        {&DescriptorTexts::publisher, "日",
         "Publisher: it holds a control character or one outside Windows-1252."},
        {&DescriptorTexts::volumeSet, "a\tb",
         "Volume Set: it holds a control character or one outside Windows-1252."}};
    for (const auto& [field, text, said] : wrong) {
        DescriptorTexts other;
        other.*field = text;
        EXPECT_EQ(Words(SetDescriptorTexts(header, other)), said);
        EXPECT_EQ(DescriptorTextsOf(header), texts) << "nothing changes";
    }
}

}  // namespace
}  // namespace vellmark
