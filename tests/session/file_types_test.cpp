// Kinds of files made known to a desktop, and taken out again.
#include "session/file_types.hpp"

#include "session/session_bench.hpp"

namespace vellmark {
namespace {

class FileTypes : public test::ScriptTest {
  protected:
    [[nodiscard]] std::string home() const { return (root() / "share").string(); }
    [[nodiscard]] std::string text(const std::string& path) const {
        return test::Bytes(home() + "/" + path);
    }
    /// The files that are there, but for those of the tools.
    [[nodiscard]] std::string files() const {
        std::set<std::string> names;
        for (const auto& each : std::filesystem::recursive_directory_iterator(home()))
            if (each.is_regular_file())
                names.insert(each.path().filename().string());
        std::string all;
        for (const std::string& name : names)
            all += name + " ";
        return all;
    }
    Reason make(const FileTypeSet& types) {
        FileTypePlan plan{
            home(), "/opt/a \"b\" $c\\d%/vellmark-window", "<p/>", {"<0/>", "<1/>", "<2/>"}, {}};
        plan.runTool = [this](const std::vector<std::string>& arguments) {
            ran_ += arguments[0] + " " + arguments[1].substr(home().size()) + "\n";
            return toolsWork_;
        };
        return MakeFileTypesKnown(types, plan);
    }

    std::string ran_;
    bool toolsWork_ = true;
};

TEST_F(FileTypes, ComeAndGo) {
    std::filesystem::create_directories(home() + "/applications");
    test::Write(home() + "/applications/vellmark.desktop", "mine");
    EXPECT_EQ(KnownFileTypes(home()), FileTypeSet{});
    EXPECT_FALSE(make({true, false, true}));
    EXPECT_EQ(KnownFileTypes(home()), (FileTypeSet{true, false, true}));
    EXPECT_EQ(ran_, "update-mime-database /mime\nupdate-desktop-database /applications\n");
    EXPECT_EQ(files(),
              "application-x-vellmark-isoplus.svg application-x-vellmark-project.svg "
              "vellmark-file-types.desktop vellmark.desktop vellmark.svg vellmark.xml ");
    const std::string entry = text("applications/vellmark-file-types.desktop");
    // By the rules of desktop entries, quoted in the command and once more in the entry.
    EXPECT_NE(entry.find("\nExec=\"/opt/a \\\\\"b\\\\\" \\\\$c\\\\\\\\d%%/vellmark-window\" %f\n"),
              std::string::npos)
        << entry;
    EXPECT_NE(
        entry.find("\nMimeType=application/x-vellmark-project;application/x-vellmark-isoplus;\n"),
        std::string::npos);
    EXPECT_NE(text("mime/packages/vellmark.xml").find("<glob pattern=\"*.vlso\"/>"),
              std::string::npos);
    EXPECT_EQ(text("mime/packages/vellmark.xml").find("*.hfs"), std::string::npos);
    EXPECT_EQ(text("icons/hicolor/scalable/mimetypes/application-x-vellmark-isoplus.svg"), "<2/>");
    EXPECT_FALSE(make({}));
    EXPECT_EQ(files(), "vellmark.desktop ");
    EXPECT_EQ(text("applications/vellmark.desktop"), "mine");
}

TEST_F(FileTypes, SayWhatFailed) {
    toolsWork_ = false;
    EXPECT_TRUE(make({false, true, false}));
    EXPECT_EQ(KnownFileTypes(home()), (FileTypeSet{false, true, false}));
    std::filesystem::remove_all(home());
    test::Write(home(), "no folder");
    toolsWork_ = true;
    EXPECT_TRUE(make({true, true, true}));
    EXPECT_EQ(KnownFileTypes(home()), FileTypeSet{});
    EXPECT_TRUE(RunDesktopTool({"true"}));
    EXPECT_FALSE(RunDesktopTool({"false"}));
    EXPECT_TRUE(RunDesktopTool({"vellmark-no-such-tool"}));
}

}  // namespace
}  // namespace vellmark
