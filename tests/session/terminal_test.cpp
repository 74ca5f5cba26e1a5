// The terminal: where each message goes, what is answered when nobody is asked, and the one line.
#include "session/terminal.hpp"

#include <csignal>

#include "session/json_text.hpp"
#include "session/session_bench.hpp"

namespace vellmark {
namespace {

class TerminalTest : public testing::Test {
  protected:
    /// A person who types that.
    TerminalMessages typing(const std::string& typed) {
        input_.clear();
        input_.str(typed);
        errors_.str("");
        return TerminalMessages(context_, {.asks = true}, progress_);
    }

    std::istringstream input_;
    std::ostringstream errors_;
    FixedClock clock_{0};
    CommandContext context_{input_, errors_, errors_, clock_};
    TerminalProgress progress_{context_, {}};
};

TEST_F(TerminalTest, WithoutAPersonNothingIsWaitedForAndNothingIsLost) {
    input_.str("n\nn\nn\n");
    Terminal terminal(context_, {});
    EXPECT_FALSE(terminal.messages.askYesNo("Overwrite\nit?"));
    EXPECT_EQ(errors_.str(), "vellmark: Overwrite it?\n") << "the reason of the failure";
    EXPECT_EQ(terminal.messages.askYesNoRemember("Include it?"), Answer::YesToAll);
    const TruncationAnswer answer = terminal.messages.askTruncation(TruncatedName::Hfs, "ab", "a");
    EXPECT_TRUE(answer.accepted && answer.automatic && answer.name == "a");
    EXPECT_FALSE(terminal.messages.askChoice("Which?", std::vector<std::string>{"a"}));
    EXPECT_EQ(input_.tellg(), 0) << "nothing was read";
}

TEST_F(TerminalTest, AnswersOfAPerson) {
    // A capital letter alone is for all; what is no answer is asked again, but not for ever.
    const std::tuple<const char*, Answer, std::size_t, Language> cases[] = {
        {" Yes \r\n", Answer::Yes, 1, Language::English},
        {"Y\n", Answer::YesToAll, 1, Language::English},
        {"N\n", Answer::NoToAll, 1, Language::English},
        {"\nnot yet\noui\nn\n", Answer::No, 4, Language::English},
        {"nope\n", Answer::None, 2, Language::English},
        {"yes\n", Answer::Yes, 1, Language::French},
        {"O\n", Answer::YesToAll, 1, Language::French}};
    for (const auto& [typed, answer, questions, language] : cases) {
        context_.language = language;
        EXPECT_EQ(typing(typed).askYesNoRemember("It"), answer) << typed;
        EXPECT_EQ(test::CountIn(errors_.str(), "It ["), questions) << typed;
        const bool isYes = answer == Answer::Yes || answer == Answer::YesToAll;
        EXPECT_EQ(typing(typed).askYesNo("?"), isYes) << typed;
        const auto shortened = typing(typed).askTruncation(TruncatedName::Iso, "ab", "a");
        EXPECT_EQ(shortened.accepted, isYes) << typed;
        EXPECT_EQ(shortened.automatic, answer == Answer::YesToAll) << typed;
    }
    EXPECT_EQ(typing(std::string(1000, '\n')).askYesNoRemember("?"), Answer::None);
}

TEST_F(TerminalTest, QuietHidesRemarksAndProgressButNoFailure) {
    context_.showsProgress = true;
    for (const bool isQuiet : {true, false}) {
        errors_.str("");
        Terminal terminal(context_, TerminalOptionsOf(context_, isQuiet));
        terminal.progress.text("busy");
        terminal.messages.showTimedMessage("a remark");
        terminal.messages.itemSkipped("a", "gone");
        EXPECT_EQ(terminal.messages.skipped(), 1u);
        EXPECT_EQ(errors_.str(),
                  std::string(isQuiet ? "" : "\r\x1b[Kbusy\r\x1b[Kvellmark: a remark\n") +
                      "vellmark: skipped a: gone\n");
    }
}

TEST_F(TerminalTest, ASignalStopsTheWorkAndAnIgnoredOneStaysIgnored) {
    Terminal terminal(context_, {});
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        const StopSignals signals;
        EXPECT_TRUE(terminal.progress.chunk(1));
        ASSERT_EQ(::raise(signal), 0);
        EXPECT_FALSE(terminal.progress.chunk(1) || terminal.progress.fileEnd(1)) << signal;
    }
    EXPECT_EQ(std::signal(SIGHUP, SIG_IGN), SIG_DFL) << "given back";
    {
        const StopSignals signals;
        ASSERT_EQ(::raise(SIGHUP), 0);
        EXPECT_FALSE(StopSignals::requested());
    }
    EXPECT_EQ(std::signal(SIGHUP, SIG_DFL), SIG_IGN);
}

// Programs read the name that it is, and a terminal is sent nothing that it would act on.
TEST(JsonText, WhatIsNotShownIsEscaped) {
    const nlohmann::ordered_json value = {{"\u202Ename", {"a\x1B\n\u00E9\u200B\U000E0041"}}};
    EXPECT_EQ(
        JsonText(value, 1),
        "{\n   \"\\u202ename\": [\n     \"a\\u001b\\n\u00E9\\u200b\\udb40\\udc41\"\n   ]\n }");
    EXPECT_EQ(nlohmann::ordered_json::parse(JsonText(value, 0)), value);
}

}  // namespace
}  // namespace vellmark
