// What stands in for a setting that is missing or wrong, what is kept, and the file it is kept in.
#include "session/settings.hpp"

#include "session/session_bench.hpp"
#include "session/settings_file.hpp"
#include "session/user_folders.hpp"

namespace vellmark {
namespace {

using test::Bytes;
using test::Names;
using test::SessionTest;
using test::Write;

TEST(Settings, AWindowOutsideTheScreenIsPutBack) {
    const struct {
        const char* kept;
        WindowPlace place;
    } cases[] = {{"", {50, 50, 700, 450, 120}},
                 {"10,20,800,600,0", {10, 20, 800, 600, 0}},
                 {"3000,2001,2001,-1,100", {50, 50, 750, 500, 100}},
                 {"2500,2000,2000,2000,1000", {2500, 2000, 2000, 2000, 1000}},
                 {"0,0,0,0,-1", {50, 50, 0, 0, 120}},
                 {"60,60,700,400,400", {60, 60, 700, 400, 120}},
                 {"60,60,700,400,350", {60, 60, 700, 400, 350}},
                 {"x,,99999999999", {50, 50, 750, 450, 120}},
                 {"1,2,3,4,1,6,7", {1, 2, 3, 4, 1}}};
    for (const auto& c : cases) {
        MemorySettings store;
        store.write("Rect", c.kept);
        EXPECT_EQ(LoadSettings(store).window, c.place) << c.kept;
    }
}

TEST(Settings, AValueThatIsWrongHasItsDefault) {
    MemorySettings store;
    for (const char* bad : {"", "x", "-1", "12x", "99999999999"}) {
        for (const char* name :
             {"Options", "VL-Options", "szProj", "szIsop", "Corps", "Col", "Ext"})
            store.write(name, bad);
        const Settings settings = LoadSettings(store);
        EXPECT_EQ(settings.options, 4u) << bad << ": names as they stand";
        EXPECT_EQ(settings.vlOptions, 0u) << bad;
        EXPECT_EQ(settings.projectSizeMb, 700) << bad;
        EXPECT_EQ(settings.viewerFontPoints, 8) << bad;
        EXPECT_EQ(settings.extension.empty(), false) << bad;
    }
    store.write("Ext", "\u00e4bcdef");
    store.write("Col", "1,x,0,4,5,6,7,8,9");
    store.write("Lang", "7");
    const Settings settings = LoadSettings(store);
    EXPECT_EQ(settings.extension, "\u00e4bcd") << "four characters, not bytes";
    EXPECT_EQ(settings.columns, (ColumnWidths{1, 90, 0, 4, 5, 6, 7}));
    EXPECT_EQ(settings.language, Language::French) << "every number but 0";
}

TEST(Settings, TheModeIsKeptOnlyWhenThatIsWanted) {
    for (const FileMode mode : {FileMode::Project, FileMode::Partition, FileMode::IsoPlus})
        for (const std::uint32_t options : {0u | 64 | 8, 1u | 128 | 512}) {
            MemorySettings store;
            Settings settings;
            settings.vlOptions = options;
            SaveSettings(settings, mode, store);
            const Settings read = LoadSettings(store);
            const bool keeps = (options & 1) != 0;
            const std::uint32_t bits = keeps ? static_cast<std::uint32_t>(mode) * 64 : 0;
            EXPECT_EQ(store.read("VL-Options"), std::to_string((options & ~192u) | bits));
            EXPECT_EQ(read.startMode(), keeps ? mode : FileMode::Project);
            EXPECT_FALSE(store.read("Lang")) << "never chosen";
            EXPECT_FALSE(store.read("Journal")) << "no journal is opened";
        }
    Settings settings;
    settings.vlOptions = 1 | 192;
    EXPECT_EQ(settings.startMode(), FileMode::Project) << "there is no fourth mode";
}

TEST(Settings, FiveDocumentsOfAModeAreRememberedNewestFirst) {
    MemorySettings store;
    for (const char* path : {"a", "b", "c", "b", "d", "e", "f"})
        NoteRecentFile(path, FileMode::Partition, store);
    EXPECT_EQ(RecentFiles(store, FileMode::Partition),
              (std::vector<std::string>{"f", "e", "d", "b", "c"}));
    EXPECT_TRUE(RecentFiles(store, FileMode::Project).empty());
    KeepFolderOf("/home/a/b.iso", setting::kCopyFolder, store);
    EXPECT_EQ(KeptFolder(store, "Reper", "/else"), "/home/a/");
    EXPECT_EQ(KeptFolder(store, "DProj", "/else"), "/else/");
}

TEST_F(SessionTest, TheSettingsFileKeepsEveryValueAndEveryLineItDoesNotKnow) {
    const std::string path = "made/for/it/settings";
    SettingsFile file(path);
    EXPECT_FALSE(file.read("Ext"));
    EXPECT_EQ(file.write("Ext", "TXT"), "");
    EXPECT_EQ(Bytes(path), "Ext=TXT\n");
    Write(path, "# mine\nExt=A\r\nJoker=x=y\nExtra=1\nExt=twice\nWithout");
    EXPECT_EQ(file.read("Ext"), "A");
    EXPECT_EQ(file.read("Joker"), "x=y");
    const std::string odd = "C:\\new\nline\r = \\n";
    EXPECT_EQ(file.write("Ext", odd), "");
    EXPECT_EQ(SettingsFile(path).read("Ext"), odd);
    EXPECT_EQ(Bytes(path),
              "# mine\nExt=C:\\\\new\\nline\\r = \\\\n\nJoker=x=y\nExtra=1\nWithout\n");
    Write(path, "Sign=C:\\temp\\");
    EXPECT_EQ(file.read("Sign"), "C:\\temp\\") << "typed by hand";

    std::filesystem::create_directory("folder");
    EXPECT_FALSE(SettingsFile("folder").read("Ext"));
    EXPECT_NE(SettingsFile("folder").write("Ext", "x").find("folder: "), std::string::npos);
    EXPECT_NE(SettingsFile(path + "/below").write("Ext", "x"), "");
    EXPECT_NE(SettingsFile("").write("Ext", "x"), "");
    EXPECT_EQ(SettingsPath("/cfg", "/home/a"), "/cfg/vellmark/settings");
    EXPECT_EQ(SettingsPath("cfg", "/home/a"), "/home/a/.config/vellmark/settings");
    EXPECT_EQ(SettingsPath("", ""), "");
}

TEST_F(SessionTest, TheVerbChangesOneSettingAndRefusesWhatNoneCanBe) {
    settings_.values = {{"Options", "1280"}};
    const struct {
        Names arguments;
        int status;
        const char* key;
        const char* kept;
        const char* errors;
    } cases[] = {
        {{"set", "naming", "append"}, 0, "Options", "1286", ""},
        {{"set", "extend-unknown", "on"}, 0, "Options", "1318", ""},
        {{"set", "naming", "catalog"}, 0, "Options", "1316", ""},
        {{"set", "delete-silently", "off"}, 0, "Options", "292", ""},
        {{"set", "naming", "upper"}, 2, "Options", "292", "upper is no value of naming"},
        {{"set", "extension", "hqx"}, 0, "Ext", "hqx", ""},
        {{"set", "extension", "a/b"}, 2, "Ext", "hqx", "a/b is no extension"},
        {{"set", "extension", "abcde"}, 2, "Ext", "hqx", "one to four characters"},
        {{"set", "signatures", "none.sig"}, 2, "Ext", "hqx", "none.sig cannot be read"},
        {{"set", "journal", "."}, 2, "Ext", "hqx", ". is no file"},
        {{"set", "colour", "red"}, 2, "Ext", "hqx", "colour is no setting"},
        {{"set", "naming"}, 2, "Ext", "hqx", "set takes a name and a value"},
        {{"get"}, 2, "Ext", "hqx", "get takes a name alone"},
        {{"set", "language", "fr"}, 0, "Lang", "1", ""},
        {{"set", "language", "en"}, 0, "Lang", "0", ""},
    };
    for (const auto& c : cases) {
        Names arguments = {"config"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        EXPECT_EQ(run(arguments), c.status) << c.arguments.back() << err_;
        EXPECT_EQ(settings_.read(c.key), c.kept) << c.arguments.back();
        EXPECT_NE(err_.find(c.errors), std::string::npos) << err_;
    }
    EXPECT_EQ(run({"config", "get", "naming"}), 0);
    EXPECT_EQ(out_, "catalog\n");
    EXPECT_EQ(run({"config"}), 0);
    EXPECT_NE(out_.find("extension        hqx "), std::string::npos) << out_;
    EXPECT_EQ(run({"config", "set", "journal", "j.log"}), 0);
    EXPECT_EQ(settings_.read("Journal"), (std::filesystem::current_path() / "j.log").string());
}

}  // namespace
}  // namespace vellmark
