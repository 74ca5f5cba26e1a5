#include "support/reason.hpp"

#include <fmt/args.h>
#include <fmt/core.h>
#include <fmt/printf.h>

#include <type_traits>

#include "support/sentences.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

// A number stays one, so that a sentence can say how it is written; all else becomes words.
using Shown = std::variant<std::string, std::int64_t, std::uint64_t, double>;

Shown ShownAs(const Operand& operand, Language language) {
    return std::visit(
        [language](const auto& value) -> Shown {
            using Value = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Value, SystemError>)
                return SystemErrorText(value.number, language);
            else if constexpr (std::is_same_v<Value, ToldText>)
                return std::string(Text(value.number, language));
            else if constexpr (std::is_same_v<Value, std::shared_ptr<const Reason>>)
                return value->words(language);
            else
                return value;
        },
        operand.value());
}

}  // namespace

Operand::Operand(Sentence sentence) : Operand(Reason(sentence)) {}

Operand::Operand(Reason reason) : value_(std::make_shared<const Reason>(std::move(reason))) {}

Reason::Reason(SystemError error) {
    if (error.number != 0)
        *this = Reason(Sentence::kOnlyOperand, error);
}

Reason Reason::Joined(std::vector<Reason> parts, std::string_view separator) {
    Reason joined;
    for (Reason& part : parts)
        if (part)
            joined = joined
                         ? Reason(Sentence::kJoined, std::move(joined), separator, std::move(part))
                         : std::move(part);
    return joined;
}

Reason Reason::Plain(std::string text) {
    return text.empty() ? Reason() : Reason(Sentence::kOnlyOperand, std::move(text));
}

Reason Reason::as(Severity severity) const {
    Reason same = *this;
    same.severity_ = severity;
    return same;
}

std::string Reason::words(Language language) const {
    std::vector<Shown> shown;
    shown.reserve(operands_.size());
    for (const Operand& operand : operands_)
        shown.push_back(ShownAs(operand, language));
    if (told_ != 0) {
        std::vector<TextOperand> operands;
        for (const Shown& each : shown)
            std::visit([&operands](const auto& value) { operands.emplace_back(value); }, each);
        return FormatOperands(Text(told_, language), operands);
    }
    fmt::dynamic_format_arg_store<fmt::format_context> store;
    for (const Shown& each : shown)
        std::visit([&store](const auto& value) { store.push_back(value); }, each);
    return fmt::vformat(SentenceText(sentence_, language), store);
}

}  // namespace vellmark
