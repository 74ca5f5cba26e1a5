#include "inspect/resource_texts.hpp"

#include <algorithm>

#include "containers/names.hpp"
#include "support/encoding.hpp"

namespace vellmark {
namespace {

using Bytes = std::span<const std::uint8_t>;
using Texts = std::vector<std::string>;

/// Fields of a `vers` before its two strings.
constexpr std::size_t kVersionHead = 6;

// Lines of a Macintosh end in CR.
std::string Shown(Bytes bytes) {
    const std::string mac(bytes.begin(), bytes.end());
    std::string text;
    for (std::size_t at = 0; at <= mac.size();) {
        const std::size_t end = std::min(mac.find_first_of("\r\n", at), mac.size());
        text += Printable(WideToUtf8(MacNameToWide(std::string_view(mac).substr(at, end - at))));
        if (end < mac.size())
            text += '\n';
        const bool isPair = end + 1 < mac.size() && mac[end] == '\r' && mac[end + 1] == '\n';
        at = end + (isPair ? 2 : 1);
    }
    return text;
}

// A string behind its length; false when it is not wholly there.
bool TakeString(Bytes& rest, Texts& texts) {
    if (rest.empty() || rest.size() - 1 < rest[0])
        return false;
    texts.push_back(Shown(rest.subspan(1, rest[0])));
    rest = rest.subspan(1 + std::size_t{rest[0]});
    return true;
}

bool TakeStrings(Bytes rest, std::size_t count, Texts& texts) {
    for (std::size_t i = 0; i < count; ++i)
        if (!TakeString(rest, texts))
            return false;
    return true;
}

}  // namespace

std::optional<Texts> DecodeTexts(std::string_view type, Bytes bytes) {
    Texts texts;
    if (type == "TEXT")
        return Texts{Shown(bytes)};
    bool whole = false;
    if (type == "STR ")
        whole = TakeStrings(bytes, 1, texts);
    else if (type == "STR#")
        whole = bytes.size() >= 2 &&
                TakeStrings(bytes.subspan(2), std::size_t{bytes[0]} << 8 | bytes[1], texts);
    else if (type == "vers")
        whole = bytes.size() > kVersionHead && TakeStrings(bytes.subspan(kVersionHead), 2, texts);
    return whole ? std::optional(std::move(texts)) : std::nullopt;
}

}  // namespace vellmark
