#include "IO/raw_sector.hpp"

#include <algorithm>
#include <array>
#include <cstring>

#include "support/endian.hpp"

namespace vellmark {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t kHeaderOffset = 12;
constexpr std::size_t kModeOffset = 15;
constexpr std::array<std::uint8_t, 12> kSync = {0,    0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                                0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0};

// Where the EDC stands and what it covers, ends excluded.
struct EdcPlace {
    std::size_t from;
    std::size_t to;  // the EDC itself follows
};
constexpr EdcPlace kMode1Edc = {0, 2064};
constexpr EdcPlace kForm1Edc = {kRawSubheaderOffset, 2072};
constexpr EdcPlace kForm2Edc = {kRawSubheaderOffset, 2348};

constexpr std::size_t kMode1ZerosOffset = 2068;
constexpr std::size_t kMode1ZerosBytes = 8;

// (x^16 + x^15 + x^2 + 1)(x^16 + x^2 + x + 1), least significant bit first.
constexpr std::uint32_t kEdcPolynomial = 0xD8018001;

// Tables for four bytes at a time: table k is for a byte that has k more behind it.
constexpr std::size_t kEdcStep = 4;
using EdcTables = std::array<std::array<std::uint32_t, 256>, kEdcStep>;

constexpr EdcTables MakeEdcTables() {
    EdcTables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t rest = byte;
        for (int bit = 0; bit < 8; ++bit)
            rest = (rest >> 1) ^ ((rest & 1) != 0 ? kEdcPolynomial : 0);
        tables[0][byte] = rest;
    }
    for (std::size_t k = 1; k < kEdcStep; ++k)
        for (std::size_t byte = 0; byte < 256; ++byte)
            tables[k][byte] = (tables[k - 1][byte] >> 8) ^ tables[0][tables[k - 1][byte] & 0xFF];
    return tables;
}
constexpr EdcTables kEdcTables = MakeEdcTables();

std::uint32_t Edc(Bytes bytes) {
    std::uint32_t rest = 0;
    std::size_t at = 0;
    for (; at + kEdcStep <= bytes.size(); at += kEdcStep) {
        le32 word;
        std::memcpy(&word, bytes.data() + at, sizeof word);
        rest ^= word;
        rest = kEdcTables[3][rest & 0xFF] ^ kEdcTables[2][rest >> 8 & 0xFF] ^
               kEdcTables[1][rest >> 16 & 0xFF] ^ kEdcTables[0][rest >> 24];
    }
    for (; at < bytes.size(); ++at)
        rest = (rest >> 8) ^ kEdcTables[0][(rest ^ bytes[at]) & 0xFF];
    return rest;
}

void SetEdc(RawSector sector, EdcPlace place) {
    const le32 edc = Edc(sector.subspan(place.from, place.to - place.from));
    std::memcpy(sector.data() + place.to, &edc, sizeof edc);
}

// The field of 256 elements over x^8 + x^4 + x^3 + x^2 + 1, whose element 2 generates it.
constexpr std::uint8_t kFieldPolynomial = 0x1D;

constexpr std::uint8_t Double(std::uint8_t value) {
    return static_cast<std::uint8_t>(value << 1 ^ (value >> 7) * kFieldPolynomial);
}

// By 3, which is what the two parity symbols of a code word differ in: their weights are 2 and 1.
constexpr std::array<std::uint8_t, 256> MakeThirds() {
    std::array<std::uint8_t, 256> thirds{};
    for (std::size_t value = 0; value < 256; ++value) {
        const auto byte = static_cast<std::uint8_t>(value);
        thirds[static_cast<std::size_t>(Double(byte) ^ byte)] = byte;
    }
    return thirds;
}
constexpr std::array<std::uint8_t, 256> kThirds = MakeThirds();

// The code words of one kind lie side by side: all of them take their next symbol at each step. A
// word is right when its symbols add up to 0, plainly and with the weights ..., 4, 2, 1.
template <std::size_t Words>
class ParityWords {
  public:
    void add(std::size_t word, std::uint8_t symbol) {
        plain_[word] ^= symbol;
        weighted_[word] = Double(static_cast<std::uint8_t>(weighted_[word] ^ symbol));
    }
    // The two symbols that make every word right, first all first ones.
    void put(std::uint8_t* first, std::uint8_t* second) const {
        for (std::size_t word = 0; word < Words; ++word) {
            first[word] = kThirds[static_cast<std::size_t>(Double(weighted_[word]) ^ plain_[word])];
            second[word] = first[word] ^ plain_[word];
        }
    }

  private:
    std::array<std::uint8_t, Words> plain_{};
    std::array<std::uint8_t, Words> weighted_{};
};

// Sizes in bytes; the standard counts words of two, of which each code takes every other byte.
constexpr std::size_t kPWords = 86;
constexpr std::size_t kPSymbols = 24;
constexpr std::size_t kQWords = 52;
constexpr std::size_t kQSymbols = 43;
constexpr std::size_t kPOffset = kHeaderOffset + kPWords * kPSymbols;
constexpr std::size_t kQOffset = kPOffset + 2 * kPWords;
static_assert(kPOffset == 2076 && kQOffset == 2248);
static_assert(kQOffset + 2 * kQWords == kRawSectorBytes);

// Where the diagonals of the Q code go through data and P parity: 44 words on with each symbol, 43
// with each code word.
using QPlaces = std::array<std::array<std::uint16_t, kQWords>, kQSymbols>;
constexpr QPlaces MakeQPlaces() {
    constexpr std::size_t kCovered = kQWords / 2 * kQSymbols;
    QPlaces places{};
    for (std::size_t symbol = 0; symbol < kQSymbols; ++symbol)
        for (std::size_t word = 0; word < kQWords; ++word)
            places[symbol][word] = static_cast<std::uint16_t>(
                (44 * symbol + 43 * (word / 2)) % kCovered * 2 + word % 2);
    return places;
}
constexpr QPlaces kQPlaces = MakeQPlaces();

void SetEcc(RawSector sector) {
    const std::uint8_t* covered = sector.data() + kHeaderOffset;
    ParityWords<kPWords> p;
    for (std::size_t symbol = 0; symbol < kPSymbols; ++symbol)
        for (std::size_t word = 0; word < kPWords; ++word)
            p.add(word, covered[symbol * kPWords + word]);
    p.put(sector.data() + kPOffset, sector.data() + kPOffset + kPWords);
    ParityWords<kQWords> q;
    for (const auto& places : kQPlaces)
        for (std::size_t word = 0; word < kQWords; ++word)
            q.add(word, covered[places[word]]);
    q.put(sector.data() + kQOffset, sector.data() + kQOffset + kQWords);
}

// In form 1 the code counts four zeros in place of the header.
void SetForm1Ecc(RawSector sector) {
    std::array<std::uint8_t, 4> header;
    std::copy_n(sector.begin() + kHeaderOffset, header.size(), header.begin());
    std::fill_n(sector.begin() + kHeaderOffset, header.size(), std::uint8_t{0});
    SetEcc(sector);
    std::copy(header.begin(), header.end(), sector.begin() + kHeaderOffset);
}

}  // namespace

bool HasRawSync(ConstRawSector sector) {
    return std::equal(kSync.begin(), kSync.end(), sector.begin());
}

std::uint8_t RawModeOf(ConstRawSector sector) {
    return sector[kModeOffset];
}

void SetRawHeader(RawSector sector, std::uint32_t number, RawKind kind) {
    const std::uint32_t frames = number + kRawLeadFrames;
    std::copy(kSync.begin(), kSync.end(), sector.begin());
    sector[kHeaderOffset] = ToBcd(frames / kFramesPerMinute);
    sector[kHeaderOffset + 1] = ToBcd(frames % kFramesPerMinute / kFramesPerSecond);
    sector[kHeaderOffset + 2] = ToBcd(frames % kFramesPerSecond);
    sector[kModeOffset] = kind == RawKind::Mode1 ? 1 : 2;
}

void SetRawChecks(RawSector sector, RawKind kind) {
    switch (kind) {
        case RawKind::Mode1:
            SetEdc(sector, kMode1Edc);
            std::fill_n(sector.begin() + kMode1ZerosOffset, kMode1ZerosBytes, std::uint8_t{0});
            SetEcc(sector);
            break;
        case RawKind::Mode2Form1:
            SetEdc(sector, kForm1Edc);
            SetForm1Ecc(sector);
            break;
        case RawKind::Mode2Form2:
            SetEdc(sector, kForm2Edc);
            break;
    }
}

}  // namespace vellmark
