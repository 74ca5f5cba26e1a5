#include "session/verbs/parser_words.hpp"

#include <array>
#include <memory>
#include <optional>
#include <string>

#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

// The names of arguments by their place; verbs declare them in English.
constexpr std::array kArguments = {
    Sentence::kArgumentAction,  Sentence::kArgumentFile,   Sentence::kArgumentFolder,
    Sentence::kArgumentImage,   Sentence::kArgumentLabel,  Sentence::kArgumentName,
    Sentence::kArgumentNew,     Sentence::kArgumentOld,    Sentence::kArgumentPath,
    Sentence::kArgumentProject, Sentence::kArgumentTarget, Sentence::kArgumentValue,
    Sentence::kArgumentVolume};

// What the parser says, one that another could be taken for behind it.
constexpr std::array kErrors = {Sentence::kParserUnexpected, Sentence::kParserUnexpectedMany,
                                Sentence::kParserConvert,    Sentence::kParserNotIn,
                                Sentence::kParserMissing,    Sentence::kParserAtMost,
                                Sentence::kParserRequired};

constexpr std::size_t kMostOperands = 3;
using Operands = std::array<std::string, kMostOperands>;

std::string ShownArgument(const std::string& name, Language language) {
    for (const Sentence argument : kArguments)
        if (SentenceText(argument, Language::English) == name)
            return std::string(SentenceText(argument, language));
    return Printable(name);
}

// What stands in the text where the pattern has `{}`; nothing when it is another sentence.
std::optional<Operands> OperandsIn(std::string_view text, std::string_view pattern) {
    constexpr std::string_view kPlace = "{}";
    Operands operands;
    for (std::size_t count = 0;; ++count) {
        const std::size_t place = pattern.find(kPlace);
        const std::string_view before = pattern.substr(0, place);
        if (!text.starts_with(before))
            return std::nullopt;
        text.remove_prefix(before.size());
        if (place == pattern.npos)
            return text.empty() ? std::optional(operands) : std::nullopt;
        pattern.remove_prefix(place + kPlace.size());
        const std::string_view behind = pattern.substr(0, pattern.find(kPlace));
        const std::size_t end = behind.empty() ? text.size() : text.find(behind);
        if (end == text.npos || count == kMostOperands)
            return std::nullopt;
        operands[count] = text.substr(0, end);
        text.remove_prefix(end);
    }
}

class HelpFormatter final : public CLI::Formatter {
  public:
    explicit HelpFormatter(Language language) : language_(language) {
        constexpr std::array kLabels = {Sentence::kHelpUsage, Sentence::kHelpAnyOptions,
                                        Sentence::kHelpAnyVerb, Sentence::kHelpArguments,
                                        Sentence::kHelpRequired};
        for (const Sentence word : kLabels)
            label(std::string(SentenceText(word, Language::English)),
                  std::string(SentenceText(word, language)));
    }

    std::string make_option_name(const CLI::Option* option, bool isArgument) const override {
        const std::string name = Formatter::make_option_name(option, isArgument);
        return isArgument ? ShownArgument(name, language_) : name;
    }

  private:
    Language language_;
};

}  // namespace

void SetHelpOption(CLI::App& app, Language language) {
    app.set_help_flag("-h,--help", std::string(SentenceText(Sentence::kHelpHelp, language)));
}

void SetParserLanguage(CLI::App& app, Language language) {
    const auto words = [language](Sentence sentence) {
        return std::string(SentenceText(sentence, language));
    };
    app.option_defaults()->group(words(Sentence::kHelpOptions));
    app.formatter(std::make_shared<HelpFormatter>(language));
    // Verbs take their heading from the program above them.
    app.group(words(Sentence::kHelpVerbs));
    SetHelpOption(app, language);
    app.set_version_flag("--version", "vellmark " VELLMARK_VERSION, words(Sentence::kHelpVersion));
}

Reason ParserReason(std::string_view text, Language language) {
    for (const Sentence error : kErrors)
        if (auto operands = OperandsIn(text, SentenceText(error, Language::English))) {
            // What was not expected is the person's own.
            std::string& name = operands->front();
            name = error == Sentence::kParserUnexpected || error == Sentence::kParserUnexpectedMany
                       ? Printable(name)
                       : ShownArgument(name, language);
            return Reason(error, name, Printable((*operands)[1]), Printable((*operands)[2]));
        }
    return Reason::Plain(Printable(text));
}

}  // namespace vellmark
