// Reasons as tests compare and print them: their English words.
#pragma once

#include <ostream>
#include <string>

#include "support/reason.hpp"

namespace vellmark {

[[nodiscard]] inline std::string Words(const Reason& reason) {
    return reason.words(Language::English);
}

inline std::ostream& operator<<(std::ostream& out, const Reason& reason) {
    return out << '"' << Words(reason) << '"';
}

}  // namespace vellmark
