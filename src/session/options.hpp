// The options of a verb, as the verb declares them. What parses them is known to options.cpp and
// command_line.cpp alone: its headers take longer to compile than all else in a verb.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/reason.hpp"
#include "support/sentences.hpp"
#include "support/texts.hpp"

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

/// An option that several verbs have.
struct SharedOption {
    std::string_view name;
    Sentence help;
};

namespace option {
inline constexpr SharedOption kImage{"IMAGE", Sentence::kHelpImage};
inline constexpr SharedOption kProject{"PROJECT", Sentence::kHelpProject};
inline constexpr SharedOption kExistingProject{"PROJECT", Sentence::kHelpExistingProject};
inline constexpr SharedOption kPartition{"-p,--partition", Sentence::kHelpPartition};
inline constexpr SharedOption kForceFile{"-f,--force", Sentence::kHelpForceFile};
inline constexpr SharedOption kForceImage{"-f,--force", Sentence::kHelpForceImage};
inline constexpr SharedOption kJson{"-j,--json", Sentence::kHelpJson};
inline constexpr SharedOption kJsonDates{"-j,--json", Sentence::kHelpJsonDates};
inline constexpr SharedOption kVerbose{"-v,--verbose", Sentence::kHelpVerbose};
inline constexpr SharedOption kNoAdditions{"--no-additions", Sentence::kHelpNoAdditions};
inline constexpr SharedOption kDates{"--dates", Sentence::kHelpDates};
// What a verb does not say any more depends on what it says.
inline constexpr SharedOption kQuiet{"-q,--quiet", Sentence::kHelpQuiet};
inline constexpr SharedOption kQuietProgress{"-q,--quiet", Sentence::kHelpQuietProgress};
inline constexpr SharedOption kQuietProgressResult{"-q,--quiet",
                                                   Sentence::kHelpQuietProgressResult};
inline constexpr SharedOption kQuietRemarks{"-q,--quiet", Sentence::kHelpQuietRemarks};
inline constexpr SharedOption kQuietResult{"-q,--quiet", Sentence::kHelpQuietResult};
}  // namespace option

/// An argument for the parser, which would take the name `[a]` for a list of the one name `a`: the
/// options of a set have it as it was given.
[[nodiscard]] std::string ParserArgument(std::string given);

/// The options of one verb, with their help in the language of the person. The values that they
/// fill must live until the verb has run.
class OptionSet {
  public:
    OptionSet(CLI::App& app, Language language) : app_(app), language_(language) {}

    /// `-o,--output` for an option, `IMAGE` for an argument by its place.
    Option add(std::string_view name, std::string& value, const Reason& help);
    /// An option of several values is given once for each.
    Option add(std::string_view name, std::vector<std::string>& values, const Reason& help);
    Option add(std::string_view name, std::optional<unsigned>& value, const Reason& help);
    Option flag(std::string_view name, bool& value, const Reason& help);

    template <typename Value>
    Option add(const SharedOption& shared, Value& value) {
        return add(shared.name, value, shared.help);
    }
    Option flag(const SharedOption& shared, bool& value) {
        return flag(shared.name, value, shared.help);
    }

  private:
    template <typename Value>
    Option addValue(std::string_view name, Value& value, const Reason& help, Sentence type);

    CLI::App& app_;
    Language language_;
};

}  // namespace vellmark
