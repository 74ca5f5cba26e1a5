// What the tests of the containers share: bytes by hand, sources and sinks that fail, and a writer
// of BinHex 4.0 made after RFC 1741, as slow and plain as the text.
#pragma once

#include "IO/io_bench.hpp"
#include "containers/fork_pair.hpp"

namespace vellmark::testing {

/// All bytes of a source.
inline Bytes Contents(ByteSource& source) {
    Bytes bytes(static_cast<std::size_t>(source.size()));
    bytes.resize(source.readAt(0, bytes));
    return bytes;
}

inline Bytes Be(std::uint64_t value, int width) {
    Bytes bytes;
    for (int shift = (width - 1) * 8; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    return bytes;
}

inline void WriteFile(const std::string& path, const Bytes& bytes) {
    PcFile file(path, PcFile::Mode::CreateTruncate);
    (void)file.writeAt(0, bytes);
}

/// The shift register of RFC 1741, bit by bit.
inline std::uint16_t RegisterCrc(const Bytes& bytes) {
    unsigned crc = 0;
    for (const std::uint8_t byte : bytes) {
        crc ^= byte << 8U;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc << 1 ^ ((crc & 0x8000) != 0 ? 0x11021 : 0);
    }
    return static_cast<std::uint16_t>(crc);
}

class FailingSink final : public ByteSink {
  public:
    [[nodiscard]] bool writeAt(std::uint64_t, std::span<const std::uint8_t>) override {
        return false;
    }
};

/// Tells a size and gives zeros, but nothing from `readable` on.
class HollowSource final : public ByteSource {
  public:
    HollowSource(std::uint64_t size, std::uint64_t readable) : size_(size), readable_(readable) {}
    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override {
        const std::size_t count = offset >= readable_ ? 0 : out.size();
        std::fill_n(out.begin(), count, std::uint8_t{0});
        return count;
    }

  private:
    std::uint64_t size_;
    std::uint64_t readable_;
};

/// A Macintosh file in memory.
struct MacFile {
    std::string name = "Text File";
    std::string signature = "TEXTR*ch";
    std::uint16_t flags = 0x0140;
    Bytes data;
    Bytes resource;
};

/// The bytes within the outer layers: header, forks, and the checksum behind each of them.
inline Bytes BinHexSections(const MacFile& file) {
    const auto summed = [](const Bytes& part) { return part + Be(RegisterCrc(part), 2); };
    return summed(Be(file.name.size(), 1) + BytesOf(file.name) + Bytes{0} +
                  BytesOf(file.signature) + Be(file.flags, 2) + Be(file.data.size(), 4) +
                  Be(file.resource.size(), 4)) +
           summed(file.data) + summed(file.resource);
}

/// Every run of four or more as a run, the marker followed by 0.
inline Bytes BinHexRuns(const Bytes& bytes) {
    Bytes out;
    for (std::size_t i = 0; i < bytes.size();) {
        std::size_t count = 1;
        while (count < 255 && i + count < bytes.size() && bytes[i + count] == bytes[i])
            ++count;
        if (count < 4)
            count = 1;
        out.push_back(bytes[i]);
        if (bytes[i] == 0x90)
            out.push_back(0);
        if (count > 1)
            out = std::move(out) + Bytes{0x90, static_cast<std::uint8_t>(count)};
        i += count;
    }
    return out;
}

/// Text around bytes that went through the layer of runs.
inline std::string BinHexText(const Bytes& bytes, std::string_view lineEnd = "\n") {
    constexpr std::string_view kCharacters =
        "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
    std::string text = "(This file must be converted with BinHex 4.0)";
    std::size_t column = 0;
    const auto put = [&](char character) {
        if (column++ % 64 == 0)
            text += lineEnd;
        text += character;
    };
    put(':');
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t group = 0;
        for (std::size_t i = at; i < at + 3; ++i)
            group = group << 8 | (i < bytes.size() ? bytes[i] : 0U);
        for (std::size_t i = 0; i < std::min<std::size_t>(4, bytes.size() - at + 1); ++i)
            put(kCharacters[group >> (18 - 6 * i) & 63]);
    }
    return text + ":" + std::string(lineEnd);
}

/// A whole BinHex file.
inline Bytes BinHexOf(const MacFile& file, std::string_view lineEnd = "\n") {
    return BytesOf(BinHexText(BinHexRuns(BinHexSections(file)), lineEnd));
}

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
        header = header + Be(id, 4) + Be(start + all.size(), 4) + Be(contents.size(), 4);
        all = all + contents;
    }
    return header + all;
}

}  // namespace vellmark::testing
