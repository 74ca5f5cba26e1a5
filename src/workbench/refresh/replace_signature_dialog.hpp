// Which type and creator of a project's files give way to which.
#pragma once

#include <array>
#include <optional>

namespace vellmark {

class TVellmark;

struct SignaturesWanted {
    std::array<char, 8> from{};  ///< type, then creator, in MacRoman
    std::array<char, 8> to{};
};

/// What the person wants; nothing when they give up.
[[nodiscard]] std::optional<SignaturesWanted> AskSignatures(TVellmark& window);

}  // namespace vellmark
