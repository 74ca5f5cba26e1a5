// The terminal: where each message goes, what is answered when nobody is asked, and the one line.
#include "session/terminal.hpp"

#include <csignal>

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
    const struct {
        const char* typed;
        Answer answer;
        std::size_t questions;
        Language language = Language::English;
    } cases[] = {{" Yes \r\n", Answer::Yes, 1},
                 {"Y\n", Answer::YesToAll, 1},
                 {"NO\n", Answer::No, 1},
                 {"N\n", Answer::NoToAll, 1},
                 {"\nnot yet\noui\nn\n", Answer::No, 4},
                 {"nope\n", Answer::None, 2},
                 {"yes\n", Answer::Yes, 1, Language::French},
                 {"O\n", Answer::YesToAll, 1, Language::French},
                 {"non\n", Answer::No, 1, Language::French}};
    for (const auto& c : cases) {
        context_.language = c.language;
        EXPECT_EQ(typing(c.typed).askYesNoRemember("It"), c.answer) << c.typed;
        const bool isFrench = c.language == Language::French;
        const std::string asked = isFrench ? "It [o/n, O oui pour tous, N non pour tous] "
                                           : "It [y/n, Y yes to all, N no to all] ";
        EXPECT_TRUE(errors_.str().starts_with(asked)) << errors_.str();
        EXPECT_EQ(errors_.str().size() / asked.size(), c.questions) << c.typed;
        const bool isYes = c.answer == Answer::Yes || c.answer == Answer::YesToAll;
        EXPECT_EQ(typing(c.typed).askYesNo("?"), isYes) << c.typed;
        const auto shortened = typing(c.typed).askTruncation(TruncatedName::Iso, "ab", "a");
        EXPECT_EQ(shortened.accepted, isYes) << c.typed;
        EXPECT_EQ(shortened.automatic, c.answer == Answer::YesToAll) << c.typed;
    }
    EXPECT_EQ(typing(std::string(1000, '\n')).askYesNoRemember("?"), Answer::None);
    // An answer for all is kept for the items that follow.
    for (const auto& [typed, given] : std::map<std::string, std::string>{
             {"y\nn\ny\nn\n", "ynyn"}, {"n\nY\nn\n", "nyyy"}, {"y\nN\ny\n", "ynnn"}}) {
        TerminalMessages messages = typing(typed);
        RememberedAnswer remembered;
        for (const char letter : given)
            EXPECT_EQ(remembered.ask(messages, "?"), letter == 'y') << typed;
    }
}

TEST_F(TerminalTest, APersonNamesAFileOrPicksOneByItsNumber) {
    EXPECT_EQ(typing("\n").askFileName("ab"), "ab");
    EXPECT_EQ(typing("c\n").askFileName("ab"), "c");
    EXPECT_FALSE(typing("").askFileName("ab"));
    const std::vector<std::string> names = {"a", "b\x1B"};
    for (const auto& [typed, choice] : std::map<std::string, std::optional<std::size_t>>{
             {" 1 \n", 0}, {"2\n", 1}, {"0\n", {}}, {"3\n", {}}, {"1x\n", {}}, {"", {}}})
        EXPECT_EQ(typing(typed).askChoice("Which?", names), choice) << typed;
    EXPECT_TRUE(errors_.str().starts_with("1. a\n2. b\uFFFD\nWhich? ")) << errors_.str();
}

TEST_F(TerminalTest, ChangedNamesAreToldOnceThreeOfThemByName) {
    TerminalMessages messages = typing("");
    for (const bool isVerbose : {false, true}) {
        for (int i = 0; i < 4; ++i)
            messages.nameChanged("ab", "a");
        errors_.str("");
        messages.tellChangedNames(isVerbose);
        messages.tellChangedNames(isVerbose);
        const std::string told = errors_.str();
        EXPECT_TRUE(told.starts_with("vellmark: 4 names were shortened")) << told;
        EXPECT_EQ(std::ranges::count(told, '\n'), isVerbose ? 5 : 4) << told;
    }
}

TEST_F(TerminalTest, QuietHidesRemarksAndProgressButNoFailure) {
    {
        Terminal terminal(context_, {.quiet = true});
        terminal.messages.showTimedMessage("a remark");
        terminal.progress.text("busy");
        terminal.messages.itemSkipped("a", "gone");
        terminal.messages.showMessage("failed");
        EXPECT_EQ(terminal.messages.skipped(), 1u);
    }
    EXPECT_EQ(errors_.str(), "vellmark: skipped a: gone\nvellmark: failed\n");
    EXPECT_FALSE(TerminalOptionsOf(context_, false).showsProgress) << "no terminal";
    context_.showsProgress = true;
    EXPECT_FALSE(TerminalOptionsOf(context_, true).showsProgress) << "quiet";
    errors_.str("");
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

}  // namespace
}  // namespace vellmark
