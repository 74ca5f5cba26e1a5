#include "inspect/fork_search.hpp"

#include <algorithm>
#include <cstring>
#include <optional>

#include "IO/sector_io.hpp"

namespace vellmark {
namespace {

/// Of one read: large enough that the call does not count, small enough for the processor's cache.
constexpr std::size_t kWindowBytes = 256 << 10;

using Window = std::span<const std::uint8_t>;

// How common a byte is in what lies on discs: zeros and text fill them.
unsigned Commonness(std::uint8_t byte) {
    constexpr std::string_view kCommonLetters = " etaoinsrhldcum";
    if (byte == 0 || byte == 0xFF)
        return 3;
    if (kCommonLetters.find(static_cast<char>(byte)) != std::string_view::npos)
        return 2;
    return byte >= 0x20 && byte < 0x7F ? 1 : 0;
}

std::size_t RarestPlace(Window text) {
    std::size_t rarest = 0;
    for (std::size_t i = 1; i < text.size(); ++i)
        if (Commonness(text[i]) < Commonness(text[rarest]))
            rarest = i;
    return rarest;
}

// Offset of the first match in the window.
std::optional<std::size_t> Find(Window window, Window text, std::size_t rarest) {
    // A scan for one byte is the fastest there is, as long as it seldom stops.
    constexpr std::size_t kMostFalse = 1024;
    std::size_t at = 0;  // where a match may begin
    std::size_t falseHits = 0;
    while (window.size() - at >= text.size() && falseHits < kMostFalse) {
        const std::size_t starts = window.size() - at - text.size() + 1;
        const void* const hit = std::memchr(window.data() + at + rarest, text[rarest], starts);
        if (hit == nullptr)
            return std::nullopt;
        at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - window.data()) -
             rarest;
        if (std::memcmp(window.data() + at, text.data(), text.size()) == 0)
            return at;
        ++at;
        ++falseHits;
    }
    const Window rest = window.subspan(std::min(at, window.size()));
    const void* const hit = ::memmem(rest.data(), rest.size(), text.data(), text.size());
    if (hit == nullptr)
        return std::nullopt;
    return static_cast<std::size_t>(static_cast<const std::uint8_t*>(hit) - window.data());
}

// The same among the sectors that begin in the window, whose first byte has that offset.
std::optional<std::size_t> FindAtSectorStart(Window window, Window text, std::uint64_t offset) {
    for (std::size_t at = (kSectorBytes - offset % kSectorBytes) % kSectorBytes;
         at + text.size() <= window.size(); at += kSectorBytes)
        if (std::memcmp(window.data() + at, text.data(), text.size()) == 0)
            return at;
    return std::nullopt;
}

}  // namespace

SearchResult SearchFork(ByteSource& source, const ForkSearch& search, Progress& progress) {
    const Window text(search.bytes);
    const std::uint64_t size = source.size();
    if (text.empty() || search.from > size || size - search.from < text.size())
        return {SearchEnd::NotFound, size};
    progress.begin(size - search.from);
    const std::size_t rarest = RarestPlace(text);
    // The end of a window is kept before the next one, for a match that spans both.
    std::vector<std::uint8_t> buffer(kWindowBytes + text.size());
    std::size_t kept = 0;
    for (std::uint64_t offset = search.from; offset < size;) {
        const auto wanted =
            static_cast<std::size_t>(std::min<std::uint64_t>(kWindowBytes, size - offset));
        const std::size_t got = source.readAt(offset, std::span(buffer).subspan(kept, wanted));
        const Window window = Window(buffer).first(kept + got);
        const std::uint64_t start = offset - kept;
        const auto found = search.atSectorStarts ? FindAtSectorStart(window, text, start)
                                                 : Find(window, text, rarest);
        if (found)
            return {SearchEnd::Found, start + *found};
        offset += got;
        if (!progress.chunk(got))
            return {SearchEnd::Stopped, offset};
        if (got < wanted)
            return {SearchEnd::Failed, offset};
        kept = std::min(text.size() - 1, window.size());
        std::memmove(buffer.data(), window.data() + window.size() - kept, kept);
    }
    return {SearchEnd::NotFound, size};
}

}  // namespace vellmark
