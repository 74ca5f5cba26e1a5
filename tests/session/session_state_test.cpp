// What a run settles before its verb: the language, the journal, the signature table.
#include "session/session_state.hpp"

#include "session/session_bench.hpp"

namespace vellmark {
namespace {

using test::Bytes;
using test::Names;
using test::SessionTest;
using test::Write;

TEST_F(SessionTest, TheLanguageIsTheChosenOneThenTheSettingThenTheLocale) {
    const struct {
        const char* locale;
        const char* setting;
        const char* option;
        bool french;
    } cases[] = {{"", "", "", false},        {"fr_FR.UTF-8", "", "", true},
                 {"C.UTF-8", "", "", false}, {"fr_FR", "0", "", false},
                 {"en_US", "1", "", true},   {"fr_FR", "1", "en", false},
                 {"en_US", "0", "fr", true}, {"fr", "", "", true},
                 {"fr@euro", "", "", true},  {"frr_DE.UTF-8", "", "", false}};
    for (const auto& c : cases) {
        locale_ = c.locale;
        settings_.values = {{"Lang", c.setting}};
        Write("empty.vlpr", "");
        Names arguments = {"build", "empty.vlpr"};
        if (*c.option != '\0')
            arguments.insert(arguments.begin(), {"--lang", c.option});
        EXPECT_EQ(run(arguments), 1);
        EXPECT_EQ(err_.find("n'est pas") != std::string::npos, c.french) << c.locale << err_;
    }
}

TEST_F(SessionTest, TheFirstRunWritesTheExtensionAndNothingElse) {
    EXPECT_EQ(run({"sig", "a"}), 0);
    EXPECT_EQ(settings_.values, (decltype(settings_.values){{"Ext", "TXT"}}));
    settings_.values.clear();
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_TRUE(settings_.values.empty());
}

TEST_F(SessionTest, JournalLinesHaveTheirTimeAndEndInCrLf) {
    class TenthClock final : public Clock {
      public:
        [[nodiscard]] UnixSeconds now() const override { return 1; }
        [[nodiscard]] std::int64_t nowHundredths() const override { return value; }
        [[nodiscard]] std::int32_t zoneOffset(UnixSeconds) const override { return 3600; }
        std::int64_t value = 0;
    } clock;
    const struct {
        std::int64_t hundredths;
        const char* time;
    } times[] = {{100'000'000'007, "2001/9/9 -  2:46:40:07"},
                 {0, "1970/1/1 -  1:00:00:00"},
                 {-1, "1970/1/1 -  0:59:59:99"}};
    for (const auto& t : times) {
        clock.value = t.hundredths;
        EXPECT_EQ(JournalTime(clock), t.time);
    }
    clock.value = 0;
    Journal journal(clock);
    journal.message("lost");
    EXPECT_TRUE(journal.open("none/a.log"));
    EXPECT_TRUE(journal.open("/dev/null"));
    // Catches a setting or an option that names an image, a project or a letter.
    for (const std::string other :
         {"x", "***********\r\n", "1/2/3\r\n", "2001/9/9 -  2:46:40:07"}) {
        Write("other", other);
        EXPECT_TRUE(journal.open("other")) << other;
        journal.close();
        EXPECT_EQ(Bytes("other"), other);
    }
    for (const char* own : {"", "**********\n", "2001/9/9 -  2:46:40:07\tbad\r\n"}) {
        Write("a.log", own);
        EXPECT_FALSE(journal.open("a.log")) << own;
        journal.close();
    }
    Write("a.log", "1999/12/31 - 23:59:59:99 - old\r\n");
    ASSERT_FALSE(journal.open("a.log"));
    journal.mark();
    journal.message("two\nlines");
    journal.failure("bad");
    const std::string begin =
        "1999/12/31 - 23:59:59:99 - old\r\n**********\r\n1970/1/1 -  1:00:00:00 - two lines\r\n"
        "1970/1/1 -  1:00:00:00\tbad\r\n";
    EXPECT_EQ(Bytes("a.log"), begin) << "messages are there at once";
    journal.step(1, "==>One./Un.");
    journal.step(3, "more than anybody wants");
    journal.close();
    EXPECT_EQ(Bytes("a.log"),
              begin + "1970/1/1 -  1:00:00:00 - COMPIL : ==>One./Un.\r\n**********\r\n");
}

TEST_F(SessionTest, TheJournalIsOpenedBySettingsOrByAnOption) {
    Write("full/a.txt", "a");
    settings_.values = {{"Journal", "set.log"}};
    const Names make = {"make", "full", "-f", "-o", "x.iso"};
    EXPECT_EQ(run(make), 0);
    EXPECT_FALSE(std::filesystem::exists("set.log")) << "no bit";
    settings_.write("VL-Options", "1024");
    EXPECT_EQ(run(make), 0);
    EXPECT_TRUE(Bytes("set.log").ends_with("**********\r\n"));
    EXPECT_NE(Bytes("set.log").find(" - COMPIL : ==>"), std::string::npos);
    EXPECT_EQ(run({"--log", "own.log", "sig", "--file", "none.sig", "a"}), 1);
    EXPECT_NE(Bytes("own.log").find("\tError opening file none.sig."), std::string::npos);
    for (const Names& names :
         {Names{"ls", "none.img"}, {"put", "none.img", "full"}, {"build", "none.vlpr"}}) {
        Names line = {"--log", names[0] + ".log", "--lang", "fr"};
        line.insert(line.end(), names.begin(), names.end());
        EXPECT_EQ(run(line), 1);
        EXPECT_NE(Bytes(names[0] + ".log").find("\tErreur à l'ouverture du fichier " + names[1]),
                  std::string::npos)
            << names[0];
    }
    // A journal of the settings that cannot be opened stops nothing.
    settings_.write("Journal", "none/set.log");
    EXPECT_EQ(run(make), 0);
    EXPECT_NE(err_.find("none/set.log"), std::string::npos);
}

// Catches lines of a journal inside an image or a project.
TEST_F(SessionTest, TheJournalIsNeverAFileThatTheCommandWorksOn) {
    Write("disc.vlpr", "not a project");
    std::filesystem::create_hard_link("disc.vlpr", "other name");
    for (const char* journal : {"disc.vlpr", "./disc.vlpr", "other name", "new.iso"}) {
        EXPECT_EQ(run({"--log", journal, "build", "disc.vlpr", "-o", "new.iso"}), 1);
        EXPECT_NE(err_.find("works on that file itself"), std::string::npos) << err_;
        EXPECT_EQ(Bytes("disc.vlpr"), "not a project") << journal;
        EXPECT_FALSE(std::filesystem::exists("new.iso")) << journal;
    }
    settings_.values = {{"Journal", "disc.vlpr"}, {"VL-Options", "1024"}};
    EXPECT_EQ(run({"build", "disc.vlpr"}), 1);
    EXPECT_EQ(run({"/C", "disc.vlpr"}), 1);
    EXPECT_EQ(Bytes("disc.vlpr"), "not a project");
}

constexpr const char* kTable = "AA,ABCDefgh,one\r\n#[1]\r\nBB,ABXYzzzz,deux\r\n";

TEST_F(SessionTest, TheTableIsTheRegisteredOneThenOneOfTheFolderThenTheShippedOne) {
    Write("reg/own.sig", "RR,REGIaaaa,\r\n");
    Write("shipped.txt", "SS,SHIPaaaa,\r\n");
    shippedSignatures_ = {"none.sig", "shipped.txt"};
    const auto extensionOf = [&](const std::string& type) {
        EXPECT_EQ(run({"sig", "--list"}), 0) << err_;
        return out_.find(type) != std::string::npos;
    };
    EXPECT_TRUE(extensionOf("SHIP"));
    // What is signed with a program for that has the same extension.
    Write("a.tar.sig", std::string("\x88\0x,\x01", 5) + "12345678,");
    Write("b.sig", "-----BEGIN PGP SIGNATURE-----\n\niQEzBAABCAAdFiEE\n");
    EXPECT_TRUE(extensionOf("SHIP"));
    EXPECT_FALSE(settings_.read("Sign"));
    Write("One.SIG", "OO,ONEXaaaa,\r\n");
    EXPECT_TRUE(extensionOf("ONEX"));
    EXPECT_EQ(settings_.read("Sign"), (std::filesystem::current_path() / "One.SIG").string());
    std::filesystem::remove("One.SIG");
    EXPECT_TRUE(extensionOf("SHIP"));
    EXPECT_NE(err_.find("One.SIG"), std::string::npos) << "the registered one is missed";

    Write("d1.sig", "DD,DONEaaaa,\r\n");
    Write("d2.sig", "DD,DTWOaaaa,\r\n");
    EXPECT_TRUE(extensionOf("SHIP")) << "nobody picks";
    asks_ = true;
    for (const char* typed : {"0\n", "3\n", "x\n", "", "1x\n"}) {
        typed_ = typed;
        EXPECT_TRUE(extensionOf("SHIP")) << typed;
    }
    typed_ = "2\n";
    EXPECT_TRUE(extensionOf("DTWO"));
    EXPECT_EQ(run({"sig", "--register", "reg/own.sig"}), 0);
    EXPECT_TRUE(extensionOf("REGI"));
    Write("reg/text.sig", "A letter, not a table of any kind.\r\n# TXT,TEXTttxt,\r\n");
    EXPECT_EQ(run({"sig", "--register", "reg/text.sig"}), 1);
    EXPECT_TRUE(extensionOf("REGI")) << "the table in use stays";
}

TEST_F(SessionTest, TheVerbShowsTheRowOfANameOrOfAType) {
    Write("t/a.sig", kTable);
    const struct {
        Names arguments;
        const char* options;
        int status;
        const char* output;
        const char* errors;
    } cases[] = {
        {{"x.aa", "y"}, "0", 0, "AA    ABCD/efgh  one  x.aa\n___   TEXT/????  ---  y\n", ""},
        {{"--type", "ABXY"}, "0", 0, "BB    ABXY/zzzz  deux\n", ""},
        {{"--type", "ABCD", "--creator", "none"}, "0", 0, "AA    ABCD/efgh  one\n", ""},
        {{"--type", "ABCDefgh"}, "0", 0, "AA    ABCD/efgh  one\n", ""},
        {{"--type", "AB"}, "0", 0, "AA    ABCD/efgh  one\n", ""},
        {{"--type", "Q"}, "0", 1, "", "no entry for Q."},
        {{"--type", "Q"}, "32", 0, "___   TEXT/????  ---\n", ""},
        {{"--type", "ABCDE"}, "0", 2, "", "more than four"},
        {{"--creator", "ABCD"}, "0", 2, "", "Give either"},
        {{"a", "--list"}, "0", 2, "", "Give either"},
        {{"a.bb", "--json"},
         "0",
         0,
         "{\n  \"signatures\": [\n    {\n      \"name\": \"a.bb\",\n      \"extension\": \"BB\",\n"
         "      \"type\": \"ABXY\",\n      \"creator\": \"zzzz\",\n      \"comment\": \"deux\"\n"
         "    }\n  ]\n}\n",
         ""},
    };
    for (const auto& c : cases) {
        settings_.values = {{"Options", c.options}};
        Names arguments = {"sig", "--file", "t/a.sig"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        EXPECT_EQ(run(arguments), c.status) << c.arguments.back() << err_;
        EXPECT_EQ(out_, c.output) << c.arguments.back();
        EXPECT_NE(err_.find(c.errors), std::string::npos) << err_;
    }
    EXPECT_EQ(run({"--lang", "fr", "sig", "--file", "t/a.sig", "--list"}), 0);
    EXPECT_EQ(out_.find("ABCD"), std::string::npos) << "the section of the language";
}

}  // namespace
}  // namespace vellmark
