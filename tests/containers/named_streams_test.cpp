// Named streams: what a server left in the attributes of a file, in either of two spellings.
#include "containers/named_streams.hpp"

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include "support/pc_file.hpp"

namespace vellmark {
namespace {

constexpr const char* kPlainResource = "user.AFP_Resource";
constexpr const char* kPlainInfo = "user.AFP_AfpInfo";
constexpr const char* kServerResource = "user.DosStream.AFP_Resource:$DATA";
constexpr const char* kServerInfo = "user.DosStream.AFP_AfpInfo:$DATA";

// 60 bytes: "AFP", version 1.0, id, backup date, type, creator, flags 4000, zeros.
std::string Info(const std::string& signature, std::size_t size = 60) {
    std::string info = std::string("AFP\0\0\1\0\0\0\0\0\0\x80\0\0\0", 16) + signature + "\x40";
    info.resize(size);
    return info;
}
// The header of a resource fork of 300 bytes: map of 44 bytes at 256.
std::string Fork(std::size_t size) {
    std::string fork("\0\0\1\0\0\0\1\0\0\0\0\0\0\0\0\x2c", 16);
    fork.resize(size);
    return fork;
}

class NamedStreams : public testing::Test {
  protected:
    NamedStreams() { EXPECT_TRUE(PcFile(path_, PcFile::Mode::CreateTruncate).isOpen()); }
    [[nodiscard]] bool set(const char* name, const std::string& value) const {
        return ::setxattr(path_.c_str(), name, value.data(), value.size(), 0) == 0;
    }
    void clear() const {
        for (const char* name : {kPlainResource, kPlainInfo, kServerResource, kServerInfo})
            (void)::removexattr(path_.c_str(), name);
    }
    TemporaryFolder folder_;
    std::string path_ = folder_.path() + "/file";
};

TEST_F(NamedStreams, ReadsBothSpellingsAndDropsTheByteTooMany) {
    if (!set(kPlainInfo, "x"))
        GTEST_SKIP() << "the file system keeps no attributes of users";
    const struct {
        const char* what;
        std::vector<std::pair<const char*, std::string>> attributes;
        std::size_t forkSize;
        const char* signature;  // null: no Finder's information
    } cases[] = {
        {"nothing", {}, 0, nullptr},
        {"plain", {{kPlainResource, Fork(300)}, {kPlainInfo, Info("TEXTttxt")}}, 300, "TEXTttxt"},
        {"a plain one is never cut", {{kPlainResource, Fork(301)}}, 301, nullptr},
        {"exact", {{kServerResource, Fork(9)}, {kServerInfo, Info("TEXTttxt")}}, 9, "TEXTttxt"},
        {"a byte too many in both",
         {{kServerResource, Fork(9)}, {kServerInfo, Info("TEXTttxt", 61)}},
         8,
         "TEXTttxt"},
        {"the last byte is no zero",
         {{kServerResource, "data"}, {kServerInfo, Info("TEXTttxt", 61)}},
         4,
         "TEXTttxt"},
        {"the map's end tells", {{kServerResource, Fork(301)}}, 300, nullptr},
        {"the map's end is the end", {{kServerResource, Fork(300)}}, 300, nullptr},
        {"another mark", {{kPlainInfo, "XFP" + Info("TEXTttxt").substr(3)}}, 0, nullptr},
        {"as far as the flags", {{kPlainInfo, Info("TEXTttxt", 26)}}, 0, "TEXTttxt"},
        {"cut", {{kPlainInfo, Info("TEXTttxt", 25)}}, 0, nullptr},
        {"no signature", {{kPlainInfo, Info("TEXTLMAN")}}, 0, "\0\0\0\0\0\0\0\0"},
    };
    for (const auto& c : cases) {
        clear();
        for (const auto& [name, value] : c.attributes)
            ASSERT_TRUE(set(name, value));
        EXPECT_EQ(HasNamedStreams(path_), !c.attributes.empty()) << c.what;
        MemoryBytes fork;
        EXPECT_EQ(ReadResourceStream(path_, fork), 0) << c.what;
        EXPECT_EQ(fork.size(), c.forkSize) << c.what;
        const auto finder = ReadAfpInfo(path_);
        ASSERT_EQ(finder.has_value(), c.signature != nullptr) << c.what;
        if (finder) {
            EXPECT_EQ(std::string(finder->signature.data(), 8), std::string(c.signature, 8))
                << c.what;
            EXPECT_EQ(finder->flags, 0x4000) << c.what;
        }
    }
}

}  // namespace
}  // namespace vellmark
