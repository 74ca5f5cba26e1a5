#include "containers/bin_hex.hpp"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "containers/bin_hex_reader.hpp"
#include "containers/crc16.hpp"
#include "containers/mac_binary.hpp"

namespace vellmark {
namespace {

constexpr std::string_view kRecognitionText = "This file must be converted with BinHex 4.0";
constexpr std::size_t kRecognitionBytes = 128;
constexpr std::size_t kLongestName = 63;
/// MacBinary takes no file without a name.
constexpr std::string_view kNoName = "?";
constexpr std::uint64_t kPieceBytes = 64 * 1024;

/// What follows the name.
struct BinHexHeaderTail {
    std::uint8_t version = 0;
    std::array<char, 8> signature{};  ///< file type, then creator
    be16 finderFlags;
    be32 dataLength;  ///< bytes
    be32 resourceLength;
    be16 checksum;  ///< of all before it
};
static_assert(sizeof(BinHexHeaderTail) == 21 && alignof(BinHexHeaderTail) == 1);
static_assert(offsetof(BinHexHeaderTail, dataLength) == 11);

/// Offset behind the recognition text; nothing when it is not there.
std::optional<std::uint64_t> FindText(ByteSource& text) {
    std::array<std::uint8_t, kRecognitionBytes> bytes{};
    const std::size_t count = text.readAt(0, bytes);
    std::string_view start(reinterpret_cast<const char*>(bytes.data()), count);
    start = start.substr(0, start.find('\0'));
    const std::size_t at = start.find(kRecognitionText);
    if (at == std::string_view::npos)
        return std::nullopt;
    return at + kRecognitionText.size();
}

/// The eight bytes up to the first zero, zeros behind it: a file whose type holds a zero loses its
/// creator. Kept on purpose, as the recogniser of MacBinary takes no signature with zeros in it.
std::array<char, 8> UpToZero(std::array<char, 8> signature) {
    std::fill(std::find(signature.begin(), signature.end(), '\0'), signature.end(), '\0');
    return signature;
}

BinHexOutcome ReadHeader(BinHexReader& reader) {
    BinHexOutcome outcome;
    std::array<std::uint8_t, 1 + kLongestName> name{};
    BinHexHeaderTail tail;
    outcome.fault = ContainerFault::HeaderCut;
    if (reader.read({name.data(), 1}) < 1)
        return outcome;
    const std::size_t length = name[0];
    if (length > kLongestName) {
        outcome.fault = ContainerFault::HeaderInvalid;
        return outcome;
    }
    if (reader.read({name.data() + 1, length}) < length ||
        reader.read({reinterpret_cast<std::uint8_t*>(&tail), sizeof(tail)}) < sizeof(tail))
        return outcome;
    outcome.info.name.assign(reinterpret_cast<const char*>(name.data()) + 1, length);
    outcome.info.finder.signature = UpToZero(tail.signature);
    outcome.info.finder.flags = tail.finderFlags;
    outcome.info.dataLength = tail.dataLength;
    outcome.info.resourceLength = tail.resourceLength;
    const std::uint16_t checksum = Crc16(AsBytes(tail).first(offsetof(BinHexHeaderTail, checksum)),
                                         Crc16(std::span(name).first(1 + length)));
    const bool isProven = checksum == tail.checksum;
    // Without a name it can only be believed when all else is right.
    outcome.usable = isProven || length > 0;
    outcome.fault = isProven      ? ContainerFault::None
                    : length == 0 ? ContainerFault::HeaderInvalid
                                  : ContainerFault::HeaderChecksum;
    return outcome;
}

struct HeaderChoice {
    BinHexOutcome outcome;
    BinHexRunRule rule = BinHexRunRule::Marker;
};

/// The header under the rule that its checksum proves, the first where it proves none.
HeaderChoice ChooseHeader(ByteSource& text, std::uint64_t offset) {
    BinHexReader first(text, offset, BinHexRunRule::Marker);
    HeaderChoice choice{ReadHeader(first), BinHexRunRule::Marker};
    if (choice.outcome.fault != ContainerFault::None && first.rulesDiffer()) {
        BinHexReader second(text, offset, BinHexRunRule::RunsByte);
        const BinHexOutcome other = ReadHeader(second);
        if (other.fault == ContainerFault::None)
            return {other, BinHexRunRule::RunsByte};
    }
    return choice;
}

/// One fork and the checksum behind it.
struct Section {
    bool isWhole = false;
    bool isProven = false;     ///< its checksum is right
    bool hasChecksum = false;  ///< right or wrong
    bool targetFailed = false;
};

/// Writes to `target` at `offset` when there is one.
Section ReadSection(BinHexReader& reader, std::uint64_t length, ByteSink* target,
                    std::uint64_t offset) {
    Section section;
    std::vector<std::uint8_t> buffer(static_cast<std::size_t>(std::min(length, kPieceBytes)));
    std::uint16_t checksum = 0;
    for (std::uint64_t at = 0; at < length;) {
        const auto wanted =
            static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), length - at));
        const auto piece = std::span(buffer).first(reader.read({buffer.data(), wanted}));
        if (target != nullptr && !target->writeAt(offset + at, piece)) {
            section.targetFailed = true;
            return section;
        }
        if (piece.size() < wanted)
            return section;
        checksum = Crc16(piece, checksum);
        at += wanted;
    }
    section.isWhole = true;
    be16 told;
    section.hasChecksum =
        reader.read({reinterpret_cast<std::uint8_t*>(&told), sizeof(told)}) == sizeof(told);
    section.isProven = section.hasChecksum && told == checksum;
    return section;
}

ContainerFault FaultOf(const Section& data, const Section& resource, const BinHexOutcome& header) {
    if (data.targetFailed || resource.targetFailed)
        return ContainerFault::TargetFailed;
    if (header.fault != ContainerFault::None)
        return header.fault;
    if (!data.isWhole)
        return ContainerFault::DataForkCut;
    if (!data.isProven)
        return ContainerFault::DataChecksum;
    if (!resource.isWhole)
        return ContainerFault::ResourceForkCut;
    if (!resource.isProven && (resource.hasChecksum || header.info.resourceLength != 0))
        return ContainerFault::ResourceChecksum;
    return ContainerFault::None;
}

/// The whole file under one rule.
struct Pass {
    BinHexOutcome outcome;
    int provenForks = 0;
    bool rulesDiffer = false;
};

/// Without a target nothing but the checksums is found out.
Pass RunPass(ByteSource& text, std::uint64_t offset, BinHexRunRule rule, ByteSink* target) {
    Pass pass;
    BinHexReader reader(text, offset, rule);
    pass.outcome = ReadHeader(reader);
    if (!pass.outcome.usable)
        return pass;
    const MacFileInfo& info = pass.outcome.info;
    MacFileInfo told = info;
    if (told.name.empty())
        told.name = kNoName;
    if (target != nullptr && !target->writeRecord(0, MakeMacBinaryHeader(told))) {
        pass.outcome.fault = ContainerFault::TargetFailed;
        return pass;
    }
    const Section data = ReadSection(reader, info.dataLength, target, sizeof(MacBinaryHeader));
    Section resource;
    if (data.isWhole)
        resource = ReadSection(reader, info.resourceLength, target,
                               MacBinaryResourceOffset(info.dataLength));
    pass.outcome.fault = FaultOf(data, resource, pass.outcome);
    pass.provenForks = static_cast<int>(data.isProven) + static_cast<int>(resource.isProven);
    pass.rulesDiffer = reader.rulesDiffer();
    return pass;
}

}  // namespace

bool IsBinHexFile(ByteSource& text) {
    return FindText(text).has_value();
}

BinHexOutcome DecodeBinHex(ByteSource& text, ByteSink& target) {
    const std::optional<std::uint64_t> offset = FindText(text);
    BinHexOutcome none;
    none.fault = ContainerFault::NotThisFormat;
    if (!offset)
        return none;
    const HeaderChoice header = ChooseHeader(text, *offset);
    if (!header.outcome.usable)
        return header.outcome;
    const Pass pass = RunPass(text, *offset, header.rule, &target);
    if (pass.outcome.fault == ContainerFault::None ||
        pass.outcome.fault == ContainerFault::TargetFailed || !pass.rulesDiffer ||
        header.rule == BinHexRunRule::RunsByte)
        return pass.outcome;
    // A right header has the same lengths under both rules, so the second writing covers the
    // first wholly.
    const Pass other = RunPass(text, *offset, BinHexRunRule::RunsByte, nullptr);
    if (other.provenForks <= pass.provenForks ||
        other.outcome.info.dataLength != pass.outcome.info.dataLength ||
        other.outcome.info.resourceLength != pass.outcome.info.resourceLength)
        return pass.outcome;
    return RunPass(text, *offset, BinHexRunRule::RunsByte, &target).outcome;
}

}  // namespace vellmark
