// Looking for bytes in a fork or a whole image.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "support/byte_source.hpp"
#include "support/progress.hpp"

namespace vellmark {

struct ForkSearch {
    std::vector<std::uint8_t> bytes;  ///< what is looked for; not empty
    std::uint64_t from = 0;           ///< the first byte at which it may begin
    bool atSectorStarts = false;      ///< only at the first byte of a sector
};

enum class SearchEnd : std::uint8_t {
    Found,
    NotFound,
    Stopped,  ///< the progress said so
    Failed    ///< not everything could be read
};

struct SearchResult {
    SearchEnd end = SearchEnd::NotFound;
    std::uint64_t offset = 0;  ///< of the match; of where it stopped, or could not be read
};

/// The first match from `search.from` on, across borders of sectors too. The progress counts the
/// bytes from there to the end, and is asked a hundred times a second at least.
[[nodiscard]] SearchResult SearchFork(ByteSource& source, const ForkSearch& search,
                                      Progress& progress);

}  // namespace vellmark
