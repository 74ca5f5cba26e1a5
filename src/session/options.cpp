#include "session/options.hpp"

#include <CLI/CLI.hpp>

namespace vellmark {

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

Option OptionSet::add(const std::string& name, std::string& value, const std::string& help) {
    return Option(app_.add_option(name, value, help));
}

Option OptionSet::add(const std::string& name, std::vector<std::string>& values,
                      const std::string& help) {
    return Option(app_.add_option(name, values, help));
}

Option OptionSet::add(const std::string& name, std::optional<unsigned>& value,
                      const std::string& help) {
    return Option(app_.add_option(name, value, help));
}

Option OptionSet::flag(const std::string& name, bool& value, const std::string& help) {
    return Option(app_.add_flag(name, value, help));
}

}  // namespace vellmark
