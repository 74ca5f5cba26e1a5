// What the tests of the reading verbs share: a folder to make images of.
#pragma once

#include <nlohmann/json.hpp>

#include <chrono>

#include "session/session_bench.hpp"

namespace vellmark::test {

/// Bytes that no two places have in the same order.
inline std::string Pattern(std::size_t count) {
    std::string bytes;
    std::uint32_t state = static_cast<std::uint32_t>(count) + 1;
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 1'664'525 + 1'013'904'223;
        bytes += static_cast<char>(state >> 24);
    }
    return bytes;
}

/// Sets a date of the PC, in seconds since 1970.
inline void SetDate(const std::filesystem::path& path, std::int64_t seconds) {
    const auto at = std::chrono::sys_seconds(std::chrono::seconds(seconds));
    std::filesystem::last_write_time(path, std::chrono::file_clock::from_sys(at));
}
inline std::int64_t DateOf(const std::filesystem::path& path) {
    const auto at = std::chrono::file_clock::to_sys(std::filesystem::last_write_time(path));
    return std::chrono::duration_cast<std::chrono::seconds>(at.time_since_epoch()).count();
}

/// 2020-05-06 07:08:10 UTC; even, as some formats count in pairs of seconds.
inline constexpr std::int64_t kFileDate = 1'588'748'890;

/// A folder `in` whose names both sides hold, and images that `make` made of it.
class ReadingTest : public ScriptTest {
  protected:
    ReadingTest() {
        Write("in/Read Me.txt", "hello\n");
        Write("in/empty", "");
        Write("in/Sub Folder/large.bin", Pattern(70'000));
        Write("in/Sub Folder/Deep/caf\u00E9.txt", "un caf\u00E9\n");
        std::filesystem::create_directories("in/Bare");
        for (const char* file : {"in/Read Me.txt", "in/empty", "in/Sub Folder/large.bin",
                                 "in/Sub Folder/Deep/caf\u00E9.txt"})
            SetDate(file, kFileDate);
    }

    void make(const std::string& image, std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"make", "in", "-o", image, "-q", "--label", "My disc"});
        ASSERT_EQ(run(options), 0) << err_;
    }

    /// Two folders hold the same; what differs is named, its bytes are not shown.
    static void expectSame(const std::string& folder, const std::string& expected) {
        Disk there = disk(folder);
        for (const auto& [path, contents] : disk(expected)) {
            ASSERT_EQ(there.count(path), 1u) << folder << ": " << path;
            EXPECT_TRUE(there[path] == contents) << folder << ": " << path << " has other bytes";
            there.erase(path);
        }
        EXPECT_TRUE(there.empty()) << folder << ": " << there.begin()->first;
    }

    nlohmann::json json(std::vector<std::string> arguments) {
        arguments.emplace_back("--json");
        EXPECT_EQ(run(arguments), 0) << err_;
        return nlohmann::json::parse(out_, nullptr, false);
    }
};

}  // namespace vellmark::test
