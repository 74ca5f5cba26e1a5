// Bytes of partitioned disks, made field by field from the published layouts.
#pragma once

#include <algorithm>
#include <string_view>

#include "IO/io_bench.hpp"

namespace vellmark::testing {

inline void PutDescriptor(Bytes& disk, std::uint16_t blockSize, std::uint32_t blocks) {
    PutText(disk, 0, "ER");
    Put(disk, 2, be16(blockSize));
    Put(disk, 4, be32(blocks));
}

inline void PutMapEntry(Bytes& disk, std::size_t offset, std::string_view name,
                        std::string_view type, std::uint32_t start, std::uint32_t count,
                        std::uint32_t entries) {
    disk.resize(std::max(disk.size(), offset + 512));
    PutText(disk, offset, "PM");
    Put(disk, offset + 4, be32(entries));
    Put(disk, offset + 8, be32(start));
    Put(disk, offset + 12, be32(count));
    PutText(disk, offset + 16, name);
    PutText(disk, offset + 48, type);
}

inline void PutHfsHeader(Bytes& disk, std::size_t volumeSector, std::string_view name) {
    const std::size_t at = (volumeSector + 2) * 512;
    disk.resize(std::max(disk.size(), at + 512));
    PutText(disk, at, "BD");
    disk[at + 36] = static_cast<std::uint8_t>(name.size());
    PutText(disk, at + 37, name);
}

inline void PutBootEntry(Bytes& disk, std::size_t index, std::uint8_t type, std::uint32_t first,
                         std::uint32_t count) {
    disk.resize(std::max<std::size_t>(disk.size(), 512));
    disk[510] = 0x55;
    disk[511] = 0xAA;
    disk[446 + 16 * index + 4] = type;
    Put(disk, 446 + 16 * index + 8, le32(first));
    Put(disk, 446 + 16 * index + 12, le32(count));
}

inline void PutGptHeader(Bytes& disk, std::uint64_t entrySector, std::uint32_t count,
                         std::uint32_t size = 128) {
    PutText(disk, 512, "EFI PART");
    Put(disk, 512 + 72, le64(entrySector));
    Put(disk, 512 + 80, le32(count));
    Put(disk, 512 + 84, le32(size));
}

inline const Bytes kHfsGuidBytes = {0x00, 0x53, 0x46, 0x48, 0x00, 0x00, 0xAA, 0x11,
                                    0xAA, 0x11, 0x00, 0x30, 0x65, 0x43, 0xEC, 0xAC};
inline const Bytes kForeignGuidBytes = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

inline void PutGptEntry(Bytes& disk, std::size_t offset, const Bytes& type, std::uint64_t first,
                        std::uint64_t last, std::u16string_view name) {
    disk.resize(std::max(disk.size(), offset + 128));
    std::copy(type.begin(), type.end(), disk.begin() + static_cast<std::ptrdiff_t>(offset));
    Put(disk, offset + 32, le64(first));
    Put(disk, offset + 40, le64(last));
    for (std::size_t i = 0; i < name.size(); ++i)
        Put(disk, offset + 56 + 2 * i, le16(name[i]));
}

}  // namespace vellmark::testing
