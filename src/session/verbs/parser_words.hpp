// What the parser of the command line says by itself, in the language of the person: the headings
// of the help and what is wrong with the arguments.
#pragma once

#include <CLI/CLI.hpp>

#include <string_view>

#include "support/reason.hpp"
#include "support/texts.hpp"

namespace vellmark {

/// Sets headings, help and version options of a program that has no other options and no verbs
/// yet; verbs that are added to it later inherit the headings.
void SetParserLanguage(CLI::App& app, Language language);

/// The option for help of a program or a verb that has no other options yet.
void SetHelpOption(CLI::App& app, Language language);

/// What the parser found wrong; `text` is its own sentence, which is English. One that is not known
/// here stays as it is.
[[nodiscard]] Reason ParserReason(std::string_view text, Language language);

}  // namespace vellmark
