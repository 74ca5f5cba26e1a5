// What the tests of projects share: scripted answers, records and files made by hand, and projects
// as lines of text.
#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "containers/codec_bench.hpp"
#include "project/item_names.hpp"
#include "project/project_file.hpp"
#include "support/encoding.hpp"
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
        EXPECT_FALSE(reason.empty()) << item;
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
    return ProjectFile::Create("none.vlpr", mode, {.isHfsPlus = isHfsPlus});
}

inline ProjectRecord Item(std::int32_t parent, std::int32_t number, std::string_view name,
                          int iso = 1, int hfs = 1, std::string_view path = "/pc/") {
    ProjectRecord record;
    record.parent = parent;
    record.number = number;
    record.setAccessPath(path);
    record.setSourceName(name);
    record.setShortName(name);
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

inline std::string Zeros(std::size_t count) {
    return std::string(count, '\0');
}

/// A number of four bytes, the greatest first.
inline std::string Big(std::size_t value) {
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
            static_cast<char>(value >> 8), static_cast<char>(value)};
}

inline std::string TextOf(const testing::Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

/// MacBinary with forks of so many bytes, and the high byte of the Finder's flags.
inline std::string MacBinaryFile(const std::string& name, const std::string& signature,
                                 std::size_t data, std::size_t resource, std::uint32_t created,
                                 std::uint32_t modified, char flags) {
    return TextOf(testing::MacBinaryOf(name, testing::BytesOf(signature + flags),
                                       testing::Bytes(data, 'd'), testing::Bytes(resource, 'r'),
                                       created, modified));
}

/// Entries by their numbers: 1 data fork, 2 resource fork, 9 Finder.
inline std::string AppleFile(bool isSingle,
                             const std::vector<std::pair<int, std::string>>& entries) {
    std::vector<std::pair<int, testing::Bytes>> parts;
    for (const auto& [id, text] : entries)
        parts.emplace_back(id, testing::BytesOf(text));
    return TextOf(testing::AppleFileOf(isSingle, parts));
}

/// `fork/N`, a companion with N bytes of resource fork alone, or MacBinary: NAME/SIGNATURE/DATA/
/// RESOURCE, then h for a hidden file, d for other dates. `Icon` is the name of an icon's file.
inline std::string FileOf(const std::string& format) {
    std::istringstream in(format);
    std::string parts[5];
    for (std::string& part : parts)
        std::getline(in, part, '/');
    if (parts[0] == "fork")
        return AppleFile(false, {{2, std::string(std::stoul(parts[1]), 'r')}});
    const std::uint32_t date = parts[4] == "d" ? 2'950'000'000 : 2'900'000'000;
    return MacBinaryFile(parts[0] == "Icon" ? "Icon\r" : parts[0], parts[1], std::stoul(parts[2]),
                         std::stoul(parts[3]), date - 60, date, parts[4] == "h" ? '\x40' : '\0');
}

/// Changes a tree, a word for each: `FOLDER/`, `FILE`, `FILE=text`, `FILE=@format`, `LINK->target`,
/// `-GONE`, `OLD>NEW`. Files have one date, but those that a `!` begins another.
inline void Plant(const std::string& base, const std::string& words,
                  std::string (*fileOf)(const std::string& format) = FileOf) {
    namespace fs = std::filesystem;
    std::istringstream in(words);
    for (std::string word; in >> word;) {
        const bool isNew = word[0] == '!';
        const bool isGone = word[0] == '-';
        const std::size_t end = std::min(word.find_first_of("=>"), word.find("->"));
        const std::string path = base + word.substr(isNew || isGone, end - (isNew || isGone));
        const std::string rest = end == word.npos ? "=x" : word.substr(end);
        fs::create_directories(fs::path(path).parent_path());
        if (isGone)
            fs::remove_all(path);
        else if (rest[0] == '>')
            fs::rename(path, base + rest.substr(1));
        else if (rest[0] == '-')
            fs::create_symlink(rest.substr(2), path);
        else if (!path.ends_with('/'))
            Write(path, rest[1] == '@' ? fileOf(rest.substr(2)) : rest.substr(1));
        if (fs::is_regular_file(path))
            fs::last_write_time(path, fs::file_time_type(std::chrono::days(isNew - 63'000)));
    }
}

/// Source name to record of a folder's items.
inline std::map<std::string, ProjectRecord> ByName(const ProjectFile& project,
                                                   std::int32_t folder) {
    std::map<std::string, ProjectRecord> items;
    for (const ProjectRecord& record : project.childrenOf(folder))
        items.emplace(record.sourceName(), record);
    return items;
}

/// Which marks of a record are set, a letter each.
inline std::string MarksOf(const ProjectRecord& r) {
    const std::pair<bool, char> marks[] = {
        {r.isoInclusion() > 0, 'I'}, {r.isoInclusion() < 0, 'i'},  // included, missing
        {r.hfsInclusion() > 0, 'H'}, {r.hfsInclusion() < 0, 'h'},
        {r.isoNameLocked(), 'l'},    {r.hfsNameLocked(), 'L'},
        {r.unicodeOnDisk(), 'u'},    {r.customIcon(), 'k'},
        {r.appleDouble(), 'D'},      {r.appleSingle(), 'S'},
        {r.macBinary(), 'M'},        {r.binHex(), 'B'},
        {r.hiddenInIso(), 'p'},      {r.hiddenInHfs(), 'm'},  // hidden on a PC, on a Macintosh
        {r.hiddenExtension(), 'x'}};
    std::string letters;
    for (const auto& [isSet, letter] : marks)
        letters += isSet ? std::string(1, letter) : "";
    return letters;
}

/// A record: source, ISO and HFS name (one where they are the same), marks, lengths of its forks or
/// the counters of a folder.
inline std::string LineOf(const ProjectFile& project, const ProjectRecord& record) {
    std::string line = NarrowToUtf8(record.sourceName());
    const std::string iso = NarrowToUtf8(record.isoName());
    const std::string hfs = ShownItemName(project, record, ProjectView::Hfs);
    if (iso != line || hfs != line)
        line += "|" + iso + "|" + hfs;
    line += " " + MarksOf(record);
    if (record.isFolder() || record.dataSize + record.resourceSize != 0)
        line += fmt::format(" {}/{}", std::uint32_t{record.dataSize},
                            std::uint32_t{record.resourceSize});
    return line;
}

}  // namespace vellmark::test
