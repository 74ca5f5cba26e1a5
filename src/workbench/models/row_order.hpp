// The order of a list's rows by one of its columns.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace vellmark {

/// Puts rows in the order of their keys, which are made once each; rows of equal keys stay in
/// theirs.
template <typename Row, typename KeyOf>
void SortRows(std::vector<Row>& rows, bool isDescending, KeyOf keyOf) {
    using Key = decltype(keyOf(rows.front()));
    struct Keyed {
        Key key;
        std::size_t place;
    };
    std::vector<Keyed> order;
    order.reserve(rows.size());
    for (const Row& row : rows)
        order.push_back({keyOf(row), order.size()});
    std::stable_sort(order.begin(), order.end(), [isDescending](const Keyed& a, const Keyed& b) {
        return isDescending ? b.key < a.key : a.key < b.key;
    });
    std::vector<Row> sorted;
    sorted.reserve(rows.size());
    for (const Keyed& keyed : order)
        sorted.push_back(std::move(rows[keyed.place]));
    rows = std::move(sorted);
}

}  // namespace vellmark
