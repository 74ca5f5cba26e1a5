#include "inspect/fork_page.hpp"

#include <algorithm>

namespace vellmark {
namespace {

constexpr std::size_t kOffsetDigits = 8;
constexpr std::string_view kDigits = "0123456789abcdef";

}  // namespace

LineColumns ColumnsAt(std::uint64_t offset, unsigned base) {
    LineColumns columns;
    std::size_t digits = 1;
    for (std::uint64_t rest = offset / base; rest != 0; rest /= base)
        ++digits;
    const std::size_t moved = digits + 1 > columns.hex ? digits + 1 - columns.hex : 0;
    columns.hex += moved;
    columns.characters += moved;
    return columns;
}

std::string DumpLine(std::uint64_t offset, std::span<const std::uint8_t> bytes, PageStyle style) {
    const LineColumns columns = ColumnsAt(offset, style.base);
    std::string line = NumberText(offset, style.base, kOffsetDigits);
    line.resize(columns.characters, ' ');
    bytes = bytes.first(std::min(bytes.size(), kLineBytes));
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        line[columns.hexOf(i)] = kDigits[bytes[i] >> 4];
        line[columns.hexOf(i) + 1] = kDigits[bytes[i] & 15];
    }
    for (const std::uint8_t byte : bytes)
        line += ShownText(byte, style.table);
    line.append(kLineBytes - bytes.size(), ' ');
    return line;
}

std::vector<std::string> DumpLines(std::uint64_t offset, std::span<const std::uint8_t> bytes,
                                   PageStyle style) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < bytes.size(); at += kLineBytes) {
        const std::size_t count = std::min(kLineBytes, bytes.size() - at);
        lines.push_back(DumpLine(offset + at, bytes.subspan(at, count), style));
        if (at / kLineBytes % kLinesOfGroup == kLinesOfGroup - 1)
            lines.emplace_back();
    }
    return lines;
}

std::uint64_t LastSector(const ByteSource& source) {
    return source.size() == 0 ? 0 : (source.size() - 1) / kSectorBytes;
}

ForkPage ReadPage(ByteSource& source, std::uint64_t sector, PageStyle style) {
    ForkPage page;
    page.sector = sector;
    if (sector <= LastSector(source))
        page.count = source.readAt(page.offset(), page.bytes);
    if (page.count > 0)
        page.lines = DumpLines(page.offset(), page.bytes, style);
    return page;
}

}  // namespace vellmark
