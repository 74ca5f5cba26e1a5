// What a call gives that can fail: a value, or the reason why there is none.
#pragma once

#include <tl/expected.hpp>
#include <utility>

#include "support/reason.hpp"

namespace vellmark {

template <typename Value>
using Result = tl::expected<Value, Reason>;

/// `return Failed(Sentence::kName, operands...);`
template <typename... Operands>
[[nodiscard]] tl::unexpected<Reason> Failed(Sentence sentence, Operands&&... operands) {
    return tl::unexpected<Reason>(Reason(sentence, std::forward<Operands>(operands)...));
}
[[nodiscard]] inline tl::unexpected<Reason> Failed(Reason reason) {
    return tl::unexpected<Reason>(std::move(reason));
}

}  // namespace vellmark
