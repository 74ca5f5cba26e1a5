// The terminal: where each message goes, what is answered when nobody is asked, and the one line.
#include "session/terminal.hpp"

#include <csignal>

#include "session/session_bench.hpp"

namespace vellmark {
namespace {

class TerminalTest : public testing::Test {
  protected:
    std::istringstream input_;
    std::ostringstream output_;
    std::ostringstream errors_;
    FixedClock clock_{0};
    CommandContext context_{input_, output_, errors_, clock_};
};

TEST_F(TerminalTest, WithoutAPersonNothingIsWaitedForAndNothingIsLost) {
    input_.str("n\nn\nn\n");
    Terminal terminal(context_, {});
    EXPECT_FALSE(terminal.messages.askYesNo("Overwrite\nit?"));
    EXPECT_EQ(errors_.str(), "vellmark: Overwrite it?\n") << "the reason of the failure";
    EXPECT_EQ(terminal.messages.askYesNoRemember("Include it?"), Answer::YesToAll);
    const TruncationAnswer answer = terminal.messages.askTruncation(TruncatedName::Hfs, "ab", "a");
    EXPECT_TRUE(answer.accepted && answer.automatic);
    EXPECT_EQ(answer.name, "a");
    EXPECT_EQ(input_.tellg(), 0) << "nothing was read";
}

TEST_F(TerminalTest, AnswersOfAPerson) {
    constexpr Language kEnglish = Language::English;
    constexpr Language kFrench = Language::French;
    const struct {
        Language language;
        const char* typed;
        Answer answer;
        int questions;  // one that was not answered is put again
    } cases[] = {{kEnglish, "y\n", Answer::Yes, 1},
                 {kEnglish, " Yes \r\n", Answer::Yes, 1},
                 {kEnglish, "Y\n", Answer::YesToAll, 1},
                 {kEnglish, "no\n", Answer::No, 1},
                 {kEnglish, "NO\n", Answer::No, 1},
                 {kEnglish, "N\n", Answer::NoToAll, 1},
                 {kEnglish, "\nnot yet\noui\nn\n", Answer::No, 4},
                 {kEnglish, "nope\n", Answer::None, 2},
                 {kEnglish, "", Answer::None, 1},
                 {kFrench, "o\n", Answer::Yes, 1},
                 {kFrench, "Oui\n", Answer::Yes, 1},
                 {kFrench, "yes\n", Answer::Yes, 1},
                 {kFrench, "O\n", Answer::YesToAll, 1},
                 {kFrench, "non\n", Answer::No, 1},
                 {kFrench, "N\n", Answer::NoToAll, 1}};
    for (const auto& c : cases) {
        context_.language = c.language;
        Terminal terminal(context_, {.asks = true});
        const auto typed = [&] {
            input_.clear();
            input_.str(c.typed);
            errors_.str("");
        };
        const bool yes = c.answer == Answer::Yes || c.answer == Answer::YesToAll;
        typed();
        EXPECT_EQ(terminal.messages.askYesNoRemember("It"), c.answer) << c.typed;
        std::string asked;
        for (int i = 0; i < c.questions; ++i)
            asked += c.language == kFrench ? "It [o/n, O oui pour tous, N non pour tous] "
                                           : "It [y/n, Y yes to all, N no to all] ";
        EXPECT_EQ(errors_.str(), asked + (c.answer == Answer::None ? "\n" : "")) << c.typed;
        typed();
        EXPECT_EQ(terminal.messages.askYesNo("?"), yes) << c.typed;
        typed();
        const TruncationAnswer answer =
            terminal.messages.askTruncation(TruncatedName::Iso, "ab", "a");
        EXPECT_EQ(answer.accepted, yes) << c.typed;
        EXPECT_EQ(answer.automatic, c.answer == Answer::YesToAll) << c.typed;
    }
    input_.clear();
    input_.str(std::string(1000, '\n'));
    EXPECT_EQ(Terminal(context_, {.asks = true}).messages.askYesNoRemember("?"), Answer::None)
        << "a question is not put for ever";
}

TEST_F(TerminalTest, QuietHidesRemarksButNoFailure) {
    Terminal terminal(context_, {.quiet = true});
    terminal.messages.showTimedMessage("a remark");
    EXPECT_EQ(errors_.str(), "");
    terminal.messages.itemSkipped("a", "gone");
    terminal.messages.showMessage("failed");
    EXPECT_EQ(errors_.str(), "vellmark: skipped a: gone\nvellmark: failed\n");
    EXPECT_EQ(terminal.messages.skipped(), 1u);
    EXPECT_EQ(output_.str(), "");
}

TEST_F(TerminalTest, ProgressIsDrawnOnATerminalAloneAndTakenAwayBeforeAMessage) {
    {
        Terminal hidden(context_, TerminalOptionsOf(context_, false));
        hidden.progress.text("busy");
        EXPECT_EQ(errors_.str(), "");
    }
    context_.showsProgress = true;
    EXPECT_FALSE(TerminalOptionsOf(context_, true).showsProgress) << "quiet";
    Terminal terminal(context_, TerminalOptionsOf(context_, false));
    terminal.progress.text("busy");
    terminal.messages.showMessage("news");
    EXPECT_EQ(errors_.str(), "\r\x1b[Kbusy\r\x1b[Kvellmark: news\n");
}

TEST_F(TerminalTest, ASignalStopsTheWorkAndAnIgnoredOneStaysIgnored) {
    Terminal terminal(context_, {});
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        const StopSignals signals;
        EXPECT_TRUE(terminal.progress.chunk(1));
        ASSERT_EQ(::raise(signal), 0);
        EXPECT_FALSE(terminal.progress.chunk(1)) << signal;
        EXPECT_FALSE(terminal.progress.fileEnd(1)) << signal;
    }
    struct sigaction before {};
    ASSERT_EQ(::sigaction(SIGINT, nullptr, &before), 0);
    EXPECT_EQ(before.sa_handler, SIG_DFL) << "given back";

    std::signal(SIGHUP, SIG_IGN);
    {
        const StopSignals signals;
        ASSERT_EQ(::raise(SIGHUP), 0);
        EXPECT_FALSE(StopSignals::requested());
    }
    EXPECT_EQ(std::signal(SIGHUP, SIG_DFL), SIG_IGN);
}

}  // namespace
}  // namespace vellmark
