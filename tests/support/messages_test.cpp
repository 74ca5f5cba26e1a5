// The answers that a batch keeps, and the language of the texts.
#include "support/messages.hpp"

#include <gtest/gtest.h>

#include <deque>

namespace vellmark {
namespace {

class Scripted final : public Messages {
  public:
    std::deque<Answer> answers;
    std::string shown;

    void showMessage(std::string_view text) override { shown += text; }
    void itemSkipped(std::string_view, std::string_view) override {}
    bool askYesNo(std::string_view) override { return false; }
    Answer askYesNoRemember(std::string_view) override {
        const Answer answer = answers.at(0);
        answers.pop_front();
        return answer;
    }
    TruncationAnswer askTruncation(TruncatedName, std::string_view, std::string_view) override {
        return {};
    }
    Language language() const override { return Language::French; }
};

TEST(RememberedAnswer, IsAskedUntilTheAnswerIsForAll) {
    const struct {
        std::deque<Answer> answers;
        const char* yes;  // y or n for each of four items
        Remembered kept;
    } cases[] = {{{Answer::Yes, Answer::No, Answer::Yes, Answer::No}, "ynyn", Remembered::Ask},
                 {{Answer::No, Answer::YesToAll}, "nyyy", Remembered::YesToAll},
                 {{Answer::Yes, Answer::NoToAll}, "ynnn", Remembered::NoToAll}};
    for (const auto& c : cases) {
        Scripted messages;
        messages.answers = c.answers;
        RememberedAnswer remembered;
        std::string yes;
        for (int item = 0; item < 4; ++item)
            yes += remembered.ask(messages, "?") ? 'y' : 'n';
        EXPECT_EQ(yes, c.yes);
        EXPECT_EQ(remembered.kept, c.kept) << c.yes;
        EXPECT_TRUE(messages.answers.empty()) << c.yes;
    }
}

TEST(Messages, TextsComeInThePersonsLanguage) {
    const Scripted messages;
    EXPECT_EQ(messages.text(1385), Text(11385));
    EXPECT_NE(messages.text(1385), Text(1385));
}

}  // namespace
}  // namespace vellmark
