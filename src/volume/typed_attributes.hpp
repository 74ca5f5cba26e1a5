// Flags and dates of items as a person types them.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "containers/finder_info.hpp"
#include "support/clock.hpp"

namespace vellmark {

/// Finder flags by the names that are used for them.
struct FinderFlag {
    std::string_view name;
    std::uint16_t bit;
};
inline constexpr std::array kFinderFlags = {FinderFlag{"invisible", kFinderInvisible},
                                            FinderFlag{"bundle", kFinderHasBundle},
                                            FinderFlag{"name-locked", kFinderNameLocked},
                                            FinderFlag{"stationery", kFinderStationery},
                                            FinderFlag{"custom-icon", kFinderCustomIcon},
                                            FinderFlag{"no-inits", kFinderNoInits},
                                            FinderFlag{"inited", kFinderInited},
                                            FinderFlag{"shared", kFinderShared},
                                            FinderFlag{"alias", kFinderAlias}};

/// The bits of those names; a name that is none of them has none.
[[nodiscard]] std::uint16_t FinderFlagsOf(const std::vector<std::string>& names);

/// `2026-11-21T10:46:05Z`, with a blank for the T, or without time or seconds; in UTC. Nothing for
/// what is no date, or none that a volume can keep.
[[nodiscard]] std::optional<UnixSeconds> TypedDate(const std::string& typed);

}  // namespace vellmark
