#include <array>
#include <iostream>

#include "session/verbs.hpp"

namespace vellmark {

namespace {

const std::array kVerbs = {&kVerbMake};

}  // namespace

int UsageError(std::string_view verb, std::string_view sentence) {
    std::cerr << "vellmark: " << sentence << "\nTry: vellmark " << verb << (verb.empty() ? "" : " ")
              << "--help\n";
    return kExitUsage;
}

int RunCommandLine(std::span<const std::string> arguments) {
    CLI::App app("Builds and edits Macintosh and hybrid CD-ROM images.", "vellmark");
    app.set_version_flag("--version", "vellmark " VELLMARK_VERSION);
    app.require_subcommand(1);
    std::array<RunVerb, kVerbs.size()> runs;
    std::array<CLI::App*, kVerbs.size()> apps{};
    for (std::size_t i = 0; i < kVerbs.size(); ++i) {
        const Verb& verb = *kVerbs[i];
        apps[i] = app.add_subcommand(std::string(verb.name), std::string(verb.summary));
        if (!verb.alias.empty())
            apps[i]->alias(std::string(verb.alias));
        apps[i]->footer("Example:\n  " + std::string(verb.example));
        verb.setUp(*apps[i], runs[i]);
    }
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::Success& wanted) {
        return app.exit(wanted);
    } catch (const CLI::ParseError& error) {
        std::string_view name;
        for (std::size_t i = 0; i < kVerbs.size(); ++i)
            name = apps[i]->parsed() ? kVerbs[i]->name : name;
        return UsageError(name, error.what());
    }
    for (std::size_t i = 0; i < kVerbs.size(); ++i)
        if (apps[i]->parsed())
            return runs[i]();
    return kExitUsage;
}

}  // namespace vellmark
