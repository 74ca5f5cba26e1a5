// Searches over a whole catalog, and the signatures of all files changed at once.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "volume/catalog.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

/// Hits after which a search ends unless more are wanted.
inline constexpr std::size_t kMostHits = 128;

/// A file or folder that a search found.
struct SearchHit {
    std::uint32_t parentId = 0;
    CatalogName name;
    bool isFolder = false;
};

/// Every file and folder whose name equals the pattern, by the comparison of searches: `*` finds
/// all, a pattern with a `*` what holds the part before it or the part behind it. The pattern is as
/// a person typed it. Hits before a damaged place are kept.
[[nodiscard]] TreeResult FindByName(VolumeContext& volume, std::string_view pattern,
                                    std::vector<SearchHit>& hits, std::size_t most = kMostHits);

/// Every file of that signature, MacRoman: up to four letters find a type or a creator that begins
/// with them, more are compared from the first letter of the type on.
[[nodiscard]] TreeResult FindBySignature(VolumeContext& volume, std::string_view signature,
                                         std::vector<SearchHit>& hits,
                                         std::size_t most = kMostHits);

/// Every file that the Finder takes for an alias.
[[nodiscard]] TreeResult FindAliases(VolumeContext& volume, std::vector<SearchHit>& hits,
                                     std::size_t most = kMostHits);

/// What became of the files of a signature.
struct Replaced {
    std::size_t count = 0;           ///< of those that have the new one
    std::vector<SearchHit> refused;  ///< that later systems protect, so that they keep the old one
};

/// Gives all files of one signature another one, but for those that later systems protect. `agrees`
/// is asked for each; without it all are changed.
[[nodiscard]] TreeResult ReplaceSignature(WritableVolume& volume,
                                          const std::array<char, 8>& oldSignature,
                                          const std::array<char, 8>& newSignature,
                                          Replaced& replaced,
                                          const std::function<bool(const SearchHit&)>& agrees = {});

/// Path of an item, `/` between the names, as it is typed.
[[nodiscard]] std::string PathOf(VolumeContext& volume, const SearchHit& hit);

}  // namespace vellmark
