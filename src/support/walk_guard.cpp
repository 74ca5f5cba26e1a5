#include "support/walk_guard.hpp"

#include <fmt/core.h>

#include "support/encoding.hpp"

namespace vellmark {

std::string WalkGuard::refuseEntry() {
    if (++entries_ <= mostEntries_)
        return {};
    return fmt::format("The tree has more than {} entries; the rest is left out.", mostEntries_);
}

std::string WalkGuard::refuseFolder(std::uint64_t id, std::string_view path, std::size_t level) {
    if (level > kMostLevels)
        return fmt::format("The folder {} lies more than {} levels deep and is left out.",
                           Printable(path), kMostLevels);
    if (!entered_.insert(id).second)
        return fmt::format("The folder {} is in the tree a second time and is left out there.",
                           Printable(path));
    return {};
}

}  // namespace vellmark
