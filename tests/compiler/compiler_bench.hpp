// What the tests of the compiler share: a folder of sources, a project made of it, and a build.
#pragma once

#include <functional>

#include "compiler/build_project.hpp"
#include "project/inclusion.hpp"
#include "project/project_bench.hpp"

namespace vellmark::test {

/// Progress that runs a script: stops, or does something, at each file that is begun.
class ScriptedProgress final : public Progress {
  public:
    std::function<void(std::string_view name)> onFile;
    bool stop = false;
    std::vector<std::string> texts;

    void text(std::string_view status) override { texts.emplace_back(status); }
    void fileStart(std::string_view name, std::uint64_t, int) override {
        if (onFile)
            onFile(name);
    }
    bool chunk(std::uint64_t) override { return !stop; }
    bool fileEnd(std::uint64_t) override { return !stop; }
};

/// A private folder with a tree of sources in `tree/`, and images beside it in `out/`.
class CompilerTest : public ::testing::Test {
  protected:
    CompilerTest() {
        std::filesystem::create_directories(tree());
        std::filesystem::create_directories(out());
        request_.targetPath = out() + "/disc.iso";
    }

    [[nodiscard]] std::string tree() const { return folder_.path() + "/tree"; }
    [[nodiscard]] std::string out() const { return folder_.path() + "/out"; }
    void write(const std::string& name, const std::string& content) const {
        Write(tree() + "/" + name, content);
    }

    /// The project of everything in the tree.
    [[nodiscard]] ProjectFile project(bool isHfsPlus = false) {
        ProjectFile made = ProjectFile::Create(folder_.path() + "/test.vlpr", ProjectMode::Hybrid,
                                               {.isHfsPlus = isHfsPlus, .label = "Disc"});
        InclusionOptions options{clock_};
        options.truncation = kShortenAll;
        EXPECT_EQ(Include(made, tree() + "/*", kRootFolder, options, messages_, progress_).status,
                  InclusionStatus::Done);
        return made;
    }
    BuildOutcome build(ProjectFile& made) { return BuildProject(made, request_, ports_); }
    [[nodiscard]] DiscPlan planOf(ProjectFile& made, CompileMode mode) {
        CompileContext context{made, request_, messages_, progress_, clock_, mode};
        DiscPlan plan;
        EXPECT_EQ(MakeDiscPlan(context, plan), CompileResult::Done);
        return plan;
    }

    [[nodiscard]] std::vector<std::string> filesInOut() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(out()))
            names.push_back(entry.path().filename().string());
        return names;
    }
    /// A build that must fail, name `named`, and leave the folder of the image as it was.
    void expectFailure(ProjectFile& made, CompileResult expected, const std::string& named) {
        const std::vector<std::string> before = filesInOut();
        EXPECT_EQ(build(made).result, expected);
        ASSERT_FALSE(messages_.shown.empty());
        EXPECT_NE(messages_.shown.back().find(named), std::string::npos) << messages_.shown.back();
        EXPECT_EQ(filesInOut(), before);
    }

    TemporaryFolder folder_;
    FixedClock clock_{1'600'000'000};
    ScriptedMessages messages_;
    ScriptedProgress progress_;
    Ports ports_{messages_, progress_, clock_};
    BuildRequest request_;
};

}  // namespace vellmark::test
