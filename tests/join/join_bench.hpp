// What the tests of joining and splitting share: discs and disks made field by field, and damage.
#pragma once

#include <sstream>

#include "IO/disk_bytes.hpp"
#include "IO/iso_image.hpp"
#include "IO/raw_sector.hpp"
#include "compiler/compiler_bench.hpp"
#include "join/hybridation.hpp"

namespace vellmark::testing {

inline constexpr std::size_t kPartitionBytes = 5 * 2048 - 700;  // to be rounded up

inline std::uint32_t Word(const Bytes& bytes, std::size_t at) {
    return std::uint32_t{bytes[at]} << 24 | std::uint32_t{bytes[at + 1]} << 16 |
           std::uint32_t{bytes[at + 2]} << 8 | bytes[at + 3];
}

struct Disk {
    std::uint16_t block = 512;
    bool isFollowed = false;  // by another partition
    bool isPlus = false;
};

// A disk with a map, a driver, and a partition that begins at its eighth block.
inline Bytes MakeDisk(const Disk& disk, const Bytes& partition) {
    Bytes bytes;
    PutMapEntry(bytes, disk.block, "map", "Apple_partition_map", 1, 63, 3);
    PutMapEntry(bytes, 2 * disk.block, "driver", "Apple_Driver43", 4, 1, 3);
    PutMapEntry(bytes, 3 * disk.block, "volume", "Apple_HFS", 8,
                disk.isFollowed ? kPartitionBytes / disk.block : 0, 3);
    PutDescriptor(bytes, disk.block, 99);
    bytes[17] = 1;
    bytes.resize(8 * disk.block);
    bytes = bytes + partition;
    bytes.resize(bytes.size() + (disk.isFollowed ? 10'000 : 0), 0xEE);
    return bytes;
}

// Three allocation blocks of 512 bytes from sector 5 on.
inline Bytes MakePartition(bool isPlus) {
    Bytes bytes = Pattern(kPartitionBytes);
    PutText(bytes, 1024, isPlus ? "H+" : "BD");
    Put(bytes, 1024 + 18, be16(3));
    Put(bytes, 1024 + 20, be32(512));
    Put(bytes, 1024 + 28, be16(5));
    Put(bytes, 1024 + 40, be32(512));
    Put(bytes, 1024 + 44, be32(8));
    return bytes;
}

// A copy with bytes written over, `AT:HEX` or `AT*TIMES:HEX`, and cut, `=SIZE`; a word for each.
inline Bytes Damaged(Bytes bytes, const std::string& damage) {
    std::istringstream words(damage);
    for (std::string word; words >> word;) {
        const std::size_t colon = word.find(':');
        if (word[0] == '=')
            bytes.resize(std::stoul(word.substr(1)));
        const std::size_t star = word.substr(0, colon).find('*');
        const std::size_t times = star == word.npos ? 1 : std::stoul(word.substr(star + 1));
        const std::string hex = colon == word.npos ? "" : word.substr(colon + 1);
        for (std::size_t i = 0; i < times * hex.size() / 2; ++i)
            bytes.at(std::stoul(word) + i) = static_cast<std::uint8_t>(
                std::stoul(hex.substr(2 * i % hex.size(), 2), nullptr, 16));
    }
    return bytes;
}

// Raw sectors around the data of a disc, all else in them left at 0.
inline Bytes Raw(const Bytes& data, std::size_t offset) {
    Bytes raw(data.size() / 2048 * 2352);
    for (std::uint32_t i = 0; i < data.size() / 2048; ++i) {
        const auto sector = std::span(raw).subspan(std::size_t{i} * 2352).first<2352>();
        SetRawHeader(sector, i, offset == 16 ? RawKind::Mode1 : RawKind::Mode2Form1);
        std::copy_n(data.data() + std::size_t{i} * 2048, 2048, sector.data() + offset);
    }
    return raw;
}

inline Bytes DataOf(const Bytes& raw, std::size_t offset) {
    Bytes data;
    for (std::size_t at = offset; at < raw.size(); at += 2352)
        data = data + Slice(raw, at, at + 2048);
    return data;
}

class JoinTest : public ::testing::Test {
  protected:
    std::string file(const std::string& name, const Bytes& bytes) {
        return MakeFile(folder_, name, bytes);
    }
    HybridationOutcome join(const HybridationOptions& options = {}) {
        return Hybridate(disc_, {volume_}, options, messages_, progress_);
    }
    // A disc of 26 sectors and a bit, and a disk for it.
    void make(const Disk& disk = {}) {
        oldDisc_ = SmallDisc();
        oldDisc_.resize(oldDisc_.size() + 100, 0x11);
        disc_ = file("disc.iso", oldDisc_);
        partition_ = MakePartition(disk.isPlus);
        volume_ = file("volume.img", MakeDisk(disk, partition_));
    }

    TemporaryFolder folder_;
    test::ScriptedMessages messages_;
    RecordedProgress progress_;
    std::string disc_;
    std::string volume_;
    Bytes oldDisc_;
    Bytes partition_;
};

}  // namespace vellmark::testing
