// The terminal: where each message goes, what is answered when nobody is asked, and the one line.
#include "session/terminal.hpp"

#include <csignal>
#include <map>
#include <optional>

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
    EXPECT_TRUE(answer.accepted && answer.automatic);
    EXPECT_EQ(answer.name, "a");
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
                 {Language::English, "", Answer::None, 1},
                 {Language::French, "o\n", Answer::Yes, 1},
                 {Language::French, "Oui\n", Answer::Yes, 1},
                 {Language::French, "yes\n", Answer::Yes, 1},
                 {Language::French, "O\n", Answer::YesToAll, 1},
                 {Language::French, "non\n", Answer::No, 1}};
    for (const auto& c : cases) {
        context_.language = c.language;
        TerminalMessages messages = typing(c.typed);
        EXPECT_EQ(messages.askYesNoRemember("It"), c.answer) << c.typed;
        std::string asked;
        for (int i = 0; i < c.questions; ++i)
            asked += c.language == Language::French ? "It [o/n, O oui pour tous, N non pour tous] "
                                                    : "It [y/n, Y yes to all, N no to all] ";
        EXPECT_EQ(errors_.str(), asked + (c.answer == Answer::None ? "\n" : "")) << c.typed;
        const bool yes = c.answer == Answer::Yes || c.answer == Answer::YesToAll;
        EXPECT_EQ(typing(c.typed).askYesNo("?"), yes) << c.typed;
        const TruncationAnswer shortened =
            typing(c.typed).askTruncation(TruncatedName::Iso, "ab", "a");
        EXPECT_EQ(shortened.accepted, yes) << c.typed;
        EXPECT_EQ(shortened.automatic, c.answer == Answer::YesToAll) << c.typed;
    }
    EXPECT_EQ(typing(std::string(1000, '\n')).askYesNoRemember("?"), Answer::None)
        << "a question is not put for ever";
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
    EXPECT_FALSE(Terminal(context_, {}).messages.askChoice("Which?", names));
}

TEST_F(TerminalTest, WhatIsSaidOfNamesIsInTheLanguageOfThePerson) {
    const std::map<Language, std::string> said = {
        {Language::English,
         "The name ab is too long. Shorten it to a? [y/n, Y yes to all] \n"
         "Name for ab? [Enter keeps it] \n"
         "vellmark: skipped ab: gone\n"
         "vellmark: 1 name was shortened, or had characters replaced or digits added:\n"
         "vellmark:   ab: a\n"
         "vellmark: 4 names were shortened, or had characters replaced or digits added, "
         "among them (--verbose names all):\n"},
        {Language::French,
         "Le nom ab est trop long. Le tronquer en a ? [o/n, O oui pour tous] \n"
         "Quel nom pour ab ? [Entrée pour le garder] \n"
         "vellmark: ab ignoré : gone\n"
         "vellmark: 1 nom a été tronqué, ou modifié par des caractères de remplacement ou des "
         "chiffres :\n"
         "vellmark:   ab: a\n"
         "vellmark: 4 noms ont été tronqués, ou modifiés par des caractères de remplacement ou "
         "des chiffres, dont (--verbose les donne tous) :\n"}};
    for (const auto& [language, text] : said) {
        context_.language = language;
        TerminalMessages messages = typing("");
        EXPECT_FALSE(messages.askTruncation(TruncatedName::Hfs, "ab", "a").accepted);
        EXPECT_FALSE(messages.askFileName("ab"));
        messages.itemSkipped("ab", "gone");
        for (const int names : {1, 4}) {
            for (int i = 0; i < names; ++i)
                messages.nameChanged("ab", "a");
            messages.tellChangedNames(false);
        }
        const std::string line = "vellmark:   ab: a\n";
        EXPECT_EQ(errors_.str(), text + line + line + line) << "three of four are named";
        errors_.str("");
        for (int i = 0; i < 4; ++i)
            messages.nameChanged("ab", "a");
        messages.tellChangedNames(true);
        messages.tellChangedNames(true);
        EXPECT_TRUE(errors_.str().ends_with(":\n" + line + line + line + line)) << "once";
    }
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
