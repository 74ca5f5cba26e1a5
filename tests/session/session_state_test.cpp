// What a run settles before its verb: the language, the journal, the signature table.
#include "session/session_state.hpp"

#include "session/session_bench.hpp"

namespace vellmark {
namespace {

using test::Bytes;
using test::Write;

class StateTest : public test::ScriptTest {};

TEST_F(StateTest, TheLanguageIsTheChosenOneThenTheSettingThenTheLocale) {
    const std::tuple<const char*, const char*, std::string, bool> cases[] = {
        {"", "", "", false},        {"fr_FR.UTF-8", "", "", true},
        {"C.UTF-8", "", "", false}, {"frr_DE.UTF-8", "", "", false},
        {"fr@euro", "", "", true},  {"en_US", "0", "--lang fr ", true},
        {"fr_FR", "0", "", false},  {"fr_FR", "1", "--lang en ", false},
        {"en_US", "7", "", true}};
    Write("empty.vlpr", "");
    for (const auto& [locale, setting, option, isFrench] : cases) {
        locale_ = locale;
        settings_.values = {{"Lang", setting}};
        play("1 " + option + "build empty.vlpr => " + (isFrench ? "n'est pas" : "is not"));
    }
}

// A clock that counts hundredths of a second.
class TenthClock final : public Clock {
  public:
    [[nodiscard]] UnixSeconds now() const override { return 1; }
    [[nodiscard]] std::int64_t nowHundredths() const override { return value; }
    [[nodiscard]] std::int32_t zoneOffset(UnixSeconds) const override { return 3600; }
    std::int64_t value = 0;
};

TEST_F(StateTest, JournalLinesHaveTheirTimeAndEndInCrLf) {
    TenthClock clock;
    clock.value = -360'001;
    EXPECT_EQ(JournalTime(clock), "1969/12/31 - 23:59:59:99");
    clock.value = 100'000'000'007;
    const std::string time = "2001/9/9 -  2:46:40:07";
    Journal journal(clock);
    journal.message("lost");
    EXPECT_TRUE(journal.open("none/a.log"));
    // Catches a setting or an option that names an image, a project or a letter.
    for (const char* text : {"x", "***********\r\n", "1/2/3\r\n", "2001/9/9 -  2:46:40:07"}) {
        Write("a.log", text);
        EXPECT_TRUE(journal.open("a.log"));
        EXPECT_EQ(Bytes("a.log"), text);
    }
    for (const char* text : {"", "**********\n", "1999/12/31 - 23:59:59:99 - old\r\n"}) {
        journal.close();
        Write("a.log", text);
        EXPECT_FALSE(journal.open("a.log")) << text;
    }
    journal.mark();
    journal.message("two\nlines");
    journal.failure("bad");
    const std::string begin = "1999/12/31 - 23:59:59:99 - old\r\n**********\r\n" + time +
                              " - two lines\r\n" + time + "\tbad\r\n";
    EXPECT_EQ(Bytes("a.log"), begin) << "messages are there at once";
    journal.step(1, "==>One./Un.");
    journal.close();
    EXPECT_EQ(Bytes("a.log"), begin + time + " - COMPIL : ==>One./Un.\r\n**********\r\n");
}

TEST_F(StateTest, TheJournalIsOpenedBySettingsOrAnOptionAndIsNoFileOfTheCommand) {
    play(R"(
file full/a.txt => a
set Journal => set.log
0 make full -f -o x.iso
none set.log
set VL-Options => 1024
0 make full -f -o x.iso
has set.log 1 =>  - COMPIL : ==>Creating the ISO file./
1! --log p.log --lang fr put none.img full => none.img
has p.log 1 => \tErreur à l'ouverture du fichier none.img
# A journal of the settings that cannot be opened stops nothing.
set Journal => none/set.log
0! make full -f -o x.iso => none/set.log
file disc.vlpr => no project
set Journal => disc.vlpr
1! build disc.vlpr
1! /C disc.vlpr
holds disc.vlpr => no project
set VL-Options => 0
1 --log ./disc.vlpr build disc.vlpr -o new.iso => works on that file itself
1 --log new.iso build disc.vlpr -o new.iso => works on that file itself
)");
    std::filesystem::create_hard_link("disc.vlpr", "other");
    play("1 --log other build disc.vlpr => works on that file itself");
}

TEST_F(StateTest, TheTableIsTheRegisteredOneThenOneOfTheFolderThenTheShippedOne) {
    shippedFolders_ = {"none/", "shipped/"};
    // What is signed with a program for that has the same extension.
    Write("a.tar.sig", std::string("\x88\0x,\x01", 5) + "12345678,");
    play(R"(
file shipped/default.sig => SS,SHIPaaaa,\r\n
file b.sig => -----BEGIN PGP SIGNATURE-----\n\niQEzBAABCAAdFiEE\n
0 sig --list => SHIP
file One.SIG => OO,ONEXaaaa,\r\n#[1]\r\nOO,UNEXaaaa,\r\n
0 sig --list => ONEX
0 --lang fr sig --list => UNEX
remove One.SIG
0! sig --list => One.SIG
shows => SHIP
file d1.sig => DD,DONEaaaa,\r\n
file d2.sig => DD,DTWOaaaa,\r\n
types => 2\n
0! sig --list
shows => DTWO
nobody
file reg/own.sig => RR,REGIaaaa,\r\n
file reg/text.sig => A letter, not a table of any kind.\r\n# TXT,TEXTttxt,\r\n
0 sig --register reg/own.sig
1 sig --register reg/text.sig => the table in use stays
0 sig --list => REGI
)");
}

TEST_F(StateTest, TheVerbShowsTheRowOfANameOrOfAType) {
    play(R"(
file a.sig => AA,ABCDefgh,one\r\n#[1]\r\nBB,ABXYzzzz,deux\r\n
0 sig --file a.sig x.aa y == AA    ABCD/efgh  one  x.aa\n___   TEXT/????  ---  y\n
0 sig --file a.sig --type ABXY == BB    ABXY/zzzz  deux\n
0 sig --file a.sig --type ABCD --creator none == AA    ABCD/efgh  one\n
1 sig --file a.sig --type Q => no entry for Q.
2 sig --file a.sig --type ABCDE => more than four
2 sig --file a.sig a --list => Give either
0 sig --file a.sig a.bb --json => "extension": "BB",\n      "type": "ABXY",\n
0 --lang fr sig --file a.sig --list => BB    ABXY/zzzz  deux\n
)");
}

}  // namespace
}  // namespace vellmark
