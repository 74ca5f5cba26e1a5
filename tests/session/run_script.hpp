// Runs of the program as scripts, a line a step. Behind `=>` stand words, in which \n, \r and \t
// are escapes; $PWD is the folder of the test:
//
//     # a remark
//     STATUS ARGUMENTS => WORDS  a run; the words are a part of the output, or of the errors when
//                                it fails. After 0 there are no errors; after 1 and 2 there is no
//                                output, and the disk is as it was. With ! only the words count.
//     out => TEXT                the whole output of the last run
//     shows => WORDS             a part of its output
//     says => WORDS              a part of its errors
//     file PATH => TEXT          writes a file; also: folder PATH, link PATH TARGET, remove PATH,
//                                move PATH PATH
//     holds PATH => TEXT         the whole file
//     has PATH NUMBER => WORDS   how often they stand in the file
//     none PATH                  there is no such file
//     sides PATH => IM           signatures: I of ISO 9660 in sector 16, M of Macintosh media
//     items PATH NUMBER => NAMES source names in a folder of a project, each with its views
//     set NAME => VALUE          a setting; without a name all are forgotten
//     types => TEXT              somebody is there and types that; also: nobody
//
// Arguments stand between blanks, or within '...'.
#pragma once

#include <functional>

#include "session/session_bench.hpp"

namespace vellmark::test {

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
    const bool isIso = image.size() > 32774 && image.compare(32768, 6,
                                                             "\x01"
                                                             "CD001") == 0;
    return std::string(isIso ? "I" : "") + (image.starts_with("ER") ? "M" : "");
}

class ScriptTest : public SessionTest {
  protected:
    void play(const std::string& script) {
        for (const std::string& line : Split(script, '\n')) {
            SCOPED_TRACE(line);
            if (!line.starts_with('#'))
                step(line);
        }
    }

  private:
    static Names wordsOf(const std::string& line) {
        Names words;
        bool isQuoted = false;
        bool isWord = false;
        for (const char c : line) {
            if (c == '\'')
                isQuoted = !isQuoted;
            const bool continues = isQuoted || c != ' ';
            if (continues && !isWord)
                words.emplace_back();
            if (continues && c != '\'')
                words.back() += c;
            isWord = continues;
        }
        return words;
    }

    void step(const std::string& written) {
        const std::string line =
            Replaced(written, "$PWD", std::filesystem::current_path().string());
        const std::size_t arrow = std::min(line.find(" => "), line.size());
        Names words = wordsOf(line.substr(0, arrow));
        const std::string name = words.front();
        words.erase(words.begin());
        std::string told = line.substr(std::min(arrow + 4, line.size()));
        for (const auto& [escape, byte] :
             {std::pair{"\\n", "\n"}, std::pair{"\\r", "\r"}, std::pair{"\\t", "\t"}})
            told = Replaced(told, escape, byte);
        if (std::isdigit(static_cast<unsigned char>(name[0])) != 0)
            return expectRun(name, words, told);
        words.resize(2);
        const std::string& path = words[0];
        const std::map<std::string, std::function<void()>> steps = {
            {"out", [&] { EXPECT_EQ(out_, told); }},
            {"shows", [&] { EXPECT_EQ(CountIn(out_, told) > 0, true) << out_; }},
            {"says", [&] { EXPECT_EQ(CountIn(err_, told) > 0, true) << err_; }},
            {"file", [&] { Write(path, told); }},
            {"folder", [&] { std::filesystem::create_directories(path); }},
            {"link", [&] { std::filesystem::create_symlink(words[1], path); }},
            {"remove", [&] { EXPECT_NE(std::filesystem::remove_all(path), 0u); }},
            {"move", [&] { std::filesystem::rename(path, words[1]); }},
            {"holds", [&] { EXPECT_EQ(Bytes(path), told); }},
            {"has", [&] { EXPECT_EQ(std::to_string(CountIn(Bytes(path), told)), words[1]); }},
            {"none", [&] { EXPECT_FALSE(std::filesystem::exists(path)); }},
            {"sides", [&] { EXPECT_EQ(SidesOf(Bytes(path)), told); }},
            {"items", [&] { EXPECT_EQ(itemsOf(opened(path), std::stoi(words[1])), told); }},
            {"set", [&] { set(path, told); }},
            {"types", [&] { asks_ = true, typed_ = told; }},
            {"nobody", [&] { asks_ = false; }}};
        const auto found = steps.find(name);
        ASSERT_NE(found, steps.end());
        found->second();
    }

    void expectRun(const std::string& status, const Names& arguments, const std::string& told) {
        const bool changesNothing = status == "1" || status == "2";
        const Disk before = changesNothing ? disk() : Disk();
        EXPECT_EQ(std::to_string(run(arguments)), status.substr(0, 1)) << err_;
        const bool isDone = status == "0";
        EXPECT_NE((isDone ? out_ : err_).find(told), std::string::npos) << out_ << err_;
        EXPECT_TRUE(status.ends_with('!') || err_.empty() == isDone) << err_;
        EXPECT_TRUE(!changesNothing || out_.empty()) << out_;
        EXPECT_TRUE(!changesNothing || disk() == before);
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

    void set(const std::string& name, const std::string& value) {
        if (name.empty())
            settings_.values.clear();
        else
            settings_.write(name, value);
    }
};

}  // namespace vellmark::test
