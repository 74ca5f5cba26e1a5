// What the tests of command lines share: a folder to work in, streams to read back, and the state
// of the disk before and after.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
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

/// The parts of a text between separators; empty ones are left out.
inline Names Split(const std::string& text, char separator) {
    Names parts;
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
    int run(const Names& arguments) {
        std::istringstream input(typed_);
        return runWith(input, arguments);
    }
    int runWith(std::istream& input, const Names& arguments) {
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
                               .shippedSignatures = shippedSignatures_};
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

    std::string typed_;
    bool asks_ = false;
    MemorySettings settings_;
    std::string locale_;
    Names shippedSignatures_;
    std::string out_;
    std::string err_;

  private:
    TemporaryFolder folder_;
    std::filesystem::path before_;

  protected:
    FixedClock clock_{1'000'000'000};
    const Clock* now_ = &clock_;
    std::ostream* output_ = nullptr;  ///< where results go; null for `out_`
    std::string lockFolder_ = (root() / "lock").string();
};

}  // namespace vellmark::test
