// The rule by which no two items of a folder get one name, whatever the tree: an item whose name is
// taken gets digits of its own before the extension, and more of them where another has those too.
#pragma once

#include <cstdint>

#include "containers/short_name.hpp"

namespace vellmark {

/// `wanted`, or the first of `other(0)`, `other(1)` and on that `take` takes: it notes the name and
/// gives true, or false where another item has it.
template <typename Name, typename Take, typename Other>
[[nodiscard]] Name FirstFreeName(Name wanted, Take take, Other other) {
    if (take(wanted))
        return wanted;
    for (unsigned round = 0;; ++round)
        if (Name name = other(round); take(name))
            return name;
}

/// The same where the digits are those of a CRC, which is asked for when it is needed; a name has
/// at most `limit` bytes or units.
template <typename Name, typename Take, typename CrcOf>
[[nodiscard]] Name NameWithDigits(const Name& wanted, std::size_t limit, Take take, CrcOf crcOf) {
    std::uint16_t crc = 0;
    return FirstFreeName(wanted, take, [&](unsigned round) {
        if (round == 0)
            crc = crcOf();
        return WithTail(wanted, DigitsTail(crc, round), limit);
    });
}

}  // namespace vellmark
