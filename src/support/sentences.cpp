#include "support/sentences.hpp"

#include <array>

namespace vellmark {

namespace {

struct Row {
    std::string_view english;
    std::string_view french;
};

constexpr Row kRows[] = {
    {"", ""},
#define VELLMARK_SENTENCE(name, english, french) {english, french},
#include "support/sentences.inc"
#undef VELLMARK_SENTENCE
};

}  // namespace

std::string_view SentenceText(Sentence sentence, Language language) {
    const Row& row = kRows[static_cast<std::size_t>(sentence)];
    return language == Language::French ? row.french : row.english;
}

}  // namespace vellmark
