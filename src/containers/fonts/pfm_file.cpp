#include "containers/fonts/pfm_file.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

#include "support/endian.hpp"

namespace vellmark {
namespace {

struct PfmHeader {
    le16 version = 0x0100;
    le32 size;  ///< bytes of the file
    std::array<char, 60> credit{};
    le16 type = 129;
    le16 points = 10;
    le16 verticalResolution = 300;
    le16 horizontalResolution = 300;
    le16 ascent;
    le16 internalLeading;
    le16 externalLeading;
    std::uint8_t italic = 0;
    std::uint8_t underline = 0;
    std::uint8_t strikeOut = 0;
    le16 weight;
    std::uint8_t characterSet = 0;
    le16 pixelWidth;
    le16 pixelHeight;
    std::uint8_t pitchAndFamily = 0x21;
    le16 averageWidth = 500;
    le16 maximumWidth = 1000;
    std::uint8_t firstCharacter = 32;
    std::uint8_t lastCharacter = 255;
    std::uint8_t defaultCharacter = 117;
    std::uint8_t breakCharacter = 0;
    le16 rowBytes;
    le32 deviceOffset;
    le32 faceOffset;
    le32 bitsPointer;
    le32 bitsOffset;
    // the extension
    le16 extensionSize = 30;
    le32 metricsOffset;
    le32 widthsOffset;
    le32 originsOffset;
    le32 kerningOffset;
    le32 tracksOffset;
    le32 driverOffset;
    le32 reserved;
};
static_assert(sizeof(PfmHeader) == 147 && alignof(PfmHeader) == 1);
static_assert(offsetof(PfmHeader, italic) == 80);
static_assert(offsetof(PfmHeader, pixelHeight) == 88);
static_assert(offsetof(PfmHeader, defaultCharacter) == 97);
static_assert(offsetof(PfmHeader, deviceOffset) == 101);
static_assert(offsetof(PfmHeader, driverOffset) == 139);

/// Extended metrics, the same for all fonts.
struct PfmMetrics {
    le16 size = 52;
    le16 pointSize = 240;
    le16 orientation;
    le16 masterHeight = 1000;
    le16 minimumScale = 3;
    le16 maximumScale = 1000;
    le16 masterUnits = 1000;
    le16 capHeight = 680;
    le16 xHeight = 470;
    le16 ascent = 708;
    le16 descent = 216;
    le16 superscript = static_cast<std::uint16_t>(-500);
    le16 subscript = 250;
    le16 superscriptSize = 500;
    le16 subscriptSize = 500;
    le16 underlineOffset = 100;
    std::array<le16, 3> underlineWidths = {50, 50, 50};
    std::array<le16, 2> doubleUnderlineWidths = {25, 25};
    le16 strikeOutOffset = 405;
    le16 strikeOutWidth = 50;
    le16 reserved[3];
};
static_assert(sizeof(PfmMetrics) == 52);

constexpr std::string_view kCredit = "Metrics of a usual text face, for a converted font";
constexpr std::string_view kDevice = "PostScript";
constexpr std::uint16_t kRegularWeight = 400;
constexpr std::uint16_t kBoldWeight = 700;
constexpr std::uint16_t kFixedWidth = 600;

/// Of the characters 32 to 255.
constexpr std::array<std::uint16_t, 224> kWidths = {
    225,  240, 402, 530, 530, 826, 725, 216, 350, 350, 412, 570,  265, 392,  265, 270,  530, 530,
    530,  530, 530, 530, 530, 530, 530, 530, 265, 265, 570, 570,  570, 425,  794, 624,  632, 661,
    763,  596, 571, 709, 775, 345, 352, 650, 565, 920, 763, 753,  614, 753,  640, 533,  606, 794,
    637,  946, 632, 591, 622, 330, 390, 330, 570, 500, 400, 561,  559, 441,  587, 453,  315, 499,
    607,  317, 309, 545, 306, 912, 618, 537, 590, 559, 402, 389,  341, 618,  510, 785,  516, 468,
    468,  340, 270, 340, 570, 500, 500, 500, 216, 530, 402, 1000, 500, 490,  400, 1200, 533, 277,
    1020, 500, 500, 500, 500, 216, 216, 402, 402, 500, 500, 1000, 400, 1100, 389, 277,  806, 500,
    500,  591, 225, 240, 530, 530, 530, 530, 270, 530, 400, 836,  425, 462,  570, 392,  836, 400,
    400,  570, 370, 370, 400, 618, 560, 265, 400, 370, 389, 462,  890, 890,  890, 425,  624, 624,
    624,  624, 624, 624, 880, 661, 596, 596, 596, 596, 345, 345,  345, 345,  770, 763,  753, 753,
    753,  753, 753, 570, 753, 794, 794, 794, 794, 591, 604, 577,  561, 561,  561, 561,  561, 561,
    779,  441, 453, 453, 453, 453, 317, 317, 317, 317, 537, 618,  537, 537,  537, 537,  537, 570,
    537,  618, 618, 618, 618, 468, 584, 468};

// The rest of the line behind a keyword.
std::optional<std::string_view> LineOf(std::string_view text, std::string_view keyword) {
    const std::size_t found = text.find(keyword);
    if (found == std::string_view::npos)
        return std::nullopt;
    const std::string_view rest = text.substr(found + keyword.size());
    return rest.substr(0, rest.find_first_of("\r\n"));
}

// The word behind the first blank.
std::string_view WordOf(std::string_view line) {
    const std::size_t start = line.find(' ');
    if (start == std::string_view::npos)
        return {};
    const std::string_view rest = line.substr(start + 1);
    return rest.substr(0, rest.find(' '));
}

// Takes the next number off the text; what stands behind its point is left behind.
std::optional<int> TakeNumber(std::string_view& text) {
    const std::size_t start = text.find_first_of("-0123456789");
    if (start == std::string_view::npos)
        return std::nullopt;
    text.remove_prefix(start);
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (text.starts_with('.'))
        text.remove_prefix(std::min(text.find_first_not_of(".0123456789"), text.size()));
    return number;
}

std::optional<std::array<int, 4>> BoundingBox(std::string_view text) {
    auto line = LineOf(text, "/FontBBox");
    if (!line)
        return std::nullopt;
    std::array<int, 4> box{};
    for (int& side : box) {
        const auto number = TakeNumber(*line);
        if (!number)
            return std::nullopt;
        side = *number;
    }
    return box;
}

std::uint16_t WeightOf(std::string_view text) {
    const std::string_view line = LineOf(text, "/Weight").value_or("");
    const std::size_t start = line.find_first_of("([{");
    return start != std::string_view::npos && line.substr(start + 1).starts_with("Bold")
               ? kBoldWeight
               : kRegularWeight;
}

// The number in a line that begins with `dup`.
std::optional<int> NumberOfDup(std::string_view line) {
    if (!line.starts_with("dup"))
        return std::nullopt;
    return TakeNumber(line);
}

// How many widths an encoding asks for that lists its characters: the last less the first.
std::size_t ListedWidths(std::string_view text) {
    std::optional<int> first;
    int last = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        const std::optional<int> number = NumberOfDup(text.substr(0, end));
        if (first && !number && end > 0)
            break;
        if (number) {
            first = first.value_or(*number);
            last = *number;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return static_cast<std::size_t>(
        std::clamp(last - first.value_or(last), 0, static_cast<int>(kWidths.size())));
}

// Nothing for an encoding that is neither the standard one nor a list.
std::optional<std::size_t> WidthCount(std::string_view text) {
    constexpr std::string_view kKeyword = "/Encoding";
    const auto line = LineOf(text, kKeyword);
    if (!line || WordOf(*line).starts_with("Standard"))
        return kWidths.size();
    std::string_view word = WordOf(*line);
    if (word.find_first_of("123456789") != 0 || !TakeNumber(word))
        return std::nullopt;
    return ListedWidths(text.substr(text.find(kKeyword)));
}

// Of a font of one width each number takes the place of two.
std::uint16_t WidthAt(std::size_t index, bool isFixed) {
    if (!isFixed)
        return kWidths[index];
    return index % 2 == 0 ? kFixedWidth : 0;
}

template <typename Record>
void Append(std::vector<std::uint8_t>& bytes, const Record& record) {
    const auto* start = reinterpret_cast<const std::uint8_t*>(&record);
    bytes.insert(bytes.end(), start, start + sizeof record);
}

void AppendText(std::vector<std::uint8_t>& bytes, std::string_view text) {
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
}

PfmHeader HeaderOf(std::string_view text, const std::array<int, 4>& box, std::size_t nameBytes) {
    PfmHeader header;
    std::copy(kCredit.begin(), kCredit.end(), header.credit.begin());
    header.ascent = static_cast<std::uint16_t>(box[3]);
    const std::int64_t height = std::int64_t{box[3]} - box[1];
    header.internalLeading = static_cast<std::uint16_t>(std::max<std::int64_t>(height - 1000, 0));
    std::string_view angle = LineOf(text, "/ItalicAngle").value_or("");
    header.italic = static_cast<std::uint8_t>(TakeNumber(angle).value_or(0));
    header.weight = WeightOf(text);
    header.pixelHeight = static_cast<std::uint16_t>(box[2]);
    const std::size_t device = sizeof(PfmHeader) + sizeof(PfmMetrics);
    const std::size_t face = device + kDevice.size() + 1;
    header.metricsOffset = static_cast<std::uint32_t>(sizeof(PfmHeader));
    header.deviceOffset = static_cast<std::uint32_t>(device);
    header.faceOffset = static_cast<std::uint32_t>(face);
    header.driverOffset = static_cast<std::uint32_t>(face + nameBytes + 1);
    header.widthsOffset = static_cast<std::uint32_t>(face + 2 * (nameBytes + 1));
    return header;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> PfmOf(const std::string& clearText,
                                               const std::string& name) {
    const auto box = BoundingBox(clearText);
    const auto widths = WidthCount(clearText);
    if (!box || !widths)
        return std::nullopt;
    PfmHeader header = HeaderOf(clearText, *box, name.size());
    header.size = static_cast<std::uint32_t>(header.widthsOffset + 2 * *widths);
    const bool isFixed = WordOf(LineOf(clearText, "/isFixed").value_or("")) == "true";
    std::vector<std::uint8_t> bytes;
    Append(bytes, header);
    Append(bytes, PfmMetrics{});
    AppendText(bytes, kDevice);
    AppendText(bytes, name);
    AppendText(bytes, name);
    for (std::size_t i = 0; i < *widths; ++i)
        Append(bytes, le16(WidthAt(i, isFixed)));
    return bytes;
}

}  // namespace vellmark
