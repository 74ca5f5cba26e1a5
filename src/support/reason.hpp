// Why something was not done, or was done with a remark: a value that whoever talks to the person
// turns into words of their language.
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "support/texts.hpp"

namespace vellmark {

/// Names of sentences: sentences.hpp has them, for those who give a reason.
enum class Sentence : std::uint16_t;

/// What the operating system says of a failure; `number` is an errno, 0 says nothing.
struct SystemError {
    int number = 0;
};

/// A text of the numbered table that takes no operands.
struct ToldText {
    int number = 0;
};

class Reason;

/// What stands for one `{}` of a sentence, or one `%s`, `%d` of a numbered text. Names of files are
/// given as they are to be shown (`Printable`).
class Operand {
  public:
    Operand(std::string text) : value_(std::move(text)) {}
    Operand(std::string_view text) : value_(std::string(text)) {}
    Operand(const char* text) : value_(std::string(text)) {}
    template <std::signed_integral Number>
    Operand(Number number) : value_(std::int64_t{number}) {}
    template <std::unsigned_integral Number>
    Operand(Number number) : value_(std::uint64_t{number}) {}
    Operand(double number) : value_(number) {}
    Operand(SystemError error) : value_(error) {}
    Operand(ToldText text) : value_(text) {}
    Operand(Sentence sentence);
    Operand(Reason reason);

    using Value = std::variant<std::string, std::int64_t, std::uint64_t, double, SystemError,
                               ToldText, std::shared_ptr<const Reason>>;
    [[nodiscard]] const Value& value() const { return value_; }

  private:
    Value value_;
};

/// How much a reason weighs for the one who reads it.
enum class Severity : std::uint8_t {
    Remark,      ///< done; worth knowing
    Incomplete,  ///< done, but something is missing
    Failure      ///< not done
};

class Reason {
  public:
    /// None: nothing speaks against it.
    Reason() = default;
    Reason(Sentence sentence) : sentence_(sentence) {}
    template <typename... Operands>
    requires(sizeof...(Operands) > 0) explicit Reason(Sentence sentence, Operands&&... operands)
        : sentence_(sentence), operands_{Operand(std::forward<Operands>(operands))...} {}
    /// None for an error number of 0.
    Reason(SystemError error);
    Reason(ToldText text) : told_(text.number) {}
    /// A numbered text with its operands.
    template <typename... Operands>
    [[nodiscard]] static Reason Told(int number, Operands&&... operands) {
        Reason reason(ToldText{number});
        reason.operands_ = {Operand(std::forward<Operands>(operands))...};
        return reason;
    }
    /// Several sentences, one behind the other with `separator` between them; the empty ones are
    /// left out.
    [[nodiscard]] static Reason Joined(std::vector<Reason> parts, std::string_view separator);
    /// Text that is in no language: a list of names, or what another program or a file says.
    [[nodiscard]] static Reason Plain(std::string text);

    [[nodiscard]] bool isNone() const { return sentence_ == Sentence{} && told_ == 0; }
    [[nodiscard]] explicit operator bool() const { return !isNone(); }
    /// The name of its sentence, `kNone` for a numbered text.
    [[nodiscard]] Sentence sentence() const { return sentence_; }
    /// Its number, 0 for a sentence that has a name.
    [[nodiscard]] int told() const { return told_; }
    [[nodiscard]] const std::vector<Operand>& operands() const { return operands_; }

    [[nodiscard]] Severity severity() const { return severity_; }
    /// The same with another weight; without this it is a failure.
    [[nodiscard]] Reason as(Severity severity) const;

    /// The words, "" for none.
    [[nodiscard]] std::string words(Language language) const;

  private:
    Sentence sentence_{};  ///< 0 is `kNone`
    int told_ = 0;
    Severity severity_ = Severity::Failure;
    std::vector<Operand> operands_;
};

/// What the system says of that failure.
[[nodiscard]] std::string SystemErrorText(int error, Language language);

}  // namespace vellmark
