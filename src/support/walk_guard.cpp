#include "support/walk_guard.hpp"

#include <fmt/core.h>

#include <iterator>

#include "support/encoding.hpp"

namespace vellmark {

bool SeenBytes::add(std::uint64_t offset, std::uint64_t count) {
    if (count == 0)
        return true;
    if (count > UINT64_MAX - offset)
        return false;
    std::uint64_t end = offset + count;
    auto next = ends_.lower_bound(offset);
    if (next != ends_.end() && next->first < end)
        return false;
    auto previous = next == ends_.begin() ? ends_.end() : std::prev(next);
    if (previous != ends_.end() && previous->second > offset)
        return false;
    if (next != ends_.end() && next->first == end) {
        end = next->second;
        ends_.erase(next);
    }
    if (previous != ends_.end() && previous->second == offset)
        previous->second = end;
    else
        ends_.emplace(offset, end);
    return true;
}

std::string WalkGuard::refuseEntry() {
    if (refused_ > kMostRefused)
        return fmt::format(
            "More than {} folders of the tree cannot be entered; the rest is left "
            "out.",
            kMostRefused);
    if (++entries_ <= mostEntries_)
        return {};
    return fmt::format("The tree has more than {} entries; the rest is left out.", mostEntries_);
}

std::string WalkGuard::refuseFolder(std::uint64_t id, std::string_view path, std::size_t level) {
    if (level > kMostLevels)
        return refuse(fmt::format("The folder {} lies more than {} levels deep and is left out.",
                                  Printable(path), kMostLevels));
    if (!entered_.insert(id).second)
        return refuse(fmt::format(
            "The folder {} is in the tree a second time and is left out there.", Printable(path)));
    return {};
}

std::string WalkGuard::refuseBytes(std::uint64_t offset, std::uint64_t count,
                                   std::string_view path) {
    if (seen_.add(offset, count))
        return {};
    return refuse(fmt::format("The folder {} lies in bytes of another folder and is left out.",
                              Printable(path)));
}

std::string WalkGuard::refuse(std::string sentence) {
    ++refused_;
    return sentence;
}

}  // namespace vellmark
