// The options of a verb, as the verb declares them. What parses them is known to options.cpp and
// command_line.cpp alone: its headers take longer to compile than all else in a verb.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace vellmark {

/// One option that was declared, for what else is to be said of it.
class Option {
  public:
    explicit Option(CLI::Option* option) : option_(option) {}

    Option& required();
    /// One of these words.
    Option& oneOf(const std::vector<std::string>& words);
    /// The help shows what the value is before anything is read.
    Option& showDefault();
    /// Several values in one argument.
    Option& separatedBy(char separator);
    [[nodiscard]] bool wasGiven() const;

  private:
    CLI::Option* option_;
};

/// The options of one verb. The values that they fill must live until the verb has run.
class OptionSet {
  public:
    explicit OptionSet(CLI::App& app) : app_(app) {}

    /// `-o,--output` for an option, `IMAGE` for an argument by its place.
    Option add(const std::string& name, std::string& value, const std::string& help);
    Option add(const std::string& name, std::vector<std::string>& values, const std::string& help);
    Option add(const std::string& name, std::optional<unsigned>& value, const std::string& help);
    Option flag(const std::string& name, bool& value, const std::string& help);

  private:
    CLI::App& app_;
};

}  // namespace vellmark
