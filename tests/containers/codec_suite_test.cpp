// One suite over all forms in which a Macintosh file travels: each is taken for itself alone, and
// none trusts what it reads.
#include <gtest/gtest.h>

#include <functional>

#include "containers/apple_single.hpp"
#include "containers/bin_hex.hpp"
#include "containers/codec_bench.hpp"
#include "containers/mac_binary.hpp"

namespace vellmark::testing {
namespace {

const MacFileInfo kInfo = [] {
    MacFileInfo info;
    info.name = "Na\x95me 1";
    std::copy_n("TEXTR*ch", 8, info.finder.signature.begin());
    info.finder.flags = 0x2040;
    return info;
}();

MacFile FileOf(std::size_t dataSize, std::size_t resourceSize) {
    return {kInfo.name, "TEXTR*ch", 0x2040, Pattern(dataSize), Pattern(resourceSize, 5)};
}

/// One form. Recognisers get the bytes and no name.
struct Codec {
    const char* name;
    /// Nothing for a form that the program does not write.
    std::function<ContainerFault(ByteSink&, ByteSource&, ByteSource&)> write;
    std::function<bool(ByteSource&)> recognises;
    /// Reads through `decoded` where the form is not read in place.
    std::function<MacContainer(ByteSource&, MemoryBytes&)> read;
};

const Codec kCodecs[] = {
    {"MacBinary",
     [](ByteSink& to, ByteSource& data, ByteSource& resource) {
         return WriteMacBinary(to, kInfo, data, resource);
     },
     IsMacBinaryFile, [](ByteSource& file, MemoryBytes&) { return ReadMacBinary(file); }},
    {"AppleSingle",
     [](ByteSink& to, ByteSource& data, ByteSource& resource) {
         return WriteAppleSingle(to, kInfo, data, resource);
     },
     IsAppleSingleFile, [](ByteSource& file, MemoryBytes&) { return ReadSingleForks(file); }},
    {"companion of AppleDouble",
     [](ByteSink& to, ByteSource& data, ByteSource& resource) {
         MemoryBytes dataTarget;
         return WriteAppleDouble(dataTarget, to, kInfo, data, resource);
     },
     IsAppleDoubleFile, [](ByteSource& file, MemoryBytes&) { return ReadDoubleResource(file); }},
    {"BinHex", nullptr, IsBinHexFile, [](ByteSource& file, MemoryBytes& decoded) {
         const BinHexOutcome outcome = DecodeBinHex(file, decoded);
         MacContainer container;
         if (outcome.usable)
             container = ReadMacBinary(decoded);
         container.fault = outcome.fault;
         return container;
     }}};

Bytes Written(const Codec& codec, const MacFile& file) {
    if (!codec.write)
        return BinHexOf(file);
    MemoryBytes data(file.data), resource(file.resource), target;
    EXPECT_EQ(codec.write(target, data, resource), ContainerFault::None) << codec.name;
    return target.bytes();
}

/// Reads as far as the container lets itself be read, every byte of it.
ContainerFault ReadAll(const Codec& codec, const Bytes& bytes) {
    MemoryBytes file(bytes), decoded;
    MacContainer container = codec.read(file, decoded);
    const std::size_t size = Contents(container.data).size() + Contents(container.resource).size();
    EXPECT_EQ(size, container.data.size() + container.resource.size());
    EXPECT_LE(size, std::max(bytes.size(), decoded.bytes().size()) * 2);
    EXPECT_TRUE(container.usable || container.fault != ContainerFault::None);
    return container.fault;
}

TEST(CodecSuite, EachFormIsTakenForItselfAlone) {
    // BinHex tells itself within 128 bytes, and before the first zero.
    const Bytes told = BytesOf("This file must be converted with BinHex 4.0");
    std::vector<Bytes> files = {{},
                                {0, 5, 0x16},
                                Bytes(4096, 0),
                                Bytes(4096, 0xFF),
                                Bytes(86, 'x') + told,
                                Bytes{0} + told};
    for (const Codec& codec : kCodecs)
        files.push_back(Written(codec, FileOf(500, 500)));
    for (std::size_t form = 0; form < std::size(kCodecs); ++form)
        for (std::size_t i = 0; i < files.size(); ++i) {
            MemoryBytes file(files[i]);
            EXPECT_EQ(kCodecs[form].recognises(file), i == 6 + form) << kCodecs[form].name << i;
            (void)ReadAll(kCodecs[form], files[i]);
        }
}

TEST(CodecSuite, CutAtEachLengthAndEachByteChanged) {
    for (const Codec& codec : kCodecs) {
        SCOPED_TRACE(codec.name);
        const Bytes whole = Written(codec, FileOf(150, 128));
        for (std::size_t at = 0; at < whole.size(); ++at) {
            const ContainerFault fault = ReadAll(codec, Slice(whole, 0, at));
            // Of the text, the closing colon and line end carry nothing, nor do the characters
            // that only fill up its last group.
            EXPECT_TRUE(fault != ContainerFault::None || (!codec.write && at + 3 >= whole.size()))
                << at;
            for (const int change : {0x01, 0x80, 0xFF}) {
                Bytes changed = whole;
                changed[at] = static_cast<std::uint8_t>(changed[at] ^ change);
                (void)ReadAll(codec, changed);
            }
        }
    }
}

TEST(CodecSuite, FailingTransfersAreTold) {
    MemoryBytes empty, target;
    HollowSource broken(3'000'000, 1 << 20);
    for (const Codec& codec : std::span(kCodecs).first(3)) {
        EXPECT_EQ(codec.write(target, empty, broken), ContainerFault::SourceFailed) << codec.name;
        EXPECT_EQ(codec.write(target, broken, empty), ContainerFault::SourceFailed) << codec.name;
        FailingSink sink;
        EXPECT_EQ(codec.write(sink, empty, empty), ContainerFault::TargetFailed) << codec.name;
    }
}

}  // namespace
}  // namespace vellmark::testing
