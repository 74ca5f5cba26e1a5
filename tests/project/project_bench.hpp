// What the tests of projects share: scripted answers, records made by hand, trees of files.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "project/project_file.hpp"
#include "support/messages.hpp"
#include "support/pc_file.hpp"

namespace vellmark::test {

/// Records what is said, and answers from scripts. A question without an answer fails the test.
class ScriptedMessages final : public Messages {
  public:
    std::vector<std::string> shown;
    std::vector<std::pair<std::string, std::string>> skipped;
    std::vector<std::string> renamed;  ///< what is said of names
    std::vector<std::string> questions;
    std::deque<bool> yesNo;
    std::deque<Answer> remembered;
    std::deque<TruncationAnswer> truncations;
    std::vector<std::pair<std::string, std::string>> truncationQuestions;
    Language spoken = Language::English;

    [[nodiscard]] Language language() const override { return spoken; }
    void showMessage(std::string_view text) override { shown.emplace_back(text); }
    void itemSkipped(std::string_view item, std::string_view reason) override {
        skipped.emplace_back(item, reason);
    }
    void nameChanged(std::string_view item, std::string_view given) override {
        renamed.push_back(std::string(item) + ": " + std::string(given));
    }
    bool askYesNo(std::string_view question) override {
        questions.emplace_back(question);
        return next(yesNo, false);
    }
    Answer askYesNoRemember(std::string_view question) override {
        questions.emplace_back(question);
        return next(remembered, Answer::No);
    }
    TruncationAnswer askTruncation(TruncatedName, std::string_view fullName,
                                   std::string_view proposal) override {
        truncationQuestions.emplace_back(fullName, proposal);
        return next(truncations, TruncationAnswer{});
    }

  private:
    template <typename T>
    T next(std::deque<T>& script, T none) {
        if (script.empty()) {
            ADD_FAILURE() << "a question that was not expected";
            return none;
        }
        T answer = std::move(script.front());
        script.pop_front();
        return answer;
    }
};

inline ProjectFile EmptyProject(bool isHfsPlus = false, ProjectMode mode = ProjectMode::Hybrid) {
    ProjectDefaults defaults;
    defaults.isHfsPlus = isHfsPlus;
    return ProjectFile::Create("none.vlpr", mode, defaults);
}

inline ProjectRecord Item(std::int32_t parent, std::int32_t number, std::string_view name,
                          int iso = 1, int hfs = 1) {
    ProjectRecord record;
    record.parent = parent;
    record.number = number;
    record.setAccessPath("/pc/");
    record.setSourceName(name);
    record.setIsoName(name);
    record.setHfsName(name);
    record.setIsoInclusion(iso);
    record.setHfsInclusion(hfs);
    return record;
}

inline std::string Bytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void Write(const std::filesystem::path& path, std::string_view bytes = "x") {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out << bytes;
    ASSERT_TRUE(out.good()) << path;
}

/// Source name to record of a folder's items.
inline std::map<std::string, ProjectRecord> ByName(const ProjectFile& project,
                                                   std::int32_t folder) {
    std::map<std::string, ProjectRecord> items;
    for (const ProjectRecord& record : project.childrenOf(folder))
        items.emplace(record.sourceName(), record);
    return items;
}

}  // namespace vellmark::test
