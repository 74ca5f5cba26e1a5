// One suite over all forms in which a Macintosh file travels: the same file in each of them comes
// back the same, each is taken for itself alone, and none trusts what it reads.
#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "containers/apple_single.hpp"
#include "containers/bin_hex.hpp"
#include "containers/codec_bench.hpp"
#include "containers/mac_binary.hpp"
#include "support/pc_file.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using testing::MacFile;
using testing::Pattern;

MacFileInfo InfoOf(const MacFile& file) {
    MacFileInfo info;
    info.name = file.name;
    std::copy_n(file.signature.begin(), 8, info.finder.signature.begin());
    info.finder.flags = file.flags;
    info.created = 0xC0000001;
    info.modified = 0xC0000002;
    return info;
}

/// One form. Recognisers get the bytes and no name.
struct Codec {
    const char* name;
    bool isWritten;  ///< `write` is the program's own
    bool hasName;
    bool hasData;
    std::function<ContainerFault(ByteSink&, const MacFile&, ByteSource&, ByteSource&)> write;
    std::function<bool(ByteSource&)> recognises;
    /// Reads through `decoded` where the form is not read in place.
    std::function<MacContainer(ByteSource&, MemoryBytes&)> read;
};

const std::vector<Codec>& Codecs() {
    static const std::vector<Codec> codecs = {
        {"MacBinary", true, true, true,
         [](ByteSink& to, const MacFile& file, ByteSource& data, ByteSource& resource) {
             return WriteMacBinary(to, InfoOf(file), data, resource);
         },
         IsMacBinaryFile, [](ByteSource& file, MemoryBytes&) { return ReadMacBinary(file); }},
        {"BinHex", false, true, true,
         [](ByteSink& to, const MacFile& file, ByteSource&, ByteSource&) {
             return to.writeAt(0, testing::BinHexOf(file)) ? ContainerFault::None
                                                           : ContainerFault::TargetFailed;
         },
         IsBinHexFile,
         [](ByteSource& file, MemoryBytes& decoded) {
             const BinHexOutcome outcome = DecodeBinHex(file, decoded);
             MacContainer container;
             if (outcome.usable)
                 container = ReadMacBinary(decoded);
             container.fault = outcome.fault;
             return container;
         }},
        {"AppleSingle", true, false, true,
         [](ByteSink& to, const MacFile& file, ByteSource& data, ByteSource& resource) {
             return WriteAppleSingle(to, InfoOf(file), data, resource);
         },
         IsAppleSingleFile, [](ByteSource& file, MemoryBytes&) { return ReadSingleForks(file); }},
        {"sidecar of AppleDouble", true, false, false,
         [](ByteSink& to, const MacFile& file, ByteSource& data, ByteSource& resource) {
             MemoryBytes dataTarget;
             const ContainerFault fault =
                 WriteAppleDouble(dataTarget, to, InfoOf(file), data, resource);
             EXPECT_TRUE(fault != ContainerFault::None || dataTarget.bytes() == file.data);
             return fault;
         },
         IsAppleDoubleFile,
         [](ByteSource& file, MemoryBytes&) { return ReadDoubleResource(file); }},
    };
    return codecs;
}

Bytes Written(const Codec& codec, const MacFile& file) {
    MemoryBytes data(file.data);
    MemoryBytes resource(file.resource);
    MemoryBytes target;
    EXPECT_EQ(codec.write(target, file, data, resource), ContainerFault::None) << codec.name;
    return target.bytes();
}

MacFile FileOf(std::size_t dataSize, std::size_t resourceSize) {
    return {"Na\x95me 1", "TEXTR*ch", 0x2040, Pattern(dataSize), Pattern(resourceSize, 5)};
}

class CodecSuite : public ::testing::TestWithParam<std::size_t> {
  protected:
    const Codec& codec() const { return Codecs()[GetParam()]; }
    /// Reads as far as the container lets itself be read, every byte of it.
    void readAll(const Bytes& bytes) const {
        MemoryBytes file(bytes);
        MemoryBytes decoded;
        MacContainer container = codec().read(file, decoded);
        const Bytes data = testing::Contents(container.data);
        const Bytes resource = testing::Contents(container.resource);
        ASSERT_EQ(data.size(), container.data.size());
        ASSERT_EQ(resource.size(), container.resource.size());
        ASSERT_LE(data.size() + resource.size(),
                  std::max(bytes.size(), decoded.bytes().size()) * 2);
        if (!container.usable) {
            ASSERT_NE(container.fault, ContainerFault::None);
        }
        [[maybe_unused]] const bool known = codec().recognises(file);
    }
};

INSTANTIATE_TEST_SUITE_P(AllForms, CodecSuite, ::testing::Values(0, 1, 2, 3));

TEST_P(CodecSuite, AFileGoesOutAndInAgain) {
    for (const std::size_t dataSize : {0u, 1u, 127u, 128u, 129u, 1'100'000u}) {
        for (const std::size_t resourceSize : {0u, 1u, 300u, 70'001u}) {
            const MacFile file = FileOf(dataSize, resourceSize);
            MemoryBytes container(Written(codec(), file));
            MemoryBytes decoded;
            MacContainer back = codec().read(container, decoded);
            ASSERT_EQ(back.fault, ContainerFault::None) << dataSize << ' ' << resourceSize;
            EXPECT_EQ(back.info.name, codec().hasName ? file.name : "");
            EXPECT_EQ(std::string(back.info.finder.signature.data(), 8), file.signature);
            EXPECT_EQ(back.info.finder.flags, file.flags);
            EXPECT_EQ(back.info.resourceLength, resourceSize);
            EXPECT_TRUE(testing::Contents(back.resource) == file.resource);
            EXPECT_TRUE(testing::Contents(back.data) == (codec().hasData ? file.data : Bytes()));
        }
    }
}

TEST_P(CodecSuite, EachFormIsTakenForItselfAlone) {
    for (const Codec& other : Codecs()) {
        MemoryBytes file(Written(other, FileOf(500, 500)));
        EXPECT_EQ(codec().recognises(file), &other == &codec()) << other.name;
    }
    std::mt19937 random(20'031);
    std::vector<Bytes> strangers = {{}, {0}, {0, 5, 0x16}, Bytes(128, 0), Bytes(4096, 0xFF)};
    for (int i = 0; i < 500; ++i) {
        Bytes bytes(random() % 700);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        strangers.push_back(bytes);
    }
    for (const Bytes& bytes : strangers) {
        MemoryBytes file(bytes);
        EXPECT_FALSE(codec().recognises(file)) << bytes.size();
        ASSERT_NO_FATAL_FAILURE(readAll(bytes));
    }
}

TEST_P(CodecSuite, CutAtEachLength) {
    const MacFile file = FileOf(150, 128);
    const Bytes whole = Written(codec(), file);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        ASSERT_NO_FATAL_FAILURE(readAll(cut));
        MemoryBytes container(cut);
        MemoryBytes decoded;
        // Of the text, the closing colon and line end carry nothing, nor do the characters that
        // only fill up its last group.
        if (size + 3 < whole.size() || codec().isWritten) {
            ASSERT_NE(codec().read(container, decoded).fault, ContainerFault::None) << size;
        }
    }
}

TEST_P(CodecSuite, EachByteOfASmallFileChanged) {
    const Bytes whole = Written(codec(), FileOf(40, 30));
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const int change : {0x01, 0x10, 0x80, 0xFF}) {
            Bytes changed = whole;
            changed[at] = static_cast<std::uint8_t>(changed[at] ^ change);
            ASSERT_NO_FATAL_FAILURE(readAll(changed)) << at;
        }
    }
    const std::uint32_t seed = std::random_device{}();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    for (int round = 0; round < 300; ++round) {
        Bytes changed = whole;
        for (int i = 0; i < 6; ++i)
            changed[random() % changed.size()] = static_cast<std::uint8_t>(random());
        ASSERT_NO_FATAL_FAILURE(readAll(changed));
    }
}

TEST_P(CodecSuite, FailingTransfersAreTold) {
    if (!codec().isWritten)
        return;
    const MacFile file = FileOf(2'500'000, 1'200'000);
    MemoryBytes data(file.data);
    MemoryBytes resource(file.resource);
    int writes = 0;
    for (;; ++writes) {
        testing::FailingSink sink(writes);
        const ContainerFault fault = codec().write(sink, file, data, resource);
        if (fault == ContainerFault::None)
            break;
        ASSERT_EQ(fault, ContainerFault::TargetFailed);
    }
    EXPECT_GE(writes, codec().hasData ? 1 + 3 + 2 : 1 + 2);  // header and pieces of 1 MiB at most

    for (const std::uint64_t readable : {0u, 1u << 20}) {
        testing::HollowSource broken(3'000'000, readable);
        MemoryBytes empty;
        MemoryBytes target;
        EXPECT_EQ(codec().write(target, file, empty, broken), ContainerFault::SourceFailed);
        EXPECT_EQ(codec().write(target, file, broken, empty), ContainerFault::SourceFailed);
    }
}

TEST(BinHexTarget, FailingTransfersAreTold) {
    MemoryBytes text(testing::BinHexOf(FileOf(200'000, 100'000)));
    int writes = 0;
    for (;; ++writes) {
        testing::FailingSink sink(writes);
        const ContainerFault fault = DecodeBinHex(text, sink).fault;
        if (fault == ContainerFault::None)
            break;
        ASSERT_EQ(fault, ContainerFault::TargetFailed) << writes;
    }
    EXPECT_GE(writes, 1 + 4 + 2);
}

// Where another program can judge what is written, it reads the same file.
TEST(CodecJudge, UnarReadsWhatIsWritten) {
    if (!testing::HasProgram("unar"))
        GTEST_SKIP() << "unar is not installed";
    const MacFile file = FileOf(5000, 700);
    for (const Codec& codec : Codecs()) {
        if (!codec.isWritten || !codec.hasData)
            continue;
        const TemporaryFolder folder;
        testing::WriteFile(folder.path() + "/in.bin", Written(codec, file));
        ASSERT_TRUE(testing::RunIn(folder.path(), "unar -k hidden -D -o out in.bin"));
        std::vector<Bytes> seen;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path() + "/out"))
            seen.push_back(testing::ReadFile(entry.path().string()));
        EXPECT_TRUE(std::find(seen.begin(), seen.end(), file.data) != seen.end()) << codec.name;
        const bool hasResource = std::any_of(seen.begin(), seen.end(), [&](const Bytes& bytes) {
            MemoryBytes sidecar(bytes);
            MacContainer container = ReadDoubleResource(sidecar);
            return container.usable && testing::Contents(container.resource) == file.resource;
        });
        EXPECT_TRUE(hasResource) << codec.name;
    }
}

}  // namespace
}  // namespace vellmark
