// Disk images made field by field, with whatever is to be wrong in them.
#pragma once

#include <bzlib.h>
#include <gtest/gtest.h>
#include <lzma.h>
#include <zlib.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "IO/io_bench.hpp"

namespace vellmark::testing {

inline constexpr std::uint32_t kZeroBlock = 0, kRawBlock = 1, kIgnoredBlock = 2;
inline constexpr std::uint32_t kCommentBlock = 0x7FFFFFFE, kEndBlock = 0xFFFFFFFF;
inline constexpr std::uint32_t kAdcBlock = 0x80000004, kZlibBlock = 0x80000005;
inline constexpr std::uint32_t kBzip2Block = 0x80000006, kLzmaBlock = 0x80000008;

/// Bytes in sectors that no two places have in the same order, and that can be compressed.
inline Bytes Sectors(std::size_t count, std::uint32_t seed) {
    Bytes bytes(count * 512);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i % 4 == 0)
            seed = seed * 1'664'525 + 1'013'904'223;
        bytes[i] = static_cast<std::uint8_t>(seed >> 24);
    }
    return bytes;
}

/// How a block of a type stores these bytes; Apple Data Compression as literals.
inline Bytes Stored(std::uint32_t type, const Bytes& plain) {
    Bytes out(plain.size() + plain.size() / 64 + 1024);
    if (type == kZlibBlock) {
        uLongf length = out.size();
        EXPECT_EQ(compress(out.data(), &length, plain.data(), plain.size()), Z_OK);
        out.resize(length);
    } else if (type == kBzip2Block) {
        auto length = static_cast<unsigned>(out.size());
        auto* source = reinterpret_cast<char*>(const_cast<std::uint8_t*>(plain.data()));
        EXPECT_EQ(BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(out.data()), &length, source,
                                           static_cast<unsigned>(plain.size()), 9, 0, 0),
                  BZ_OK);
        out.resize(length);
    } else if (type == kLzmaBlock) {
        std::size_t length = 0;
        EXPECT_EQ(lzma_easy_buffer_encode(1, LZMA_CHECK_CRC32, nullptr, plain.data(), plain.size(),
                                          out.data(), &length, out.size()),
                  LZMA_OK);
        out.resize(length);
    } else if (type == kAdcBlock) {
        out.clear();
        for (std::size_t at = 0; at < plain.size(); at += 128)
            out = out + Bytes{0xFF} + Slice(plain, at, at + 128);
    } else {
        return type == kRawBlock ? plain : Bytes{};
    }
    return out;
}

inline std::string Base64(const Bytes& bytes) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t group = 0;
        for (std::size_t i = at; i < at + 3; ++i)
            group = group << 8 | (i < bytes.size() ? bytes[i] : 0U);
        for (std::size_t i = 0; i < 4; ++i)
            text += i > bytes.size() - at ? '=' : kDigits[group >> (18 - 6 * i) & 63];
    }
    return text;
}

/// One entry as it is written; `position` and `offset` can be made wrong.
struct MadeBlock {
    std::uint32_t type = 0;
    std::uint64_t sectors = 0;
    Bytes stored = {};
    std::optional<std::uint64_t> position = {};  ///< sector of the table; else behind the last one
    std::optional<std::uint64_t> offset = {};    ///< of the stored bytes; else where they are put
    std::optional<std::uint64_t> length = {};    ///< the same of their number
};

/// A block of these bytes.
inline MadeBlock BlockOf(std::uint32_t type, const Bytes& plain) {
    return {type, plain.size() / 512, Stored(type, plain)};
}

class ImageMaker {
  public:
    std::uint32_t version = 4;
    std::uint32_t checksumKind = 2;                 ///< CRC-32
    std::optional<std::uint64_t> firstSector = {};  ///< of a table; else behind the last one
    std::optional<std::uint64_t> sectorCount = {};  ///< nothing: as many as the tables have

    /// Adds a table. `crc` is that of what it expands to, 0 for none. Without `ends` the mark for
    /// its end is missing.
    ImageMaker& table(const std::vector<MadeBlock>& blocks, std::uint32_t crc = 0,
                      bool ends = true) {
        Bytes table(204);
        PutText(table, 0, "mish");
        Put(table, 8, be64(firstSector.value_or(sectors_)));
        if (crc != 0) {
            PutCrc(table, 64, crc);
            crcs_ = crcs_ + Slice(table, 72, 76);
        }
        std::uint64_t at = 0;
        for (const MadeBlock& block : blocks) {
            put(table, block, block.position.value_or(at));
            data_ = data_ + block.stored;
            at += block.sectors;
        }
        if (ends)
            put(table, {kEndBlock}, at);
        sectors_ += at;
        return section(Base64(table));
    }
    /// Adds a `<data>` section with any text.
    ImageMaker& section(const std::string& text) {
        list_ += "<key>Data</key>\n<data>" + text + "</data>\n";
        return *this;
    }

    /// The image: data, property list, and the trailer in its last 512 bytes.
    [[nodiscard]] Bytes make() const {
        Bytes trailer(512);
        PutText(trailer, 0, "koly");
        Put(trailer, 4, be32(version));
        Put(trailer, 32, be64(data_.size()));
        PutCrc(trailer, 80, Crc(data_));
        Put(trailer, 216, be64(data_.size()));
        Put(trailer, 224, be64(list_.size()));
        if (!crcs_.empty())
            PutCrc(trailer, 352, Crc(crcs_));
        Put(trailer, 492, be64(sectorCount.value_or(sectors_)));
        return data_ + BytesOf(list_) + trailer;
    }

    static std::uint32_t Crc(const Bytes& bytes) {
        return static_cast<std::uint32_t>(crc32_z(0, bytes.data(), bytes.size()));
    }

  private:
    void put(Bytes& table, const MadeBlock& block, std::uint64_t position) const {
        const std::size_t at = table.size();
        Put(table, at, be64(std::uint64_t{block.type} << 32));
        Put(table, at + 8, be64(position));
        Put(table, at + 16, be64(block.sectors));
        Put(table, at + 24, be64(block.offset.value_or(data_.size())));
        Put(table, at + 32, be64(block.length.value_or(block.stored.size())));
    }
    void PutCrc(Bytes& bytes, std::size_t at, std::uint32_t crc) const {
        Put(bytes, at, be32(checksumKind));
        Put(bytes, at + 4, be32(32));
        Put(bytes, at + 8, be32(crc));
    }

    Bytes data_;
    std::string list_ = "<plist>\n";
    Bytes crcs_;
    std::uint64_t sectors_ = 0;
};

}  // namespace vellmark::testing
