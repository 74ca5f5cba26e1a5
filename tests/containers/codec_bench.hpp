// What the tests of the containers share: bytes by hand, sinks that fail, other programs, and a
// writer of BinHex 4.0 made after RFC 1741, as slow and plain as the text.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "containers/fork_pair.hpp"

namespace vellmark::testing {

using Bytes = std::vector<std::uint8_t>;

inline Bytes BytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

/// Bytes that differ from place to place, long runs and markers of BinHex among them.
inline Bytes Pattern(std::size_t size, unsigned kind = 0) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(i % 97 < 11   ? 0x90
                                             : i % 89 < 30 ? kind
                                                           : i * 7 + i / 251 + kind);
    return bytes;
}

/// All bytes of a source.
inline Bytes Contents(ByteSource& source) {
    Bytes bytes(static_cast<std::size_t>(source.size()));
    bytes.resize(source.readAt(0, bytes));
    return bytes;
}

inline void Append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

inline Bytes Be(std::uint64_t value, int width) {
    Bytes bytes;
    for (int shift = (width - 1) * 8; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    return bytes;
}

/// The shift register of RFC 1741, bit by bit, with its two zero bytes at the end.
inline std::uint16_t RegisterCrc(Bytes bytes) {
    Append(bytes, {0, 0});
    unsigned crc = 0;
    for (std::uint8_t byte : bytes) {
        for (int bit = 7; bit >= 0; --bit) {
            const bool carry = (crc & 0x8000u) != 0;
            crc = ((crc << 1) | ((byte >> bit) & 1u)) & 0xFFFFu;
            if (carry)
                crc ^= 0x1021u;
        }
    }
    return static_cast<std::uint16_t>(crc);
}

/// Takes `limit` writes, then fails.
class FailingSink final : public ByteSink {
  public:
    explicit FailingSink(int limit) : left_(limit) {}
    [[nodiscard]] bool writeAt(std::uint64_t, std::span<const std::uint8_t>) override {
        return left_-- > 0;
    }

  private:
    int left_;
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

/// One section with its checksum behind it.
inline Bytes WithCrc(Bytes section) {
    Append(section, Be(RegisterCrc(section), 2));
    return section;
}

/// The bytes within the outer layers: header, forks and their checksums.
inline Bytes BinHexSections(const MacFile& file) {
    Bytes header = {static_cast<std::uint8_t>(file.name.size())};
    Append(header, BytesOf(file.name));
    header.push_back(0);
    Append(header, BytesOf(file.signature));
    Append(header, Be(file.flags, 2));
    Append(header, Be(file.data.size(), 4));
    Append(header, Be(file.resource.size(), 4));
    Bytes all = WithCrc(header);
    Append(all, WithCrc(file.data));
    Append(all, WithCrc(file.resource));
    return all;
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
            Append(out, {0x90, static_cast<std::uint8_t>(count)});
        i += count;
    }
    return out;
}

/// Text around bytes that went through the layer of runs.
inline std::string BinHexText(const Bytes& bytes, std::string_view lineEnd = "\n") {
    constexpr std::string_view kCharacters =
        "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
    std::string text = "(This file must be converted with BinHex 4.0)";
    text += std::string(lineEnd) + ":";
    std::size_t column = 1;
    const auto put = [&](unsigned value) {
        text += kCharacters[value & 63];
        if (++column % 64 == 0)
            text += lineEnd;
    };
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t left = bytes.size() - i;
        const unsigned first = bytes[i];
        const unsigned second = left > 1 ? bytes[i + 1] : 0;
        const unsigned third = left > 2 ? bytes[i + 2] : 0;
        put(first >> 2);
        put((first << 4) | (second >> 4));
        if (left > 1)
            put((second << 2) | (third >> 6));
        if (left > 2)
            put(third);
    }
    return text + ":" + std::string(lineEnd);
}

/// A whole BinHex file.
inline Bytes BinHexOf(const MacFile& file, std::string_view lineEnd = "\n") {
    return BytesOf(BinHexText(BinHexRuns(BinHexSections(file)), lineEnd));
}

inline Bytes ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void WriteFile(const std::string& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

/// Runs a shell command in a folder that is its home too; whether it ended well.
inline bool RunIn(const std::string& folder, const std::string& command) {
    const std::string line = "cd '" + folder + "' && export HOME=\"$PWD\" && ( " + command +
                             " ) >output.txt 2>&1 </dev/null";
    return std::system(line.c_str()) == 0;
}

inline bool HasProgram(const std::string& name) {
    return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

}  // namespace vellmark::testing
