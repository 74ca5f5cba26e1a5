// What a list shows of items: their pictures by the views that they are in.
#include "workbench/models/project_items.hpp"

#include "project/project_bench.hpp"

namespace vellmark::test {
namespace {

TEST(ProjectItems, PicturesSayInWhichViewsAnItemIsAndIsMissing) {
    using enum PictureState;
    // By the inclusion in the ISO view, then the HFS view: missing, none, included. What is in both
    // goes by the ISO view.
    const PictureState expected[3][3] = {{MissingInBoth, MissingInIso, MissingInBoth},
                                         {MissingInHfs, NoView, HfsAlone},
                                         {BothViews, IsoAlone, BothViews}};
    const SignatureTable signatures;
    for (const int iso : {-1, 0, 1})
        for (const int hfs : {-1, 0, 1}) {
            ProjectFile project = EmptyProject();
            project.insert(Item(kRootFolder, -1, "a.jpg", iso, hfs));
            for (const ProjectView view :
                 {ProjectView::Iso, ProjectView::Hybrid, ProjectView::Hfs}) {
                ProjectItems items(project, view, signatures, Language::English);
                items.list(kRootFolder);
                const bool isThere = view == ProjectView::Iso   ? iso != 0
                                     : view == ProjectView::Hfs ? hfs != 0
                                                                : iso != 0 || hfs != 0;
                ASSERT_EQ(items.count(), isThere ? 1u : 0u) << iso << hfs;
                if (!isThere)
                    continue;
                const ItemPicture picture = items.facts(0).picture;
                EXPECT_EQ(picture.shape, view == ProjectView::Hfs ? Picture::File : Picture::Image);
                EXPECT_EQ(picture.state,
                          view == ProjectView::Hybrid ? expected[iso + 1][hfs + 1] : Plain)
                    << iso << hfs;
            }
        }
}

}  // namespace
}  // namespace vellmark::test
