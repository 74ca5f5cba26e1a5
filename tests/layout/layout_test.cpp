// Stores of layouts, read by a parser of the general format that shares nothing with the engine.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <set>

#include "layout/background_alias.hpp"
#include "layout/binary_plist.hpp"
#include "layout/finder_layout.hpp"

namespace vellmark {
namespace {

using Bytes = std::vector<std::uint8_t>;

std::uint32_t At(const Bytes& bytes, std::size_t place) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | bytes.at(place + i);
    return value;
}

// The tree as free readers walk it: in order, with the number of every block that is met.
class Walk {
  public:
    explicit Walk(const Bytes& bytes) : bytes_(bytes), allocator_(4 + At(bytes, 8)) {
        const std::uint32_t tree = place(At(bytes, allocator_ + 8 + directory() + 4 + 5));
        node(At(bytes, tree), 0);
        EXPECT_EQ(At(bytes, tree + 4), levels_) << "levels above the leaves";
        EXPECT_EQ(At(bytes, tree + 8), names_.size()) << "records in the head of the tree";
        EXPECT_EQ(At(bytes, tree + 12), nodes_) << "nodes in the head of the tree";
    }
    [[nodiscard]] const std::vector<std::string>& names() const { return names_; }
    [[nodiscard]] std::size_t nodes() const { return nodes_; }

    /// Used and free blocks cover the space, each byte once.
    void checkSpace() const {
        std::vector<std::pair<std::uint64_t, std::uint64_t>> parts = {{0, 32}};
        for (std::uint32_t i = 0; i < At(bytes_, allocator_); ++i) {
            const std::uint32_t address = At(bytes_, allocator_ + 8 + 4 * i);
            parts.push_back({address & ~31u, std::uint64_t{1} << (address & 31)});
        }
        std::size_t at = allocator_ + 8 + directory() + 4 + 9;
        for (unsigned order = 0; order < 32; ++order) {
            const std::uint32_t count = At(bytes_, at);
            at += 4;
            for (std::uint32_t i = 0; i < count; ++i, at += 4)
                parts.push_back({At(bytes_, at), std::uint64_t{1} << order});
        }
        std::sort(parts.begin(), parts.end());
        std::uint64_t end = 0;
        for (const auto& [place, size] : parts) {
            EXPECT_EQ(place, end);
            end = place + size;
        }
        EXPECT_EQ(end, std::uint64_t{1} << 31);
    }

  private:
    [[nodiscard]] std::size_t directory() const {
        return (At(bytes_, allocator_) + 255) / 256 * 1024;
    }
    [[nodiscard]] std::uint32_t place(std::uint32_t block) const {
        return 4 + (At(bytes_, allocator_ + 8 + 4 * block) & ~31u);
    }
    void node(std::uint32_t block, std::uint32_t level) {
        ++nodes_;
        levels_ = std::max(levels_, level);
        std::size_t at = place(block);
        const std::uint32_t last = At(bytes_, at);
        const std::uint32_t count = At(bytes_, at + 4);
        at += 8;
        for (std::uint32_t i = 0; i < count; ++i) {
            if (last != 0) {
                node(At(bytes_, at), level + 1);
                at += 4;
            }
            const std::uint32_t units = At(bytes_, at);
            std::string name;
            for (at += 4; name.size() < units; at += 2)
                name += static_cast<char>(bytes_.at(at + 1));
            const std::string words(bytes_.begin() + static_cast<std::ptrdiff_t>(at),
                                    bytes_.begin() + static_cast<std::ptrdiff_t>(at) + 8);
            names_.push_back(name + "/" + words.substr(0, 4));
            at += 12 + (words.ends_with("blob") ? At(bytes_, at + 8) : 0);
        }
        if (last != 0)
            node(last, level + 1);
    }

    const Bytes& bytes_;
    std::size_t allocator_;
    std::vector<std::string> names_;
    std::size_t nodes_ = 0;
    std::uint32_t levels_ = 0;
};

DsStoreLayout LayoutWith(std::size_t count) {
    DsStoreLayout layout;
    for (std::size_t i = 0; i < count; ++i)
        layout.items.push_back({u"item " + std::u16string(1 + i % 40, u'n') +
                                    static_cast<char16_t>(u'a' + i % 26) +
                                    static_cast<char16_t>(u'A' + i / 26 % 26),
                                i % 3 == 0, 0, 0});
    PlaceIcons(layout);
    return layout;
}

// The known file of one node, byte for byte, but for its count, which is the true one.
TEST(Layout, IsWrittenAsTheKnownStore) {
    DsStoreLayout layout;
    layout.items = {{u"b", true, 0, 0}, {u"A", false, 0, 0}};
    PlaceIcons(layout);
    const Bytes bytes = StoreBytes(RecordsOf(layout, {}));
    ASSERT_EQ(bytes.size(), 6148u);
    const Walk walk(bytes);
    walk.checkSpace();
    EXPECT_EQ(walk.names(),
              (std::vector<std::string>{"./BKGD", "./fwi0", "./fwvh", "./icgo", "./icvo", "./icvt",
                                        "./vstl", "A/Iloc", "b/Iloc", "b/icgo"}));
    const std::pair<std::size_t, std::uint32_t> known[] = {{0, 1},
                                                           {4, 0x42756431},
                                                           {8, 0x1000},
                                                           {12, 0x800},
                                                           {16, 0x1000},
                                                           {20, 0x40A},
                                                           {44, 0x800},
                                                           {48, 0x800},
                                                           {68, 2},
                                                           {72, 0},
                                                           {76, 10},
                                                           {80, 1},
                                                           {84, 0x1000},
                                                           {1028, 0},
                                                           {1032, 10},
                                                           {2052, 1},
                                                           {2060, 0x80B},
                                                           {0xC20, 0},
                                                           {0xC24, 1},
                                                           {0xC28, 0x20},
                                                           {0xC50, 0x400},
                                                           {0xC54, 0},
                                                           {0xC58, 1},
                                                           {0xC5C, 0x1000},
                                                           {0xCEC, 0x40000000},
                                                           {0x1004, 3},
                                                           {0x100C, 0x100B},
                                                           {0x1010, 0x45},
                                                           {0x1014, 0x40A},
                                                           {0x140C, 1},
                                                           {0x1410, 0x04445344},
                                                           {0x1430, 0x02000000},
                                                           {0x14F0, 0x00000000}};
    for (const auto& [place, value] : known)
        EXPECT_EQ(At(bytes, place), value) << std::hex << place;
    // The edges: top, left, bottom, right.
    const std::string text(bytes.begin(), bytes.end());
    EXPECT_NE(text.find(std::string("\0d\0d\1\x90\1\xC2icnv", 12)), text.npos);
}

TEST(Layout, ComesBackHoweverManyIcons) {
    for (const std::size_t count : {0u, 10u, 30u, 400u, 9000u}) {
        SCOPED_TRACE(count);
        DsStoreLayout layout = LayoutWith(count);
        layout.right = 900;
        layout.iconSize = 2;
        layout.textSize = 1;
        layout.spacing = 3;
        const Bytes alias(300, 7);
        const Bytes bytes = StoreBytes(RecordsOf(layout, alias));
        const Walk walk(bytes);
        walk.checkSpace();
        EXPECT_EQ(walk.nodes() > 1, count > 100);
        EXPECT_EQ(bytes.size() == 6148, count == 0);
        const auto records = ReadStore(bytes);
        ASSERT_TRUE(records);
        EXPECT_EQ(records->size(), walk.names().size());
        const StoredLayout stored = LayoutOf(*records);
        EXPECT_EQ(stored.background, alias);
        EXPECT_EQ(std::tuple(stored.layout.right, stored.layout.iconSize, stored.layout.textSize,
                             stored.layout.spacing, stored.layout.items.size()),
                  std::tuple(900, 2u, 1u, 3u, count));
        std::multiset<std::tuple<std::u16string, int, int, bool>> had;
        std::multiset<std::tuple<std::u16string, int, int, bool>> has;
        for (const PlacedItem& item : layout.items)
            had.insert({item.name, item.x, item.y, false});
        for (const PlacedItem& item : stored.layout.items)
            has.insert({item.name, item.x, item.y, false});
        EXPECT_EQ(had, has);
    }
}

// Older programs counted no options of folders, and their allocator was never looked at.
TEST(Layout, OlderStoresAreReadWhole) {
    Bytes bytes = StoreBytes(RecordsOf(LayoutWith(4), {}));
    const std::size_t whole = ReadStore(bytes)->size();
    for (const std::size_t place : {79u, 1035u})
        bytes[place] = static_cast<std::uint8_t>(bytes[place] - 2);
    EXPECT_EQ(ReadStore(bytes)->size(), whole);
    for (std::size_t place = 0x1004; place < bytes.size(); ++place)
        bytes[place] = 0xFF;
    EXPECT_EQ(ReadStore(bytes)->size(), whole);
}

// Whatever the bytes are, something is said and nothing outside is read.
TEST(Layout, DamagedStoresEnd) {
    std::mt19937 random(7);
    const Bytes small = StoreBytes(RecordsOf(LayoutWith(12), Bytes(200, 1)));
    const Bytes large = StoreBytes(RecordsOf(LayoutWith(300), {}));
    for (int round = 0; round < 400; ++round) {
        Bytes bytes = round % 2 == 0 ? small : large;
        for (int i = 0; i < 1 + round % 9; ++i)
            bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
        if (round % 5 == 0)
            bytes.resize(random() % bytes.size());
        if (const auto records = ReadStore(bytes))
            (void)LayoutOf(*records);
    }
}

// A few bytes never become records without end: nodes at one place, and nodes within each other.
TEST(Layout, NodesThatShareTheirBytesAreRefused) {
    Bytes bytes = StoreBytes(RecordsOf(LayoutWith(300), {}));
    const std::size_t first = 4 + At(bytes, 8) + 8 + 4 * 2;
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(first), 4,
                bytes.begin() + static_cast<std::ptrdiff_t>(first) + 4);
    EXPECT_FALSE(ReadStore(bytes));

    constexpr std::uint32_t kNodes = 200;
    const auto put = [&](std::size_t at, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i)
            bytes[at + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
    };
    bytes.assign(4 + 0x4000 + 32 * (kNodes + 1), 0);
    std::copy_n("\0\0\0\1Bud1\0\0\x10\0\0\0\x08\0\0\0\x10", 19, bytes.begin());
    put(4 + 0x1000, kNodes + 2);
    std::copy_n("\0\0\0\1\4DSDB\0\0\0", 12, bytes.begin() + 4 + 0x1000 + 8 + 1024);
    put(4 + 0x1000 + 8, 0x2000 | 13);
    put(4 + 0x2000, 1);
    put(4 + 0x1000 + 8 + 4, 0x3000 | 12);
    put(4 + 0x3000, kNodes + 1);
    put(4 + 0x3004, kNodes - 1);
    for (std::uint32_t i = 0; i < kNodes; ++i) {
        put(4 + 0x1000 + 8 + 4 * (i + 2), (0x4000 + 32 * i) | 14);
        const std::size_t node = 4 + 0x4000 + 32 * i;
        put(node + 4, kNodes - i);
        std::copy_n("\0\0\0\1\0aIlocblob\0\0\0\x0E", 18, bytes.begin() + node + 8);
        if (i + 1 < kNodes) {
            put(4 + 0x3008 + 19 * i, i + 2);
            std::copy_n(
                "\0\0\0\1\0btext"
                "bool\1",
                15, bytes.begin() + 4 + 0x3008 + 19 * i + 4);
        }
    }
    EXPECT_FALSE(ReadStore(bytes));
}

// What no list of sizes has is near something for the editor, but is nothing that the file says.
TEST(Layout, TellsOnlyWhatTheFileSays) {
    std::vector<StoreRecord> records = RecordsOf(DsStoreLayout(), {});
    for (StoreRecord& record : records) {
        if (record.id == "fwi0")
            std::copy_n("\xFF\xEC\xFF\xFE", 4, record.value.begin());
        else if (record.id == "icvo")
            record.value[5] = 72;
        else if (record.id == "icvt")
            record.value[3] = 13;
    }
    const StoredLayout stored = LayoutOf(records);
    EXPECT_EQ(std::tuple(stored.layout.top, stored.layout.left), std::tuple(-20, -2));
    EXPECT_EQ(std::tuple(stored.hasWindow, stored.hasIconSize, stored.hasSpacing, stored.hasTexts),
              std::tuple(true, false, true, false));
    EXPECT_EQ(kIconSizes[stored.layout.iconSize], 64);
}

TEST(Layout, GridsKeepTheirRules) {
    const std::array<int, 4> widest = {160, 180, 200, 240};
    const std::array<int, 4> lastStarts = {84, 94, 104, 124};
    for (std::size_t text = 0; text < kTextSizes.size(); ++text)
        for (std::size_t icon = 0; icon < kIconSizes.size(); ++icon) {
            const IconGrid last = GridOf(text, icon, 7);
            EXPECT_EQ(std::tuple(last.stepX, last.startX, last.startY),
                      std::tuple(widest[text], lastStarts[text], 15 + 9 * static_cast<int>(icon)));
            for (std::size_t spacing = 1; spacing < kSpacings.size(); ++spacing)
                EXPECT_GE(GridOf(text, icon, spacing).stepX, GridOf(text, icon, spacing - 1).stepX);
        }
    const IconGrid known = GridOf(2, 4, 6);
    EXPECT_EQ(std::tuple(known.startX, known.stepX, known.startY, known.stepY),
              std::tuple(95, 184, 51, 132));
    DsStoreLayout narrow = LayoutWith(3);
    narrow.right = narrow.left + 100;
    PlaceIcons(narrow);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(std::pair(narrow.items[i].x, narrow.items[i].y),
                  std::pair(95, 51 + 132 * static_cast<int>(i)));
}

Bytes FromDigits(std::string_view digits) {
    Bytes bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(
            static_cast<std::uint8_t>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16)));
    return bytes;
}

// Lists that Python's plistlib wrote.
TEST(Layout, NewerStoresAreReadFromTheirLists) {
    const Bytes window = FromDigits(
        "62706c6973743030d30102030405065b53686f77536964656261725c5369646562617257696474685c57696e64"
        "6f"
        "77426f756e64730810c05f10187b7b3230302c203132307d2c207b3634302c203432307d7d080f1b2835363800"
        "00"
        "000000000101000000000000000700000000000000000000000000000053");
    const Bytes icons = FromDigits(
        "62706c6973743030d90102030405060708090a0b0c0d0e0f10151659617272616e676542795f10146261636b67"
        "72"
        "6f756e64496d616765416c6961735e6261636b67726f756e64547970655b6772696453706163696e675869636f"
        "6e"
        "53697a655d6c6162656c4f6e426f74746f6d546c697374587465787453697a655178546e6f6e654f1014010101"
        "01"
        "01010101010101010101010101010101100223404600000000000023405200000000000009a411121314100113"
        "ff"
        "fffffffffffffe12000111706200e965e52340280000000000008004081b253c4b57606e737c7e839a9ca5aeaf"
        "b4"
        "b6bfc4c9d200000000000001010000000000000017000000000000000000000000000000d4");
    EXPECT_EQ(
        PlistText(*ReadBinaryPlist(icons)),
        "{arrangeBy: none, backgroundImageAlias: <20>, backgroundType: 2, gridSpacing: 44, "
        "iconSize: 72, labelOnBottom: true, list: [1, -2, 70000, \u00e9\u65e5], textSize: 12, "
        "x: -}");
    std::vector<StoreRecord> records = {{u".", "bwsp", "blob", window},
                                        {u".", "icvp", "blob", icons}};
    const StoredLayout stored = LayoutOf(records);
    const DsStoreLayout& layout = stored.layout;
    EXPECT_EQ(std::tuple(layout.left, layout.top, layout.right, layout.bottom),
              std::tuple(200, 100, 840, 520));
    EXPECT_EQ(std::tuple(layout.iconSize, layout.spacing, layout.textSize), std::tuple(3u, 3u, 1u));
    EXPECT_EQ(std::tuple(stored.hasWindow, stored.hasIconSize, stored.hasSpacing, stored.hasTexts),
              std::tuple(false, false, true, true));
    EXPECT_EQ(stored.background, Bytes(20, 1));
    for (const StoreRecord& old : RecordsOf(DsStoreLayout(), {}))
        records.push_back(old);
    EXPECT_EQ(LayoutOf(records).layout.right, 450) << "the older records count";
    std::mt19937 random(5);
    for (int round = 0; round < 2000; ++round) {
        Bytes bytes = round % 2 == 0 ? window : icons;
        for (int i = 0; i < 1 + round % 4; ++i)
            bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
        if (round % 7 == 0)
            bytes.resize(random() % bytes.size());
        (void)ReadBinaryPlist(bytes);
    }
    // A list of itself, twice on each level.
    EXPECT_FALSE(ReadBinaryPlist(FromDigits(
        "62706c6973743030a200000800000000000001010000000000000001000000000000000000000000000000"
        "0b")));
}

TEST(Layout, AliasesNameThePicture) {
    const Bytes alias = BackgroundAlias({.volume = "Caf\u00e9",
                                         .now = 0x01020304,
                                         .folder = ".!Background",
                                         .folderNumber = 17,
                                         .name = "se\u00e0.jpg",
                                         .created = 5,
                                         .signature = {'J', 'P', 'E', 'G', 'o', 'g', 'l', 'e'}});
    const std::string text(alias.begin(), alias.end());
    EXPECT_EQ(At(alias, 2), alias.size());
    EXPECT_EQ(text.substr(6, 9), std::string("\0\2\0\0\4Caf\x8E", 9));
    EXPECT_EQ(text.substr(38, 12), std::string("\1\2\3\4H+\0\5\0\0\0\x11", 12));
    EXPECT_EQ(text.substr(50, 8), "\7se\x88.jpg");
    EXPECT_EQ(text.substr(114, 20), std::string("\0\0\0\0\0\0\0\5JPEGogle\xFF\xFF\xFF\xFF", 20));
    const std::string tagged = text.substr(150);
    for (const std::string& part :
         {std::string("\0\0\0\14.!Background\0\1\0\4\0\0\0\x11\0\2\0\x19", 28),
          std::string("Caf\x8E:.!Background:se\x88.jpg\0\0\16", 28),
          std::string("\0\x12\0\x16/.!Background/se\u00e0.jpg", 26),
          std::string("\0\x13\0\x0E/Volumes/Caf\u00e9\xFF\xFF\0\0", 22)})
        EXPECT_NE(tagged.find(part), tagged.npos) << part;
    EXPECT_EQ(FileOfAlias(alias), "se\u00e0.jpg");
    EXPECT_EQ(FileOfAlias(std::span(alias).first(40)), "");
}

}  // namespace
}  // namespace vellmark
