#include "session/options.hpp"

#include <CLI/CLI.hpp>

namespace vellmark {

namespace {

// No argument of a program holds one.
constexpr char kNoList = '\0';

}  // namespace

std::string ParserArgument(std::string given) {
    if (given.starts_with('[') && given.ends_with(']'))
        given += kNoList;
    return given;
}

Option& Option::required() {
    option_->required();
    return *this;
}

Option& Option::oneOf(const std::vector<std::string>& words) {
    option_->check(CLI::IsMember(words));
    return *this;
}

Option& Option::showDefault() {
    option_->capture_default_str();
    return *this;
}

Option& Option::separatedBy(char separator) {
    option_->delimiter(separator);
    return *this;
}

bool Option::wasGiven() const {
    return option_->count() > 0;
}

template <typename Value>
Option OptionSet::addValue(std::string_view name, Value& value, const Reason& help, Sentence type) {
    CLI::Option* option = app_.add_option(std::string(name), value, help.words(language_));
    option->type_name(std::string(SentenceText(type, language_)));
    option->transform([](std::string given) {
        if (given.ends_with(kNoList))
            given.pop_back();
        return given;
    });
    return Option(option);
}

Option OptionSet::add(std::string_view name, std::string& value, const Reason& help) {
    return addValue(name, value, help, Sentence::kHelpText);
}

Option OptionSet::add(std::string_view name, std::vector<std::string>& values, const Reason& help) {
    const Option option = addValue(name, values, help, Sentence::kHelpText);
    // What stands behind the value of an option is an argument by its place.
    if (name.starts_with('-'))
        app_.get_option(std::string(name))->allow_extra_args(false);
    return option;
}

Option OptionSet::add(std::string_view name, std::optional<unsigned>& value, const Reason& help) {
    return addValue(name, value, help, Sentence::kHelpNumber);
}

Option OptionSet::flag(std::string_view name, bool& value, const Reason& help) {
    return Option(app_.add_flag(std::string(name), value, help.words(language_)));
}

}  // namespace vellmark
