// Named streams: what a server left in the attributes of a file, in either of two spellings.
#include "containers/named_streams.hpp"

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include "support/pc_file.hpp"

namespace vellmark {
namespace {

const std::string kPlainResource = "user.AFP_Resource";
const std::string kPlainInfo = "user.AFP_AfpInfo";
const std::string kServerResource = "user.DosStream.AFP_Resource:$DATA";
const std::string kServerInfo = "user.DosStream.AFP_AfpInfo:$DATA";

// 60 bytes: "AFP", version 1.0, id, backup date, type, creator, flags 4000, zeros.
std::string Info(std::size_t size = 60, const char* signature = "TEXTttxt") {
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

TEST(NamedStreams, AreReadInBothSpellingsWithoutTheByteTooMany) {
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/file";
    const std::string none(8, '\0');
    const struct {
        const char* what;
        std::vector<std::pair<std::string, std::string>> attributes;
        std::size_t forkSize;
        std::string signature;  // empty: no Finder's information
    } cases[] = {
        {"nothing", {}, 0, ""},
        {"plain", {{kPlainResource, Fork(300)}, {kPlainInfo, Info()}}, 300, "TEXTttxt"},
        {"a plain one is never cut", {{kPlainResource, Fork(301)}}, 301, ""},
        {"one too many", {{kServerResource, Fork(9)}, {kServerInfo, Info(61)}}, 8, "TEXTttxt"},
        {"no zero", {{kServerResource, "data"}, {kServerInfo, Info(61)}}, 4, "TEXTttxt"},
        {"the map's end tells", {{kServerResource, Fork(301)}}, 300, ""},
        {"as far as the flags", {{kPlainInfo, Info(26)}}, 0, "TEXTttxt"},
        {"cut", {{kPlainInfo, Info(25)}}, 0, ""},
        {"no signature", {{kPlainInfo, Info(60, "TEXTLMAN")}}, 0, none},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ::unlink(path.c_str());
        ASSERT_TRUE(PcFile(path, PcFile::Mode::CreateNew).isOpen());
        for (const auto& [name, value] : c.attributes)
            if (::setxattr(path.c_str(), name.c_str(), value.data(), value.size(), 0) != 0)
                GTEST_SKIP() << "the file system keeps no attributes of users";
        EXPECT_EQ(HasNamedStreams(path), !c.attributes.empty());
        MemoryBytes fork;
        EXPECT_EQ(ReadResourceStream(path, fork), 0);
        EXPECT_EQ(fork.size(), c.forkSize);
        const auto finder = ReadAfpInfo(path);
        ASSERT_EQ(finder.has_value(), !c.signature.empty());
        if (finder) {
            EXPECT_EQ(std::string(finder->signature.data(), 8), c.signature);
            EXPECT_EQ(finder->flags, 0x4000);
        }
    }
}

}  // namespace
}  // namespace vellmark
