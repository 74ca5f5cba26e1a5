// `check`, `rebuild`, `path`, `replace-signature` on a project, `/R`, and the rebuild before a
// build.
#include <nlohmann/json.hpp>

#include <functional>

#include "session/session_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::CountIn;
using test::Names;
using test::SessionTest;
using test::Write;

class CheckTest : public SessionTest {
  protected:
    CheckTest() {
        Write("in/a.txt", "a");
        Write("in/sub/b.txt", "b");
        EXPECT_EQ(run({"new", "p.vlpr", "--label", "P"}), 0) << err_;
        EXPECT_EQ(run({"add", "p.vlpr", "in/*"}), 0) << err_;
        fs::remove("p.BAK");
    }
    static void change() {
        fs::remove("in/a.txt");
        Write("in/sub/b.txt", "longer");
        Write("in/sub/c.txt", "c");
    }
    const std::string here_ = fs::current_path().string();
};

TEST_F(CheckTest, TheStatusTellsWhetherAnythingDiffers) {
    const Disk before = disk();
    EXPECT_EQ(run({"check", "p.vlpr"}), 0) << err_;
    EXPECT_EQ(run({"check", "p.vlpr", "--json", "--dates"}), 0);
    EXPECT_EQ(out_, "[]\n");
    EXPECT_EQ(disk(), before) << "a check changes nothing";
    change();
    EXPECT_EQ(run({"check", "p.vlpr"}), 3) << err_;
    EXPECT_EQ(out_, "deleted   " + here_ + "/in/a.txt\nmodified  " + here_ +
                        "/in/sub/b.txt\nadded     " + here_ + "/in/sub/c.txt\n");
    EXPECT_EQ(run({"check", "p.vlpr", "--lines", "--no-additions"}), 3);
    EXPECT_EQ(out_,
              "D|1|-1|1|" + here_ + "/in/|a.txt\r\nM|18|-2|6|" + here_ + "/in/sub/|b.txt\r\n");
    EXPECT_EQ(run({"check", "p.vlpr", "--json"}), 3);
    const auto json = nlohmann::json::parse(out_);
    ASSERT_EQ(json.size(), 3u);
    EXPECT_EQ(json[1]["change"], "modified");
    EXPECT_EQ(json[1]["item"], "sub/b.txt");
    EXPECT_EQ(json[1]["sizeBytes"], 6);
    EXPECT_EQ(json[2]["number"], 0);
    EXPECT_EQ(run({"check", "no.vlpr"}), 1);
    EXPECT_EQ(run({"check", "p.vlpr", "--json", "--lines"}), 2);
}

TEST_F(CheckTest, WhatCannotBeJudgedIsNoAgreement) {
    Write("in/._lost", "a companion without its file");
    EXPECT_EQ(run({"check", "p.vlpr", "--json"}), 3);
    EXPECT_EQ(out_, "[]\n");
    EXPECT_NE(err_.find("in/._lost"), std::string::npos) << err_;
    EXPECT_EQ(run({"rebuild", "p.vlpr", "-q"}), 3);
    EXPECT_EQ(run({"build", "p.vlpr", "--rebuild", "-q"}), 3);
}

TEST_F(CheckTest, ARebuildBringsTheProjectUpToDateAndKeepsTheOldOne) {
    const std::string before = test::Bytes("p.vlpr");
    EXPECT_EQ(run({"rebuild", "p.vlpr"}), 0) << err_;
    EXPECT_EQ(test::Bytes("p.vlpr"), before) << "nothing had changed";
    change();
    EXPECT_EQ(run({"--log", "j.log", "rebuild", "p.vlpr"}), 0) << err_;
    EXPECT_EQ(
        out_,
        "deleted   " + here_ + "/in/a.txt\nmodified  " + here_ + "/in/sub/b.txt\nadded     " +
            here_ +
            "/in/sub/c.txt\np.vlpr: 1 items deleted, 1 modified, 0 folders and 1 files added\n");
    EXPECT_EQ(test::Bytes("p.BAK"), before);
    for (const char* line : {"Deletion\t", "Modification\t", "Addition\t"})
        EXPECT_EQ(CountIn("j.log", line), 1) << line;
    const ProjectFile project = opened("p.vlpr");
    EXPECT_EQ(itemsOf(project, 18), (Names{"b.txt IH", "c.txt IH"}));
    EXPECT_EQ(project.header().rootFiles, 0u);
    EXPECT_EQ(project.findByNumber(18)->resourceSize, 2u) << "the counter of its files";
    EXPECT_EQ(run({"check", "p.vlpr", "--dates"}), 0) << out_;
}

TEST_F(CheckTest, NeitherTheProjectNorWhatIsMadeOfItBecomesItsItem) {
    EXPECT_EQ(run({"new", "q.vlpr"}), 0);
    EXPECT_EQ(run({"add", "q.vlpr", "in"}), 0);
    EXPECT_EQ(run({"rebuild", "p.vlpr"}), 0);
    for (const char* file : {"p.vlpr", "p.BAK"})
        fs::remove(file);
    EXPECT_EQ(run({"--log", "j.log", "rebuild", "q.vlpr"}), 0) << err_;
    Write("q.iso", "an old image");
    EXPECT_EQ(run({"check", "q.vlpr"}), 3) << "what a rebuild would add at the root is told";
    EXPECT_EQ(out_, "added     " + here_ + "/j.log\n");
    EXPECT_EQ(run({"build", "q.vlpr", "--rebuild", "--force"}), 0) << err_;
    EXPECT_EQ(itemsOf(opened("q.vlpr"), 1), (Names{"in IH", "j.log IH"}))
        << "an old journal is a file like others";
}

TEST_F(CheckTest, ABuildRebuildsWhenItIsAskedToHereOrByTheProject) {
    change();
    EXPECT_EQ(run({"build", "p.vlpr", "-o", "../1.iso"}), 1) << "a file is gone";
    EXPECT_EQ(run({"build", "p.vlpr", "-o", "../2.iso", "--rebuild"}), 0) << err_;
    EXPECT_EQ(run({"ls", "../2.iso", "sub", "--as", "hfs"}), 0);
    EXPECT_EQ(out_, "b.txt\nc.txt\n");
    EXPECT_EQ(run({"check", "p.vlpr"}), 0) << "the project was saved";

    EXPECT_EQ(run({"new", "r.vlpr", "--rebuild"}), 0);
    EXPECT_EQ(run({"add", "r.vlpr", "in/*"}), 0);
    Write("in/sub/d.txt", "d");
    EXPECT_EQ(run({"/C", "r.vlpr"}), 0) << err_;
    EXPECT_EQ(run({"ls", "r.ISO", "sub", "--as", "joliet"}), 0);
    EXPECT_EQ(out_, "b.txt\nc.txt\nd.txt\n");
}

TEST_F(CheckTest, ASourceThatIsNotThereEmptiesNoProject) {
    const auto foreign = [](const std::string& project) {
        std::string bytes = test::Bytes(project);
        for (std::size_t record = 756; record < bytes.size(); record += 756)
            bytes.replace(record + 112, 256, std::string("C:\\Discs\\").append(247, '\0'));
        Write(project, bytes);
    };
    const struct {
        std::string added;  ///< in the folder `box`, which has other items too
        std::function<void()> change;
        std::string told;
    } cases[] = {
        {"/in", [] { fs::rename("box/in", "away"); }, here_ + "/box/in/"},
        {"/in/*", [] { fs::rename("box", "away"); }, here_ + "/box/"},
        {"/in/*", [] { fs::remove_all("box/in/sub"), fs::remove("box/in/a.txt"); },
         here_ + "/box/in/"},
        {"/in", [&] { foreign("r.vlpr"); }, "C:\\Discs\\"},
    };
    for (const auto& c : cases) {
        for (const char* name : {"box", "away", "r.vlpr", "r.BAK"})
            fs::remove_all(name);
        Write("box/kept", "k");
        fs::copy("in", "box/in", fs::copy_options::recursive);
        EXPECT_EQ(run({"new", "r.vlpr", "--rebuild"}), 0);
        EXPECT_EQ(run({"add", "r.vlpr", "box" + c.added}), 0) << err_;
        c.change();
        const std::string before = test::Bytes("r.vlpr");
        for (const std::vector<std::string>& line :
             std::vector<std::vector<std::string>>{{"check", "r.vlpr"},
                                                   {"rebuild", "r.vlpr"},
                                                   {"build", "r.vlpr", "--rebuild"},
                                                   {"/C", "r.vlpr"},
                                                   {"/R", "r.vlpr"},
                                                   {"/RJ", "r.vlpr", "r.log"}}) {
            EXPECT_EQ(run(line), line[0] == "check" ? 3 : 1) << line[0];
            EXPECT_EQ(out_, "");
            EXPECT_NE(err_.find("path r.vlpr '" + c.told + "' NEW"), std::string::npos) << err_;
            EXPECT_TRUE(test::Bytes("r.vlpr") == before && !fs::exists("r.iso")) << line[0];
        }
        EXPECT_EQ(run({"rebuild", "r.vlpr", "--drop-missing", "--no-additions"}), 0) << err_;
        EXPECT_EQ(itemsOf(opened("r.vlpr"), 1), Names{});
    }
}

TEST_F(CheckTest, FindLooksIntoAProject) {
    EXPECT_EQ(run({"add", "p.vlpr", "in/a.txt", "--to", "Why?"}), 0) << err_;
    for (const auto& [line, found] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"A.TXT"}, "a.txt\nWhy?/a.txt\n"},
             {{"*y?"}, "Why?/\n"},
             {{"s*B", "--view", "hfs"}, "sub/\n"},
             {{"txt"}, ""},
             {{"--signature", "TEXT"}, "a.txt\nsub/b.txt\nWhy?/a.txt\n"},
             {{"--signature", "TEXTx"}, ""}}) {
        std::vector<std::string> arguments = {"find", "p.vlpr"};
        arguments.insert(arguments.end(), line.begin(), line.end());
        EXPECT_EQ(run(arguments), 0) << err_;
        EXPECT_EQ(out_, found) << line[0];
    }
    EXPECT_EQ(run({"--log", "in/open.log", "make", "in", "-o", "j.iso"}), 0) << err_;
    EXPECT_EQ(run({"ls", "j.iso", "--as", "joliet"}), 0);
    EXPECT_EQ(out_, "a.txt\nsub\n") << "the open journal is no part of it";
}

TEST_F(CheckTest, TheBatchCommandRebuildsWithALogOrWithout) {
    change();
    EXPECT_EQ(run({"/RJ", "p.vlpr", "r.log"}), 0) << err_;
    EXPECT_EQ(out_ + err_, "");
    EXPECT_EQ(CountIn("r.log", "Deletion\t"), 1);
    EXPECT_EQ(run({"check", "p.vlpr"}), 0);
    Write("in/sub/d.txt", "d");
    EXPECT_EQ(run({"-r", "p.vlpr"}), 0) << err_;
    EXPECT_EQ(run({"check", "p.vlpr"}), 0);
}

TEST_F(CheckTest, PathsAndSignaturesChangeInTheProjectAlone) {
    fs::rename("in", "moved");
    EXPECT_EQ(run({"path", "p.vlpr", "in", here_ + "/./moved/"}), 0) << err_;
    EXPECT_EQ(out_, "Access path modified for 3 files/folders.\n");
    EXPECT_EQ(run({"check", "p.vlpr"}), 0) << out_;
    const Disk before = disk();
    EXPECT_EQ(run({"path", "p.vlpr", "in", "moved"}), 1);
    EXPECT_NE(err_.find("No item of p.vlpr comes from"), std::string::npos) << err_;

    EXPECT_EQ(run({"replace-signature", "p.vlpr", "TEXT????", "TEXTR*ch", "-p", "1"}), 2);
    EXPECT_EQ(run({"replace-signature", "p.vlpr", "NONENONE", "TEXTR*ch"}), 0) << err_;
    EXPECT_EQ(out_, "0 files changed\n");
    EXPECT_EQ(disk(), before);
    const std::string present(opened("p.vlpr").findByNumber(-1)->signature());
    EXPECT_EQ(run({"replace-signature", "p.vlpr", present, "TEXTR*ch"}), 0) << err_;
    EXPECT_EQ(out_, "2 files changed\n");
    EXPECT_EQ(opened("p.vlpr").findByNumber(-2)->signature(), "TEXTR*ch");
}

}  // namespace
}  // namespace vellmark
