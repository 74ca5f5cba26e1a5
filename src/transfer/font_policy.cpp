#include "transfer/font_policy.hpp"

#include "support/canonical_form.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr int kTextConvert = 1125;
constexpr std::size_t kQuestionUnits = 40;

}  // namespace

std::string NameForQuestion(std::string_view pcName) {
    std::u16string wide = Utf8ToWide(Printable(pcName));
    CutAtLetter(wide, kQuestionUnits);
    return WideToUtf8(wide);
}

std::optional<bool> ConvertsFont(FontPolicy policy, std::string_view name, RememberedAnswer& kept,
                                 Messages& messages) {
    if (policy != FontPolicy::Ask)
        return policy == FontPolicy::Always;
    const Answer answer = kept.answer(messages, Reason::Told(kTextConvert, NameForQuestion(name)));
    if (answer == Answer::None)
        return std::nullopt;
    return answer == Answer::Yes || answer == Answer::YesToAll;
}

}  // namespace vellmark
