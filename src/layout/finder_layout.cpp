#include "layout/finder_layout.hpp"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <utility>

#include "layout/binary_plist.hpp"
#include "support/endian.hpp"

namespace vellmark {

namespace {

constexpr std::u16string_view kFolderItself = u".";
constexpr int kMostCoordinate = 32767;

// --- The grid.

// The widest step between columns, and the steps between lines, by the size of texts.
constexpr std::array<int, 4> kWidestSteps = {160, 180, 200, 240};
constexpr std::array<int, 4> kLineSteps = {22, 28, 36, 44};
constexpr int kFirstLine = 15;
constexpr int kLineAStep = 9;
// From this spacing on lines are further apart too.
constexpr std::size_t kWideLines = 2;

/// Rows that are known to the pixel; the others are between them.
struct KnownRow {
    std::size_t textSize;
    std::size_t iconSize;
    std::array<int, 8> startX;
    std::array<int, 8> stepX;
};
constexpr KnownRow kKnownRows[] = {
    {0, 0, {27, 35, 44, 51, 58, 67, 75, 84}, {48, 64, 80, 96, 110, 128, 144, 160}},
    {1, 1, {29, 38, 47, 58, 67, 76, 84, 94}, {52, 70, 88, 108, 126, 144, 162, 180}},
    {2, 4, {49, 57, 64, 72, 80, 87, 95, 104}, {92, 108, 122, 138, 154, 168, 184, 200}},
    {3, 7, {77, 83, 90, 96, 104, 109, 116, 124}, {146, 160, 174, 186, 200, 212, 226, 240}},
};

// An even number of pixels, so that an icon has a middle.
int StepX(std::size_t textSize, std::size_t iconSize, std::size_t spacing) {
    const int narrow = std::max(kIconSizes[iconSize] * 9 / 8 + 2, 2 * kTextSizes[textSize] + 28);
    const int wide = kWidestSteps[textSize];
    const auto last = static_cast<int>(kSpacings.size()) - 1;
    const int step = narrow + ((wide - narrow) * static_cast<int>(spacing) + last / 2) / last;
    return (step + 1) / 2 * 2;
}

// --- Records.

using Bytes = std::vector<std::uint8_t>;

void Put16(Bytes& bytes, int value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
}
void Put32(Bytes& bytes, std::uint32_t value) {
    Put16(bytes, static_cast<int>(value >> 16));
    Put16(bytes, static_cast<int>(value & 0xFFFF));
}
void PutLetters(Bytes& bytes, std::string_view letters) {
    bytes.insert(bytes.end(), letters.begin(), letters.end());
}

int At16(const Bytes& bytes, std::size_t place) {
    be16 value;
    std::memcpy(&value, bytes.data() + place, sizeof value);
    return value;
}
// A window may reach beyond the upper and left edges of the screen.
int Edge(const Bytes& bytes, std::size_t place) {
    return static_cast<std::int16_t>(At16(bytes, place));
}
int At32(const Bytes& bytes, std::size_t place) {
    be32 value;
    std::memcpy(&value, bytes.data() + place, sizeof value);
    return static_cast<int>(std::uint32_t{value});
}

Bytes Number(std::uint32_t value) {
    Bytes bytes;
    Put32(bytes, value);
    return bytes;
}
Bytes Letters(std::string_view letters) {
    return {letters.begin(), letters.end()};
}

Bytes Background(std::span<const std::uint8_t> alias) {
    Bytes bytes;
    if (alias.empty()) {
        PutLetters(bytes, "DefB");
        Put32(bytes, 0);
        Put32(bytes, 0);
    } else {
        PutLetters(bytes, "PctB");
        Put32(bytes, static_cast<std::uint32_t>(alias.size()));
        Put32(bytes, 0xFFBF);
    }
    return bytes;
}

Bytes Window(const DsStoreLayout& layout) {
    Bytes bytes;
    for (const int edge : {layout.top, layout.left, layout.bottom, layout.right})
        Put16(bytes, edge);
    PutLetters(bytes, "icnv");
    Put32(bytes, 0);
    return bytes;
}

Bytes Options() {
    Bytes bytes;
    Put32(bytes, 4);
    Put32(bytes, 4);
    return bytes;
}

constexpr std::size_t kIconSizePlace = 4;
constexpr std::size_t kSpacingPlace = 26;
constexpr std::size_t kIconOptionsBytes = 32;
constexpr std::size_t kIconPlaceBytes = 16;

Bytes IconOptions(const DsStoreLayout& layout) {
    Bytes bytes;
    PutLetters(bytes, "icv4");
    Put16(bytes, kIconSizes[layout.iconSize]);
    PutLetters(bytes, "gridbotm");
    Put32(bytes, 0);
    Put32(bytes, 0x00040000);
    Put32(bytes, 0x00040001);
    Put32(bytes, static_cast<std::uint32_t>(kSpacings[layout.spacing]));
    Put16(bytes, 1);
    return bytes;
}

Bytes IconPlace(const PlacedItem& item) {
    Bytes bytes;
    Put32(bytes, static_cast<std::uint32_t>(item.x));
    Put32(bytes, static_cast<std::uint32_t>(item.y));
    Put32(bytes, 0xFFFFFFFF);
    Put32(bytes, 0xFFFF0000);
    return bytes;
}

// The index of a value; one that is not there leaves what was, and is told.
template <std::size_t kCount>
bool TakeIndex(const std::array<int, kCount>& values, int value, std::size_t& index) {
    const auto found = std::find(values.begin(), values.end(), value);
    if (found == values.end())
        return false;
    index = static_cast<std::size_t>(found - values.begin());
    return true;
}

// Sizes are multiples of 16; one between two counts as the smaller.
bool TakeIconSize(int size, std::size_t& index) {
    const int step = (size >> 4) - 1;
    if (step < 0 || step >= static_cast<int>(kIconSizes.size()))
        return false;
    index = static_cast<std::size_t>(step);
    return kIconSizes[index] == size;
}

/// What the older records speak of, in whatever words; only for the rest the newer ones count.
struct OlderRecords {
    bool icons = false;
    bool texts = false;
};

void TakeFolder(const StoreRecord& record, StoredLayout& stored, OlderRecords& older) {
    DsStoreLayout& layout = stored.layout;
    if (record.id == "fwi0" && record.value.size() >= 8) {
        layout.top = Edge(record.value, 0);
        layout.left = Edge(record.value, 2);
        layout.bottom = Edge(record.value, 4);
        layout.right = Edge(record.value, 6);
        stored.hasWindow = true;
    } else if (record.id == "icvo" && record.value.size() >= kIconOptionsBytes - 2) {
        stored.hasIconSize = TakeIconSize(At16(record.value, kIconSizePlace), layout.iconSize);
        stored.hasSpacing = TakeIndex(kSpacings, At32(record.value, kSpacingPlace), layout.spacing);
        older.icons = true;
    } else if (record.id == "icvt" && record.value.size() >= 4) {
        stored.hasTexts = TakeIndex(kTextSizes, At32(record.value, 0), layout.textSize);
        older.texts = true;
    } else if (record.id == "pict") {
        stored.background = record.value;
    }
}

// --- What newer systems say in lists of entries.

template <std::size_t kCount>
bool TakeNearest(const std::array<int, kCount>& values, const PlistValue* entry,
                 std::size_t& index) {
    const auto number = entry ? entry->number() : std::nullopt;
    if (!number)
        return false;
    const auto away = [&number](int value) { return std::abs(value - *number); };
    const auto nearest = std::min_element(
        values.begin(), values.end(), [&](int one, int other) { return away(one) < away(other); });
    index = static_cast<std::size_t>(nearest - values.begin());
    return away(*nearest) == 0;
}

// `{{200, 120}, {640, 420}}`: the second counts from the bottom of a screen whose height nobody
// knows, so the window stands at the top where it stands by default.
void TakeBounds(const PlistValue* entry, DsStoreLayout& layout) {
    const std::string* const text = entry ? entry->text() : nullptr;
    std::array<int, 4> numbers{};
    std::size_t at = 0;
    for (int& number : numbers) {
        at = text ? text->find_first_of("-0123456789", at) : std::string::npos;
        if (at == std::string::npos)
            return;
        const char* const end = text->data() + text->size();
        const auto [next, error] = std::from_chars(text->data() + at, end, number);
        if (error != std::errc() || number < -kMostCoordinate || number > kMostCoordinate)
            return;
        // What stands behind a decimal point is not another number.
        at = text->find_first_of(",}", static_cast<std::size_t>(next - text->data()));
    }
    // Further out than edges can be.
    if (numbers[0] + numbers[2] > kMostCoordinate || layout.top + numbers[3] > kMostCoordinate)
        return;
    layout.left = numbers[0];
    layout.setWidth(numbers[2]);
    layout.setHeight(numbers[3]);
}

void TakeIconView(const PlistValue& list, StoredLayout& stored, const OlderRecords& older) {
    DsStoreLayout& layout = stored.layout;
    if (!older.icons) {
        stored.hasIconSize = TakeNearest(kIconSizes, list.entry("iconSize"), layout.iconSize);
        stored.hasSpacing = TakeNearest(kSpacings, list.entry("gridSpacing"), layout.spacing);
    }
    if (!older.texts)
        stored.hasTexts = TakeNearest(kTextSizes, list.entry("textSize"), layout.textSize);
    const PlistValue* const alias = list.entry("backgroundImageAlias");
    if (stored.background.empty() && alias && alias->bytes())
        stored.background = *alias->bytes();
}

// They count where the older records are missing.
void TakeList(const StoreRecord& record, StoredLayout& stored, const OlderRecords& older) {
    if (record.name != kFolderItself || (record.id != "bwsp" && record.id != "icvp"))
        return;
    const auto list = ReadBinaryPlist(record.value);
    if (list && record.id == "icvp")
        TakeIconView(*list, stored, older);
    else if (list && !stored.hasWindow)
        TakeBounds(list->entry("WindowBounds"), stored.layout);
}

}  // namespace

IconGrid GridOf(std::size_t textSize, std::size_t iconSize, std::size_t spacing) {
    IconGrid grid;
    grid.stepX = StepX(textSize, iconSize, spacing);
    grid.startX = grid.stepX / 2 + (spacing + 1 == kSpacings.size() ? 4 : 3);
    grid.startY = kFirstLine + kLineAStep * static_cast<int>(iconSize);
    grid.stepY = kIconSizes[iconSize] + kLineSteps[textSize] +
                 (spacing < kWideLines ? 0 : kTextSizes[textSize] + 2);
    for (const KnownRow& row : kKnownRows)
        if (row.textSize == textSize && row.iconSize == iconSize) {
            grid.startX = row.startX[spacing];
            grid.stepX = row.stepX[spacing];
        }
    return grid;
}

void PlaceIcons(DsStoreLayout& layout) {
    const IconGrid grid = GridOf(layout.textSize, layout.iconSize, layout.spacing);
    int x = grid.startX;
    int y = grid.startY;
    for (PlacedItem& item : layout.items) {
        item.x = x;
        item.y = y;
        x += grid.stepX;
        if (x > layout.width()) {
            x = grid.startX;
            y += grid.stepY;
        }
    }
}

void SwapItems(DsStoreLayout& layout, std::size_t one, std::size_t other) {
    std::swap(layout.items[one].name, layout.items[other].name);
    std::swap(layout.items[one].isFolder, layout.items[other].isFolder);
}

std::vector<StoreRecord> RecordsOf(const DsStoreLayout& layout,
                                   std::span<const std::uint8_t> background) {
    const std::u16string self(kFolderItself);
    std::vector<StoreRecord> records = {
        {self, "BKGD", "blob", Background(background)},
        {self, "fwi0", "blob", Window(layout)},
        {self, "fwvh", "shor", Number(static_cast<std::uint32_t>(layout.height()))},
        {self, "icgo", "blob", Options()},
        {self, "icvo", "blob", IconOptions(layout)},
        {self, "icvt", "shor", Number(static_cast<std::uint32_t>(kTextSizes[layout.textSize]))},
        {self, "vstl", "type", Letters("icnv")}};
    if (!background.empty())
        records.push_back({self, "pict", "blob", {background.begin(), background.end()}});
    for (const PlacedItem& item : layout.items) {
        records.push_back({item.name, "Iloc", "blob", IconPlace(item)});
        if (item.isFolder)
            records.push_back({item.name, "icgo", "blob", Options()});
    }
    return records;
}

StoredLayout LayoutOf(std::span<const StoreRecord> records) {
    StoredLayout stored;
    OlderRecords older;
    for (const StoreRecord& record : records) {
        if (record.name == kFolderItself) {
            TakeFolder(record, stored, older);
        } else if (record.id == "Iloc" && record.value.size() >= kIconPlaceBytes / 2) {
            stored.layout.items.push_back(
                {record.name, false, At32(record.value, 0), At32(record.value, 4)});
        } else if (record.id == "icgo" && !stored.layout.items.empty() &&
                   stored.layout.items.back().name == record.name) {
            stored.layout.items.back().isFolder = true;
        }
    }
    for (const StoreRecord& record : records)
        TakeList(record, stored, older);
    return stored;
}

}  // namespace vellmark
