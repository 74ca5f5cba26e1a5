#include "inspect/field_values.hpp"

#include <fmt/core.h>

#include <algorithm>

#include "IO/iso_text.hpp"
#include "IO/partition_structures.hpp"
#include "containers/names.hpp"
#include "inspect/sector_links.hpp"
#include "support/encoding.hpp"
#include "volume/hfs_plus_structures.hpp"

namespace vellmark {
namespace {

constexpr Caption kExtentCount = 3229;
constexpr Caption kExtentPosition = 3230;

std::uint64_t BigNumber(std::string_view bytes) {
    std::uint64_t number = 0;
    for (const char byte : bytes)
        number = number << 8 | static_cast<std::uint8_t>(byte);
    return number;
}

std::uint64_t LittleNumber(std::string_view bytes) {
    return BigNumber(std::string(bytes.rbegin(), bytes.rend()));
}

std::string_view UpToZero(std::string_view bytes) {
    return bytes.substr(0, std::min(bytes.find('\0'), bytes.size()));
}

std::string Ansi(std::string_view bytes) {
    return Printable(IsoFieldText(bytes, IsoTree::Iso));
}

std::string DiscTextShown(const SectorScene& scene, std::string_view bytes) {
    const bool joliet = scene.at<std::uint8_t>(0) == kIsoDescriptorSupplementary;
    return Printable(IsoFieldText(bytes, joliet ? IsoTree::Joliet : IsoTree::Iso));
}

std::string UnicodeShown(std::string_view bytes) {
    std::u16string wide;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        if (const auto unit = static_cast<char16_t>(LittleNumber(bytes.substr(i, 2))); unit != 0)
            wide.push_back(unit);
        else
            break;
    return Printable(WideToUtf8(wide));
}

std::string TextOf(const SectorScene& scene, const FieldRow& row, std::string_view bytes,
                   std::size_t offset) {
    switch (row.kind) {
        case FieldKind::MacText:
            return MacTextShown(UpToZero(bytes));
        case FieldKind::MacString:
            return bytes.empty() ? ""
                                 : MacTextShown(bytes.substr(
                                       1, std::min<std::size_t>(static_cast<std::uint8_t>(bytes[0]),
                                                                row.width)));
        case FieldKind::AnsiText:
            return Ansi(bytes);
        case FieldKind::DiscText:
            return DiscTextShown(scene, bytes);
        case FieldKind::UnicodeText:
            return UnicodeShown(bytes);
        case FieldKind::GuidText:
            return GuidShown(scene.at<Guid>(offset));
        default:
            return {};
    }
}

std::optional<std::uint64_t> NumberOf(const SectorScene& scene, const FieldRow& row,
                                      std::string_view bytes) {
    switch (row.kind) {
        case FieldKind::Big:
        case FieldKind::BigHex:
            return BigNumber(bytes);
        case FieldKind::Little:
        case FieldKind::LittleHex:
        case FieldKind::SignatureHex:
        case FieldKind::Revision:
            return LittleNumber(bytes);
        case FieldKind::Computed:
            return row.compute(scene);
        default:
            return std::nullopt;
    }
}

std::string NumberShown(FieldKind kind, std::uint64_t number) {
    switch (kind) {
        case FieldKind::BigHex:
            return fmt::format("0x{:08x}", number);
        case FieldKind::LittleHex:
            return fmt::format("0x{:02x}", number);
        case FieldKind::SignatureHex:
            return fmt::format("0x{:04X}", number);
        case FieldKind::Revision:
            return fmt::format("{:04X}.{:04X}", number >> 16, number & 0xFFFF);
        default:
            return fmt::format("{}", number);
    }
}

AnalysedField NumberField(std::string key, Caption caption, std::uint64_t number, ByteRange bytes) {
    AnalysedField field;
    field.key = std::move(key);
    field.caption = caption.reason();
    field.number = number;
    field.value = fmt::format("{}", number);
    field.bytes = bytes;
    return field;
}

template <typename Extent>
Extent ExtentAt(const SectorScene& scene, std::size_t offset, std::size_t index) {
    return scene.at<Extent>(offset + index * sizeof(Extent));
}

// Number and position of each run, which leads to its first block.
template <typename Extent>
std::vector<AnalysedField> ExtentFields(const SectorScene& scene, StructureCode code,
                                        const FieldRow& row, std::size_t offset) {
    std::vector<AnalysedField> fields;
    for (std::size_t i = 0; i < row.width / sizeof(Extent); ++i) {
        const auto extent = ExtentAt<Extent>(scene, offset, i);
        const auto at = static_cast<std::uint32_t>(offset + i * sizeof extent);
        const std::string key = fmt::format("{}{}", row.key, i + 1);
        AnalysedField count =
            NumberField(key + "Count", kExtentCount, extent.blockCount,
                        {at + static_cast<std::uint32_t>(offsetof(Extent, blockCount)),
                         sizeof extent.blockCount});
        AnalysedField position = NumberField(key + "Position", kExtentPosition, extent.startBlock,
                                             {at, sizeof extent.startBlock});
        count.isUnused = position.isUnused = extent.blockCount == 0;
        if (!position.isUnused)
            position.links = LinksOf(scene, code, row.link,
                                     fmt::format("{}{}", row.linkName, i + 1), extent.startBlock);
        fields.push_back(std::move(count));
        fields.push_back(std::move(position));
    }
    return fields;
}

// All runs of a fork in one line.
AnalysedField ExtentsLine(const SectorScene& scene, const FieldRow& row, std::size_t offset) {
    AnalysedField field;
    field.key = row.key;
    field.caption = row.caption.reason();
    field.bytes = {static_cast<std::uint32_t>(offset), row.width};
    for (std::size_t i = 0; i < row.width / sizeof(HfsPlusExtent); ++i) {
        const auto extent = ExtentAt<HfsPlusExtent>(scene, offset, i);
        if (extent.blockCount != 0)
            field.value +=
                fmt::format("{}{} @ {}", field.value.empty() ? "" : ", ",
                            std::uint32_t{extent.blockCount}, std::uint32_t{extent.startBlock});
    }
    return field;
}

}  // namespace

std::string_view TextAt(const SectorScene& scene, std::size_t offset, std::size_t width) {
    const std::string_view all(reinterpret_cast<const char*>(scene.bytes.data()),
                               scene.bytes.size());
    return all.substr(std::min(offset, all.size()), width);
}

std::string MacTextShown(std::string_view bytes) {
    return Printable(WideToUtf8(MacNameToWide(bytes)));
}

std::string GuidShown(const Guid& guid) {
    std::string text = fmt::format("{{{:08x}-{:04x}-{:04x}-", std::uint32_t{guid.a},
                                   std::uint16_t{guid.b}, std::uint16_t{guid.c});
    for (std::size_t i = 0; i < guid.d.size(); ++i)
        text += fmt::format("{}{:02X}", i == 2 ? "-" : "", guid.d[i]);
    return text + "}";
}

std::vector<AnalysedField> FieldsOf(const SectorScene& scene, StructureCode code,
                                    const FieldRow& row, std::size_t base) {
    const std::size_t offset = base + row.offset;
    if (row.kind == FieldKind::HfsExtents)
        return ExtentFields<HfsExtent>(scene, code, row, offset);
    if (row.kind == FieldKind::HfsPlusExtents)
        return ExtentFields<HfsPlusExtent>(scene, code, row, offset);
    if (row.kind == FieldKind::ExtentsLine)
        return {ExtentsLine(scene, row, offset)};
    const std::string_view bytes = TextAt(scene, offset, row.width);
    AnalysedField field;
    field.key = row.key;
    field.caption = row.caption.reason();
    field.bytes = {static_cast<std::uint32_t>(row.width == 0 ? 0 : offset), row.width};
    field.number = NumberOf(scene, row, bytes);
    if (field.number) {
        field.value = NumberShown(row.kind, *field.number);
        field.links = LinksOf(scene, code, row.link, row.linkName, *field.number);
    } else if (row.kind == FieldKind::Computed) {
        return {};
    } else {
        field.value = TextOf(scene, row, bytes, offset);
    }
    return {std::move(field)};
}

}  // namespace vellmark
