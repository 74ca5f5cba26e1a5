#include "IO/raw_image.hpp"

#include <algorithm>
#include <array>
#include <string_view>

namespace vellmark {

namespace {

constexpr std::string_view kStandard = "CD001";

struct MarkPlace {
    std::uint64_t offset;
    DiscForm form;
};
constexpr std::uint64_t kPlainMark = 32'769;
constexpr MarkPlace kMarkPlaces[] = {{kPlainMark, {}},
                                     {37'320, {kRawSectorBytes, kRawMode2DataOffset}},
                                     {37'321, {kRawSectorBytes, kRawMode2DataOffset}},
                                     {37'649, {kRawSectorBytes, kRawMode1DataOffset}},
                                     {37'657, {kRawSectorBytes, kRawMode2DataOffset}}};

bool HasMark(ByteSource& image, std::uint64_t offset) {
    std::array<char, kStandard.size()> mark;
    return image.readRecord(offset, mark) &&
           std::string_view(mark.data(), mark.size()) == kStandard;
}

}  // namespace

std::optional<DiscForm> FindDiscForm(ByteSource& image) {
    for (const MarkPlace& place : kMarkPlaces)
        if (HasMark(image, place.offset))
            return place.form;
    return std::nullopt;
}

std::size_t RawDataSource::readAt(std::uint64_t offset, std::span<std::uint8_t> out) {
    std::size_t done = 0;
    while (done < out.size() && offset + done < size()) {
        const std::uint64_t sector = (offset + done) / kIsoSectorBytes;
        const auto within = static_cast<std::size_t>((offset + done) % kIsoSectorBytes);
        const std::size_t want = std::min(out.size() - done, kIsoSectorBytes - within);
        const std::size_t got = image_.readAt(sector * kRawSectorBytes + form_.dataOffset + within,
                                              out.subspan(done, want));
        done += got;
        if (got < want)
            break;
    }
    return done;
}

bool IsRawIso(ByteSource& image, DiscForm form) {
    RawDataSource data(image, form);
    return HasMark(data, kPlainMark);
}

}  // namespace vellmark
