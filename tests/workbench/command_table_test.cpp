// Every command in every state of the window: where it is shown, and when it can be given.
#include <QMenuBar>
#include <set>

#include "workbench/jobs/main_thread.hpp"
#include "workbench/messages/words.hpp"
#include "workbench/window_bench.hpp"

namespace vellmark {
namespace {

class CommandTable : public test::WindowScripts {
  protected:
    /// Notes of each row whether it is not shown (-), off (.) or on (+) now.
    void note() {
        window().updateCommands();
        for (const CommandRow& row : CommandRows()) {
            const QAction& each = action(std::string(row.name));
            states_[row.name] += !each.isVisible() ? '-' : each.isEnabled() ? '+' : '.';
        }
        for (const auto& menus : {MenuBar(), SubMenus()})
            for (const CommandMenu& menu : menus) {
                const QAction& each = *menuNamed(menu.name).menuAction();
                states_[menu.name] += !each.isVisible() ? '-' : each.isEnabled() ? '+' : '.';
            }
    }
    void noteAfter(const std::string& transcript) {
        for (const std::string& line : test::Split(transcript, '\n'))
            EXPECT_EQ(does(line), "") << line;
        note();
    }
    void noteDuring(JobKind kind) {
        window().documents().compile =
            kind == JobKind::Compile ? CompileState::Runs : CompileState::Idle;
        window().runJob(kind, [&](Progress&) { InMainThread([&] { note(); }); });
        window().documents().compile = CompileState::Idle;
    }
    void nextMode() {
        for (auto& [name, states] : states_)
            states += ' ';
    }

    /// The states, and behind each the rows that have it, as the table has them.
    [[nodiscard]] std::string noted() const {
        std::vector<std::pair<std::string, std::string>> groups;
        const auto add = [&](std::string_view name) {
            const std::string& states = states_.at(name);
            auto group = std::find_if(groups.begin(), groups.end(),
                                      [&](const auto& each) { return each.first == states; });
            if (group == groups.end())
                group = groups.insert(group, {states, ""});
            group->second.append(" ").append(name);
        };
        for (const CommandRow& row : CommandRows())
            add(row.name);
        for (const auto& menus : {MenuBar(), SubMenus()})
            for (const CommandMenu& menu : menus)
                add(menu.name);
        std::string text;
        for (const auto& [states, names] : groups)
            text += "\n" + states + " " + names;
        return text + "\n";
    }

    [[nodiscard]] QMenu& menuNamed(std::string_view name) {
        return *window().findChild<QMenu*>(QString::fromStdString(std::string(name)));
    }

    /// Two rows of a menu that have one key, and those without a key.
    static std::string clashes(const QWidget& menu) {
        std::string text;
        std::map<QChar, QString> rows;
        for (const QAction* action : menu.actions()) {
            if (!action->isVisible() || action->isSeparator())
                continue;
            const QString caption = action->text();
            const QChar key = caption[caption.indexOf(u'&') + 1].toUpper();
            if (!caption.contains(u'&') || rows.contains(key))
                text +=
                    (menu.objectName() + ": " + caption + " / " + rows[key] + "\n").toStdString();
            rows[key] = caption;
        }
        return text;
    }

  private:
    std::map<std::string_view, std::string> states_;
};

// Five states of a hybrid project: one without a name and nothing in it, nothing open, one with a
// name and a row of it selected, the same while it compiles, the same while a job runs. Four of an
// image: nothing open, one with a row selected, one that may only be read, while a job runs. Four
// of an ISO+ project, as the last of a hybrid one.
TEST_F(CommandTable, SaysWhatCanBeDone) {
    play(R"(
0 new disc.vlpr --label Disc
0 new disc.vlso --label Disc
file a.txt => a
0 add disc.vlpr a.txt
0 add disc.vlso a.txt
0 format disk.hfs --size 1M --label Disk
0 put disk.hfs a.txt
0 format locked.hfs --size 1M --label Locked
0 put locked.hfs a.txt
0 attr locked.hfs / --locked yes
)");
    openWindow();
    noteAfter("clip a.txt");
    noteAfter("menu Fermer1");
    noteAfter("open disc.vlpr\nrows a.txt");
    noteDuring(JobKind::Compile);
    noteDuring(JobKind::Work);
    nextMode();
    noteAfter("menu ModePart");
    noteAfter("open disk.hfs\nrows a.txt");
    noteAfter("open locked.hfs\nrows a.txt");
    noteDuring(JobKind::Work);
    nextMode();
    noteAfter("menu ModeIsop");
    noteAfter("open disc.vlso\nrows a.txt");
    noteDuring(JobKind::Compile);
    noteDuring(JobKind::Work);
    EXPECT_EQ(noted(), R"(
+++.. ---- ----  Nouveau1 Ouvrir1
..+.. ---- ----  Enregistrer1 DelProj PopSup PopRen PopProp TPopSup TPopRen TPopProp Reop1
+.+.. ---- ----  EnregistrerAs1 Fermer1 Info1 Label DelExt dsstor RechProj MkDirProj DrProj MdProj1 TDrProj
+.++. ---- ----  Compil1 CompProj PereProj
++++. ---- ----  P1 VI1 VH1 VM1 ModeVue
+++++ ---- ----  Quitter1 HelpProj WizProj Projets1 Maff1
----- +++. ----  Nouvelle1 Ouvrir2 P2 Desh1 Da Re Bo Ad As
----- .+.. ----  Enr2 EnrAs2 PCM1 EdSign SW1 PC2Mac MkDirPart DelPart SuppPart RenPart DrPart MdPart1 TSuppPart TRenPart TDrPart
----- .++. ----  Fermer2 PropVol1 Hybrid1 MPC1 Aff1 Mac2PC RechPart PerePart CPC1 AffPart AttrPart TCPC1 TAttrPart Reop2
----- ++++ ----  Q21 HelpPart WizPart Partitions1 Mod
----- ---- ++..  No1 Ou1
----- ---- .+..  En1 Sa1 Fe1 In1 La1 RechIso MkDirIso DelIso Isup1 Iren1 Iprop1 DrIso MdIsop1 TIsup1 TIren1 TIprop1 TDrIso Re1
----- ---- .++.  CompISOP CompIso PereIso
----- ---- +++.  P3
----- ---- ++++  Qu1 HelpIso WizIso IsoPlus1
..+.. .+.. .+..  Supp1 Ren1
..+.. .++. .+..  Prop1
+.+.. .+.. .+..  DrExpl MD
+.+.. .++. .+..  Rech1
+.+.. ---- .+..  RSig Refr Clean1 Path1
+++++ ++++ ++++  SAll Inv Explo1 Sign1 CachBarre Registre1 HH1 AideUtil1 HS HI WH1 Aproposde1 Fichiers Special1 Options1 Aide1 Proj1 Langue1
----- ---- ----  EdIcon
+++.. +++. ++..  RFT ModeProj ModePart ModeIsop ChangementMode En2 Fr1 Log1 Col Pref1
++++. +++. +++.  F5
)");
}

// Each row says what it is in both languages, and no key of a menu is two rows'.
TEST_F(CommandTable, IsReadInBothLanguages) {
    openWindow();
    std::string problems;
    for (const std::string speak : {"Fr1", "En2"}) {
        does("menu " + speak);
        for (const CommandRow& row : CommandRows())
            if (Words(row.caption, window().language()).isEmpty() ||
                (row.hint != 0 && Words(row.hint, window().language()).isEmpty()))
                problems += std::string(row.name) + " says nothing\n";
        for (const std::string mode : {"ModePart", "ModeIsop", "ModeProj"}) {
            does("menu " + mode);
            problems += clashes(*window().menuBar());
            for (const QMenu* menu : window().findChildren<QMenu*>())
                problems += clashes(*menu);
        }
    }
    EXPECT_EQ(problems, "");
}

}  // namespace
}  // namespace vellmark
