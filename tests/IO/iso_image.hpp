// A small disc image made byte by byte from the published layout (ECMA-119, Joliet): two trees over
// the same files, in 26 sectors.
#pragma once

#include <string>
#include <string_view>

#include "IO/io_bench.hpp"

namespace vellmark::testing {

inline constexpr std::size_t kDiscSector = 2048;
inline constexpr std::size_t kPrimaryAt = 16 * kDiscSector;
inline constexpr std::size_t kJolietAt = 17 * kDiscSector;
inline constexpr std::size_t kIsoRootAt = 19 * kDiscSector;
inline constexpr std::size_t kIsoFolderAt = 20 * kDiscSector;
inline constexpr std::size_t kJolietRootAt = 21 * kDiscSector;
inline constexpr std::size_t kJolietFolderAt = 22 * kDiscSector;
inline constexpr std::size_t kDiscSectors = 26;

/// Big-endian UCS-2 of a text of the basic plane.
inline std::string Ucs2(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit >> 8);
        bytes += static_cast<char>(unit & 0xFF);
    }
    return bytes;
}

/// Where the next record of a directory goes, and what it says.
class DiscFolder {
  public:
    DiscFolder(Bytes& image, std::size_t offset, std::uint32_t self, std::uint32_t parent)
        : image_(image), at_(offset) {
        add(std::string_view("\0", 1), 2, self, 2048);
        add("\1", 2, parent, 2048);
    }
    /// Adds a record dated 2001-02-03 04:05:06 at one hour east; returns its offset.
    std::size_t add(std::string_view name, std::uint8_t flags, std::uint32_t extent,
                    std::uint32_t size) {
        const std::size_t start = at_;
        const std::size_t length = (33 + name.size() + 1) / 2 * 2;
        image_[start] = static_cast<std::uint8_t>(length);
        Put(image_, start + 2, both32(extent));
        Put(image_, start + 10, both32(size));
        PutText(image_, start + 18, std::string_view("\x65\x02\x03\x04\x05\x06\x04", 7));
        image_[start + 25] = flags;
        Put(image_, start + 28, both16(1));
        image_[start + 32] = static_cast<std::uint8_t>(name.size());
        PutText(image_, start + 33, name);
        at_ += length;
        return start;
    }

  private:
    Bytes& image_;
    std::size_t at_;
};

inline void PutDescriptorOfTree(Bytes& image, std::size_t offset, std::uint8_t type,
                                std::uint32_t root, std::string_view volumeId) {
    image[offset] = type;
    PutText(image, offset + 1, "CD001\1");
    PutText(image, offset + 40, volumeId);
    Put(image, offset + 80, both32(kDiscSectors));
    Put(image, offset + 128, both16(2048));
    image[offset + 156] = 34;
    Put(image, offset + 158, both32(root));
    Put(image, offset + 166, both32(2048));
    image[offset + 181] = 2;
    image[offset + 188] = 1;
}

/// "/READ.ME;1", "/NODOT.;1" (hidden), "/TWO.BIN;1" in two parts, "/FOLDER/DEEP.TXT;1"; the Joliet
/// tree has "/Read me", "/read me", "/Fólder/deep.txt;1".
inline Bytes SmallDisc() {
    Bytes image(kDiscSectors * kDiscSector);
    PutDescriptorOfTree(image, kPrimaryAt, 1, 19, "VOLUME ID                       ");
    PutText(image, kPrimaryAt + 8, "SYSTEM  ");
    PutText(image, kPrimaryAt + 318, "THE PUBLISHER   ");
    PutText(image, kPrimaryAt + 813, std::string_view("2024030112300000\xF8", 17));
    PutText(image, kPrimaryAt + 830, std::string_view("0000000000000000\0", 17));
    PutDescriptorOfTree(image, kJolietAt, 2, 21, Ucs2(u"Volume \u00E9 \u65E5   "));
    PutText(image, kJolietAt + 88, "%/E");
    PutText(image, kJolietAt + 830, std::string_view("2024030112300000\xF8", 17));
    image[18 * kDiscSector] = 255;
    PutText(image, 18 * kDiscSector + 1, "CD001\1");

    DiscFolder root(image, kIsoRootAt, 19, 19);
    root.add("FOLDER", 2, 20, 2048);
    root.add("NODOT.;1", 1, 23, 5);
    root.add("READ.ME;1", 4, 25, 3);
    root.add("READ.ME;1", 0, 23, 5);
    root.add("TWO.BIN;1", 0x80, 24, 2048);
    root.add("TWO.BIN;1", 0, 23, 7);
    DiscFolder folder(image, kIsoFolderAt, 20, 19);
    folder.add("DEEP.TXT;1", 0, 23, 5);
    DiscFolder jolietRoot(image, kJolietRootAt, 21, 21);
    jolietRoot.add(Ucs2(u"F\u00F3lder"), 2, 22, 2048);
    jolietRoot.add(Ucs2(u"Read me"), 0, 23, 5);
    jolietRoot.add(Ucs2(u"read me"), 0, 25, 3);
    DiscFolder jolietFolder(image, kJolietFolderAt, 22, 21);
    jolietFolder.add(Ucs2(u"deep.txt;1"), 0, 23, 5);
    PutText(image, 23 * kDiscSector, "hello, disc");
    for (std::size_t i = 0; i < kDiscSector; ++i)
        image[24 * kDiscSector + i] = static_cast<std::uint8_t>(i);
    PutText(image, 25 * kDiscSector, "fork");
    return image;
}

}  // namespace vellmark::testing
