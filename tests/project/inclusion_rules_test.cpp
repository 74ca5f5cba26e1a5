// Every row of the rules, with every answer.
#include "project/inclusion_rules.hpp"

#include <gtest/gtest.h>

#include "project/project_bench.hpp"

namespace vellmark {
namespace {

using test::Item;
using test::ScriptedMessages;

constexpr Answer kAnswers[] = {Answer::No, Answer::NoToAll, Answer::Yes, Answer::YesToAll};

ProjectRecord Container() {
    ProjectRecord record = Item(1, -1, "x.exe", 0, 0);
    record.setMacBinary(true);
    return record;
}
ProjectRecord AppleFile() {
    ProjectRecord record = Item(1, -1, "x.exe", 0, 0);
    record.setAppleSingle(true);
    return record;
}

std::string ViewsOf(const ProjectRecord& record) {
    return std::string(record.isoInclusion() == 1 ? "I" : "") +
           (record.hfsInclusion() == 1 ? "H" : "");
}

TEST(InclusionRules, EachRowWithEachAnswer) {
    const ProjectRecord executable = Item(1, -1, "a.exe.txt", 0, 0);
    const ProjectRecord plain = Item(1, -1, "A.EXE", 0, 0);
    struct Case {
        ProjectRecord record;
        ProjectView view;
        bool asks;
        std::string outcome[4];  // in the order of kAnswers; the first alone without
                                 // a question
    };
    const Case cases[] = {
        {Container(), ProjectView::Iso, true, {"H", "H", "I", "I"}},
        {Container(), ProjectView::Hybrid, true, {"H", "H", "IH", "IH"}},
        {Container(), ProjectView::Hfs, false, {"H"}},
        {AppleFile(), ProjectView::Iso, true, {"H", "H", "I", "I"}},
        {AppleFile(), ProjectView::Hybrid, true, {"H", "H", "IH", "IH"}},
        {AppleFile(), ProjectView::Hfs, false, {"H"}},
        {executable, ProjectView::Iso, false, {"I"}},
        {executable, ProjectView::Hybrid, true, {"I", "I", "IH", "IH"}},
        {executable, ProjectView::Hfs, true, {"I", "I", "H", "I"}},
        {plain, ProjectView::Iso, false, {"I"}},
        {plain, ProjectView::Hybrid, false, {"IH"}},
        {plain, ProjectView::Hfs, false, {"H"}},
    };
    for (const Case& c : cases) {
        for (std::size_t i = 0; i < (c.asks ? 4u : 1u); ++i) {
            SCOPED_TRACE(std::to_string(&c - cases) + " answer " + std::to_string(i));
            ScriptedMessages messages;
            if (c.asks)
                messages.remembered = {kAnswers[i]};
            InclusionAnswers answers;
            ProjectRecord record = c.record;
            DecideViews(record, c.view, "/p/file", answers, messages);
            EXPECT_EQ(ViewsOf(record), c.outcome[i]);
            EXPECT_EQ(messages.questions.size(), c.asks ? 1u : 0u);

            // An answer to all is kept for this kind of file, and is not asked for
            // again.
            const bool kept = c.asks && (i == 1 || i == 3);
            if (c.asks && !kept)
                messages.remembered = {kAnswers[i]};
            record = c.record;
            DecideViews(record, c.view, "/p/file", answers, messages);
            EXPECT_EQ(ViewsOf(record), c.outcome[i]);
            EXPECT_EQ(messages.questions.size(), !c.asks ? 0u : kept ? 1u : 2u);
        }
    }
}

}  // namespace
}  // namespace vellmark
