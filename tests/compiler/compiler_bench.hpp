// What the tests of the compiler share: a folder of sources, a project made of it, and a compile.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "compiler/compile.hpp"
#include "project/inclusion.hpp"
#include "project/project_bench.hpp"
#include "support/pc_file.hpp"

namespace vellmark::test {

/// Progress that runs a script: stops, or does something, at the n-th file that is begun.
class ScriptedProgress final : public Progress {
  public:
    std::function<void(std::string_view name)> onFile;
    bool stop = false;
    std::vector<std::string> journalLines;

    void fileStart(std::string_view name, std::uint64_t, int) override {
        if (onFile)
            onFile(name);
    }
    bool chunk(std::uint64_t) override { return !stop; }
    bool fileEnd(std::uint64_t) override { return !stop; }
    void journal(int, std::string_view line) override { journalLines.emplace_back(line); }
};

/// A private folder with a tree of sources in `tree/`, and images beside it in `out/`.
class CompilerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(folder_.path().empty());
        std::filesystem::create_directories(tree());
        std::filesystem::create_directories(out());
    }

    [[nodiscard]] std::string tree() const { return folder_.path() + "/tree"; }
    [[nodiscard]] std::string out() const { return folder_.path() + "/out"; }
    [[nodiscard]] std::string image() const { return out() + "/disc.iso"; }

    void write(const std::string& name, const std::string& content) const {
        const std::filesystem::path path = tree() + "/" + name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << content;
    }

    /// The project of everything in the tree.
    [[nodiscard]] ProjectFile project(bool isHfsPlus = false) {
        ProjectDefaults defaults;
        defaults.isHfsPlus = isHfsPlus;
        defaults.label = "Disc";
        ProjectFile made =
            ProjectFile::Create(folder_.path() + "/test.vlpr", ProjectMode::Hybrid, defaults);
        InclusionOptions options{clock_};
        options.truncation = {true, true, true};
        EXPECT_EQ(Include(made, tree() + "/*", kRootFolder, options, messages_, progress_).status,
                  InclusionStatus::Done);
        return made;
    }

    [[nodiscard]] CompileContext context(ProjectFile& made) {
        CompileContext context{made, messages_, progress_, clock_, image()};
        context.tableFolder = out();
        return context;
    }

    [[nodiscard]] std::vector<std::string> filesIn(const std::string& folder) const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            names.push_back(entry.path().filename().string());
        return names;
    }

    TemporaryFolder folder_;
    FixedClock clock_{1'600'000'000};
    ScriptedMessages messages_;
    ScriptedProgress progress_;
};

}  // namespace vellmark::test
