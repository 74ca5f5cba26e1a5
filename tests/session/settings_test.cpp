// What stands in for a setting that is missing or wrong, what is kept, and the file it is kept in.
#include "session/settings.hpp"

#include "session/session_bench.hpp"
#include "session/settings_file.hpp"
#include "session/user_folders.hpp"
#include "session/user_options.hpp"

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
                 {"3000,2001,2001,-1,100", {50, 50, 750, 500, 100}},
                 {"2500,2000,2000,2000,1000", {2500, 2000, 2000, 2000, 1000}},
                 {"0,0,0,0,-1", {50, 50, 0, 0, 120}},
                 {"60,60,700,400,400", {60, 60, 700, 400, 120}},
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
        EXPECT_EQ(settings.options, 0u) << bad;
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
    EXPECT_FALSE(file.write("Ext", "TXT"));
    EXPECT_EQ(Bytes(path), "Ext=TXT\n");
    Write(path, "# mine\nExt=A\r\nJoker=x=y\nExtra=1\nExt=twice\nWithout");
    EXPECT_EQ(file.read("Ext"), "A");
    EXPECT_EQ(file.read("Joker"), "x=y");
    const std::string odd = "C:\\new\nline\r = \\n";
    EXPECT_FALSE(file.write("Ext", odd));
    EXPECT_EQ(SettingsFile(path).read("Ext"), odd);
    EXPECT_EQ(Bytes(path),
              "# mine\nExt=C:\\\\new\\nline\\r = \\\\n\nJoker=x=y\nExtra=1\nWithout\n");
    Write(path, "Sign=C:\\temp\\");
    EXPECT_EQ(file.read("Sign"), "C:\\temp\\") << "typed by hand";

    std::filesystem::create_directory("folder");
    EXPECT_FALSE(SettingsFile("folder").read("Ext"));
    // What cannot be kept says where and why.
    for (const auto& [where, why] : std::map<std::string, std::string>{
             {"folder", "folder: it is no file of settings"},
             {path + "/below", path + "/below cannot be written: Not a directory"},
             {"",
              "there is no folder for settings, as neither XDG_CONFIG_HOME nor HOME names one"}})
        EXPECT_EQ(SettingsFile(where).write("Ext", "x").words(Language::English), why);
    EXPECT_EQ(SettingsPath("/cfg", "/home/a"), "/cfg/vellmark/settings");
    EXPECT_EQ(SettingsPath("", ""), "");
}

TEST_F(SessionTest, EachBitHasItsNameAndTheOthersStay) {
    const struct {
        const char *name, *value, *otherwise, *key;
        unsigned bits;
    } rows[] = {{"naming", "extension", "extension", "Options", 1},
                {"naming", "ask", "extension", "Options", 2},
                {"naming", "catalog", "extension", "Options", 4},
                {"naming", "append", "extension", "Options", 6},
                {"shorten-names", "on", "off", "Options", 8},
                {"added-crc", "on", "off", "Options", 16},
                {"extend-unknown", "on", "off", "Options", 32},
                {"tool-bar", "off", "on", "Options", 128},
                {"show-hidden", "on", "off", "Options", 256},
                {"delete-silently", "on", "off", "Options", 1024},
                {"keep-mode", "on", "off", "VL-Options", 1},
                {"shorten-views", "on", "off", "VL-Options", 2},
                {"backup", "off", "on", "VL-Options", 4},
                {"open-root", "on", "off", "VL-Options", 8},
                {"new-hfsplus", "on", "off", "VL-Options", 16},
                {"last-mode", "partition", "project", "VL-Options", 64},
                {"last-mode", "isoplus", "project", "VL-Options", 128},
                {"start-hfsplus", "on", "off", "VL-Options", 256},
                {"new-rebuild", "on", "off", "VL-Options", 512},
                {"open-journal", "on", "off", "VL-Options", 1024}};
    constexpr unsigned kForeign = 1u << 20;
    for (const auto& row : rows) {
        settings_.values = {{row.key, std::to_string(kForeign)}};
        EXPECT_EQ(run({"config", "get", row.name}), 0);
        EXPECT_EQ(out_, std::string(row.otherwise) + "\n") << row.name;
        EXPECT_EQ(run({"config", "set", row.name, row.value}), 0) << err_;
        EXPECT_EQ(settings_.read(row.key), std::to_string(kForeign | row.bits)) << row.name;
        EXPECT_EQ(run({"config", "get", row.name}), 0);
        EXPECT_EQ(out_, std::string(row.value) + "\n") << row.name;
    }
}

TEST_F(SessionTest, TheSettingsOfProjectsActInVerbsAndBatchCommands) {
    Write("in/" + std::string(70, 'n'), "x");
    for (const unsigned bits : {0u, 2u | 4 | 8 | 16 | 512}) {
        settings_.values = {{"VL-Options", std::to_string(bits)}, {"Lang", "1"}};
        const bool isSet = bits != 0;
        ASSERT_EQ(run({"new", "new.vlpr"}), 0) << err_;
        ASSERT_EQ(run({"/F", "batch.vlpr", "folder"}), 0) << err_;
        for (const char* path : {"new.vlpr", "batch.vlpr"}) {
            const ProjectFile project = opened(path);
            EXPECT_EQ(project.header().openRoot(), isSet) << path;
            EXPECT_EQ(project.header().isHfsPlus(), isSet) << path;
            EXPECT_EQ(project.header().rebuildBeforeCompile(), isSet) << path;
            EXPECT_EQ(project.header().isoLabel(), "Sans titre") << path;
        }
        asks_ = true;
        EXPECT_EQ(run({"add", "new.vlpr", "in"}), 0) << err_;
        EXPECT_EQ(err_.find("trop long") == std::string::npos, isSet)
            << "shortened unasked: " << err_;
        asks_ = false;
        EXPECT_NE(std::filesystem::exists("new.BAK"), isSet);
        EXPECT_EQ(run({"make", "in", "-o", "x.iso", "-f"}), 0) << err_;
        EXPECT_NE(out_.find(isSet ? "HFS+," : "HFS,"), std::string::npos) << out_;
        EXPECT_EQ(run({"make", "in", "-o", "x.iso", "-f", "--hfs"}), 0) << err_;
        EXPECT_NE(out_.find("HFS,"), std::string::npos) << out_;
        EXPECT_EQ(run({"new", "x.vlpr", "--hfs", "--hfsplus"}), 2);
        std::filesystem::remove_all("new.vlpr");
        std::filesystem::remove_all("new.BAK");
        std::filesystem::remove_all("batch.vlpr");
    }
}

TEST_F(SessionTest, FilesKeepTheirNamesUntilAnotherNamingIsChosen) {
    Write("in/note", "x");
    ASSERT_EQ(run({"make", "in", "-o", "x.iso"}), 0) << err_;
    for (const auto& [options, name] : std::map<std::string, std::string>{
             {"0", "note"}, {"1024", "note"}, {"1", "note.TXT"}, {"6", "note.TXT"}}) {
        settings_.values = {{"Options", options}};
        EXPECT_EQ(run({"get", "x.iso", "note", "-o", "."}), 0) << err_;
        EXPECT_TRUE(std::filesystem::remove(name)) << options;
    }
}

// Nobody who could be asked: no file is lost, and of two names that are cut alike none is left out.
TEST_F(SessionTest, CopiesAreAskedAboutWhereSomebodyIsThere) {
    for (const bool asks : {false, true}) {
        std::istringstream input;
        std::ostringstream output;
        const CommandContext context{input, output, output, clock_, asks};
        EXPECT_EQ(CopyOutOptionsOf(context).existing,
                  asks ? ExistingFiles::Ask : ExistingFiles::Keep);
        const CopyInOptions in = CopyInOptionsOf(context);
        EXPECT_EQ(in.existing, asks ? ExistingFiles::Ask : ExistingFiles::Keep);
        EXPECT_EQ(in.truncation.addsCrc, !asks);
        EXPECT_EQ(in.truncation.asks, asks);
    }
}

TEST_F(SessionTest, TheVerbChangesOneSettingAndRefusesWhatNoneCanBe) {
    settings_.values = {{"Options", "1280"}};
    const struct {
        Names arguments;
        int status;
        const char* key;
        std::string kept;
    } cases[] = {{{"delete-silently", "off"}, 0, "Options", "256"},
                 {{"naming", "upper"}, 2, "Options", "256"},
                 {{"extension", "hqx"}, 0, "Ext", "hqx"},
                 {{"extension", "five5"}, 2, "Ext", "hqx"},
                 {{"colour", "red"}, 2, "Ext", "hqx"},
                 {{"naming"}, 2, "Options", "256"},
                 {{"language", "fr"}, 0, "Lang", "1"},
                 {{"journal", "j.log"}, 0, "Journal", std::filesystem::current_path() / "j.log"},
                 {{"journal", ""}, 0, "Journal", ""}};
    for (const auto& c : cases) {
        Names arguments = {"config", "set"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        EXPECT_EQ(run(arguments), c.status) << c.arguments.back() << err_;
        EXPECT_EQ(settings_.read(c.key), c.kept) << c.arguments.back();
        EXPECT_EQ(err_.empty(), c.status == 0) << err_;
    }
    EXPECT_EQ(run({"config"}), 0);
    EXPECT_NE(out_.find("extension        hqx "), std::string::npos) << out_;
}

}  // namespace
}  // namespace vellmark
