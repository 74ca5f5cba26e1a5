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
    std::ostringstream output_;
    std::ostringstream errors_;
    FixedClock clock_{0};
    CommandContext context_{input_, output_, errors_, clock_};
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
    // A capital letter alone is for all; what is no answer is asked again.
    const struct {
        Language language;
        const char* typed;
        Answer answer;
        int questions;
    } cases[] = {{Language::English, " Yes \r\n", Answer::Yes, 1},
                 {Language::English, "Y\n", Answer::YesToAll, 1},
                 {Language::English, "NO\n", Answer::No, 1},
                 {Language::English, "N\n", Answer::NoToAll, 1},
                 {Language::English, "\nnot yet\noui\nn\n", Answer::No, 4},
                 {Language::English, "nope\n", Answer::None, 2},
                 {Language::French, "o\n", Answer::Yes, 1},
                 {Language::French, "yes\n", Answer::Yes, 1},
                 {Language::French, "O\n", Answer::YesToAll, 1},
                 {Language::French, "non\n", Answer::No, 1}};
    for (const auto& c : cases) {
        context_.language = c.language;
        EXPECT_EQ(typing(c.typed).askYesNoRemember("It"), c.answer) << c.typed;
        std::string asked;
        for (int i = 0; i < c.questions; ++i)
            asked += c.language == Language::French ? "It [o/n, O oui pour tous, N non pour tous] "
                                                    : "It [y/n, Y yes to all, N no to all] ";
        EXPECT_EQ(errors_.str(), asked + (c.answer == Answer::None ? "\n" : "")) << c.typed;
        const bool isYes = c.answer == Answer::Yes || c.answer == Answer::YesToAll;
        EXPECT_EQ(typing(c.typed).askYesNo("?"), isYes) << c.typed;
        const auto shortened = typing(c.typed).askTruncation(TruncatedName::Iso, "ab", "a");
        EXPECT_EQ(shortened.accepted, isYes) << c.typed;
        EXPECT_EQ(shortened.automatic, c.answer == Answer::YesToAll) << c.typed;
    }
    EXPECT_EQ(typing(std::string(1000, '\n')).askYesNoRemember("?"), Answer::None)
        << "a question is not put for ever";
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
    (void)typing("1\n").askChoice("Which?", names);
    EXPECT_EQ(errors_.str(), "1. a\n2. b\uFFFD\nWhich? [1-2] ");
}

TEST_F(TerminalTest, ChangedNamesAreToldOnceThreeOfThemByName) {
    const std::string line = "vellmark:   ab: a\n";
    const std::map<int, std::string> heads = {
        {1, "vellmark: 1 name was shortened, or had characters replaced or digits added:\n"},
        {4,
         "vellmark: 4 names were shortened, or had characters replaced or digits added, "
         "among them (--verbose names all):\n"}};
    for (const auto& [count, head] : heads) {
        TerminalMessages messages = typing("");
        for (const bool isVerbose : {false, true}) {
            for (int i = 0; i < count; ++i)
                messages.nameChanged("ab", "a");
            messages.tellChangedNames(isVerbose);
            messages.tellChangedNames(isVerbose);
        }
        EXPECT_TRUE(errors_.str().starts_with(head + line + (count == 4 ? line + line : "") + "v"))
            << errors_.str();
        EXPECT_TRUE(errors_.str().ends_with(count == 4 ? ":\n" + line + line + line + line : line));
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
    EXPECT_EQ(output_.str(), "");
    (void)typing("");
    EXPECT_FALSE(TerminalOptionsOf(context_, false).showsProgress) << "no terminal";
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
