// A catalog is sized by an estimate before it is built.
#pragma once

#include <cstdint>

#include "volume/btree.hpp"

namespace vellmark {

/// Times that a catalog which came out too small is laid out anew.
inline constexpr int kLayoutRounds = 8;

/// Calls `layOut(leaves)`, each time with room for a quarter more leaves, until the catalog fits or
/// something else is wrong.
template <typename LayOut>
[[nodiscard]] TreeResult GrowUntilItFits(std::uint32_t leaves, LayOut layOut) {
    TreeResult result = layOut(leaves);
    for (int round = 1; round < kLayoutRounds && result == TreeResult::Full; ++round) {
        leaves += leaves / 4 + 4;
        result = layOut(leaves);
    }
    return result;
}

}  // namespace vellmark
