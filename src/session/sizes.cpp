#include "session/sizes.hpp"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>
#include <system_error>

#include "support/encoding.hpp"

namespace vellmark {

namespace {

struct SizeUnit {
    char letter;
    std::uint64_t bytes;
};
constexpr SizeUnit kSizeUnits[] = {
    {'K', 1u << 10}, {'M', kMegabyte}, {'G', 1u << 30}, {'T', std::uint64_t{1} << 40}};

}  // namespace

std::optional<std::uint64_t> SizeOf(std::string_view text, std::uint64_t unitBytes) {
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{})
        return std::nullopt;
    if (rest != end) {
        const std::string unit = AsciiUpper({rest, end});
        const auto* found =
            std::find_if(std::begin(kSizeUnits), std::end(kSizeUnits), [&](const SizeUnit& size) {
                return unit == std::string(1, size.letter) || unit == std::string{size.letter, 'B'};
            });
        if (found == std::end(kSizeUnits))
            return std::nullopt;
        unitBytes = found->bytes;
    }
    return number > UINT64_MAX / unitBytes ? std::nullopt : std::optional(number * unitBytes);
}

}  // namespace vellmark
