// What stands in for a setting that is missing or wrong, what is kept, and the file it is kept in.
#include "session/settings.hpp"

#include "session/browser_state.hpp"
#include "session/session_bench.hpp"
#include "session/settings_file.hpp"
#include "session/user_folders.hpp"

namespace vellmark {
namespace {

using test::Bytes;
using test::Names;
using test::Write;

class SettingsTest : public test::ScriptTest {};

TEST_F(SettingsTest, TheBrowserIsAsItWasAsFarAsThatCanBe) {
    MemorySettings store;
    for (const auto& [kept, state] : std::map<std::string, BrowserState>{
             {"", {}},
             {"1,2,300", {}},
             {"1,x,300,400,2", {}},
             {"1,2,300,400,4", {1, 2, 300, 400, BrowserStyle::Report}},
             {"-1,2,300,99999,0", {-1, -1, 0, 0, BrowserStyle::LargeIcons}},
             {"99999999999,2,300,400,0", {}}}) {
        store.write("WinVLV", kept);
        EXPECT_EQ(LoadBrowserState(store), state) << kept;
    }
    const BrowserState state{1, 2, 300, 400, BrowserStyle::List};
    KeepBrowserState(state, store);
    EXPECT_EQ(LoadBrowserState(store), state);
    const std::string here = root().string() + "/";
    EXPECT_EQ(BrowserFolder(store, here), here);
    store.write("Reper", here + "gone/");
    EXPECT_EQ(BrowserFolder(store, "/"), here);
    store.write("WReper", "/gone");
    EXPECT_EQ(BrowserFolder(store, here), "/");
}

TEST(Settings, AValueThatIsWrongHasItsDefaultAndAWindowIsOnTheScreen) {
    MemorySettings store;
    for (const auto& [kept, place] :
         std::map<std::string, WindowPlace>{{"", {50, 50, 700, 450, 120}},
                                            {"3000,2001,2001,-1,100", {50, 50, 750, 500, 100}},
                                            {"x,,99999999999", {50, 50, 750, 450, 120}}}) {
        store.write("Rect", kept);
        EXPECT_EQ(LoadSettings(store).window, place) << kept;
    }
    for (const char* bad : {"", "x", "-1", "12x", "99999999999"}) {
        for (const char* name : {"Options", "VL-Options", "szProj", "szIsop", "Corps", "Ext"})
            store.write(name, bad);
        const Settings settings = LoadSettings(store);
        EXPECT_EQ(settings.options + settings.vlOptions, 0u) << bad;
        EXPECT_EQ(settings.projectSizeMb, 700) << bad;
        EXPECT_EQ(settings.viewerFontPoints, 8) << bad;
        EXPECT_FALSE(settings.extension.empty()) << bad;
    }
    store.values = {{"Ext", "\u00e4bcdef"}, {"Col", "1,x,0,4,5,6,7,8,9"}};
    EXPECT_EQ(LoadSettings(store).extension, "\u00e4bcd") << "four characters, not bytes";
    EXPECT_EQ(LoadSettings(store).columns, (ColumnWidths{1, 90, 0, 4, 5, 6, 7}));
}

TEST(Settings, TheModeAndFiveDocumentsOfItAreKept) {
    for (const FileMode mode : {FileMode::Project, FileMode::Partition, FileMode::IsoPlus})
        for (const bool keeps : {false, true}) {
            MemorySettings store;
            Settings settings;
            settings.vlOptions = keeps ? 1 | 128 : 64;
            SaveSettings(settings, mode, store);
            EXPECT_EQ(LoadSettings(store).startMode(), keeps ? mode : FileMode::Project);
            EXPECT_FALSE(store.read("Lang") || store.read("Journal")) << "never chosen";
        }
    MemorySettings store;
    for (const char* path : {"a", "b", "c", "b", "d", "e", "f"})
        NoteRecentFile(path, FileMode::Partition, store);
    EXPECT_EQ(RecentFiles(store, FileMode::Partition), (Names{"f", "e", "d", "b", "c"}));
    EXPECT_TRUE(RecentFiles(store, FileMode::Project).empty());
    KeepFolderOf("/home/a/b.iso", setting::kCopyFolder, store);
    EXPECT_EQ(KeptFolder(store, "Reper", "/else"), "/home/a/");
    EXPECT_EQ(KeptFolder(store, "DProj", "/else"), "/else/");
}

TEST_F(SettingsTest, TheFileKeepsEveryValueAndEveryLineItDoesNotKnow) {
    const std::string path = "made/for/it/settings";
    SettingsFile file(path);
    EXPECT_FALSE(file.write("Ext", "TXT"));
    EXPECT_EQ(Bytes(path), "Ext=TXT\n");
    Write(path, "# mine\nExt=A\r\nJoker=x=y\nExtra=1\nExt=twice\nSign=C:\\temp\\\nWithout");
    EXPECT_EQ(file.read("Ext"), "A");
    EXPECT_EQ(file.read("Joker"), "x=y");
    EXPECT_EQ(file.read("Sign"), "C:\\temp\\") << "typed by hand";
    const std::string odd = "C:\\new\nline\r = \\n";
    EXPECT_FALSE(file.write("Ext", odd));
    EXPECT_EQ(SettingsFile(path).read("Ext"), odd);
    EXPECT_EQ(Bytes(path),
              "# mine\nExt=C:\\\\new\\nline\\r = \\\\n\nJoker=x=y\nExtra=1\n"
              "Sign=C:\\temp\\\nWithout\n");
    // What cannot be kept says where and why.
    for (const auto& [where, why] : std::map<std::string, std::string>{
             {"made", "made: it is no file of settings"},
             {"",
              "there is no folder for settings, as neither XDG_CONFIG_HOME nor HOME names one"}})
        EXPECT_EQ(SettingsFile(where).write("Ext", "x").words(Language::English), why);
    EXPECT_EQ(SettingsPath("/cfg", "/home/a"), "/cfg/vellmark/settings");
    EXPECT_EQ(SettingsPath("", ""), "");
}

TEST_F(SettingsTest, TheVerbGivesEachBitItsNameAndTheOthersStay) {
    const std::tuple<std::string, const char*, unsigned> rows[] = {
        {"naming extension", "Options", 1},       {"naming ask", "Options", 2},
        {"naming catalog", "Options", 4},         {"naming append", "Options", 6},
        {"shorten-names on", "Options", 8},       {"added-crc on", "Options", 16},
        {"extend-unknown on", "Options", 32},     {"tool-bar off", "Options", 128},
        {"show-hidden on", "Options", 256},       {"delete-silently on", "Options", 1024},
        {"keep-mode on", "VL-Options", 1},        {"shorten-views on", "VL-Options", 2},
        {"backup off", "VL-Options", 4},          {"open-root on", "VL-Options", 8},
        {"new-hfsplus on", "VL-Options", 16},     {"last-mode partition", "VL-Options", 64},
        {"last-mode isoplus", "VL-Options", 128}, {"start-hfsplus on", "VL-Options", 256},
        {"new-rebuild on", "VL-Options", 512},    {"open-journal on", "VL-Options", 1024}};
    constexpr unsigned kForeign = 1u << 20;
    for (const auto& [setting, key, bits] : rows) {
        settings_.values = {{key, std::to_string(kForeign)}};
        const Names words = test::Split(setting, ' ');
        play("0 config set " + setting + "\n0 config get " + words[0] + " == " + words[1] + "\\n");
        EXPECT_EQ(settings_.read(key), std::to_string(kForeign | bits)) << setting;
    }
    play(R"(
2 config get => get takes a name alone.
2 config set extension a/b => a/b is no extension
2 config set signatures none => none cannot be read as a signature table: No such file
2 config set colour red => colour
2 config set naming => a name and a value
0 config set journal j.log
0 config set open-journal off
0 config => journal          $PWD/j.log
)");
    EXPECT_EQ(settings_.read("VL-Options"), std::to_string(kForeign));
}

TEST_F(SettingsTest, TheSettingsOfProjectsActInVerbsAndBatchCommands) {
    Write("in/" + std::string(70, 'n'), "x");
    for (const bool isSet : {false, true}) {
        settings_.values = {{"VL-Options", isSet ? "542" : "0"}, {"Lang", "1"}};
        play("0 new new.vlpr\n0 /F batch.vlpr folder");
        for (const char* path : {"new.vlpr", "batch.vlpr"}) {
            const ProjectFile project = opened(path);
            EXPECT_EQ(project.header().openRoot(), isSet) << path;
            EXPECT_EQ(project.header().isHfsPlus(), isSet) << path;
            EXPECT_EQ(project.header().rebuildBeforeCompile(), isSet) << path;
            EXPECT_EQ(project.header().isoLabel(), "Sans titre") << path;
        }
        play("types\n0! add new.vlpr in\nnobody");
        EXPECT_EQ(err_.find("trop long") == std::string::npos, isSet) << "shortened unasked";
        EXPECT_NE(std::filesystem::exists("new.BAK"), isSet);
        play("0! make in -o x.iso -f\nshows => " + std::string(isSet ? "HFS+," : "HFS,"));
        play("0! make in -o x.iso -f --hfs\nshows => HFS,\nremove new.vlpr\nremove batch.vlpr");
        std::filesystem::remove("new.BAK");
    }
}

}  // namespace
}  // namespace vellmark
