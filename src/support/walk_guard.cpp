#include "support/walk_guard.hpp"

#include <iterator>

#include "support/encoding.hpp"
#include "support/sentences.hpp"

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

Reason WalkGuard::refuseEntry() {
    if (refused_ > kMostRefused)
        return Reason(Sentence::kWalkTooManyRefused, kMostRefused);
    return ++entries_ <= mostEntries_ ? Reason()
                                      : Reason(Sentence::kWalkTooManyEntries, mostEntries_);
}

Reason WalkGuard::refuseFolder(std::uint64_t id, std::string_view path, std::size_t level) {
    if (level > kMostLevels)
        return refuse(Reason(Sentence::kWalkTooDeep, Printable(path), kMostLevels));
    return entered_.insert(id).second ? Reason()
                                      : refuse(Reason(Sentence::kWalkTwice, Printable(path)));
}

Reason WalkGuard::refuseBytes(std::uint64_t offset, std::uint64_t count, std::string_view path) {
    return seen_.add(offset, count) ? Reason()
                                    : refuse(Reason(Sentence::kWalkOverlap, Printable(path)));
}

Reason WalkGuard::refuse(Reason reason) {
    ++refused_;
    return reason;
}

}  // namespace vellmark
