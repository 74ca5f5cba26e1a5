// What the tests of inclusion share: a project, and a tree of files that each makes anew.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "project/inclusion.hpp"
#include "project/project_bench.hpp"

namespace vellmark::test {

class InclusionTest : public testing::Test {
  protected:
    void SetUp() override {
        base_ = std::filesystem::canonical(scratch_.path()).string() + "/";
        tree_ = base_ + "tree/";
        std::filesystem::create_directory(tree_);
    }

    InclusionResult include(const std::string& path, std::int32_t parent = kRootFolder) {
        return Include(project_, path, parent, options_, messages_, progress_);
    }

    // The names of the items that were left out, without their folder.
    std::set<std::string> skippedNames() {
        std::set<std::string> names;
        for (const auto& [item, reason] : messages_.skipped) {
            EXPECT_FALSE(reason.empty());
            names.insert(item.substr(item.find_last_of('/') + 1));
        }
        return names;
    }

    TemporaryFolder scratch_;
    std::string base_;
    std::string tree_;
    ProjectFile project_ = EmptyProject();
    ScriptedMessages messages_;
    Progress progress_;
    FixedClock clock_{0, 7200};
    InclusionOptions options_{clock_};
};

}  // namespace vellmark::test
