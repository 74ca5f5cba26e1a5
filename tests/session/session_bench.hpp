// What the tests of command lines share: a folder to work in, streams to read back, and the state
// of the disk before and after.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "project/project_file.hpp"
#include "session/program.hpp"
#include "session/terminal.hpp"
#include "support/pc_file.hpp"

namespace vellmark::test {

inline std::string Bytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void Write(const std::filesystem::path& path, std::string_view bytes) {
    if (path.has_parent_path())
        std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out << bytes;
    ASSERT_TRUE(out.good()) << path;
}

/// The parts of a text between separators; empty ones are left out.
inline std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, separator);)
        if (!part.empty())
            parts.push_back(part);
    return parts;
}

/// Each test runs in a new folder, which is the current one: `work`, with `lock` beside it.
class SessionTest : public testing::Test {
  protected:
    using Disk = std::map<std::string, std::string>;

    SessionTest() : before_(std::filesystem::current_path()) {
        std::filesystem::create_directories(root() / "work");
        std::filesystem::create_directories(root() / "lock");
        std::filesystem::permissions(root() / "lock", std::filesystem::perms::owner_all);
        std::filesystem::current_path(root() / "work");
    }
    ~SessionTest() override { std::filesystem::current_path(before_); }

    [[nodiscard]] std::filesystem::path root() const { return folder_.path(); }

    /// Runs a command line and keeps what it wrote.
    int run(const std::vector<std::string>& arguments) {
        std::istringstream input(typed_);
        return runWith(input, arguments);
    }
    int runWith(std::istream& input, const std::vector<std::string>& arguments) {
        std::ostringstream output;
        std::ostringstream errors;
        CommandContext context{.input = input,
                               .output = output,
                               .errors = errors,
                               .clock = clock_,
                               .asks = asks_,
                               .lockFolder = lockFolder_,
                               .settings = &settings_,
                               .locale = locale_,
                               .shippedSignatures = shippedSignatures_};
        const int status = RunProgram(arguments, context);
        out_ = output.str();
        err_ = errors.str();
        return status;
    }

    /// All files below the current folder with their bytes; folders end in `/`.
    [[nodiscard]] static Disk disk() {
        Disk disk;
        for (const auto& entry : std::filesystem::recursive_directory_iterator("."))
            if (entry.is_directory())
                disk[entry.path().string() + "/"] = "";
            else
                disk[entry.path().string()] = Bytes(entry.path());
        return disk;
    }

    /// The project as its file holds it.
    static ProjectFile opened(const std::string& path, ProjectMode mode = ProjectMode::Hybrid) {
        std::istringstream input;
        std::ostringstream output;
        std::ostringstream errors;
        const FixedClock clock{0};
        CommandContext context{input, output, errors, clock};
        Terminal terminal(context, {});
        std::optional<ProjectFile> project;
        EXPECT_EQ(ProjectFile::Open(path, mode, terminal.messages, project), ProjectOpened::Opened)
            << errors.str();
        return project ? std::move(*project) : ProjectFile::Create(path, mode, {});
    }
    /// Source names of a folder's items, each with the views it is in: `a.txt IH`.
    static std::vector<std::string> itemsOf(const ProjectFile& project, std::int32_t folder) {
        std::vector<std::string> items;
        for (const ProjectRecord& record : project.childrenOf(folder))
            items.push_back(std::string(record.sourceName()) + " " +
                            (record.isoInclusion() ? "I" : "") +
                            (record.hfsInclusion() ? "H" : ""));
        return items;
    }

    std::string typed_;
    bool asks_ = false;
    MemorySettings settings_;
    std::string locale_;
    std::vector<std::string> shippedSignatures_;
    std::string out_;
    std::string err_;

  private:
    TemporaryFolder folder_;
    std::filesystem::path before_;

  protected:
    FixedClock clock_{1'000'000'000};
    std::string lockFolder_ = (root() / "lock").string();
};

using Names = std::vector<std::string>;

/// Which sides an image has, by the signatures at their places: `I` for the descriptor of ISO 9660
/// in sector 16, `M` for the driver descriptor of Macintosh media at the start.
inline std::string SidesOf(const std::string& path) {
    const std::string image = Bytes(path);
    std::string sides;
    if (image.size() > 32774 && image.substr(32768, 6) ==
                                    "\x01"
                                    "CD001")
        sides += 'I';
    if (image.starts_with("ER"))
        sides += 'M';
    return sides;
}

/// How often a text stands in a file.
inline int CountIn(const std::string& path, std::string_view text) {
    const std::string bytes = Bytes(path);
    int count = 0;
    for (std::size_t at = bytes.find(text); at != std::string::npos; at = bytes.find(text, at + 1))
        ++count;
    return count;
}

}  // namespace vellmark::test
