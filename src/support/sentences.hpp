// The sentences of this program that have a name: an English and a French row each. Those that have
// a number are in texts.hpp.
#pragma once

#include <cstdint>
#include <string_view>

#include "support/texts.hpp"

namespace vellmark {

enum class Sentence : std::uint16_t {
    kNone,  ///< ""
#define VELLMARK_SENTENCE(name, english, french) name,
#include "support/sentences.inc"
#undef VELLMARK_SENTENCE
};

/// Its words (UTF-8), with `{}` where an operand goes, or `{0}`, `{1}` where the languages differ
/// in their order.
[[nodiscard]] std::string_view SentenceText(Sentence sentence, Language language);

}  // namespace vellmark
