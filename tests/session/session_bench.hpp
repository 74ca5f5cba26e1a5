// What the tests of command lines share: a folder to work in, and runs of the program.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iomanip>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "project/project_file.hpp"
#include "session/file_modes.hpp"
#include "session/program.hpp"
#include "session/terminal.hpp"
#include "support/pc_file.hpp"

namespace vellmark::test {

using Names = std::vector<std::string>;

inline std::string Bytes(const std::filesystem::path& path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

inline void Write(const std::filesystem::path& path, std::string_view bytes) {
    if (path.has_parent_path())
        std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out << bytes;
    ASSERT_TRUE(out.good()) << path;
}

/// The parts of a text between separators, without empty ones.
inline Names Split(const std::string& text, char separator) {
    Names parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, separator);)
        if (!part.empty())
            parts.push_back(part);
    return parts;
}

inline std::string Replaced(std::string text, std::string_view old, std::string_view with) {
    for (std::size_t at = 0; (at = text.find(old, at)) != std::string::npos; at += with.size())
        text.replace(at, old.size(), with);
    return text;
}

/// How often words stand in a text.
inline std::size_t CountIn(const std::string& text, std::string_view words) {
    std::size_t count = 0;
    for (std::size_t at = text.find(words); at != std::string::npos; at = text.find(words, at + 1))
        ++count;
    return count;
}

inline std::string SidesOf(const std::string& image) {
    const bool isIso = image.size() > 32768 && image.compare(32768, 6, "\1CD001") == 0;
    return std::string(isIso ? "I" : "") + (image.starts_with("ER") ? "M" : "");
}

// Runs of the program as scripts, a line a step. Behind each `=>` stand words to be found, in which
// \n, \r and \t are escapes; $PWD is the folder of the test:
//
//     STATUS ARGUMENTS => WORDS  a run; the words are parts of the output, or of the errors when it
//                                fails. After 0 there are no errors; after 1 and 2 there is no
//                                output, and the disk is as it was. With ! only the words count,
//                                which are parts of the errors.
//     STATUS ARGUMENTS == TEXT   the same with the whole output
//     shows => WORDS             parts of the output of the last run; also: says, of its errors
//     file PATH => TEXT          writes a file; also: folder PATH, link PATH TARGET, remove PATH,
//                                move PATH PATH
//     holds PATH => TEXT         the whole file
//     has PATH NUMBER => WORDS   how often they stand in the file
//     none PATH                  there is no such file
//     sides PATH => IM           signatures: I of ISO 9660 in sector 16, M of Macintosh media
//     items PATH NUMBER => NAMES source names in a folder of a project, each with its views
//     set NAME => VALUE          a setting
//     types => TEXT              somebody is there and types that; also: nobody
//
// A line with # is a remark; a word with blanks stands in '...'. Each test runs in a new folder,
// which is the current one: `work`, with `lock` beside it.
class ScriptTest : public testing::Test {
  protected:
    using Disk = std::map<std::string, std::string>;

    ScriptTest() : before_(std::filesystem::current_path()) {
        std::filesystem::create_directories(root() / "work");
        std::filesystem::create_directories(root() / "lock");
        std::filesystem::permissions(root() / "lock", std::filesystem::perms::owner_all);
        std::filesystem::current_path(root() / "work");
    }
    ~ScriptTest() override { std::filesystem::current_path(before_); }

    [[nodiscard]] std::filesystem::path root() const { return folder_.path(); }

    /// Runs a command line and keeps what it wrote.
    int run(const Names& arguments) {
        std::istringstream typed(typed_);
        std::istream input(input_ != nullptr ? input_ : typed.rdbuf());
        std::ostringstream output;
        std::ostringstream errors;
        CommandContext context{.input = input,
                               .output = output_ != nullptr ? *output_ : output,
                               .errors = errors,
                               .clock = *now_,
                               .asks = asks_,
                               .lockFolder = lockFolder_,
                               .settings = &settings_,
                               .locale = locale_,
                               .shippedFolders = shippedFolders_};
        const int status = RunProgram(arguments, context);
        out_ = output.str();
        err_ = errors.str();
        return status;
    }

    /// All files below a folder with their bytes, paths from there; folders end in `/`.
    [[nodiscard]] static Disk disk(const std::filesystem::path& folder = ".") {
        Disk disk;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            const std::string path = entry.path().lexically_relative(folder).string();
            if (entry.is_directory())
                disk[path + "/"] = "";
            else
                disk[path] = entry.is_regular_file() ? Bytes(entry.path()) : "";
        }
        return disk;
    }

    /// The project as its file holds it.
    static ProjectFile opened(const std::string& path) {
        std::istringstream input;
        std::ostringstream errors;
        const FixedClock clock{0};
        CommandContext context{input, errors, errors, clock};
        Terminal terminal(context, {});
        std::optional<ProjectFile> project;
        EXPECT_EQ(ProjectFile::Open(path, ProjectModeOf(path), terminal.messages, project),
                  ProjectOpened::Opened)
            << errors.str();
        return project ? std::move(*project) : ProjectFile::Create(path, ProjectMode::Hybrid, {});
    }

    /// Plays a script.
    void play(const std::string& script) {
        for (const std::string& line : Split(script, '\n')) {
            SCOPED_TRACE(line);
            if (!line.starts_with('#'))
                step(line);
        }
    }

    std::string typed_;
    bool asks_ = false;
    MemorySettings settings_;
    std::string locale_;
    Names shippedFolders_;
    std::string out_;
    std::string err_;

    static Names wordsOf(const std::string& line) {
        std::istringstream in(line);
        Names words;
        for (std::string word; in >> std::quoted(word, '\'', '\a');)
            words.push_back(word);
        return words;
    }

  private:
    void step(std::string line) {
        line = Replaced(line, "$PWD", std::filesystem::current_path().string());
        line = Replaced(line.ends_with(" ==") ? line + " " : line, " == ", " => =");
        Names told = Split(Replaced(line, " => ", "\a"), '\a');
        Names words = wordsOf(told.front());
        told.erase(told.begin());
        for (std::string& each : told)
            each = Replaced(Replaced(Replaced(each, "\\n", "\n"), "\\r", "\r"), "\\t", "\t");
        const std::string name = words.front();
        words.erase(words.begin());
        if (std::isdigit(static_cast<unsigned char>(name[0])) != 0)
            return expectRun(name, words, told);
        words.resize(2);
        told.resize(std::max<std::size_t>(told.size(), 1));
        const std::string& path = words[0];
        const std::string& text = told[0];
        const std::map<std::string, std::function<void()>> steps = {
            {"shows", [&] { expectAll(out_, told); }},
            {"says", [&] { expectAll(err_, told); }},
            {"file", [&] { Write(path, text); }},
            {"folder", [&] { std::filesystem::create_directories(path); }},
            {"link", [&] { std::filesystem::create_symlink(words[1], path); }},
            {"remove", [&] { EXPECT_NE(std::filesystem::remove_all(path), 0u); }},
            {"move", [&] { std::filesystem::rename(path, words[1]); }},
            {"holds", [&] { EXPECT_EQ(Bytes(path), text); }},
            {"has", [&] { EXPECT_EQ(std::to_string(CountIn(Bytes(path), text)), words[1]); }},
            {"none", [&] { EXPECT_FALSE(std::filesystem::exists(path)); }},
            {"sides", [&] { EXPECT_EQ(SidesOf(Bytes(path)), text); }},
            {"items", [&] { EXPECT_EQ(itemsOf(opened(path), std::stoi(words[1])), text); }},
            {"set", [&] { settings_.values[path] = text; }},
            {"types", [&] { asks_ = true, typed_ = text; }},
            {"nobody", [&] { asks_ = false; }}};
        ASSERT_EQ(steps.count(name), 1u);
        steps.at(name)();
    }

    void expectRun(const std::string& status, const Names& arguments, const Names& told) {
        const bool changesNothing = status == "1" || status == "2";
        const Disk before = changesNothing ? disk() : Disk();
        EXPECT_EQ(std::to_string(run(arguments)), status.substr(0, 1)) << err_;
        const bool isDone = status == "0";
        if (!told.empty() && told[0].starts_with('='))
            EXPECT_EQ(out_, told[0].substr(1));
        else
            expectAll(isDone ? out_ : err_, told);
        EXPECT_TRUE(status.ends_with('!') || err_.empty() == isDone) << err_;
        EXPECT_TRUE(!changesNothing || (out_.empty() && disk() == before)) << out_;
    }

    static void expectAll(const std::string& text, const Names& told) {
        for (const std::string& words : told)
            EXPECT_NE(text.find(words), std::string::npos) << words << " is not in: " << text;
    }

    static std::string itemsOf(const ProjectFile& project, std::int32_t folder) {
        std::string items;
        for (const ProjectRecord& record : project.childrenOf(folder))
            items.append(items.empty() ? "" : ", ")
                .append(record.sourceName())
                .append(record.isoInclusion() ? " I" : " ")
                .append(record.hfsInclusion() ? "H" : "");
        return items;
    }

    TemporaryFolder folder_;
    std::filesystem::path before_;

  protected:
    FixedClock clock_{1'000'000'000};
    const Clock* now_ = &clock_;
    std::ostream* output_ = nullptr;   ///< where results go; null for `out_`
    std::streambuf* input_ = nullptr;  ///< where answers come from; null for `typed_`
    std::string lockFolder_ = (root() / "lock").string();
};

}  // namespace vellmark::test
