// What the tests of copying share: a volume beside a folder of the PC, and containers made by hand
// after their published formats.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "containers/codec_bench.hpp"
#include "containers/signatures.hpp"
#include "volume/volume_bench.hpp"

namespace vellmark::testing {

/// `finder`: the first bytes of the Finder's information. Parts fill blocks of 128 bytes.
inline Bytes MacBinaryOf(std::string_view name, const Bytes& finder, const Bytes& data,
                         const Bytes& resource, std::uint32_t created, std::uint32_t modified) {
    const auto filled = [](const Bytes& fork) {
        return fork + Bytes((fork.size() + 127) / 128 * 128 - fork.size());
    };
    return Bytes{0} + Be(name.size(), 1) + BytesOf(name) + Bytes(63 - name.size()) + finder +
           Bytes(18 - finder.size()) + Be(data.size(), 4) + Be(resource.size(), 4) +
           Be(created, 4) + Be(modified, 4) + Bytes(29) + filled(data) + filled(resource);
}

/// AppleSingle or AppleDouble with those entries: number and contents.
inline Bytes AppleFileOf(bool isSingle, const std::vector<std::pair<int, Bytes>>& entries) {
    Bytes header = Be(isSingle ? 0x00051600 : 0x00051607, 4) + Be(0x00020000, 4) + Bytes(16) +
                   Be(entries.size(), 2);
    const std::size_t start = header.size() + 12 * entries.size();
    Bytes all;
    for (const auto& [id, contents] : entries) {
        Append(header, Be(id, 4) + Be(start + all.size(), 4) + Be(contents.size(), 4));
        Append(all, contents);
    }
    return header + all;
}

/// A small volume of each format.
class TransferTest : public ::testing::TestWithParam<bool> {
  protected:
    void SetUp() override {
        ASSERT_TRUE(volume_.open(path_));
        std::filesystem::create_directory(pc());
        messages_.answer = Answer::Yes;
        messages_.confirms = true;
    }
    /// The folder of the PC, or a file in it.
    [[nodiscard]] std::string pc(const std::string& name = "") const {
        return folder_.path() + "/pc" + (name.empty() ? "" : "/" + name);
    }
    const bool isHfsPlus_ = GetParam();
    TemporaryFolder folder_;
    const std::string path_ = FormatSmall(folder_, isHfsPlus_);
    TestVolume volume_;
    KeptMessages messages_;
    StoppingProgress progress_;
    const SignatureTable signatures_ =
        SignatureTable::Parse("TXT,TEXTttxt,\r\nHQX,TEXTBnHq,\r\n", false);
};

}  // namespace vellmark::testing
