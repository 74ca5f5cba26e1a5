#include "project/inclusion_rules.hpp"

#include <string>

#include "support/texts.hpp"

namespace vellmark {

namespace {

struct Views {
    bool iso;
    bool hfs;
};

constexpr Views kIso = {true, false};
constexpr Views kHfs = {false, true};
constexpr Views kBoth = {true, true};

constexpr int kNoQuestion = 0;
constexpr int kTextMacContainer = 1048;
constexpr int kTextAppleContainer = 1049;
constexpr int kTextExecutable = 1050;

struct Rule {
    FileClass fileClass;
    ProjectView view;
    int question;  ///< text number; without one the outcome is `yes`
    Views no;      ///< also for "no to all"
    Views yes;
    Views yesToAll;
};

constexpr Rule kRules[] = {
    {FileClass::MacContainer, ProjectView::Iso, kTextMacContainer, kHfs, kIso, kIso},
    {FileClass::MacContainer, ProjectView::Hybrid, kTextMacContainer, kHfs, kBoth, kBoth},
    {FileClass::MacContainer, ProjectView::Hfs, kNoQuestion, kHfs, kHfs, kHfs},
    {FileClass::AppleContainer, ProjectView::Iso, kTextAppleContainer, kHfs, kIso, kIso},
    {FileClass::AppleContainer, ProjectView::Hybrid, kTextAppleContainer, kHfs, kBoth, kBoth},
    {FileClass::AppleContainer, ProjectView::Hfs, kNoQuestion, kHfs, kHfs, kHfs},
    {FileClass::Executable, ProjectView::Iso, kNoQuestion, kIso, kIso, kIso},
    {FileClass::Executable, ProjectView::Hybrid, kTextExecutable, kIso, kBoth, kBoth},
    // Kept on purpose: "yes to all" in the HFS view files an executable under ISO.
    {FileClass::Executable, ProjectView::Hfs, kTextExecutable, kIso, kHfs, kIso},
    {FileClass::Plain, ProjectView::Iso, kNoQuestion, kIso, kIso, kIso},
    {FileClass::Plain, ProjectView::Hybrid, kNoQuestion, kBoth, kBoth, kBoth},
    {FileClass::Plain, ProjectView::Hfs, kNoQuestion, kHfs, kHfs, kHfs},
};

const Rule& RuleFor(FileClass fileClass, ProjectView view) {
    for (const Rule& rule : kRules)
        if (rule.fileClass == fileClass && rule.view == view)
            return rule;
    return kRules[0];  // the table has a row for each pair
}

// Where the answers to a class's question are kept; a plain file has none.
RememberedAnswer* KeptAnswer(FileClass fileClass, InclusionAnswers& answers) {
    switch (fileClass) {
        case FileClass::MacContainer:
            return &answers.macContainer;
        case FileClass::AppleContainer:
            return &answers.appleContainer;
        case FileClass::Executable:
            return &answers.executable;
        case FileClass::Plain:
            break;
    }
    return nullptr;
}

Views Outcome(const Rule& rule, Answer answer) {
    switch (answer) {
        case Answer::Yes:
            return rule.yes;
        case Answer::YesToAll:
            return rule.yesToAll;
        case Answer::No:
        case Answer::NoToAll:
        case Answer::None:
            break;
    }
    return rule.no;
}

}  // namespace

FileClass ClassOf(const ProjectRecord& record) {
    if (record.macBinary() || record.binHex())
        return FileClass::MacContainer;
    if (record.appleDouble() || record.appleSingle())
        return FileClass::AppleContainer;
    return record.sourceName().find(".exe") == std::string_view::npos ? FileClass::Plain
                                                                      : FileClass::Executable;
}

void DecideViews(ProjectRecord& record, ProjectView view, std::string_view shownPath,
                 InclusionAnswers& answers, Messages& messages) {
    const FileClass fileClass = ClassOf(record);
    const Rule& rule = RuleFor(fileClass, view);
    RememberedAnswer* kept = KeptAnswer(fileClass, answers);
    const Views views =
        rule.question == kNoQuestion || !kept
            ? rule.yes
            : Outcome(rule, kept->answer(messages,
                                         messages.words(Reason::Told(rule.question, shownPath))));
    record.setIsoInclusion(views.iso);
    record.setHfsInclusion(views.hfs);
}

}  // namespace vellmark
