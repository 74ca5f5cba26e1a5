// Bytes of small volumes, made field by field from the published layouts.
#pragma once

#include "IO/disk_bytes.hpp"
#include "volume/hfs_plus_structures.hpp"

namespace vellmark::testing {

// An empty tree: node 0 with kind, counts and node size where the formats have them.
inline void PutTreeHeader(Bytes& disk, std::size_t sector, std::uint16_t nodeSize,
                          std::uint32_t nodes) {
    const std::size_t at = sector * 512;
    disk.resize(std::max(disk.size(), at + 512));
    disk[at + 8] = 1;
    Put(disk, at + 10, be16(3));
    Put(disk, at + 32, be16(nodeSize));
    Put(disk, at + 36, be32(nodes));
    Put(disk, at + 40, be32(nodes - 1));
    Put(disk, at + 52, be32(6));  // HFS+: long keys, index keys as long as they are
}

struct HfsHeader {
    std::uint32_t blockSize = 1024;
    std::uint16_t totalBlocks = 20;
    std::uint16_t allocationStart = 5;
    std::uint32_t clumpSize = 4096;
    std::uint16_t embeddedSignature = 0;
    std::uint16_t embeddedStart = 0;
    std::uint16_t catalogStart = 2;
    std::uint16_t catalogBlocks = 2;
    std::uint16_t attributes = 0x100;  // unmounted cleanly
    std::uint16_t embeddedCount = 0;
};

// An HFS volume: extents tree in blocks 0 and 1, catalog in 2 and 3.
inline void PutHfs(Bytes& disk, std::size_t sector, const HfsHeader& header,
                   std::string_view name) {
    PutHfsHeader(disk, sector, name);
    const std::size_t at = (sector + 2) * 512;
    Put(disk, at + 10, be16(header.attributes));
    Put(disk, at + 14, be16(3));
    Put(disk, at + 18, be16(header.totalBlocks));
    Put(disk, at + 20, be32(header.blockSize));
    Put(disk, at + 24, be32(header.clumpSize));
    Put(disk, at + 28, be16(header.allocationStart));
    Put(disk, at + 124, be16(header.embeddedSignature));
    Put(disk, at + 126, be16(header.embeddedStart));
    Put(disk, at + 128, be16(header.embeddedCount));
    Put(disk, at + 130, be32(2 * header.blockSize));
    Put(disk, at + 136, be16(2));
    Put(disk, at + 146, be32(2 * header.blockSize));
    Put(disk, at + 150, be16(header.catalogStart));
    Put(disk, at + 152, be16(header.catalogBlocks));
    const std::size_t blocks = sector + header.allocationStart;
    PutTreeHeader(disk, blocks, 512, 4);
    PutTreeHeader(disk, blocks + header.catalogStart * header.blockSize / 512, 512, 4);
    disk.resize(std::max(disk.size(), (sector + 64) * 512));
}

struct HfsPlusHeader {
    std::uint16_t signature = kHfsPlusSignature;
    std::uint32_t blockSize = 512;
    std::uint32_t totalBlocks = 60;
    std::uint16_t catalogNodeSize = 1024;
    std::uint16_t extentsNodeSize = 512;
    std::uint32_t attributes = 0x100;  // unmounted cleanly
};

// An HFS+ volume: extents tree in blocks 10 to 13, catalog in 20 to 27, in sectors of 512 bytes.
inline void PutHfsPlus(Bytes& disk, std::size_t sector, const HfsPlusHeader& header) {
    const std::size_t at = (sector + 2) * 512;
    disk.resize(std::max(disk.size(), (sector + 64) * 512));
    Put(disk, at, be16(header.signature));
    Put(disk, at + 4, be32(header.attributes));
    Put(disk, at + 40, be32(header.blockSize));
    Put(disk, at + 44, be32(header.totalBlocks));
    const auto putFork = [&](std::size_t fork, std::uint32_t start, std::uint32_t count) {
        Put(disk, fork, be64(count * 512));
        Put(disk, fork + 12, be32(count));
        Put(disk, fork + 16, be32(start));
        Put(disk, fork + 20, be32(count));
    };
    putFork(at + 192, 10, 4);
    putFork(at + 272, 20, 8);
    PutTreeHeader(disk, sector + 10, header.extentsNodeSize, 4);
    PutTreeHeader(disk, sector + 20, header.catalogNodeSize, 2);
}

// A disk of 200 sectors whose map has one volume, from sector 96 on.
inline Bytes MappedDisk(std::uint32_t volumeSectors) {
    Bytes disk(200 * 512);
    PutDescriptor(disk, 512, 200);
    PutMapEntry(disk, 512, "Apple", "Apple_partition_map", 1, 2, 2);
    PutMapEntry(disk, 1024, "MacOS", "Apple_HFS", 96, volumeSectors, 2);
    return disk;
}

}  // namespace vellmark::testing
