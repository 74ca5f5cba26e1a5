#include "containers/name_order.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

#include "containers/name_order_tables.hpp"
#include "containers/names.hpp"

namespace vellmark {

namespace {

using Ranks = std::array<std::uint16_t, 256>;

int Sign(int difference) {
    return (difference > 0) - (difference < 0);
}

int CompareByRank(std::string_view a, std::string_view b, const Ranks& ranks) {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        const int difference =
            ranks[static_cast<std::uint8_t>(a[i])] - ranks[static_cast<std::uint8_t>(b[i])];
        if (difference != 0)
            return Sign(difference);
    }
    return (a.size() > b.size()) - (a.size() < b.size());
}

struct Folding {
    char16_t unit;
    char16_t folded;
};

constexpr Folding kFoldings[] = {
#include "containers/name_order_case_fold.inc"
};

// Pages of 256 units in which a unit folds; all other pages share none and fold to themselves.
constexpr std::size_t CountFoldPages() {
    std::size_t count = 0;
    int last = -1;
    for (const Folding& folding : kFoldings) {
        count += (folding.unit >> 8) != last ? 1 : 0;
        last = folding.unit >> 8;
    }
    return count;
}

struct FoldTable {
    static constexpr std::uint8_t kNone = 0xFF;
    std::array<std::uint8_t, 256> pageOf{};
    std::array<std::array<char16_t, 256>, CountFoldPages()> pages{};
};

constexpr FoldTable MakeFoldTable() {
    FoldTable table;
    table.pageOf.fill(FoldTable::kNone);
    std::uint8_t used = 0;
    for (const Folding& folding : kFoldings) {
        std::uint8_t& page = table.pageOf[folding.unit >> 8];
        if (page == FoldTable::kNone) {
            page = used++;
            for (std::size_t low = 0; low < 256; ++low)
                table.pages[page][low] = static_cast<char16_t>((folding.unit & 0xFF00u) | low);
        }
        table.pages[page][folding.unit & 0xFF] = folding.folded;
    }
    return table;
}

constexpr FoldTable kFoldTable = MakeFoldTable();

char16_t Fold(char16_t unit) {
    const std::uint8_t page = kFoldTable.pageOf[unit >> 8];
    return page == FoldTable::kNone ? unit : kFoldTable.pages[page][unit & 0xFF];
}

// The next folded unit that counts; 0 at the end of the name.
template <typename Units>
char16_t NextFolded(const Units& units, std::size_t& at) {
    char16_t folded = 0;
    while (folded == 0 && at < units.size())
        folded = Fold(static_cast<char16_t>(units[at++]));
    return folded;
}

template <typename UnitsA, typename UnitsB>
int CompareFolded(const UnitsA& a, const UnitsB& b) {
    // Neighbouring keys begin alike: the same unit on both sides needs no folding.
    const std::size_t common = std::min(a.size(), b.size());
    std::size_t atA = 0;
    while (atA < common && static_cast<char16_t>(a[atA]) == static_cast<char16_t>(b[atA]))
        ++atA;
    std::size_t atB = atA;
    for (;;) {
        const char16_t unitA = NextFolded(a, atA);
        const char16_t unitB = NextFolded(b, atB);
        if (unitA != unitB)
            return unitA < unitB ? -1 : 1;
        if (unitA == 0)
            return 0;
    }
}

// True when the search has a `*`, the candidate has none and holds one of the parts beside it.
template <typename View>
bool HoldsPart(View search, View candidate, std::size_t star) {
    const View before = search.substr(0, star);
    const View behind = search.substr(star + 1);
    return (!before.empty() && candidate.find(before) != View::npos) ||
           (!behind.empty() && candidate.find(behind) != View::npos);
}

}  // namespace

int CompareHfsKeyNames(std::string_view a, std::string_view b) {
    return CompareByRank(a, b, kHfsKeyRanks);
}

int CompareHfsPlusNames(std::u16string_view a, std::u16string_view b) {
    return CompareFolded(a, b);
}

int CompareHfsPlusNames(std::u16string_view a, std::span<const be16> b) {
    return CompareFolded(a, b);
}

int CompareHfsPlusNames(std::span<const be16> a, std::span<const be16> b) {
    return CompareFolded(a, b);
}

int CompareName(std::string_view search, std::string_view candidate) {
    candidate = candidate.substr(0, candidate.find_last_not_of(" \xA0") + 1);
    if (search == "*")
        return 0;
    const std::size_t star = search.find('*');
    if (star == std::string_view::npos || candidate.find('*') != std::string_view::npos)
        return CompareByRank(search, candidate, kHfsSearchRanks);
    const std::string folded = FoldMacRomanLower(candidate);
    if (HoldsPart(search, std::string_view(folded), star))
        return 0;
    // The `*` itself, which the candidate lacks, decides at the latest.
    return CompareByRank(search, folded, kHfsSearchRanks);
}

int CompareHfsPlusSearch(std::u16string_view search, std::u16string_view candidate) {
    if (search == u"*")
        return 0;
    const std::size_t star = search.find(u'*');
    const bool wild =
        star != std::u16string_view::npos && candidate.find(u'*') == std::u16string_view::npos;
    if (wild && HoldsPart(search, candidate, star))
        return 0;
    return CompareHfsPlusNames(search, candidate);
}

}  // namespace vellmark
